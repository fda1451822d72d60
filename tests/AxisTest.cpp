#include <cpputil/CppUtil.Gui.Chart.Axis.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>

using namespace CppUtil::Gui::Chart;

namespace
{

CAxis MakeAxis(std::pair<unsigned int, unsigned int> counts, double minimum, double maximum,
               CAxis::EType type = CAxis::X_AXIS)
{
    CAxis axis(type, counts, Gdiplus::Color(213, 221, 213), Gdiplus::Color(0, 0, 0));
    axis.UpdateMaxExtents(minimum);
    axis.UpdateMaxExtents(maximum);
    axis.OnUpdateExtentsComplete();
    return axis;
}

std::string Labels(CAxis& axis)
{
    std::string labels;
    for (const CTick& tick : axis.GetTicks())
        labels += (labels.empty() ? "" : " ") + tick.GetLabel().Str();
    return labels;
}

} // namespace

TEST(AxisTest, DecimalTicksMatchSpacingsWorkedOutByHand)
{
    struct SCase
    {
        unsigned int m_uFewest, m_uMost;
        double m_dMin, m_dMax;
        const char* m_szLabels;
    } cases[] = {
        // 0.1 and 0.05 both fit exactly: the fewest ticks win.
        {5, 9, 0, 0.4, "0.0 0.1 0.2 0.3 0.4"},
        // 1.5 lies as far from 1 as from 2: the smaller multiplier wins.
        {8, 8, 0, 10.5, "0 1 2 3 4 5 6 7 8 9 10"},
        {8, 12, -7.5, 12.5, "-6 -4 -2 0 2 4 6 8 10 12"},
        // The first tick is cut toward zero and lies left of the range; it is kept.
        {8, 12, 7.5, 27.5, "6 8 10 12 14 16 18 20 22 24 26"},
        // The empty range's tiny positive maximum stays: all-negative data reaches zero.
        {5, 9, -250, -50, "-250 -200 -150 -100 -50 0"},
        {8, 12, 0, 0.03, "0.000 0.005 0.010 0.015 0.020 0.025 0.030"},
        // 15 x 0.02 rounds above 0.3; the last tick must not be lost to that.
        {8, 12, 0.1, 0.3, "0.10 0.12 0.14 0.16 0.18 0.20 0.22 0.24 0.26 0.28 0.30"},
    };
    for (const SCase& c : cases)
    {
        CAxis axis = MakeAxis({c.m_uFewest, c.m_uMost}, c.m_dMin, c.m_dMax);
        EXPECT_EQ(c.m_szLabels, Labels(axis)) << c.m_dMin << ".." << c.m_dMax;
        const std::vector<CTick> ticks = axis.GetTicks();
        ASSERT_GE(ticks.size(), 2u);
        EXPECT_LE(ticks.back().GetPosition(), axis.GetCurrentExtents().m_dMaximum);
        EXPECT_NEAR(std::stod(ticks.back().GetLabel().Str()), ticks.back().GetPosition(), 1e-12);
    }
    // An extra digit for the value under the mouse.
    CAxis axis = MakeAxis({8, 12}, 0, 1);
    axis.GetTicks();
    EXPECT_EQ("0.25", axis.CreateTick(0.25, true).GetLabel().Str());
    // No width, no ticks (and no endless search for a spacing).
    CAxis flat = MakeAxis({8, 12}, 3, 3);
    EXPECT_TRUE(flat.GetTicks().empty());
}

TEST(AxisTest, TimeAxisLabelsAreCompound)
{
    CAxis minutes = MakeAxis({8, 12}, 0, 90);
    EXPECT_EQ("0 10 20 30 40 50 60 70 80 90", Labels(minutes));
    // New unit scales must not be answered from the ticks cached before them.
    minutes.SetTime();
    EXPECT_EQ("0:00 0:10 0:20 0:30 0:40 0:50 1:00 1:10 1:20 1:30", Labels(minutes));
    EXPECT_EQ("", minutes.GetUnitsString().Str());

    CAxis seconds = MakeAxis({8, 12}, 0, 30);
    seconds.SetTime();
    EXPECT_EQ("0 5 10 15 20 25 30", Labels(seconds));

    CAxis hours = MakeAxis({8, 12}, 0, 5430);
    hours.SetTime();
    EXPECT_EQ("0:00:00 0:08:20 0:16:40 0:25:00 0:33:20 0:41:40 0:50:00 0:58:20 1:06:40 1:15:00 "
              "1:23:20",
              Labels(hours));
    EXPECT_EQ("1:30:30", hours.CreateTick(5430, false).GetLabel().Str());
    // A value a hair below the hour stands for the hour.
    EXPECT_EQ("1:00:00", hours.CreateTick(3599.99999999999, false).GetLabel().Str());

    // Below one second no unit applies: decimals.
    CAxis fraction = MakeAxis({8, 12}, 0, 0.5);
    fraction.SetTime();
    EXPECT_EQ("0.00 0.05 0.10 0.15 0.20 0.25 0.30 0.35 0.40 0.45 0.50", Labels(fraction));
}

