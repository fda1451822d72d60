// Running deviation, duration metrics, the performance-counter stopwatch and the profile timer.
#include "LogRecorder.h"

#include <cpputil/CppUtil.PerformanceTimer.h>
#include <cpputil/CppUtil.ProfileTimer.h>
#include <cpputil/CppUtil.RunningStdDeviation.h>
#include <cpputil/CppUtil.Text.Output.h>
#include <cpputil/Platform/Types/WinTypes.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace CppUtil;

namespace
{

// Mean and population deviation the long way, in two passes.
void TwoPass(const std::vector<double>& samples, double& mean, double& deviation)
{
    mean = 0;
    for (double x : samples)
        mean += x;
    mean /= static_cast<double>(samples.size());
    double squares = 0;
    for (double x : samples)
        squares += (x - mean) * (x - mean);
    deviation = std::sqrt(squares / static_cast<double>(samples.size()));
}

} // namespace

TEST(MetricsTest, DeviationMatchesTheTwoPassFiguresAndTheCountIsOffsetByOne)
{
    // Large values close together: a sum of squares would lose them.
    CRunningStdDeviation running;
    std::vector<double> samples;
    for (int i = 0; i < 1000; ++i)
    {
        samples.push_back(1e9 + (i * 37 % 101) * 0.25);
        running.Calculate(samples.back());
    }
    double mean = 0, deviation = 0;
    TwoPass(samples, mean, deviation);
    EXPECT_NEAR(mean, running.GetMean(), 1e-6);
    EXPECT_NEAR(deviation, running.GetStandardDeviation(), 1e-6);
    EXPECT_EQ(1000, running.GetCount());

    CMetrics<__int64> metrics;
    EXPECT_EQ(1u, metrics.GetIterationCount());
    EXPECT_EQ(0, metrics.GetMeanDelta());
    samples = {5, -3, 10, 4};
    for (double x : samples)
        metrics.UpdateDelta(static_cast<__int64>(x));
    TwoPass(samples, mean, deviation);
    EXPECT_EQ((std::vector<__int64>{4, -3, 10, 16}),
              (std::vector<__int64>{metrics.GetDelta(), metrics.GetMinDelta(),
                                    metrics.GetMaxDelta(), metrics.GetTotalDelta()}));
    EXPECT_DOUBLE_EQ(mean, metrics.GetMeanDelta());
    EXPECT_DOUBLE_EQ(deviation, metrics.GetStandardDeviation());
    EXPECT_EQ(5u, metrics.GetIterationCount());

    // A reset starts over: one sample is its own minimum, maximum and mean, with no deviation.
    metrics.ResetStats();
    EXPECT_EQ(1u, metrics.GetIterationCount());
    metrics.UpdateDelta(8);
    EXPECT_EQ((std::vector<double>{8, 8, 8, 0}),
              (std::vector<double>{double(metrics.GetMinDelta()), double(metrics.GetMaxDelta()),
                                   metrics.GetMeanDelta(), metrics.GetStandardDeviation()}));
}

TEST(PerformanceTimerTest, MeasuresMicroseconds)
{
    CPerformanceTimer timer;
    EXPECT_FALSE(timer.IsCaptureInProgress());
    timer.CaptureStart();
    EXPECT_TRUE(timer.IsCaptureInProgress());
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    timer.CaptureEnd();
    EXPECT_FALSE(timer.IsCaptureInProgress());
    EXPECT_GE(timer.GetDelta(), 25000);
    EXPECT_LT(timer.GetDelta(), 30000000);
    EXPECT_EQ(2u, timer.GetIterationCount());
    EXPECT_LE(timer.GetEndTime().QuadPart, CPerformanceTimer::GetSnapShot().QuadPart);

    // Exact scaling from counts, also over a day without overflowing.
    LARGE_INTEGER frequency, start, end;
    ASSERT_TRUE(::QueryPerformanceFrequency(&frequency));
    start.QuadPart = 1000;
    end.QuadPart = 1000 + frequency.QuadPart * 3 / 2;
    timer.SetStartTime(start);
    timer.SetEndTime(end);
    EXPECT_EQ(1500000, timer.CalculateElapsedTime());
    end.QuadPart = 1000 + frequency.QuadPart * 86400;
    timer.SetEndTime(end);
    timer.CalculateDelta();
    EXPECT_EQ(86400000000LL, timer.GetMaxDelta());
    EXPECT_EQ(3u, timer.GetIterationCount());
}

TEST(ProfileTimerTest, AddsUpScopesByNameAndPrintsThemInOrder)
{
    SRecordedOutput log;
    Text::COutput& out = log.m_oOut;
    CLogRecorder& recorder = log.m_oRecorder;
    CProfileTimer::ClearMap();
    CProfileTimer::DisplayResults(out);
    EXPECT_TRUE(recorder.Lines().empty());

    for (int i = 0; i < 2; ++i)
    {
        // Waiting is charged as the wall-clock time it takes, not the processor time it uses.
        CProfileTimer timer("write");
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    {
        CProfileTimer timer("erase");
    }
    CProfileTimer::DisplayResults(out);
    const std::vector<SLogLine> lines = recorder.Lines();
    ASSERT_EQ(2u, lines.size());
    const struct
    {
        const char* m_szName;
        int m_iCalls;
        double m_dMin, m_dMax;
    } expected[] = {{"erase", 1, 0, 0.02}, {"write", 2, 0.09, 30}};
    for (int i = 0; i < 2; ++i)
    {
        char name[16] = {};
        double seconds = -1;
        int calls = -1;
        ASSERT_EQ(3,
                  std::sscanf(lines[i].m_sText.c_str(), "%15s - (%lf, %d)", name, &seconds, &calls))
            << lines[i].m_sText;
        EXPECT_STREQ(expected[i].m_szName, name);
        EXPECT_EQ(expected[i].m_iCalls, calls);
        EXPECT_GE(seconds, expected[i].m_dMin);
        EXPECT_LT(seconds, expected[i].m_dMax);
    }
    CProfileTimer::ClearMap();
    CProfileTimer::DisplayResults(out);
    EXPECT_EQ(2u, recorder.Lines().size());
}
