// The thread's last error and the rest of windows.h's base for POSIX systems, in the layer's
// namespace, over the value types of the installed headers. Internal to the library.
#pragma once

#include "../ApiTypes.h"

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

#define ERROR_SUCCESS 0L

namespace CppUtil
{
namespace Platform
{

typedef std::int64_t __int64;

// The calling thread's last error. On POSIX the codes are errno values, or the Win32 codes of
// WinError.h where the layer itself fails the way Windows does.
DWORD GetLastError();
void SetLastError(DWORD code);
DWORD GetCurrentThreadId();
void Sleep(DWORD milliseconds);

} // namespace Platform
} // namespace CppUtil

// The library's own sources use the names unqualified, as windows.h gives them on Windows.
using namespace CppUtil::Platform;

// Built on the types above.
#include "../../Kernel/Posix/WinError.h"
#include "../../MessageTable/Posix/WinBase.h"
#include "../../Time/Posix/WinTime.h"
