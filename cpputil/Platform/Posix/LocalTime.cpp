#include "../LocalTime.h"

namespace CppUtil
{
namespace Platform
{

bool LocalFieldsToTime(const std::tm& fields, int nDST, __int64& time)
{
    std::tm local = fields;
    local.tm_isdst = nDST < 0 ? -1 : (nDST > 0 ? 1 : 0);
    // -1 is also a valid moment (1969-12-31 23:59:59 UTC); only a success sets the week day.
    local.tm_wday = -1;
    const time_t result = ::mktime(&local);
    if (result == static_cast<time_t>(-1) && local.tm_wday < 0)
        return false;
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
