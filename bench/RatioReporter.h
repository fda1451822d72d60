// A console reporter that, after the usual table, prints each benchmark's time as a ratio of a
// baseline measured in the same run.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

class CRatioReporter : public benchmark::ConsoleReporter
{
public:
    // Prints "name / baseline" for each pair once the run is over.
    explicit CRatioReporter(std::vector<std::pair<std::string, std::string>> ratios)
        : m_oRatios(std::move(ratios))
    {
    }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration || run.aggregate_name == "median")
                // In seconds, so that a benchmark and its baseline may print in different units.
                m_oTimes[run.run_name.function_name] =
                    run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\nRatios (lower is faster):\n");
        for (const auto& ratio : m_oRatios)
        {
            auto measured = m_oTimes.find(ratio.first);
            auto baseline = m_oTimes.find(ratio.second);
            if (measured == m_oTimes.end() || baseline == m_oTimes.end())
                continue;
            std::printf("  %-28s / %-28s = %.2f\n", ratio.first.c_str(), ratio.second.c_str(),
                        measured->second / baseline->second);
        }
    }

private:
    std::vector<std::pair<std::string, std::string>> m_oRatios;
    std::map<std::string, double> m_oTimes;
};

// main() for a benchmark program that reports the given ratios.
inline int RunWithRatios(int argc, char** argv,
                         std::vector<std::pair<std::string, std::string>> ratios)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    CRatioReporter reporter(std::move(ratios));
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
