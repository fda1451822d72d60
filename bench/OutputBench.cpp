// One log line through the output hub against formatting the same text by other means.
#include "RatioReporter.h"

#include <cpputil/CppUtil.Text.Output.h>

#include <boost/format.hpp>
#include <cstdio>

#if defined(CPPUTIL_BENCH_FMT)
#include <fmt/format.h>
#endif
#if defined(CPPUTIL_BENCH_SPDLOG)
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>
#endif

namespace
{

const char* const k_szFormat = "Lot %s: %d devices, yield %.2f%%";
const char* const k_szLot = "A-17";
const int k_iDevices = 1200;
const double k_dYield = 99.25;

void LogFLine(benchmark::State& state)
{
    using namespace CppUtil::Text;
    CMessageManager* manager = new CMessageManager;
    COutput out(manager);
    std::size_t length = 0;
    manager->SetLoggingEventHandler([&length](const char* text, bool, const char*,
                                              ELogEntryDestination) { length += text[0]; });
    for (auto _ : state)
        out.LogF(k_szFormat, 0u) % k_szLot % k_iDevices % k_dYield;
    benchmark::DoNotOptimize(length);
}
BENCHMARK(LogFLine);

// The hub's own cost: a line without arguments, so that formatting adds next to nothing.
void LogFNoArguments(benchmark::State& state)
{
    using namespace CppUtil::Text;
    CMessageManager* manager = new CMessageManager;
    COutput out(manager);
    std::size_t length = 0;
    manager->SetLoggingEventHandler([&length](const char* text, bool, const char*,
                                              ELogEntryDestination) { length += text[0]; });
    for (auto _ : state)
        out.LogF("Lot finished, all devices programmed", 0u);
    benchmark::DoNotOptimize(length);
}
BENCHMARK(LogFNoArguments);

void FreshBoostFormat(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::string text = (boost::format(k_szFormat) % k_szLot % k_iDevices % k_dYield).str();
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(FreshBoostFormat);

void ReusedBoostFormat(benchmark::State& state)
{
    boost::format format(k_szFormat);
    for (auto _ : state)
    {
        format.clear();
        std::string text = (format % k_szLot % k_iDevices % k_dYield).str();
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(ReusedBoostFormat);

void Snprintf(benchmark::State& state)
{
    char buffer[128];
    for (auto _ : state)
    {
        std::snprintf(buffer, sizeof buffer, k_szFormat, k_szLot, k_iDevices, k_dYield);
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(Snprintf);

#if defined(CPPUTIL_BENCH_FMT)
void FmtFormat(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::string text =
            fmt::format("Lot {}: {} devices, yield {:.2f}%", k_szLot, k_iDevices, k_dYield);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(FmtFormat);
#endif

#if defined(CPPUTIL_BENCH_SPDLOG)
void SpdlogNullSink(benchmark::State& state)
{
    auto logger =
        std::make_shared<spdlog::logger>("bench", std::make_shared<spdlog::sinks::null_sink_st>());
    for (auto _ : state)
        logger->info("Lot {}: {} devices, yield {:.2f}%", k_szLot, k_iDevices, k_dYield);
}
BENCHMARK(SpdlogNullSink);
#endif

} // namespace

int main(int argc, char** argv)
{
    return RunWithRatios(argc, argv,
                         {{"LogFLine", "FreshBoostFormat"},
                          {"ReusedBoostFormat", "FreshBoostFormat"},
                          {"Snprintf", "FreshBoostFormat"},
                          {"FmtFormat", "FreshBoostFormat"},
                          {"SpdlogNullSink", "FreshBoostFormat"},
                          {"LogFLine", "ReusedBoostFormat"}});
}
