#include "CppUtil.Gui.Chart.Chart.h"

#include "CppUtil.Exception.AssertReport.h"
#include "CppUtil.Exception.QlException.h"

namespace CppUtil
{
namespace Gui
{
namespace Chart
{

namespace
{

const Exception::CSourceFile k_oSource("CppUtil.Gui.Chart.Chart");

} // namespace

CChart::CChart(CWnd& parent)
    : m_uEventListWidth(260), m_uGap(5), m_oGraph(parent, *this), m_oEventList(parent, *this),
      m_bTimeXAxis(false)
{
}

CChart::~CChart() = default;

void CChart::Position(const CRect& rect)
{
    if (m_oEvents.empty())
    {
        m_oEventList.Position(CRect());
        m_oGraph.Position(rect);
        return;
    }
    CRect graph(rect);
    graph.right -= static_cast<int>(m_uEventListWidth + m_uGap);
    CRect list(rect);
    list.left = graph.right + static_cast<int>(m_uGap);
    m_oEventList.Position(list);
    m_oGraph.Position(graph);
}

void CChart::AddCategory(const CString& name, int flags, const CString& parentName)
{
    m_oCategories.push_back(std::make_shared<CCategory>(name, flags, parentName));
}

std::shared_ptr<CCategory> CChart::FindCategory(const CString& name) const
{
    for (const std::shared_ptr<CCategory>& category : m_oCategories)
        if (category->GetName() == name)
            return category;
    CString message;
    message.Format("Category %s not found.", name.GetString());
    k_oSource.Throw(108, "CppUtil::Gui::Chart::CChart::FindCategory", message);
}

void CChart::AddData(const CString& categoryName, double x, double y)
{
    const std::shared_ptr<CCategory> category = FindCategory(categoryName);
    if (category->IsFlagable())
        k_oSource.Throw(119, "CppUtil::Gui::Chart::CChart::AddData",
                        "Use AddEvent() to add data that is flagable.");
    AddData(category, x, y, CString(), CString());
}

void CChart::AddEvent(const CString& categoryName, unsigned int time, const CString& description,
                      const CString& logFilename)
{
    const std::shared_ptr<CCategory> category = FindCategory(categoryName);
    if (!category->IsFlagable())
        k_oSource.Throw(134, "CppUtil::Gui::Chart::CChart::AddEvent",
                        "Use AddData() to add data that is not flagable.");
    if (!m_bTimeXAxis)
        k_oSource.Throw(140, "CppUtil::Gui::Chart::CChart::AddEvent",
                        "Events are only supported when the X-axis time.  Call SetTimeXAxis() "
                        "before adding an event.");
    AddData(category, static_cast<double>(time), 0.0, description, logFilename);
}

void CChart::SetTimeXAxis()
{
    m_bTimeXAxis = true;
    m_oGraph.SetTimeXAxis();
}

void CChart::Clear()
{
    m_oEvents.clear();
    m_oGraph.Clear();
    m_oEventList.Clear();
    m_oCategories.clear();
}

bool CChart::IsDataEmpty() const
{
    return m_oEvents.empty() && m_oGraph.IsEmpty();
}

CString CChart::RenderHtml()
{
    // The graph first: drawing it lays out the markers whose letters the list shows.
    const CString graph = m_oGraph.RenderSvg();
    const CRect& graphRect = m_oGraph.GetRect();
    const CRect& listRect = m_oEventList.GetRect();
    CString page("<html xmlns=\"http://www.w3.org/1999/xhtml\">"
                 "<head><title>Chart</title></head><body style=\"margin:0\">");
    page.AppendFormat("<div class=\"graph\" style=\"position:absolute;left:%dpx;top:%dpx;"
                      "width:%dpx;height:%dpx\">",
                      graphRect.left, graphRect.top, graphRect.Width(), graphRect.Height());
    page += graph;
    page += "</div>";
    if (!listRect.IsRectEmpty())
    {
        page.AppendFormat("<div class=\"event-list\" style=\"position:absolute;left:%dpx;top:%dpx;"
                          "width:%dpx;height:%dpx;overflow:auto\">",
                          listRect.left, listRect.top, listRect.Width(), listRect.Height());
        page += m_oEventList.RenderHtml();
        page += "</div>";
    }
    page += "</body></html>";
    return page;
}

CChart::TCategories CChart::FlagableCategories() const
{
    TCategories flagable;
    for (const std::shared_ptr<CCategory>& category : m_oCategories)
        if (category->IsFlagable())
            flagable.push_back(category);
    return flagable;
}

bool CChart::IsCategoryVisible(const std::shared_ptr<CCategory>& category) const
{
    return m_oEventList.IsCategoryVisible(category);
}

void CChart::OnActiveEventChanged(const std::shared_ptr<CChartEvent>& event)
{
    m_oGraph.OnActiveEventChanged(event);
    m_oEventList.OnActiveEventChanged(event);
}

void CChart::OnActiveCategoryChanged()
{
    m_oEventList.OnActiveCategoryChanged();
    m_oGraph.OnActiveCategoryChanged();
}

void CChart::OnVisibleEventMarkersChanged()
{
    m_oEventList.OnVisibleEventMarkersChanged();
}

const CGraph::TEventMarkers& CChart::GetVisibleEventMarkers() const
{
    return m_oGraph.GetVisibleEventMarkers();
}

void CChart::AddData(const std::shared_ptr<CCategory>& category, double x, double y,
                     const CString& description, const CString& logFilename)
{
    if (!category->IsFlagable() && !category->IsChartable())
        Exception::ReportAssertionFailure("spoCategory->IsFlagable() || spoCategory->IsChartable()",
                                          k_oSource.GetName(), 152);
    if (category->IsFlagable())
        m_oEvents.push_back(std::make_shared<CChartEvent>(
            static_cast<unsigned int>(m_oEvents.size()), category,
            static_cast<unsigned int>(static_cast<long long>(x)), description, logFilename));
    if (category->IsChartable())
        m_oGraph.AddData(category, x, y);
}

} // namespace Chart
} // namespace Gui
} // namespace CppUtil