TEST(AxisTest, ExtentsMarginsAndClamping)
{
    // All negative: the empty range's tiny maximum survives, so the range reaches zero.
    const double margins[][5] = {
        {-5, -3, -5.1, 0.1, 1e-12}, {5, 5, 4.99, 5.01, 1e-12}, {0, 0, 0, 0, 1e-300}};
    for (const auto& m : margins)
    {
        CAxis y = MakeAxis({5, 9}, m[0], m[1], CAxis::Y_AXIS);
        EXPECT_NEAR(m[2], y.GetCurrentExtents().m_dMinimum, m[4]) << m[0] << ".." << m[1];
        EXPECT_NEAR(m[3], y.GetCurrentExtents().m_dMaximum, m[4]) << m[0] << ".." << m[1];
    }

    // X: no margin; the user's range survives new data, the Y axis always shows all.
    CAxis x = MakeAxis({8, 12}, 2, 8);
    EXPECT_TRUE(x.GetCurrentExtents() == CAxis::CExtents(2, 8));
    x.SetCurrentExtents(CAxis::CExtents(3, 5));
    x.UpdateMaxExtents(10);
    x.OnUpdateExtentsComplete();
    EXPECT_TRUE(x.GetCurrentExtents() == CAxis::CExtents(3, 5));
    EXPECT_TRUE(x.GetMaxExtents() == CAxis::CExtents(2, 10));
    x.SetCurrentExtents(CAxis::CExtents(6, 4));
    x.SetCurrentExtents(CAxis::CExtents(std::nan(""), 4));
    x.ScrollBy(std::nan(""));
    EXPECT_TRUE(x.GetCurrentExtents() == CAxis::CExtents(3, 5));
    x.SetCurrentExtents(CAxis::CExtents(-100, 100));
    EXPECT_TRUE(x.GetCurrentExtents() == CAxis::CExtents(2, 10));
    EXPECT_TRUE(x.IsCoordWithinCurrentExtents(2) && x.IsCoordWithinCurrentExtents(10));
    EXPECT_FALSE(x.IsCoordWithinCurrentExtents(10.000001));

    CAxis y = MakeAxis({5, 9}, -10, 30, CAxis::Y_AXIS);
    y.SetCurrentExtents(CAxis::CExtents(0, 10));
    EXPECT_NEAR(-0.2, y.GetCurrentExtents().m_dMinimum, 1e-12);
    EXPECT_NEAR(10.2, y.GetCurrentExtents().m_dMaximum, 1e-12);
    y.UpdateMaxExtents(50);
    y.OnUpdateExtentsComplete();
    EXPECT_TRUE(y.GetCurrentExtents() == y.GetMaxExtents());

    x.ClearExtents();
    EXPECT_TRUE(x.GetCurrentExtents() == CAxis::CExtents() &&
                x.GetMaxExtents() == CAxis::CExtents());
}

TEST(AxisTest, ZoomOutUndoesZoomInAndZoomStopsWhereLabelsRepeat)
{
    for (double anchor : {0.0, 0.25, 1.0})
    {
        CAxis axis = MakeAxis({8, 12}, 0, 100);
        axis.SetCurrentExtents(CAxis::CExtents(20, 80));
        ASSERT_TRUE(axis.Zoom(anchor, true, 0.2));
        EXPECT_NEAR(36.0, axis.GetCurrentExtentWidth(), 1e-9);
        EXPECT_NEAR(20 + 24 * anchor, axis.GetCurrentExtents().m_dMinimum, 1e-9);
        ASSERT_TRUE(axis.Zoom(anchor, false, 0.2));
        EXPECT_NEAR(20.0, axis.GetCurrentExtents().m_dMinimum, 1e-9) << anchor;
        EXPECT_NEAR(80.0, axis.GetCurrentExtents().m_dMaximum, 1e-9) << anchor;
    }

    // Zooming out at the left end keeps the new width by moving right, then stops at the data.
    CAxis edge = MakeAxis({8, 12}, 0, 100);
    edge.SetCurrentExtents(CAxis::CExtents(0, 50));
    ASSERT_TRUE(edge.Zoom(0.5, false, 0.2));
    EXPECT_NEAR(0.0, edge.GetCurrentExtents().m_dMinimum, 1e-9);
    EXPECT_NEAR(50 + 2 * 50 / 3.0, edge.GetCurrentExtents().m_dMaximum, 1e-9);
    ASSERT_TRUE(edge.Zoom(0.5, false, 0.4));
    EXPECT_TRUE(edge.GetCurrentExtents() == CAxis::CExtents(0, 100));

    CAxis unfed(CAxis::X_AXIS, {8, 12}, Gdiplus::Color(), Gdiplus::Color());
    EXPECT_FALSE(unfed.Zoom(0.5, true, 0.2));

    // Time labels end at whole seconds: zooming in must stop before two ticks read the same.
    CAxis time = MakeAxis({8, 12}, 0, 100);
    time.SetTime();
    int zooms = 0;
    while (zooms < 60 && time.Zoom(0.5, true, 0.25))
        ++zooms;
    ASSERT_LT(zooms, 60);
    EXPECT_GT(zooms, 0);
    const CAxis::CExtents stopped = time.GetCurrentExtents();
    const std::vector<CTick> ticks = time.GetTicks();
    for (std::size_t i = 1; i < ticks.size(); ++i)
        EXPECT_NE(ticks[i - 1].GetLabel(), ticks[i].GetLabel());
    EXPECT_FALSE(time.Zoom(0.5, true, 0.25));
    EXPECT_TRUE(time.GetCurrentExtents() == stopped);
    EXPECT_GT(stopped.Width(), 3.0);
    EXPECT_LT(stopped.Width(), 20.0);
}

