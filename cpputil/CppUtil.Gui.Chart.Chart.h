/// @file
/// A time chart of data series with categorised events: the model, the graph on the left and the
/// event list on the right.
#pragma once

#include "CppUtil.Api.h"
#include "CppUtil.Gui.Chart.Category.h"
#include "CppUtil.Gui.Chart.ChartEvent.h"
#include "CppUtil.Gui.Chart.EventList.h"
#include "CppUtil.Gui.Chart.Graph.h"
#include "Platform/Kernel/CWnd.h"
#include "Platform/Types/CRect.h"
#include "Platform/Types/CString.h"

#include <memory>
#include <vector>

namespace CppUtil
{
namespace Gui
{
namespace Chart
{

/// Lives on the user-interface thread; nothing in it is locked.
class CPPUTIL_API CChart
{
public:
    typedef std::vector<std::shared_ptr<CChartEvent>> TEvents;
    typedef std::vector<std::shared_ptr<CCategory>> TCategories;

    explicit CChart(CWnd& parent);
    ~CChart();
    CChart(const CChart&) = delete;
    CChart& operator=(const CChart&) = delete;

    /// The event list takes the right-most part once there are events; call again after the
    /// first one arrives.
    void Position(const CRect& rect);
    /// Names are not checked for duplicates: lookups find the first.
    void AddCategory(const CString& name, int flags, const CString& parentName = CString());
    std::shared_ptr<CCategory> FindCategory(const CString& name) const;
    void AddData(const CString& categoryName, double x, double y);
    void AddEvent(const CString& categoryName, unsigned int time, const CString& description,
                  const CString& logFilename);
    /// One way; must come before the first event.
    void SetTimeXAxis();
    bool IsTimeXAxis() const { return m_bTimeXAxis; }
    /// Keeps the time-axis switch and the views.
    void Clear();
    bool IsCategoriesEmpty() const { return m_oCategories.empty(); }
    bool IsDataEmpty() const;

    CGraph& GetGraph() { return m_oGraph; }
    CEventList& GetEventList() { return m_oEventList; }
    /// Both views side by side, each where Position put it, as one page.
    CString RenderHtml();

private:
    friend class CGraph;
    friend class CEventList;

    const TEvents& Events() const { return m_oEvents; }
    TCategories FlagableCategories() const;
    bool IsCategoryVisible(const std::shared_ptr<CCategory>& category) const;
    void OnActiveEventChanged(const std::shared_ptr<CChartEvent>& event);
    void OnActiveCategoryChanged();
    void OnVisibleEventMarkersChanged();
    const CGraph::TEventMarkers& GetVisibleEventMarkers() const;
    void AddData(const std::shared_ptr<CCategory>& category, double x, double y,
                 const CString& description, const CString& logFilename);

    unsigned int m_uEventListWidth;
    unsigned int m_uGap;
    TEvents m_oEvents;
    TCategories m_oCategories;
    CGraph m_oGraph;
    CEventList m_oEventList;
    bool m_bTimeXAxis;
};

} // namespace Chart
} // namespace Gui
} // namespace CppUtil
