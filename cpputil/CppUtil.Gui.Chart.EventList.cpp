#include "CppUtil.Gui.Chart.EventList.h"

#include "CppUtil.Gui.Chart.Chart.h"
#include "CppUtil.Gui.Chart.Markup.h"

#include <algorithm>

namespace CppUtil
{
namespace Gui
{
namespace Chart
{

const char* const CEventList::k_szAll = "[All]";
const char* const CEventList::k_szAllErrors = "[All Errors]";
const char* const CEventList::k_szNone = "[None]";

CEventList::CEventList(CWnd& parent, CChart& chart)
    : m_oParent(parent), m_oChart(chart), m_sSelectedCategory(k_szAll), m_uRedrawCount(0)
{
}

void CEventList::Clear()
{
    m_sSelectedCategory = k_szAll;
    m_oMarkers.clear();
    m_poActiveEvent.reset();
    ++m_uRedrawCount;
}

bool CEventList::IsCategoryVisible(const std::shared_ptr<CCategory>& category) const
{
    if (m_sSelectedCategory == k_szAllErrors)
        return category->IsError();
    if (m_sSelectedCategory == k_szAll)
        return true;
    return category->GetName() == m_sSelectedCategory ||
           category->IsSubCategoryOf(m_sSelectedCategory);
}

void CEventList::OnActiveEventChanged(const std::shared_ptr<CChartEvent>& event)
{
    if (event == m_poActiveEvent)
        return;
    m_poActiveEvent = event;
    ++m_uRedrawCount;
}

void CEventList::OnActiveCategoryChanged()
{
    ++m_uRedrawCount;
}

void CEventList::OnVisibleEventMarkersChanged()
{
    const CGraph::TEventMarkers& markers = m_oChart.GetVisibleEventMarkers();
    const bool same = markers.size() == m_oMarkers.size() &&
                      std::equal(markers.begin(), markers.end(), m_oMarkers.begin(),
                                 [](const std::shared_ptr<CEventMarker>& now,
                                    const CEventMarker& before) { return *now == before; });
    if (same)
        return;
    m_oMarkers.clear();
    for (const std::shared_ptr<CEventMarker>& marker : markers)
        m_oMarkers.push_back(*marker);
    ++m_uRedrawCount;
}

std::vector<CString> CEventList::GetCategoryChoices() const
{
    std::vector<CString> choices{k_szAll, k_szAllErrors, k_szNone};
    // A group of sub-categories is offered once, by its name.
    for (const std::shared_ptr<CCategory>& category : m_oChart.FlagableCategories())
    {
        const CString name = category->GetDisplayName();
        if (std::find(choices.begin(), choices.end(), name) == choices.end())
            choices.push_back(name);
    }
    return choices;
}

bool CEventList::SelectCategory(const CString& choice)
{
    const std::vector<CString> choices = GetCategoryChoices();
    if (std::find(choices.begin(), choices.end(), choice) == choices.end())
        return false;
    if (choice != m_sSelectedCategory)
    {
        m_sSelectedCategory = choice;
        m_oChart.OnActiveCategoryChanged();
    }
    return true;
}

bool CEventList::OnItemClick(unsigned int eventId)
{
    const CChart::TEvents& events = m_oChart.Events();
    if (eventId >= events.size())
        return false;
    m_oChart.OnActiveEventChanged(events[eventId]);
    return true;
}

CEventList::TEvents CEventList::GetVisibleEvents() const
{
    TEvents visible;
    for (const std::shared_ptr<CChartEvent>& event : m_oChart.Events())
        if (IsCategoryVisible(event->GetCategory()))
            visible.push_back(event);
    return visible;
}

CString CEventList::RenderHtml() const
{
    CString html("<div class=\"events\"><select class=\"category-selector\">");
    for (const CString& choice : GetCategoryChoices())
        html.AppendFormat("<option%s>%s</option>",
                          choice == m_sSelectedCategory ? " selected=\"selected\"" : "",
                          Markup::Escape(choice).GetString());
    html += "</select><table class=\"event-items\">";
    for (const std::shared_ptr<CChartEvent>& event : GetVisibleEvents())
    {
        const auto marker = std::find_if(m_oMarkers.begin(), m_oMarkers.end(),
                                         [&event](const CEventMarker& candidate)
                                         { return candidate.GetEvent() == event; });
        const std::shared_ptr<CCategory> category = event->GetCategory();
        CString classes("event");
        if (category->IsError())
            classes += " error";
        if (event == m_poActiveEvent)
            classes += " active";
        html.AppendFormat("<tr class=\"%s\" data-event=\"%u\">", classes.GetString(),
                          event->GetId());
        html.AppendFormat("<td class=\"letter\">%s</td>",
                          marker == m_oMarkers.end() ? ""
                                                     : CString(marker->GetId(), 1).GetString());
        html.AppendFormat("<td class=\"category\">%s</td>",
                          Markup::Escape(category->GetDisplayName()).GetString());
        // Descriptions meant for an external viewer are offered as a link the host handles.
        if (category->IsOpenInExternalViewer())
            html.AppendFormat("<td class=\"description\"><a class=\"external\" "
                              "href=\"#event-%u\">%s</a></td>",
                              event->GetId(), Markup::Escape(event->GetDescription()).GetString());
        else
            html.AppendFormat("<td class=\"description\">%s</td>",
                              Markup::Escape(event->GetDescription()).GetString());
        if (event->GetLogFilename().IsEmpty())
            html += "<td class=\"log\"></td>";
        else
        {
            CString path(event->GetLogFilename());
            path.Replace('\\', '/');
            path.Replace(" ", "%20");
            html.AppendFormat("<td class=\"log\"><a href=\"file:///%s\">%s</a></td>",
                              Markup::Escape(path.Left(1) == "/" ? path.Mid(1) : path).GetString(),
                              Markup::Escape(event->GetLogFilename()).GetString());
        }
        html += "</tr>";
    }
    html += "</table></div>";
    return html;
}

} // namespace Chart
} // namespace Gui
} // namespace CppUtil
