#include "../LocalTime.h"

#include "../CivilTime.h"

#include <cstring>
#include <ctime>
#include <initializer_list>

namespace CppUtil
{
namespace Platform
{

namespace
{

// Before its first rule the zone database keeps local mean time (New York 4:56:02 behind UTC);
// Windows applies the zone's present standard distance to every year. The present standard
// distance is that of now or of half a year on, whichever is not summer time.
bool StandardBeforeRules(time_t moment, std::tm& fields)
{
    const time_t now = std::time(nullptr);
    for (const time_t probe : {now, static_cast<time_t>(now + 183 * 86400)})
    {
        std::tm present;
        if (!::localtime_r(&probe, &present) || present.tm_isdst > 0)
            continue;
        CivilFromSeconds(static_cast<__int64>(moment) + present.tm_gmtoff, fields);
        fields.tm_isdst = 0;
        fields.tm_gmtoff = present.tm_gmtoff;
        fields.tm_zone = present.tm_zone;
        return true;
    }
    return false;
}

// The local fields of a moment, in the zone's present standard time before its first rule.
bool LocalAt(time_t moment, std::tm& fields)
{
    if (!::localtime_r(&moment, &fields))
        return false;
    if (fields.tm_zone == nullptr || std::strcmp(fields.tm_zone, "LMT") != 0)
        return true;
    return StandardBeforeRules(moment, fields);
}

// Seconds east of UTC at a moment; false where the C library cannot break it down.
bool OffsetAt(time_t moment, long& offset)
{
    std::tm fields;
    if (!LocalAt(moment, fields))
        return false;
    offset = fields.tm_gmtoff;
    return true;
}

// The zone's distance from UTC at the start of the day before a local day, as last looked up on
// this thread: conversions in a run mostly fall on few days.
struct SDayOffset
{
    __int64 m_iDay;
    long m_lOffset;
};
thread_local SDayOffset s_oDayBefore = {-1, 0};

// Whether the fields read with a distance from UTC give a moment that has that distance.
bool ReadWith(__int64 civil, long offset, __int64& time)
{
    long actual = 0;
    if (!OffsetAt(static_cast<time_t>(civil - offset), actual) || actual != offset)
        return false;
    time = civil - offset;
    return true;
}

// Windows converts local time only within SYSTEMTIME's years, 1601 to 30827.
bool IsSystemTimeYear(int tmYear)
{
    return tmYear >= 1601 - 1900 && tmYear <= 30827 - 1900;
}

// The moment local fields name, within the local years Windows converts.
bool ReadLocalFields(const std::tm& fields, int nDST, __int64& time)
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

    // The fields are read with the zone's distance from UTC the day before them, when that gives
    // a moment that has it, else with the distance two days after; mktime's own choice depends
    // on what it converted last. So where the fields occur twice (daylight saving ends) the
    // earlier moment is taken, and where they are skipped (it starts) the clock counts as gone
    // forward, as Windows reads both. A distance remembered from an earlier call is only tried.
    const __int64 civil =
        SecondsFromCivil(fields.tm_year + 1900LL, fields.tm_mon + 1LL, fields.tm_mday,
                         fields.tm_hour, fields.tm_min, fields.tm_sec);
    const __int64 day = DaysFromCivil(fields.tm_year + 1900LL, fields.tm_mon + 1LL, fields.tm_mday);
    if (s_oDayBefore.m_iDay == day && ReadWith(civil, s_oDayBefore.m_lOffset, time))
        return true;
    long before = 0;
    if (!OffsetAt(static_cast<time_t>((day - 1) * 86400), before))
        return false;
    s_oDayBefore = {day, before};
    if (ReadWith(civil, before, time))
        return true;
    long after = 0;
    if (!OffsetAt(static_cast<time_t>((day + 2) * 86400), after))
        return false;
    time = civil - after;
    return true;
}

} // namespace

bool LocalFieldsToTime(const std::tm& fields, int nDST, __int64& time)
{
    // Both the local fields and the moment they name must lie within SYSTEMTIME's years.
    if (!ReadLocalFields(fields, nDST, time))
        return false;
    std::tm utc;
    CivilFromSeconds(time, utc);
    return IsSystemTimeYear(utc.tm_year);
}

bool TimeToLocalFields(__int64 time, std::tm& fields)
{
    std::tm utc;
    CivilFromSeconds(time, utc);
    const time_t value = static_cast<time_t>(time);
    return IsSystemTimeYear(utc.tm_year) && LocalAt(value, fields);
}

} // namespace Platform
} // namespace CppUtil
