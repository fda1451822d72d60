#include "MarkupProbe.h"

#include <cpputil/CppUtil.Gui.Chart.Chart.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

using namespace CppUtil::Gui::Chart;

namespace
{

const SElement& Only(const SElement& root, const std::string& cls)
{
    const std::vector<const SElement*> found = root.ByClass(cls);
    if (found.size() != 1)
        throw std::runtime_error("expected one ." + cls + ", found " +
                                 std::to_string(found.size()));
    return *found[0];
}

std::vector<std::string> Texts(const SElement& root, const std::string& cls)
{
    std::vector<std::string> texts;
    for (const SElement* element : root.ByClass(cls))
        texts.push_back(element->AllText());
    return texts;
}

// The labels of the ticks the axis has inside its current range.
std::vector<std::string> ShownTicks(CAxis& axis)
{
    std::vector<std::string> labels;
    for (const CTick& tick : axis.GetTicks())
        if (axis.IsCoordWithinCurrentExtents(tick.GetPosition()))
            labels.push_back(tick.GetLabel().Str());
    return labels;
}

std::vector<std::pair<double, double>> Points(const SElement& polyline)
{
    std::vector<std::pair<double, double>> points;
    std::istringstream in(polyline.Attr("points"));
    double x, y;
    char comma;
    while (in >> x >> comma >> y)
        points.emplace_back(x, y);
    return points;
}

class ChartRenderTest : public ::testing::Test
{
protected:
    ChartRenderTest() : m_oChart(m_oParent) {}

    CWnd m_oParent;
    CChart m_oChart;
};

} // namespace

TEST_F(ChartRenderTest, PageParsesBackAndShowsWhatTheAxesAndEventsSay)
{
    m_oChart.SetTimeXAxis();
    m_oChart.AddCategory("Rate", CCategory::CHARTABLE);
    m_oChart.AddCategory("Alarm", CCategory::FLAGABLE | CCategory::ERROR_CATEGORY);
    m_oChart.AddCategory("Note", CCategory::FLAGABLE | CCategory::OPEN_IN_EXTERNAL_VIEWER, "Alarm");
    for (int second = 0; second <= 600; ++second)
        m_oChart.AddData("Rate", second, 100 + 20 * std::sin(second / 30.0));
    const std::string tricky = "Jam <3> & \"stop\" 'now' caf\xE9";
    m_oChart.AddEvent("Alarm", 400, tricky.c_str(), "C:\\Logs\\job 1.log");
    m_oChart.AddEvent("Note", 100, "note", "");
    m_oChart.Position(CRect(0, 0, 1000, 400));

    std::unique_ptr<SElement> page;
    ASSERT_NO_THROW(page = CMarkupProbe::Parse(m_oChart.RenderHtml().Str()));
    CGraph& graph = m_oChart.GetGraph();
    const SElement& svgBox = Only(*page, "graph");
    ASSERT_EQ(1u, svgBox.m_oChildren.size());
    const SElement& svg = *svgBox.m_oChildren[0];
    EXPECT_EQ("svg", svg.m_sName);
    EXPECT_EQ("735", svg.Attr("width"));
    EXPECT_EQ(ShownTicks(graph.GetXAxis()), Texts(svg, "x-label"));
    EXPECT_EQ(ShownTicks(graph.GetYAxis()), Texts(svg, "y-label"));
    EXPECT_EQ("0:00", Texts(svg, "x-label").front());
    EXPECT_EQ("10:00", Texts(svg, "x-label").back());

    // Markers and list items carry the same letters, in time order.
    EXPECT_EQ((std::vector<std::string>{"A", "B"}), Texts(svg, "event-marker"));
    const std::vector<const SElement*> rows = page->ByClass("event");
    ASSERT_EQ(2u, rows.size());
    EXPECT_EQ("B", Only(*rows[0], "letter").AllText());
    EXPECT_EQ(tricky, Only(*rows[0], "description").AllText());
    EXPECT_EQ("Alarm", Only(*rows[1], "category").AllText()); // a sub-category shows its group
    const SElement& log = *Only(*rows[0], "log").m_oChildren.at(0);
    EXPECT_EQ("file:///C:/Logs/job%201.log", log.Attr("href"));
    EXPECT_EQ("C:\\Logs\\job 1.log", log.AllText());
    EXPECT_EQ("#event-1", Only(*rows[1], "external").Attr("href"));
    EXPECT_TRUE(rows[0]->HasClass("error"));

    // Zoom and scroll through the axes: the next render follows.
    m_oChart.GetEventList().OnItemClick(1);
    const std::vector<std::string> before = Texts(svg, "x-label");
    ASSERT_TRUE(graph.GetXAxis().Zoom(0.0, true, 0.3));
    graph.GetXAxis().ScrollRight();
    graph.SetRelativeUnits(true);
    page = CMarkupProbe::Parse(m_oChart.RenderHtml().Str());
    const SElement& zoomed = *Only(*page, "graph").m_oChildren[0];
    EXPECT_NE(before, Texts(zoomed, "x-label"));
    EXPECT_EQ(ShownTicks(graph.GetXAxis()), Texts(zoomed, "x-label"));
    EXPECT_EQ(ShownTicks(graph.GetYAxis()), Texts(zoomed, "y-label"));
    EXPECT_EQ("%", Only(zoomed, "y-units").AllText());
    EXPECT_EQ((std::vector<std::string>{"A"}), Texts(zoomed, "event-marker"));
    EXPECT_TRUE(Only(zoomed, "event-marker").HasClass("active"));
    std::string activeLetters;
    for (const SElement* row : page->ByClass("event"))
        if (row->HasClass("active"))
            activeLetters += Only(*row, "letter").AllText();
    EXPECT_EQ("A", activeLetters);

    // Picking an event outside the view scrolls to it, keeping the zoom.
    const double width = graph.GetXAxis().GetCurrentExtentWidth();
    ASSERT_TRUE(m_oChart.GetEventList().OnItemClick(0));
    EXPECT_TRUE(graph.GetXAxis().IsCoordWithinCurrentExtents(400));
    EXPECT_NEAR(width, graph.GetXAxis().GetCurrentExtentWidth(), 1e-9);
    ASSERT_EQ(1u, graph.GetVisibleEventMarkers().size());
    EXPECT_EQ(graph.GetActiveEvent(), graph.GetVisibleEventMarkers()[0]->GetEvent());
}

