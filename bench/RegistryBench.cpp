// A setting's first load and a write through CRegistryValue<unsigned long>, against a plain
// open/read/close of a file of the size of the key's value file. On POSIX the store is the file
// registry; RegistryTiming gives the same three figures under Wine, for its registry.
#include "RatioReporter.h"
#include "RegistryOps.h"

namespace
{

RegistryOps::CSetup* s_poSetup = nullptr;

void BM_PlainOpenReadClose(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(RegistryOps::PlainRead(s_poSetup->File()));
}
BENCHMARK(BM_PlainOpenReadClose);

void BM_RegistryValueFirstLoad(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(RegistryOps::FirstLoad());
}
BENCHMARK(BM_RegistryValueFirstLoad);

void BM_RegistryValueSetValue(benchmark::State& state)
{
    unsigned long number = 0;
    for (auto _ : state)
        RegistryOps::SetValue(++number);
}
BENCHMARK(BM_RegistryValueSetValue);

} // namespace

int main(int argc, char** argv)
{
    RegistryOps::CSetup setup;
    s_poSetup = &setup;
    return RunWithRatios(argc, argv,
                         {{"BM_RegistryValueFirstLoad", "BM_PlainOpenReadClose"},
                          {"BM_RegistryValueSetValue", "BM_PlainOpenReadClose"}});
}
