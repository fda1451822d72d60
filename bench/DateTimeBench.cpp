// CDateTime's fixed text form, read and written, against strptime and strftime of the same text.
#include "RatioReporter.h"

#include <cpputil/CppUtil.DateTime.h>

#include <ctime>
#include <string>

namespace
{

const char* const k_szText = "2019-04-08 12:34:56 +0200";
const char* const k_szFormat = "%Y-%m-%d %H:%M:%S %z";

void DateTimeSet(benchmark::State& state)
{
    const CString text(k_szText);
    CppUtil::CDateTime value;
    for (auto _ : state)
    {
        bool parsed = value.Set(text, false);
        benchmark::DoNotOptimize(parsed);
    }
}
BENCHMARK(DateTimeSet);

void Strptime(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::tm fields = std::tm();
        const char* end = ::strptime(k_szText, k_szFormat, &fields);
        benchmark::DoNotOptimize(end);
        benchmark::DoNotOptimize(fields);
    }
}
BENCHMARK(Strptime);

// strptime does not give a moment: mktime makes one from the fields, as Set has to.
void StrptimeMktime(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::tm fields = std::tm();
        ::strptime(k_szText, k_szFormat, &fields);
        fields.tm_isdst = -1;
        std::time_t moment = std::mktime(&fields);
        benchmark::DoNotOptimize(moment);
    }
}
BENCHMARK(StrptimeMktime);

void DateTimeToString(benchmark::State& state)
{
    CppUtil::CDateTime value;
    value.Set(k_szText, false);
    for (auto _ : state)
    {
        CString text = value.ToString(false);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(DateTimeToString);

void Strftime(benchmark::State& state)
{
    CppUtil::CDateTime value;
    value.Set(k_szText, false);
    const std::time_t moment = static_cast<std::time_t>(value.GetTime().GetTime());
    for (auto _ : state)
    {
        std::tm fields;
        ::localtime_r(&moment, &fields);
        char buffer[64];
        std::string text(buffer, std::strftime(buffer, sizeof buffer, k_szFormat, &fields));
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(Strftime);

} // namespace

int main(int argc, char** argv)
{
    return RunWithRatios(argc, argv,
                         {{"DateTimeSet", "Strptime"},
                          {"DateTimeSet", "StrptimeMktime"},
                          {"DateTimeToString", "Strftime"}});
}
