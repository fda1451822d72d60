#include "../CivilTime.h"
#include "../WinTypes.h"

#include <ctime>

void GetSystemTime(LPSYSTEMTIME systemTime)
{
    timespec now;
    ::clock_gettime(CLOCK_REALTIME, &now);
    std::tm fields;
    ::gmtime_r(&now.tv_sec, &fields);
    CppUtil::Platform::SystemTimeFromFields(fields, static_cast<WORD>(now.tv_nsec / 1000000),
                                            *systemTime);
}

void GetLocalTime(LPSYSTEMTIME systemTime)
{
    timespec now;
    ::clock_gettime(CLOCK_REALTIME, &now);
    std::tm fields;
    ::localtime_r(&now.tv_sec, &fields);
    CppUtil::Platform::SystemTimeFromFields(fields, static_cast<WORD>(now.tv_nsec / 1000000),
                                            *systemTime);
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