TEST_F(ChartRenderTest, LargeSeriesIsThinnedAndZoomShowsEveryPoint)
{
    m_oChart.AddCategory("Signal", CCategory::CHARTABLE);
    const int count = 1000000;
    for (int i = 0; i < count; ++i)
        m_oChart.AddData("Signal", i, i % 1000);
    m_oChart.Position(CRect(0, 0, 1000, 600));
    CGraph& graph = m_oChart.GetGraph();

    std::unique_ptr<SElement> svg = CMarkupProbe::Parse(graph.RenderSvg().Str());
    std::vector<std::pair<double, double>> points = Points(Only(*svg, "series"));
    EXPECT_THAT(points,
                ::testing::SizeIs(::testing::AllOf(::testing::Ge(1900u), ::testing::Le(2100u))));
    const Gdiplus::Rect plot = graph.GetPlotRect();
    EXPECT_DOUBLE_EQ(plot.GetLeft(), points.front().first);
    EXPECT_DOUBLE_EQ(plot.GetRight(), points.back().first);
    for (std::size_t i = 1; i < points.size(); ++i)
        ASSERT_LE(points[i - 1].first, points[i].first);

    // 1000 .. 1999 visible: every point, with one beyond each edge.
    graph.GetXAxis().SetCurrentExtents(CAxis::CExtents(1000, 1999));
    svg = CMarkupProbe::Parse(graph.RenderSvg().Str());
    points = Points(Only(*svg, "series"));
    EXPECT_EQ(1002u, points.size());
    EXPECT_LT(points.front().first, plot.GetLeft());
    EXPECT_GT(points.back().first, plot.GetRight());

    // A click picks the nearest point and the render shows it with its value.
    const double x = graph.ToPixelX(1500);
    ASSERT_TRUE(graph.OnLeftClick(static_cast<int>(x), static_cast<int>(graph.ToPixelY(500))));
    const CActiveDatum& active = graph.GetSeries()[0]->GetActiveDatum();
    EXPECT_NEAR(1500, active.m_oDatum.m_dX, 1.0);
    svg = CMarkupProbe::Parse(graph.RenderSvg().Str());
    EXPECT_THAT(Only(*svg, "active-datum").AllText(),
                ::testing::StartsWith(
                    graph.GetXAxis().CreateTick(active.m_oDatum.m_dX, true).GetLabel().Str()));
    EXPECT_FALSE(graph.OnLeftClick(0, 0));
}

