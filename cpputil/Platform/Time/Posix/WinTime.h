// Clock readings with the names and layouts of windows.h for POSIX systems.
#pragma once

#include "../../../CppUtil.Api.h"

typedef struct _SYSTEMTIME
{
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
} SYSTEMTIME, *PSYSTEMTIME, *LPSYSTEMTIME;

// UTC clock fields of the current moment, to the millisecond.
CPPUTIL_API void GetSystemTime(LPSYSTEMTIME systemTime);
// The local clock fields of the current moment.
CPPUTIL_API void GetLocalTime(LPSYSTEMTIME systemTime);

// A monotonic clock in 100 ns steps (10 MHz, as on current Windows): callers that scale counts
// to microseconds in 64-bit integers overflow only after days, not hours.
CPPUTIL_API BOOL QueryPerformanceCounter(LARGE_INTEGER* count);
CPPUTIL_API BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency);

// OLE automation dates: days since 1899-12-30, the time of day as the fraction.
typedef double DATE;
typedef DWORD LCID;
#define LANG_USER_DEFAULT 0x0400
