#include <cpputil/CppUtil.Gui.Chart.Axis.h>
#include <cpputil/CppUtil.Gui.Chart.DataSeries.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

using namespace CppUtil::Gui::Chart;

namespace
{

CAxis MakeXAxis(double minimum, double maximum)
{
    CAxis axis(CAxis::X_AXIS, {8, 12}, Gdiplus::Color(), Gdiplus::Color());
    axis.UpdateMaxExtents(minimum);
    axis.UpdateMaxExtents(maximum);
    axis.OnUpdateExtentsComplete();
    return axis;
}

// Points at x = 0, 1, 2 ... with y = x.
CDataSeries MakeRamp(unsigned int count)
{
    CDataSeries series("ramp");
    for (unsigned int i = 0; i < count; ++i)
        series.Add(CDatum(i, i));
    return series;
}

} // namespace

TEST(DataSeriesTest, VisibleRangeAndClosestPointFollowTheSamplePeriod)
{
    CDataSeries series = MakeRamp(20001);
    CAxis x = MakeXAxis(0, 20000);
    x.SetCurrentExtents(CAxis::CExtents(100.5, 10099.5));
    series.OnVisibleXExtentsChanged(x);
    EXPECT_EQ(std::make_pair(100u, 10101u), series.GetVisibleDatumXExtents());
    EXPECT_EQ(5u, series.GetSamplePeriod());

    x.SetCurrentExtents(CAxis::CExtents(0, 3998));
    series.OnVisibleXExtentsChanged(x);
    EXPECT_EQ(std::make_pair(0u, 3999u), series.GetVisibleDatumXExtents());
    EXPECT_EQ(1u, series.GetSamplePeriod());

    // Against two plain binary searches, on runs of equal x (the range starts before the first
    // of them), edges on and between points, and edges beyond the data.
    std::mt19937 random(11);
    CDataSeries runs("runs");
    std::vector<double> xs;
    for (int i = 0; i < 3000; ++i)
        xs.push_back(i / 7);
    for (double value : xs)
        runs.Add(CDatum(value, 0));
    CAxis runsX = MakeXAxis(0, xs.back());
    for (int round = 0; round < 2000; ++round)
    {
        std::uniform_int_distribution<int> at(-20, 900);
        double a = at(random) / 2.0, b = at(random) / 2.0;
        runsX.SetCurrentExtents(CAxis::CExtents(std::min(a, b), std::max(a, b)));
        runs.OnVisibleXExtentsChanged(runsX);
        const CAxis::CExtents e = runsX.GetCurrentExtents();
        const long from = std::lower_bound(xs.begin(), xs.end(), e.m_dMinimum) - xs.begin();
        const long to = std::lower_bound(xs.begin(), xs.end(), e.m_dMaximum) - xs.begin();
        const auto expected = std::make_pair(static_cast<unsigned int>(std::max(0L, from - 1)),
                                             static_cast<unsigned int>(std::min(2999L, to + 1)));
        ASSERT_EQ(expected, runs.GetVisibleDatumXExtents()) << e.m_dMinimum << ".." << e.m_dMaximum;
    }

    CDataSeries empty("empty");
    empty.OnVisibleXExtentsChanged(x);
    EXPECT_EQ(std::make_pair(0u, 0u), empty.GetVisibleDatumXExtents());
    EXPECT_EQ(CDatum(), empty.GetDatumClosestTo(CDatum(5, 5)));

    // The closest point is found by x in steps of the sample period.
    CDataSeries tens("tens");
    for (int i = 0; i <= 10; ++i)
        tens.Add(CDatum(10.0 * i, i));
    CAxis tensX = MakeXAxis(0, 100);
    tens.OnVisibleXExtentsChanged(tensX);
    EXPECT_EQ(CDatum(20, 2), tens.GetDatumClosestTo(CDatum(15, 99))); // a tie: the later
    EXPECT_EQ(CDatum(10, 1), tens.GetDatumClosestTo(CDatum(14.9, 0)));
    EXPECT_EQ(CDatum(0, 0), tens.GetDatumClosestTo(CDatum(-50, 0)));
    EXPECT_EQ(CDatum(100, 10), tens.GetDatumClosestTo(CDatum(1e9, 0)));

    // Thinned: the stop is the first sampled point at or right of the mouse, then only its
    // direct neighbour is compared, never the points skipped in between.
    CDataSeries ramp = MakeRamp(100000);
    CAxis rampX = MakeXAxis(0, 99999);
    ramp.OnVisibleXExtentsChanged(rampX);
    ASSERT_EQ(49u, ramp.GetSamplePeriod());
    EXPECT_EQ(CDatum(1273, 1273), ramp.GetDatumClosestTo(CDatum(1234.4, 0)));
    EXPECT_EQ(CDatum(1225, 1225), ramp.GetDatumClosestTo(CDatum(1225, 0)));
    EXPECT_EQ(CDatum(1274, 1274), ramp.GetDatumClosestTo(CDatum(1273.6, 0)));
    // Past the last sampled point (99960): the last point of all.
    EXPECT_EQ(CDatum(99999, 99999), ramp.GetDatumClosestTo(CDatum(99970, 0)));
}

