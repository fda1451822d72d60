#include "LogRecorder.h"
#include "Thrown.h"

#include <cpputil/CppUtil.Gui.Chart.Chart.h>
#include <cpputil/CppUtil.Text.MessageManager.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using namespace CppUtil::Gui::Chart;

namespace
{

enum
{
    FLAG = CCategory::FLAGABLE,
    CHART = CCategory::CHARTABLE,
    ERR = CCategory::ERROR_CATEGORY
};

// Runs the call and returns what it threw, checking the place it names.
template <class TCall>
std::string Failure(const TCall& call, const char* function, unsigned int line)
{
    return ThrownAt(call, std::string("CppUtil::Gui::Chart::CChart::") + function,
                    "CppUtil.Gui.Chart.Chart", line);
}

std::string Letters(const CGraph::TEventMarkers& markers)
{
    std::string letters;
    for (const auto& marker : markers)
        letters += marker->GetId();
    return letters;
}

class ChartTest : public ::testing::Test
{
protected:
    ChartTest() : m_oChart(m_oParent) {}

    CWnd m_oParent;
    CChart m_oChart;
};

} // namespace

TEST_F(ChartTest, FailuresNameTheirPlaceAndAddNothing)
{
    SRecordedOutput log;
    m_oChart.AddCategory("Yield", CHART);
    m_oChart.AddCategory("Reject", FLAG);
    m_oChart.AddCategory("Note", CCategory::OPEN_IN_EXTERNAL_VIEWER);
    EXPECT_EQ("Category Nope not found.",
              Failure([&] { m_oChart.AddData("Nope", 1, 2); }, "FindCategory", 108));
    EXPECT_EQ("Use AddEvent() to add data that is flagable.",
              Failure([&] { m_oChart.AddData("Reject", 1, 2); }, "AddData", 119));
    // The flag is checked before the time axis.
    EXPECT_EQ("Use AddData() to add data that is not flagable.",
              Failure([&] { m_oChart.AddEvent("Yield", 1, "d", "f"); }, "AddEvent", 134));
    EXPECT_EQ("Events are only supported when the X-axis time.  Call SetTimeXAxis() before "
              "adding an event.",
              Failure([&] { m_oChart.AddEvent("Reject", 1, "d", "f"); }, "AddEvent", 140));
    // A category that is neither flagable nor chartable is reported and adds nothing.
    m_oChart.SetTimeXAxis();
    EXPECT_EQ("Use AddData() to add data that is not flagable.",
              Failure([&] { m_oChart.AddEvent("Note", 1, "", ""); }, "AddEvent", 134));
    ASSERT_NO_THROW(m_oChart.AddData("Note", 1, 2));
    EXPECT_TRUE(m_oChart.IsDataEmpty());
    EXPECT_FALSE(m_oChart.IsCategoriesEmpty());
    EXPECT_THAT(log.m_oRecorder.Texts(),
                ::testing::ElementsAre("Assertion failed: spoCategory->IsFlagable() || "
                                       "spoCategory->IsChartable(), file "
                                       "CppUtil.Gui.Chart.Chart, line 152"));
}

TEST_F(ChartTest, ValuesReachTheirCategoriesAndClearRestartsTheIds)
{
    m_oChart.SetTimeXAxis();
    m_oChart.AddCategory("Yield", CHART);
    m_oChart.AddCategory("Yield", CHART); // a duplicate is never found
    m_oChart.AddCategory("Both", FLAG | CHART);
    m_oChart.AddData("Yield", 1, 10);
    m_oChart.AddData("Yield", 2, 20);
    CGraph& graph = m_oChart.GetGraph();
    ASSERT_EQ(1u, graph.GetSeries().size());
    EXPECT_EQ(graph.FindSeries(m_oChart.FindCategory("Yield")), graph.GetSeries()[0]);
    EXPECT_EQ(2u, graph.GetSeries()[0]->GraphData().size());

    // Flagable and chartable: an event and a point at (time, 0).
    m_oChart.AddEvent("Both", 7, "first", "");
    m_oChart.AddEvent("Both", 9, "second", "");
    const auto both = graph.FindSeries(m_oChart.FindCategory("Both"));
    ASSERT_TRUE(both);
    EXPECT_EQ(CDatum(7, 0), both->GraphData().front());
    CEventList::TEvents events = m_oChart.GetEventList().GetVisibleEvents();
    ASSERT_EQ(2u, events.size());
    EXPECT_EQ(1u, events[1]->GetId());
    EXPECT_EQ(9u, events[1]->GetTime());
    EXPECT_EQ("second", events[1]->GetDescription().Str());
    EXPECT_EQ(m_oChart.FindCategory("Both"), events[1]->GetCategory());

    m_oChart.Clear();
    EXPECT_TRUE(m_oChart.IsDataEmpty() && m_oChart.IsCategoriesEmpty());
    EXPECT_TRUE(graph.GetSeries().empty());
    // The time axis survives: events need no new SetTimeXAxis, and ids start again.
    EXPECT_TRUE(m_oChart.IsTimeXAxis());
    m_oChart.AddCategory("Reject", FLAG);
    m_oChart.AddEvent("Reject", 3, "again", "");
    events = m_oChart.GetEventList().GetVisibleEvents();
    ASSERT_EQ(1u, events.size());
    EXPECT_EQ(0u, events[0]->GetId());
    EXPECT_FALSE(m_oChart.IsDataEmpty());
}

