/// @file
/// The COM apartment of the calling thread.
#pragma once

namespace CppUtil
{
namespace Platform
{

/// Makes the calling thread a single-threaded apartment. Returns whether a matching
/// LeaveComApartment is owed; POSIX has no COM, so there nothing is owed.
bool EnterSingleThreadedApartment();
void LeaveComApartment();

} // namespace Platform
} // namespace CppUtil
