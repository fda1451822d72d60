/// @file
/// The Win32 names the library is written against: windows.h itself on Windows, the layer's
/// own definitions elsewhere.
#pragma once

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
/// Winsock 2 has to come before windows.h, which would otherwise bring in the old winsock.h.
#include <winsock2.h>

#include <windows.h>
#else
#include "Posix/WinTypes.h"
#endif
