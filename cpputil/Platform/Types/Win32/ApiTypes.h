/// @file
/// windows.h, and its names that the installed headers use as CppUtil::Platform names too.
#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
/// Winsock 2 has to come before windows.h, which would otherwise bring in the old winsock.h.
#include <winsock2.h>

#include <windows.h>

namespace CppUtil
{
namespace Platform
{

using ::BOOL;
using ::BYTE;
using ::CRITICAL_SECTION;
using ::DATE;
using ::DWORD;
using ::EXCEPTION_POINTERS;
using ::HANDLE;
using ::HBRUSH;
using ::HCURSOR;
using ::HICON;
using ::HINSTANCE;
using ::HKEY;
using ::HMENU;
using ::HMODULE;
using ::HWND;
using ::LARGE_INTEGER;
using ::LCID;
using ::LONG;
using ::LONG_PTR;
using ::LONGLONG;
using ::LPARAM;
using ::LPCSTR;
using ::LPDWORD;
using ::LPSECURITY_ATTRIBUTES;
using ::LPSTR;
using ::LPVOID;
using ::LRESULT;
using ::MSG;
using ::REGSAM;
using ::SECURITY_ATTRIBUTES;
using ::SOCKET;
using ::SYSTEMTIME;
using ::TIMERPROC;
using ::UINT;
using ::UINT_PTR;
using ::ULONG;
using ::ULONG_PTR;
using ::ULONGLONG;
using ::WORD;
using ::WPARAM;

} // namespace Platform
} // namespace CppUtil
