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
