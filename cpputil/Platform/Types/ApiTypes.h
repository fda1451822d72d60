/// @file
/// The Win32 types and values that the installed headers' signatures use, all reachable as
/// CppUtil::Platform names: windows.h's own on Windows, the layer's on POSIX systems, where a
/// host keeps the global Win32 names for itself.
#pragma once

#include "../Detect.h"

#if CPPUTIL_WINDOWS
#include "Win32/ApiTypes.h"
#else
#include "Posix/ApiTypes.h"
#endif

namespace CppUtil
{
namespace Platform
{

/// INFINITE, THREAD_PRIORITY_NORMAL, WM_USER, LANG_USER_DEFAULT, KEY_READ and KEY_ALL_ACCESS
/// under names no host defines.
constexpr DWORD k_dwInfinite = 0xFFFFFFFF;
constexpr int k_iThreadPriorityNormal = 0;
constexpr UINT k_uiWmUser = 0x0400;
constexpr LCID k_lcidUserDefault = 0x0400;
constexpr REGSAM k_dwKeyRead = 0x20019;
constexpr REGSAM k_dwKeyAllAccess = 0xF003F;

} // namespace Platform
} // namespace CppUtil