TEST(AxisTest, ScrollingStaysInsideTheDataAndKeepsTheWidth)
{
    CAxis axis = MakeAxis({8, 12}, 0, 100);
    axis.SetCurrentExtents(CAxis::CExtents(40, 60));
    // 0..20 has ticks every 2.
    const std::pair<std::function<void()>, CAxis::CExtents> steps[] = {
        {[&] { axis.ScrollBy(1000); }, {80, 100}},
        {[&] { axis.ScrollPageRight(); }, {80, 100}},
        {[&] { axis.ScrollBy(-1000); }, {0, 20}},
        {[&] { axis.ScrollLeft(); }, {0, 20}},
        {[&] { axis.ScrollRight(); }, {2, 22}},
        {[&] { axis.ScrollPageRight(); }, {22, 42}},
        {[&] { axis.ScrollPageLeft(), axis.ScrollLeft(); }, {0, 20}},
        {[&] { axis.ScrollTo(50); }, {50, 70}}};
    for (std::size_t i = 0; i < std::size(steps); ++i)
    {
        steps[i].first();
        EXPECT_TRUE(axis.GetCurrentExtents() == steps[i].second) << "step " << i;
    }
    EXPECT_EQ("50 52 54 56 58 60 62 64 66 68 70", Labels(axis));
}

TEST(AxisTest, DataWiderThanTheLargestDoubleKeepsFiniteExtentsAndTicks)
{
    const auto finite = [](const CAxis::CExtents& extents)
    { return std::isfinite(extents.m_dMinimum) && std::isfinite(extents.m_dMaximum); };
    CAxis y = MakeAxis({5, 9}, -1.5e308, 1.5e308, CAxis::Y_AXIS);
    EXPECT_TRUE(finite(y.GetMaxExtents()));
    EXPECT_GT(y.GetMaxExtents().m_dMaximum, 1.5e308);
    EXPECT_GE(y.GetTicks().size(), 3u);
    CAxis top = MakeAxis({5, 9}, 1.7e308, 1.7e308, CAxis::Y_AXIS);
    EXPECT_TRUE(finite(top.GetMaxExtents()));

    CAxis x = MakeAxis({8, 12}, -1.5e308, 1.5e308);
    EXPECT_TRUE(x.Zoom(0.5, true, 0.2));
    EXPECT_TRUE(finite(x.GetCurrentExtents()));
    x.ScrollPageLeft();
    EXPECT_EQ(-1.5e308, x.GetCurrentExtents().m_dMinimum);
    EXPECT_TRUE(x.Zoom(0.5, false, 0.2));
    x.ScrollPageRight();
    EXPECT_EQ(1.5e308, x.GetCurrentExtents().m_dMaximum);
    EXPECT_TRUE(finite(x.GetCurrentExtents()));
    EXPECT_LT(x.GetCurrentExtents().m_dMinimum, x.GetCurrentExtents().m_dMaximum);
    x.SetCurrentExtents(CAxis::CExtents(-1.5e308, -0.5e308));
    x.ScrollTo(1.7e308);
    EXPECT_DOUBLE_EQ(0.5e308, x.GetCurrentExtents().m_dMinimum);
    EXPECT_DOUBLE_EQ(1.5e308, x.GetCurrentExtents().m_dMaximum);
}
