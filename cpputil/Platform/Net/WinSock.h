/// @file
/// Sockets with the Winsock names: Winsock itself on Windows, BSD sockets elsewhere.
#pragma once

#include "../Types/WinTypes.h"

#if CPPUTIL_WINDOWS
#include "Win32/WinSock.h"
#else
#include "Posix/WinSock.h"
#endif

namespace CppUtil
{
namespace Platform
{

/// Waits up to timeoutMs for a datagram (or a pending error) on the socket: 1 when one is there,
/// 0 after the time-out, SOCKET_ERROR with the cause as the thread's last error. Works for any
/// descriptor value, also at or above FD_SETSIZE, where a POSIX fd_set has no room.
int WaitReadable(SOCKET socket, unsigned long timeoutMs);

} // namespace Platform
} // namespace CppUtil
