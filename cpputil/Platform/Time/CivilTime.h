/// @file
/// Proleptic Gregorian calendar arithmetic on days since 1970-01-01, free of any time zone.
#pragma once

#include "../Types/WinTypes.h"

#include <cstddef>
#include <cstdint>
#include <ctime>

namespace CppUtil
{
namespace Platform
{

/// Days from 1970-01-01 to the given date; months outside 1..12 roll into neighbouring years.
inline std::int64_t DaysFromCivil(std::int64_t year, std::int64_t month, std::int64_t day)
{
    /// Month 1 = March, so that the leap day ends the year.
    const std::int64_t monthsFromMarch = month - 3;
    year += monthsFromMarch >= 0 ? monthsFromMarch / 12 : (monthsFromMarch - 11) / 12;
    const std::int64_t shifted =
        monthsFromMarch -
        12 * (monthsFromMarch >= 0 ? monthsFromMarch / 12 : (monthsFromMarch - 11) / 12);
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t dayOfYear = (153 * shifted + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

/// The calendar fields of a second count, as gmtime gives them (tm_isdst 0).
inline void CivilFromSeconds(std::int64_t seconds, std::tm& fields)
{
    std::int64_t days = seconds >= 0 ? seconds / 86400 : (seconds - 86399) / 86400;
    std::int64_t rest = seconds - days * 86400;
    fields = std::tm();
    fields.tm_hour = static_cast<int>(rest / 3600);
    fields.tm_min = static_cast<int>(rest / 60 % 60);
    fields.tm_sec = static_cast<int>(rest % 60);
    /// 1970-01-01 was a Thursday.
    fields.tm_wday = static_cast<int>(((days % 7) + 11) % 7);

    days += 719468;
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const std::int64_t dayOfEra = days - era * 146097;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t shifted = (5 * dayOfYear + 2) / 153;
    const std::int64_t day = dayOfYear - (153 * shifted + 2) / 5 + 1;
    const std::int64_t month = shifted < 10 ? shifted + 3 : shifted - 9;
    const std::int64_t year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
    fields.tm_year = static_cast<int>(year - 1900);
    fields.tm_mon = static_cast<int>(month - 1);
    fields.tm_mday = static_cast<int>(day);
    fields.tm_yday = static_cast<int>(DaysFromCivil(year, month, day) - DaysFromCivil(year, 1, 1));
}

/// Seconds since the epoch of calendar fields read as UTC; out-of-range fields carry over.
inline std::int64_t SecondsFromCivil(std::int64_t year, std::int64_t month, std::int64_t day,
                                     std::int64_t hour, std::int64_t minute, std::int64_t second)
{
    return DaysFromCivil(year, month, day) * 86400 + hour * 3600 + minute * 60 + second;
}

/// Calendar fields as a SYSTEMTIME with the given milliseconds; the year must fit its WORD.
inline void SystemTimeFromFields(const std::tm& fields, WORD milliseconds, SYSTEMTIME& systemTime)
{
    systemTime.wYear = static_cast<WORD>(fields.tm_year + 1900);
    systemTime.wMonth = static_cast<WORD>(fields.tm_mon + 1);
    systemTime.wDayOfWeek = static_cast<WORD>(fields.tm_wday);
    systemTime.wDay = static_cast<WORD>(fields.tm_mday);
    systemTime.wHour = static_cast<WORD>(fields.tm_hour);
    systemTime.wMinute = static_cast<WORD>(fields.tm_min);
    systemTime.wSecond = static_cast<WORD>(fields.tm_sec);
    systemTime.wMilliseconds = milliseconds;
}

/// strftime as Windows' C runtime answers it: a year past 9999 (or before 0) gives no text, where
/// the C library elsewhere prints five digits.
inline size_t FormatCivil(char* buffer, size_t size, const char* format, const std::tm& fields)
{
    if (fields.tm_year < -1900 || fields.tm_year > 9999 - 1900)
    {
        if (size)
            buffer[0] = '\0';
        return 0;
    }
    return std::strftime(buffer, size, format, &fields);
}

} // namespace Platform
} // namespace CppUtil
