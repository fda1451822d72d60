/// @file
/// Hidden windows, message queues and timers: windows.h on Windows, the layer's own per-thread
/// queues elsewhere.
#pragma once

#include "../Types/WinTypes.h"
#include "WinSync.h"

#if !CPPUTIL_WINDOWS
#include "Posix/WinMessages.h"
#endif
