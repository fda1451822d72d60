#include "../../Types/WinTypes.h"
#include "../CivilTime.h"

#include <ctime>

namespace CppUtil
{
namespace Platform
{

namespace
{

// The clock now, with milliseconds, as broken down by gmtime_r or localtime_r.
void SystemTimeNow(std::tm* (*breakDown)(const std::time_t*, std::tm*), LPSYSTEMTIME systemTime)
{
    timespec now;
    ::clock_gettime(CLOCK_REALTIME, &now);
    std::tm fields;
    breakDown(&now.tv_sec, &fields);
    CppUtil::Platform::SystemTimeFromFields(fields, static_cast<WORD>(now.tv_nsec / 1000000),
                                            *systemTime);
}

} // namespace

void GetSystemTime(LPSYSTEMTIME systemTime)
{
    SystemTimeNow(::gmtime_r, systemTime);
}

void GetLocalTime(LPSYSTEMTIME systemTime)
{
    SystemTimeNow(::localtime_r, systemTime);
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* count)
{
    timespec now;
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    count->QuadPart = static_cast<LONGLONG>(now.tv_sec) * 10000000 + now.tv_nsec / 100;
    return TRUE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency)
{
    frequency->QuadPart = 10000000;
    return TRUE;
}

} // namespace Platform
} // namespace CppUtil
