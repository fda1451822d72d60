/// @file
/// The Win32 names the library is written against: windows.h itself on Windows, the layer's
/// own definitions elsewhere. Internal to the library: its sources and tests use the names
/// unqualified, as on Windows, while the installed headers name them CppUtil::Platform::.
#pragma once

#include "ApiTypes.h"

#if !CPPUTIL_WINDOWS
#include "Posix/WinTypes.h"
#endif
