/// @file
/// Hidden windows, message queues and timers: windows.h on Windows, the layer's own per-thread
/// queues elsewhere.
#pragma once

#include "../Types/WinTypes.h"
#include "WinSync.h"

#if !defined(_WIN32)
#include "Posix/WinMessages.h"
#endif
