// Winsock itself, and the error reporting the BSD side needs and Winsock does itself.
#pragma once

#include "../../Types/WinTypes.h"

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
