#include "../WinTypes.h"

#include <ctime>

namespace
{

void ToSystemTime(const std::tm& fields, long nanoseconds, LPSYSTEMTIME systemTime)
{
    systemTime->wYear = static_cast<WORD>(fields.tm_year + 1900);
    systemTime->wMonth = static_cast<WORD>(fields.tm_mon + 1);
    systemTime->wDayOfWeek = static_cast<WORD>(fields.tm_wday);
    systemTime->wDay = static_cast<WORD>(fields.tm_mday);
    systemTime->wHour = static_cast<WORD>(fields.tm_hour);
    systemTime->wMinute = static_cast<WORD>(fields.tm_min);
    systemTime->wSecond = static_cast<WORD>(fields.tm_sec);
    systemTime->wMilliseconds = static_cast<WORD>(nanoseconds / 1000000);
}

} // namespace

void GetSystemTime(LPSYSTEMTIME systemTime)
{
    timespec now;
    ::clock_gettime(CLOCK_REALTIME, &now);
    std::tm fields;
    ::gmtime_r(&now.tv_sec, &fields);
    ToSystemTime(fields, now.tv_nsec, systemTime);
}

void GetLocalTime(LPSYSTEMTIME systemTime)
{
    timespec now;
    ::clock_gettime(CLOCK_REALTIME, &now);
    std::tm fields;
    ::localtime_r(&now.tv_sec, &fields);
    ToSystemTime(fields, now.tv_nsec, systemTime);
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
