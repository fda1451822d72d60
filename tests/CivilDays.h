// Days since 1970-01-01 of a proleptic Gregorian date, worked out independently of the library
// so that the tests can check its time arithmetic against it.
#pragma once

#include <cstdint>

inline std::int64_t DaysFromCivil(std::int64_t y, int m, int d)
{
    y -= m <= 2;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const std::int64_t yoe = y - era * 400;
    const std::int64_t doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    return era * 146097 + yoe * 365 + yoe / 4 - yoe / 100 + doy - 719468;
}
