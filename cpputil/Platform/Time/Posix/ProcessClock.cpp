#include "../ProcessClock.h"

namespace
{

static_assert(1000000000L % CLOCKS_PER_SEC == 0, "a tick is a whole number of nanoseconds");

timespec Monotonic()
{
    timespec now;
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

// Counted from the library's load rather than from boot, so that a 32-bit clock_t lasts as long
// as clock() would.
const timespec s_oStart = Monotonic();

} // namespace

std::clock_t CppUtil::Platform::ProcessClock()
{
    const timespec now = Monotonic();
    return static_cast<std::clock_t>((now.tv_sec - s_oStart.tv_sec) * CLOCKS_PER_SEC +
                                     (now.tv_nsec - s_oStart.tv_nsec) /
                                         (1000000000L / CLOCKS_PER_SEC));
}
