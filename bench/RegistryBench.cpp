// A setting's first load and a write through CRegistryValue<unsigned long>, in a section key of 10
// values and of 5000, against a plain open/read/close of a file of the size of a small key's value
// file. A store whose cost does not grow with the key shows the same ratios at both sizes, and a
// write near a read. On POSIX the store is the file registry; RegistryTiming gives the same
// figures under Wine, for its registry.
#include "RatioReporter.h"
#include "RegistryOps.h"

namespace
{

RegistryOps::CSetup* s_poSetup = nullptr;
const int k_aiKeySizes[] = {10, 5000};

void BM_PlainOpenReadClose(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(RegistryOps::PlainRead(s_poSetup->File()));
}
BENCHMARK(BM_PlainOpenReadClose);

void FirstLoad(benchmark::State& state, int values)
{
    s_poSetup->Fill(values);
    for (auto _ : state)
        benchmark::DoNotOptimize(RegistryOps::FirstLoad());
}

void SetValue(benchmark::State& state, int values)
{
    s_poSetup->Fill(values);
    unsigned long number = 0;
    for (auto _ : state)
        RegistryOps::SetValue(++number);
}

} // namespace

int main(int argc, char** argv)
{
    RegistryOps::CSetup setup;
    s_poSetup = &setup;
    std::vector<std::pair<std::string, std::string>> ratios;
    for (int values : k_aiKeySizes)
    {
        const std::string load = "BM_RegistryValueFirstLoad/" + std::to_string(values);
        const std::string set = "BM_RegistryValueSetValue/" + std::to_string(values);
        benchmark::RegisterBenchmark(load.c_str(), FirstLoad, values);
        benchmark::RegisterBenchmark(set.c_str(), SetValue, values);
        ratios.emplace_back(load, "BM_PlainOpenReadClose");
        ratios.emplace_back(set, "BM_PlainOpenReadClose");
        ratios.emplace_back(set, load);
    }
    ratios.emplace_back("BM_RegistryValueFirstLoad/5000", "BM_RegistryValueFirstLoad/10");
    ratios.emplace_back("BM_RegistryValueSetValue/5000", "BM_RegistryValueSetValue/10");
    return RunWithRatios(argc, argv, ratios);
}