TEST_F(ChartTest, TheSelectorDecidesWhichEventsAndMarkersShow)
{
    m_oChart.SetTimeXAxis();
    m_oChart.AddCategory("Handler", FLAG);
    m_oChart.AddCategory("Jam", FLAG | ERR, "Handler");
    m_oChart.AddCategory("Socket", FLAG);
    m_oChart.AddCategory("Yield", CHART);
    m_oChart.AddCategory("Power", FLAG | ERR);
    m_oChart.AddData("Yield", 0, 1);
    m_oChart.AddData("Yield", 100, 2);
    m_oChart.AddEvent("Socket", 50, "socket", "");
    m_oChart.AddEvent("Jam", 30, "jam", "");
    m_oChart.AddEvent("Power", 70, "power", "");
    m_oChart.AddEvent("Handler", 10, "handler", "");
    m_oChart.Position(CRect(0, 0, 900, 500));

    CEventList& list = m_oChart.GetEventList();
    CGraph& graph = m_oChart.GetGraph();
    EXPECT_THAT(list.GetCategoryChoices(), ::testing::ElementsAre("[All]", "[All Errors]", "[None]",
                                                                  "Handler", "Socket", "Power"));
    EXPECT_EQ("[All]", list.GetSelectedCategory().Str());

    graph.RenderSvg();
    // Letters in time order, not in order of arrival.
    EXPECT_EQ("ABCD", Letters(graph.GetVisibleEventMarkers()));
    EXPECT_EQ("power", graph.GetVisibleEventMarkers()[3]->GetEvent()->GetDescription().Str());

    const std::pair<const char*, std::size_t> selections[] = {
        {"[All Errors]", 2}, {"Handler", 2}, {"Socket", 1}, {"[None]", 0}};
    for (const auto& selection : selections)
    {
        const unsigned int redraws = list.GetRedrawCount();
        ASSERT_TRUE(list.SelectCategory(selection.first));
        EXPECT_GT(list.GetRedrawCount(), redraws);
        // The graph learned of the change at once and handed its markers over.
        EXPECT_EQ(selection.second, graph.GetVisibleEventMarkers().size()) << selection.first;
        EXPECT_EQ(selection.second, list.GetVisibleEvents().size()) << selection.first;
    }
    EXPECT_FALSE(list.SelectCategory("Jam")); // a sub-category is offered by its group
    EXPECT_EQ("[None]", list.GetSelectedCategory().Str());

    // A marker click and an item click both reach both views.
    ASSERT_TRUE(list.SelectCategory("[All]"));
    graph.RenderSvg();
    const auto markers = graph.GetVisibleEventMarkers();
    const Gdiplus::Rect at = markers[1]->GetLocation();
    ASSERT_TRUE(graph.OnLeftClick(at.X + 1, at.Y + 1));
    EXPECT_EQ(markers[1]->GetEvent(), graph.GetActiveEvent());
    EXPECT_EQ(markers[1]->GetEvent(), list.GetActiveEvent());
    ASSERT_TRUE(list.OnItemClick(2));
    EXPECT_EQ("power", graph.GetActiveEvent()->GetDescription().Str());
    EXPECT_EQ(graph.GetActiveEvent(), list.GetActiveEvent());
    EXPECT_FALSE(list.OnItemClick(4));

    // The list redraws only when the markers really change.
    const unsigned int redraws = list.GetRedrawCount();
    graph.RenderSvg();
    EXPECT_EQ(redraws, list.GetRedrawCount());
    graph.GetXAxis().SetCurrentExtents(CAxis::CExtents(20, 60));
    graph.RenderSvg();
    EXPECT_EQ(redraws + 1, list.GetRedrawCount());
    EXPECT_EQ("AB", Letters(graph.GetVisibleEventMarkers()));
}

TEST_F(ChartTest, LayoutAndExtentsFollowTheDataUntilTheUserChangesThem)
{
    const CRect area(10, 20, 810, 620);
    m_oChart.Position(area);
    EXPECT_EQ(area, m_oChart.GetGraph().GetRect());
    EXPECT_TRUE(m_oChart.GetEventList().GetRect().IsRectNull());
    m_oChart.SetTimeXAxis();
    m_oChart.AddCategory("Reject", FLAG);
    m_oChart.AddEvent("Reject", 5, "", "");
    EXPECT_EQ(area, m_oChart.GetGraph().GetRect()); // not until the host asks again
    m_oChart.Position(area);
    EXPECT_EQ(CRect(10, 20, 545, 620), m_oChart.GetGraph().GetRect());
    EXPECT_EQ(CRect(550, 20, 810, 620), m_oChart.GetEventList().GetRect());

    // The graph shows all the data until the user zooms.
    m_oChart.AddCategory("Short", CHART);
    m_oChart.AddCategory("Long", CHART);
    m_oChart.AddData("Short", 0, 1);
    m_oChart.AddData("Short", 10, 2);
    m_oChart.AddData("Long", 0, -1);
    m_oChart.AddData("Long", 150, 5);
    CGraph& graph = m_oChart.GetGraph();
    graph.UpdateExtents();
    EXPECT_TRUE(graph.GetXAxis().GetCurrentExtents() == CAxis::CExtents(0, 150));
    EXPECT_NEAR(-1.12, graph.GetYAxis().GetCurrentExtents().m_dMinimum, 0.01);
    graph.GetXAxis().SetCurrentExtents(CAxis::CExtents(20, 40));
    m_oChart.AddData("Long", 200, 50);
    graph.UpdateExtents();
    EXPECT_TRUE(graph.GetXAxis().GetCurrentExtents() == CAxis::CExtents(20, 40));
    EXPECT_TRUE(graph.GetXAxis().GetMaxExtents() == CAxis::CExtents(0, 200));
    EXPECT_GT(graph.GetYAxis().GetCurrentExtents().m_dMaximum, 50);
}
