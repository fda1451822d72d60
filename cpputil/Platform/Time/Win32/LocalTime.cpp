#include "../LocalTime.h"

#include "../CivilTime.h"

namespace CppUtil
{
namespace Platform
{

namespace
{

bool ToSystemTime(const std::tm& fields, SYSTEMTIME& systemTime)
{
    // SYSTEMTIME covers the years 1601 to 30827.
    if (fields.tm_year < 1601 - 1900 || fields.tm_year > 30827 - 1900)
        return false;
    CppUtil::Platform::SystemTimeFromFields(fields, 0, systemTime);
    return true;
}

} // namespace

// The zone is the system's, not the C runtime's TZ variable, which the runtime would misread for
// names such as Europe/Berlin.
bool LocalFieldsToTime(const std::tm& fields, int nDST, __int64& time)
{
    // The system applies the zone's rules; an explicit daylight flag is not honoured.
    (void)nDST;
    SYSTEMTIME local;
    SYSTEMTIME utc;
    if (!ToSystemTime(fields, local) || !::TzSpecificLocalTimeToSystemTime(nullptr, &local, &utc))
        return false;
    time = SecondsFromCivil(utc.wYear, utc.wMonth, utc.wDay, utc.wHour, utc.wMinute, utc.wSecond);
    return true;
}

bool TimeToLocalFields(__int64 time, std::tm& fields)
{
    std::tm utcFields;
    CivilFromSeconds(time, utcFields);
    SYSTEMTIME utc;
    SYSTEMTIME local;
    if (!ToSystemTime(utcFields, utc) || !::SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local))
        return false;
    const __int64 localSeconds = SecondsFromCivil(local.wYear, local.wMonth, local.wDay,
                                                  local.wHour, local.wMinute, local.wSecond);
    // tm_isdst stays 0: nothing the library formats depends on it.
    CivilFromSeconds(localSeconds, fields);
    return true;
}

} // namespace Platform
} // namespace CppUtil
