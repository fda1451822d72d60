#include "../LocalTime.h"

#include "../CivilTime.h"

namespace CppUtil
{
namespace Platform
{

namespace
{

// Seconds east of UTC at a moment; false where the C library cannot break it down.
bool OffsetAt(time_t moment, long& offset)
{
    std::tm fields;
    if (!::localtime_r(&moment, &fields))
        return false;
    offset = fields.tm_gmtoff;
    return true;
}

// Windows converts local time only within SYSTEMTIME's years, 1601 to 30827.
bool IsSystemTimeYear(int tmYear)
{
    return tmYear >= 1601 - 1900 && tmYear <= 30827 - 1900;
}

} // namespace

bool LocalFieldsToTime(const std::tm& fields, int nDST, __int64& time)
{
    if (!IsSystemTimeYear(fields.tm_year))
        return false;
    if (nDST >= 0)
    {
        std::tm local = fields;
        local.tm_isdst = nDST > 0 ? 1 : 0;
        // -1 is also a valid moment (1969-12-31 23:59:59 UTC); only a success sets the week day.
        local.tm_wday = -1;
        const time_t result = ::mktime(&local);
        if (result == static_cast<time_t>(-1) && local.tm_wday < 0)
            return false;
        time = result;
        return true;
    }

    // The fields are read with the zone's distance from UTC a day before them, when that gives
    // a moment that has it, else with the distance a day after; mktime's own choice depends on
    // what it converted last. So where the fields occur twice (daylight saving ends) the earlier
    // moment is taken, and where they are skipped (it starts) the clock counts as gone forward,
    // as Windows reads both.
    const __int64 civil =
        SecondsFromCivil(fields.tm_year + 1900LL, fields.tm_mon + 1LL, fields.tm_mday,
                         fields.tm_hour, fields.tm_min, fields.tm_sec);
    long before = 0;
    long actual = 0;
    if (!OffsetAt(static_cast<time_t>(civil - 86400), before))
        return false;
    if (OffsetAt(static_cast<time_t>(civil - before), actual) && actual == before)
    {
        time = civil - before;
        return true;
    }
    long after = 0;
    if (!OffsetAt(static_cast<time_t>(civil + 86400), after))
        return false;
    time = civil - after;
    return true;
}

bool TimeToLocalFields(__int64 time, std::tm& fields)
{
    std::tm utc;
    CivilFromSeconds(time, utc);
    const time_t value = static_cast<time_t>(time);
    return IsSystemTimeYear(utc.tm_year) && ::localtime_r(&value, &fields) != nullptr;
}

} // namespace Platform
} // namespace CppUtil
