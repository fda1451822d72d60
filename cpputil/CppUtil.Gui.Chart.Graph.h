/// @file
/// The chart's graph view: the two axes, one data series per chartable category, the event
/// markers, and their drawing as SVG.
#pragma once

#include "CppUtil.Api.h"
#include "CppUtil.Gui.Chart.Axis.h"
#include "CppUtil.Gui.Chart.Category.h"
#include "CppUtil.Gui.Chart.ChartEvent.h"
#include "CppUtil.Gui.Chart.DataSeries.h"
#include "Platform/Kernel/CWnd.h"
#include "Platform/Types/CRect.h"
#include "Platform/Types/CString.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace CppUtil
{
namespace Gui
{
namespace Chart
{

class CChart;

/// The platform layer's windows are hidden message windows that neither paint nor lay out
/// children, so the view is a plain object that keeps its parent and renders to markup which the
/// host shows where it likes. It lives on the user-interface thread, like its chart.
class CPPUTIL_API CGraph
{
public:
    typedef std::vector<std::shared_ptr<CEventMarker>> TEventMarkers;
    typedef std::vector<std::shared_ptr<CDataSeries>> TSeries;

    CGraph(CWnd& parent, CChart& chart);
    CGraph(const CGraph&) = delete;
    CGraph& operator=(const CGraph&) = delete;

    CWnd& GetParent() const { return m_oParent; }
    void Position(const CRect& rect) { m_oRect = rect; }
    const CRect& GetRect() const { return m_oRect; }

    void Clear();
    bool IsEmpty() const;
    void AddData(const std::shared_ptr<CCategory>& category, double x, double y);
    void SetTimeXAxis() { m_oXAxis.SetTime(); }
    /// Percent change against each series' first non-zero value on the Y axis.
    void SetRelativeUnits(bool relative);

    /// Scrolls the event into view when it is outside.
    void OnActiveEventChanged(const std::shared_ptr<CChartEvent>& event);
    void OnActiveCategoryChanged();
    const TEventMarkers& GetVisibleEventMarkers() const { return m_oVisibleEventMarkers; }
    std::shared_ptr<CChartEvent> GetActiveEvent() const { return m_poActiveEvent; }

    /// Zooming and scrolling go through the axes; the next render shows the result.
    CAxis& GetXAxis() { return m_oXAxis; }
    CAxis& GetYAxis() { return m_oYAxis; }
    const TSeries& GetSeries() const { return m_oSeries; }
    /// Null when the category has no data yet.
    std::shared_ptr<CDataSeries> FindSeries(const std::shared_ptr<CCategory>& category) const;

    /// Feeds the axes when data arrived since the last time; the X axis keeps a zoom.
    void UpdateExtents();
    /// A left click at client coordinates: a marker there becomes the active event, otherwise the
    /// nearest visible point becomes its series' active datum. False when nothing was hit.
    bool OnLeftClick(int x, int y);
    /// The plot area inside the view, in client coordinates.
    Gdiplus::Rect GetPlotRect() const;
    double ToPixelX(double x) const;
    double ToPixelY(double y) const;

    CString RenderSvg();

private:
    void SyncVisibleRanges();
    void LayoutEventMarkers();

    CWnd& m_oParent;
    CChart& m_oChart;
    CRect m_oRect;
    CAxis m_oXAxis;
    CAxis m_oYAxis;
    TSeries m_oSeries;
    /// The category of each series, by position.
    std::vector<std::shared_ptr<CCategory>> m_oSeriesCategories;
    TEventMarkers m_oVisibleEventMarkers;
    std::shared_ptr<CChartEvent> m_poActiveEvent;
    bool m_bExtentsDirty;
    /// How many of the chart's events the X axis has been fed.
    std::size_t m_uEventsFed;
    /// The X range the series last computed their visible index ranges for.
    CAxis::CExtents m_oSeriesXExtents;
};

} // namespace Chart
} // namespace Gui
} // namespace CppUtil
