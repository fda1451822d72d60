/// @file
/// Sockets with the Winsock names: Winsock itself on Windows, BSD sockets elsewhere.
#pragma once

#include "../Types/WinTypes.h"

#if defined(_WIN32)
#include <ws2tcpip.h>

namespace CppUtil
{
namespace Platform
{

/// Winsock records its errors as the thread's last error itself.
inline void SetLastSocketError() {}
/// After a failed getaddrinfo.
inline void SetLastResolveError(int result)
{
    ::WSASetLastError(result);
}

} // namespace Platform
} // namespace CppUtil
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
