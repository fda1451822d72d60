// The registry figures without Google Benchmark, for the Win32 build run under Wine: each
// operation is repeated for about a second, in a section key of 10, 100, 1000 and 5000 values,
// and its mean time printed beside the baseline's.
//
//   RegistryTiming [seconds per operation]
#include "RegistryOps.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace
{

volatile unsigned long s_ulSink = 0;

template <class TOperation>
double MeanNanoseconds(double seconds, const TOperation& operation)
{
    using TClock = std::chrono::steady_clock;
    const auto start = TClock::now();
    const auto end = start + std::chrono::duration<double>(seconds);
    long runs = 0;
    while (TClock::now() < end || runs < 10)
    {
        operation();
        ++runs;
    }
    return std::chrono::duration<double, std::nano>(TClock::now() - start).count() / runs;
}

} // namespace

int main(int argc, char** argv)
{
    const double seconds = argc > 1 ? std::atof(argv[1]) : 1.0;
    RegistryOps::CSetup setup;
    unsigned long number = 0;
    const double plain = MeanNanoseconds(
        seconds,
        [&setup] {
            s_ulSink = s_ulSink + static_cast<unsigned long>(RegistryOps::PlainRead(setup.File()));
        });
    std::printf("plain open/read/close: %.0f ns\n\n", plain);
    std::printf("%8s %14s %14s %12s %12s %12s\n", "values", "first load ns", "SetValue ns",
                "load/plain", "set/plain", "set/load");
    for (int values : {10, 100, 1000, 5000})
    {
        setup.Fill(values);
        const double load =
            MeanNanoseconds(seconds, [] { s_ulSink = s_ulSink + RegistryOps::FirstLoad(); });
        const double set = MeanNanoseconds(seconds, [&number] { RegistryOps::SetValue(++number); });
        std::printf("%8d %14.0f %14.0f %12.2f %12.2f %12.2f\n", values, load, set, load / plain,
                    set / plain, set / load);
    }
    return 0;
}
