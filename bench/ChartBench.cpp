// The chart's work on a series of 10,000,000 points, each against a binary search pair over the
// same points (std::lower_bound for both ends of a range), which is the least any visible-range
// update must do. Goal: the visible-range update within twice the pair.
#include "RatioReporter.h"

#include <cpputil/CppUtil.Gui.Chart.Chart.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

using namespace CppUtil::Gui::Chart;

namespace
{

const int k_iPoints = 10000000;
const int k_iRanges = 1024;

// One chart with the series, built once for all benchmarks, and the ranges they look at.
struct SFixture
{
    SFixture() : m_oChart(m_oParent)
    {
        m_oChart.AddCategory("Signal", CCategory::CHARTABLE);
        for (int i = 0; i < k_iPoints; ++i)
            m_oChart.AddData("Signal", i * 0.001, std::sin(i * 1e-4) * 100.0);
        m_oChart.Position(CRect(0, 0, 1600, 900));
        m_oChart.GetGraph().UpdateExtents();
        m_poSeries = m_oChart.GetGraph().GetSeries().front();
        std::mt19937 random(7);
        std::uniform_real_distribution<double> where(0.0, k_iPoints * 0.001);
        for (int i = 0; i < k_iRanges; ++i)
        {
            double a = where(random);
            double b = where(random);
            m_oRanges.push_back(CAxis::CExtents(std::min(a, b), std::max(a, b)));
        }
    }

    CWnd m_oParent;
    CChart m_oChart;
    std::shared_ptr<CDataSeries> m_poSeries;
    std::vector<CAxis::CExtents> m_oRanges;
};

SFixture& Fixture()
{
    static SFixture s_oFixture;
    return s_oFixture;
}

bool IsLess(const CDatum& left, const CDatum& right)
{
    return left.m_dX < right.m_dX;
}

void LowerBoundPair(benchmark::State& state)
{
    SFixture& f = Fixture();
    const CDataSeries::TData& data = f.m_poSeries->GraphData();
    std::size_t range = 0;
    for (auto _ : state)
    {
        const CAxis::CExtents& e = f.m_oRanges[range++ % k_iRanges];
        auto first = std::lower_bound(data.begin(), data.end(), CDatum(e.m_dMinimum, 0), IsLess);
        auto last = std::lower_bound(data.begin(), data.end(), CDatum(e.m_dMaximum, 0), IsLess);
        benchmark::DoNotOptimize(first);
        benchmark::DoNotOptimize(last);
    }
}
BENCHMARK(LowerBoundPair);

// Each axis holds one of the ranges, so that only the series' work is timed.
void OnVisibleXExtentsChanged(benchmark::State& state)
{
    SFixture& f = Fixture();
    std::vector<CAxis> axes;
    for (const CAxis::CExtents& e : f.m_oRanges)
    {
        axes.push_back(f.m_oChart.GetGraph().GetXAxis());
        axes.back().SetCurrentExtents(e);
    }
    std::size_t range = 0;
    for (auto _ : state)
    {
        f.m_poSeries->OnVisibleXExtentsChanged(axes[range++ % k_iRanges]);
        benchmark::DoNotOptimize(f.m_poSeries->GetVisibleDatumXExtents());
    }
}
BENCHMARK(OnVisibleXExtentsChanged);

void GetDatumClosestTo(benchmark::State& state)
{
    SFixture& f = Fixture();
    f.m_poSeries->OnVisibleXExtentsChanged(f.m_oChart.GetGraph().GetXAxis());
    std::size_t range = 0;
    for (auto _ : state)
    {
        const double x = f.m_oRanges[range++ % k_iRanges].m_dMinimum;
        benchmark::DoNotOptimize(f.m_poSeries->GetDatumClosestTo(CDatum(x, 0)));
    }
}
BENCHMARK(GetDatumClosestTo);

// In then out again, so the range does not run away; new ticks are made for each.
void ZoomInAndOut(benchmark::State& state)
{
    CAxis axis = Fixture().m_oChart.GetGraph().GetXAxis();
    axis.SetCurrentExtents(CAxis::CExtents(1000, 9000));
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(axis.Zoom(0.3, true, 0.1));
        benchmark::DoNotOptimize(axis.Zoom(0.3, false, 0.1));
    }
}
BENCHMARK(ZoomInAndOut);

// Every point once, for the Y range.
void UpdateExtents(benchmark::State& state)
{
    SFixture& f = Fixture();
    CAxis x = f.m_oChart.GetGraph().GetXAxis();
    CAxis y = f.m_oChart.GetGraph().GetYAxis();
    for (auto _ : state)
    {
        y.ClearExtents();
        f.m_poSeries->UpdateExtents(x, y);
        benchmark::DoNotOptimize(y.GetMaxExtents());
    }
}
BENCHMARK(UpdateExtents)->Unit(benchmark::kMillisecond);

// The plainest pass over every point: the smallest and the largest y.
void MinMaxPass(benchmark::State& state)
{
    const CDataSeries::TData& data = Fixture().m_poSeries->GraphData();
    for (auto _ : state)
    {
        auto extremes = std::minmax_element(data.begin(), data.end(),
                                            [](const CDatum& left, const CDatum& right)
                                            { return left.m_dY < right.m_dY; });
        benchmark::DoNotOptimize(extremes);
    }
}
BENCHMARK(MinMaxPass)->Unit(benchmark::kMillisecond);

// A new visible range each time, so the series search again and the ticks are made anew.
void RenderSvg(benchmark::State& state)
{
    SFixture& f = Fixture();
    CGraph& graph = f.m_oChart.GetGraph();
    std::size_t range = 0;
    for (auto _ : state)
    {
        graph.GetXAxis().SetCurrentExtents(f.m_oRanges[range++ % k_iRanges]);
        benchmark::DoNotOptimize(graph.RenderSvg());
    }
}
BENCHMARK(RenderSvg)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    return RunWithRatios(argc, argv,
                         {{"OnVisibleXExtentsChanged", "LowerBoundPair"},
                          {"GetDatumClosestTo", "LowerBoundPair"},
                          {"ZoomInAndOut", "LowerBoundPair"},
                          {"RenderSvg", "LowerBoundPair"},
                          {"UpdateExtents", "MinMaxPass"}});
}