TEST_F(ChartRenderTest, NaNAndInfinitiesAreGapsThatLeaveTheAxesAlone)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    m_oChart.AddCategory("Good", CCategory::CHARTABLE);
    m_oChart.AddCategory("Holes", CCategory::CHARTABLE);
    m_oChart.AddCategory("Lost", CCategory::CHARTABLE);
    for (int i = 0; i <= 10; ++i)
    {
        m_oChart.AddData("Good", i, 10 + i);
        m_oChart.AddData("Holes", i, i == 4 ? nan : i == 7 ? -inf : 12.0);
    }
    m_oChart.AddData("Lost", 3, nan);
    m_oChart.Position(CRect(0, 0, 800, 400));
    CGraph& graph = m_oChart.GetGraph();

    for (bool relative : {false, true})
    {
        SCOPED_TRACE(relative);
        graph.SetRelativeUnits(relative);
        const std::unique_ptr<SElement> svg = CMarkupProbe::Parse(graph.RenderSvg().Str());
        const CAxis::CExtents y = graph.GetYAxis().GetMaxExtents();
        EXPECT_TRUE(std::isfinite(y.m_dMinimum) && std::isfinite(y.m_dMaximum));
        EXPECT_GE(Texts(*svg, "y-label").size(), 3u);

        // Good draws whole; Holes in three pieces around its two gaps; Lost not at all.
        std::vector<std::size_t> good, holes;
        for (const SElement* line : svg->ByClass("series"))
        {
            const std::vector<std::pair<double, double>> points = Points(*line);
            // Every point parsed: a "nan" would have stopped the reading.
            const std::string text = line->Attr("points");
            EXPECT_EQ(static_cast<std::size_t>(std::count(text.begin(), text.end(), ',')),
                      points.size());
            for (const auto& point : points)
                EXPECT_TRUE(std::isfinite(point.first) && std::isfinite(point.second));
            (line->Attr("data-name") == "Good" ? good : holes).push_back(points.size());
            EXPECT_NE("Lost", line->Attr("data-name"));
        }
        EXPECT_EQ(std::vector<std::size_t>{11}, good);
        EXPECT_EQ((std::vector<std::size_t>{4, 2, 3}), holes);
    }
}

TEST_F(ChartRenderTest, GapsBetweenThinnedSamplesStillBreakTheLine)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    m_oChart.AddCategory("Signal", CCategory::CHARTABLE);
    // 20,000 points thin to every 10th; a run of 3 NaNs every 1000 points falls mostly between
    // the samples.
    for (int i = 0; i < 20000; ++i)
        m_oChart.AddData("Signal", i, i % 1000 >= 503 && i % 1000 < 506 ? nan : i % 1000);
    m_oChart.Position(CRect(0, 0, 1000, 600));
    const std::unique_ptr<SElement> svg =
        CMarkupProbe::Parse(m_oChart.GetGraph().RenderSvg().Str());
    EXPECT_EQ(21u, svg->ByClass("series").size());
}

TEST_F(ChartRenderTest, HugeFiniteValuesAreDrawnAtFinitePixels)
{
    m_oChart.AddCategory("Huge", CCategory::CHARTABLE);
    m_oChart.AddData("Huge", -1.5e308, -1.5e308);
    m_oChart.AddData("Huge", 1.5e308, 1.5e308);
    m_oChart.Position(CRect(0, 0, 800, 400));
    CGraph& graph = m_oChart.GetGraph();
    const std::string text = graph.RenderSvg().Str();
    EXPECT_THAT(text, ::testing::Not(::testing::AnyOf(::testing::HasSubstr("nan"),
                                                      ::testing::HasSubstr("inf"))));
    const std::unique_ptr<SElement> svg = CMarkupProbe::Parse(text);
    const std::vector<std::pair<double, double>> points = Points(Only(*svg, "series"));
    ASSERT_EQ(2u, points.size());
    const Gdiplus::Rect plot = graph.GetPlotRect();
    EXPECT_DOUBLE_EQ(plot.GetLeft(), points[0].first);
    EXPECT_DOUBLE_EQ(plot.GetRight(), points[1].first);
    EXPECT_GT(points[0].second, points[1].second);
    EXPECT_GE(Texts(*svg, "y-label").size(), 3u);
    EXPECT_TRUE(graph.OnLeftClick(graph.GetPlotRect().GetRight() - 1, 100));
    EXPECT_EQ(1.5e308, graph.GetSeries()[0]->GetActiveDatum().m_oDatum.m_dX);
}
