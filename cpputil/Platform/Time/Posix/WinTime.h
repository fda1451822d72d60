// Clock readings with the names and layouts of windows.h for POSIX systems.
#pragma once

#define LANG_USER_DEFAULT 0x0400

namespace CppUtil
{
namespace Platform
{

// UTC clock fields of the current moment, to the millisecond.
void GetSystemTime(LPSYSTEMTIME systemTime);
// The local clock fields of the current moment.
void GetLocalTime(LPSYSTEMTIME systemTime);

// A monotonic clock in 100 ns steps (10 MHz, as on current Windows): callers that scale counts
// to microseconds in 64-bit integers overflow only after days, not hours.
BOOL QueryPerformanceCounter(LARGE_INTEGER* count);
BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency);

} // namespace Platform
} // namespace CppUtil
