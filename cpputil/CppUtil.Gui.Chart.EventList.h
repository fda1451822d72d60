/// @file
/// The chart's event list: the events of the selected categories as HTML, with the letters of
/// their markers on the graph.
#pragma once

#include "CppUtil.Api.h"
#include "CppUtil.Gui.Chart.Category.h"
#include "CppUtil.Gui.Chart.ChartEvent.h"
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

class CChart;

/// A plain object that keeps its parent, for the reason given at CGraph.
class CPPUTIL_API CEventList
{
public:
    typedef std::vector<std::shared_ptr<CChartEvent>> TEvents;

    static const char* const k_szAll;
    static const char* const k_szAllErrors;
    static const char* const k_szNone;

    CEventList(CWnd& parent, CChart& chart);
    CEventList(const CEventList&) = delete;
    CEventList& operator=(const CEventList&) = delete;

    CWnd& GetParent() const { return m_oParent; }
    void Position(const CRect& rect) { m_oRect = rect; }
    const CRect& GetRect() const { return m_oRect; }

    void Clear();
    bool IsCategoryVisible(const std::shared_ptr<CCategory>& category) const;
    void OnActiveEventChanged(const std::shared_ptr<CChartEvent>& event);
    void OnActiveCategoryChanged();
    void OnVisibleEventMarkersChanged();

    /// "[All]", "[All Errors]", "[None]", then each flagable category's display name once.
    std::vector<CString> GetCategoryChoices() const;
    const CString& GetSelectedCategory() const { return m_sSelectedCategory; }
    /// As if the user picked the choice; false, and nothing changes, for a text not offered.
    bool SelectCategory(const CString& choice);
    /// As if the user clicked the item of the event with this id; false when there is none.
    bool OnItemClick(unsigned int eventId);
    std::shared_ptr<CChartEvent> GetActiveEvent() const { return m_poActiveEvent; }
    /// The events of the visible categories, in order of arrival.
    TEvents GetVisibleEvents() const;
    /// How often the list had to be drawn anew: its items, markers or active event changed.
    unsigned int GetRedrawCount() const { return m_uRedrawCount; }

    CString RenderHtml() const;

private:
    CWnd& m_oParent;
    CChart& m_oChart;
    CRect m_oRect;
    CString m_sSelectedCategory;
    std::vector<CEventMarker> m_oMarkers;
    std::shared_ptr<CChartEvent> m_poActiveEvent;
    unsigned int m_uRedrawCount;
};

} // namespace Chart
} // namespace Gui
} // namespace CppUtil
