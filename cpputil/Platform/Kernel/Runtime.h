/// @file
/// What threads and windows ask of the system's runtime: a COM apartment, the hook for structured
/// exceptions (which SeTranslate fills) and the module the window classes belong to.
#pragma once

#include "../Types/WinTypes.h"

namespace CppUtil
{
namespace Platform
{

/// Makes the calling thread a single-threaded apartment. Returns whether a matching
/// LeaveComApartment is owed; POSIX has no COM, so there nothing is owed.
bool EnterSingleThreadedApartment();
void LeaveComApartment();

typedef void (*SehHookFunction)(unsigned int code, _EXCEPTION_POINTERS* info);
/// Returns whether the translator was installed: only the Microsoft runtime has the hook.
bool SetSehHook(SehHookFunction translator);

/// The library's own module on Windows; NULL, the executable, where windows know no modules.
HINSTANCE LibraryInstance();

} // namespace Platform
} // namespace CppUtil
