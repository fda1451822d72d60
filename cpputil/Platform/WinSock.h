// Sockets with the Winsock names: Winsock itself on Windows, BSD sockets elsewhere.
#pragma once

#include "WinTypes.h"

#if defined(_WIN32)
#include <ws2tcpip.h>

// Winsock records its errors as the thread's last error itself.
inline void SetLastSocketError() {}
inline void SetLastResolveError(int result)
{
    ::WSASetLastError(result);
}
#else
#include "Posix/WinSock.h"
#endif
