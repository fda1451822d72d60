/// @file
/// Sockets with the Winsock names: Winsock itself on Windows, BSD sockets elsewhere.
#pragma once

#include "../Types/WinTypes.h"

#if CPPUTIL_WINDOWS
#include "Win32/WinSock.h"
#else
#include "Posix/WinSock.h"
#endif
