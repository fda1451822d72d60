// The Win32 names the library is written against: windows.h itself on Windows, the layer's
// own definitions elsewhere.
#pragma once

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include "Posix/WinTypes.h"
#endif
