/// @file
/// The system's local time zone, the one piece of CTime that differs between the backends.
#pragma once

#include "../Types/WinTypes.h"

#include <ctime>

namespace CppUtil
{
namespace Platform
{

/// Seconds since the epoch of normalised local clock fields (tm_year .. tm_sec). nDST as for
/// mktime: 0 standard time, positive daylight time, negative the zone's rules decide.
bool LocalFieldsToTime(const std::tm& fields, int nDST, __int64& time);

/// The local clock fields of a moment, with tm_wday and tm_yday.
bool TimeToLocalFields(__int64 time, std::tm& fields);

} // namespace Platform
} // namespace CppUtil
