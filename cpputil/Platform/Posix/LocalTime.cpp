#include "../LocalTime.h"

#include "../CivilTime.h"

#include <atomic>

namespace CppUtil
{
namespace Platform
{

namespace
{

// The distance from UTC (seconds east) of the last conversion: nearly every conversion in a run
// falls in the same stretch of one daylight-saving state.
std::atomic<long> s_lLastOffset(0);

bool SameFields(const std::tm& a, const std::tm& b)
{
    return a.tm_sec == b.tm_sec && a.tm_min == b.tm_min && a.tm_hour == b.tm_hour &&
           a.tm_mday == b.tm_mday && a.tm_mon == b.tm_mon && a.tm_year == b.tm_year;
}

} // namespace

bool LocalFieldsToTime(const std::tm& fields, int nDST, __int64& time)
{
    // One localtime_r confirms a guess from the last distance, for a fraction of mktime's work.
    // Where the fields occur twice, at the end of daylight saving, either moment is taken, as
    // mktime itself takes either depending on what it converted before.
    if (nDST < 0)
    {
        const time_t guess = static_cast<time_t>(
            SecondsFromCivil(fields.tm_year + 1900LL, fields.tm_mon + 1LL, fields.tm_mday,
                             fields.tm_hour, fields.tm_min, fields.tm_sec) -
            s_lLastOffset.load(std::memory_order_relaxed));
        std::tm check;
        if (::localtime_r(&guess, &check) && SameFields(check, fields))
        {
            time = guess;
            return true;
        }
    }

    std::tm local = fields;
    local.tm_isdst = nDST < 0 ? -1 : (nDST > 0 ? 1 : 0);
    // -1 is also a valid moment (1969-12-31 23:59:59 UTC); only a success sets the week day.
    local.tm_wday = -1;
    const time_t result = ::mktime(&local);
    if (result == static_cast<time_t>(-1) && local.tm_wday < 0)
        return false;
    s_lLastOffset.store(local.tm_gmtoff, std::memory_order_relaxed);
    time = result;
    return true;
}

bool TimeToLocalFields(__int64 time, std::tm& fields)
{
    const time_t value = static_cast<time_t>(time);
    return ::localtime_r(&value, &fields) != nullptr;
}

} // namespace Platform
} // namespace CppUtil