TEST(DataSeriesTest, RelativeDataIsPercentChangeAgainstTheFirstNonZeroValueAndExtentsResetTheActive)
{
    CDataSeries series("relative");
    EXPECT_EQ(1.0, series.ComputeNextY());
    for (double y : {0.0, 0.0, -2.0, -1.0, 4.0})
        series.Add(CDatum(series.ComputeNextY(), y));
    EXPECT_EQ(5.0, series.ComputeNextY());

    CAxis x = MakeXAxis(0, 1);
    CAxis y(CAxis::Y_AXIS, {5, 9}, Gdiplus::Color(), Gdiplus::Color());
    y.SetRelativeUnits(true);
    CActiveDatum active;
    active.m_oDatum = CDatum(2, 0);
    active.m_iMarkerX = 40;
    active.m_iMarkerY = 30;
    active.m_iMarkerRadius = 4;
    series.SetActiveDatum(active);
    EXPECT_TRUE(series.GetActiveDatum().GetMarkerRect().Equals(Gdiplus::Rect(36, 26, 8, 8)));
    series.UpdateExtents(x, y);
    // New extents drop the active datum.
    EXPECT_EQ(0, series.GetActiveDatum().m_iMarkerRadius);
    EXPECT_EQ(CDatum(), series.GetActiveDatum().m_oDatum);
    ASSERT_TRUE(series.IsRelative());
    const CDataSeries::TData& relative = series.GraphData();
    ASSERT_EQ(5u, relative.size());
    // The sign follows the formula: -1 against -2 reads as -50 %.
    const double expected[] = {-100, -100, 0, -50, -300};
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_DOUBLE_EQ(expected[i], relative[i].m_dY) << i;
    EXPECT_EQ(1.0, relative[0].m_dX);
    EXPECT_NEAR(-300 - 300 * 0.02, y.GetMaxExtents().m_dMinimum, 1e-9);

    // Points added later join the relative data against the same base.
    series.Add(CDatum(6, -4));
    ASSERT_EQ(6u, series.GraphData().size());
    EXPECT_DOUBLE_EQ(100.0, series.GraphData().back().m_dY);

    y.SetRelativeUnits(false);
    series.UpdateExtents(x, y);
    EXPECT_EQ(-4.0, series.GraphData().back().m_dY);

    // All zero: nothing to draw, nothing fed to the axes.
    CDataSeries zeros("zeros");
    zeros.Add(CDatum(1, 0));
    zeros.Add(CDatum(2, 0));
    x.ClearExtents();
    y.SetRelativeUnits(true);
    zeros.UpdateExtents(x, y);
    EXPECT_TRUE(zeros.GraphData().empty());
    EXPECT_TRUE(x.GetMaxExtents() == CAxis::CExtents());
    EXPECT_EQ(CDatum(), zeros.GetDatumClosestTo(CDatum(1, 0)));
}

TEST(DataSeriesTest, NaNAndInfinitiesAreGapsThatFeedNoExtents)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const auto makeY = [](bool relative)
    {
        CAxis y(CAxis::Y_AXIS, {5, 9}, Gdiplus::Color(), Gdiplus::Color());
        y.SetRelativeUnits(relative);
        return y;
    };
    // What an axis holds when no series feeds it.
    CAxis unfed = makeY(false);
    unfed.OnUpdateExtentsComplete();

    // No finite sample: the axes stay as if the series were not there.
    for (double bad : {nan, inf, -inf})
        for (bool relative : {false, true})
        {
            SCOPED_TRACE(testing::Message() << bad << (relative ? " relative" : ""));
            CDataSeries series("bad");
            series.Add(CDatum(0, bad));
            series.Add(CDatum(1, bad));
            CAxis x(CAxis::X_AXIS, {8, 12}, Gdiplus::Color(), Gdiplus::Color());
            CAxis y = makeY(relative);
            series.UpdateExtents(x, y);
            EXPECT_TRUE(x.GetMaxExtents() == CAxis::CExtents());
            EXPECT_TRUE(y.GetMaxExtents() == unfed.GetMaxExtents());
        }

    // Gaps at both ends and between: only the finite points count, in x as in y.
    CDataSeries mixed("mixed");
    for (const CDatum& datum : {CDatum(0, nan), CDatum(1, 2), CDatum(2, inf), CDatum(3, -1),
                                CDatum(4, -inf), CDatum(5, nan)})
        mixed.Add(datum);
    CAxis x(CAxis::X_AXIS, {8, 12}, Gdiplus::Color(), Gdiplus::Color());
    CAxis y = makeY(false);
    mixed.UpdateExtents(x, y);
    EXPECT_TRUE(x.GetMaxExtents() == CAxis::CExtents(1, 3));
    EXPECT_NEAR(-1 - 3 * 0.02, y.GetMaxExtents().m_dMinimum, 1e-12);
    EXPECT_NEAR(2 + 3 * 0.02, y.GetMaxExtents().m_dMaximum, 1e-12);

    // Relative: the base is the first finite non-zero value; the gaps stay gaps.
    y = makeY(true);
    x.ClearExtents();
    mixed.UpdateExtents(x, y);
    const CDataSeries::TData& relative = mixed.GraphData();
    ASSERT_EQ(6u, relative.size());
    EXPECT_FALSE(relative[0].IsFinite());
    EXPECT_DOUBLE_EQ(0.0, relative[1].m_dY);
    EXPECT_DOUBLE_EQ(-150.0, relative[3].m_dY);
    EXPECT_FALSE(relative[4].IsFinite());
    EXPECT_NEAR(-150 - 150 * 0.02, y.GetMaxExtents().m_dMinimum, 1e-9);
    EXPECT_NEAR(150 * 0.02, y.GetMaxExtents().m_dMaximum, 1e-9);
}
