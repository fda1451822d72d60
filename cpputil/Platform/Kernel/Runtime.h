/// @file
/// What threads and windows ask of the system's runtime: a COM apartment, the hook for structured
/// exceptions (which SeTranslate fills), the module the window classes belong to, and the message
/// box shown when the host has installed no presenter of its own.
#pragma once

#include "../../CppUtil.Api.h"
#include "../Types/CString.h"
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

/// Shows a message box with the MB_* style bits in type and, when showCheckBox is set, a check
/// box whose final state is stored in checked; returns the ID* of the button chosen. Windows
/// shows a real modal box; POSIX writes the box to standard error and answers its default button.
CPPUTIL_INTERNAL_API int ShowMessageBox(const CString& text, const CString& caption,
                                        unsigned int type, bool showCheckBox, bool& checked);

} // namespace Platform
} // namespace CppUtil
