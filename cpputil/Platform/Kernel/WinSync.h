/// @file
/// Waitable handles, events, threads and critical sections: windows.h on Windows, the layer's own
/// process-local versions elsewhere.
#pragma once

#include "../Types/WinTypes.h"

#if !defined(_WIN32)
#include "Posix/WinSync.h"
#endif
