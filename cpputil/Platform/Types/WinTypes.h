/// @file
/// The Win32 names the library is written against: windows.h itself on Windows, the layer's
/// own definitions elsewhere.
#pragma once

// This and the layer's other switch headers pick their side by the detection header's macro
// rather than by an include directory, so the installed headers need no set-up in a host.
#include "../Detect.h"

#if CPPUTIL_WINDOWS
#ifndef NOMINMAX
#define NOMINMAX
#endif
/// Winsock 2 has to come before windows.h, which would otherwise bring in the old winsock.h.
#include <winsock2.h>

#include <windows.h>
#else
#include "Posix/WinTypes.h"
#endif
