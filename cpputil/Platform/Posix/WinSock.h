// The Winsock names the library uses, over BSD sockets.
#pragma once

#include "WinTypes.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

typedef int SOCKET;
#define INVALID_SOCKET (-1)
#define SOCKET_ERROR (-1)

#define FD_READ 0x01
#define FD_WRITE 0x02
#define FD_OOB 0x04
#define FD_ACCEPT 0x08
#define FD_CONNECT 0x10
#define FD_CLOSE 0x20

#define WSAETIMEDOUT ETIMEDOUT

inline int closesocket(SOCKET s)
{
    return ::close(s);
}

namespace CppUtil
{
namespace Platform
{

// After a failed socket call: the error becomes the thread's last error, as Winsock does it.
inline void SetLastSocketError()
{
    SetLastError(static_cast<DWORD>(errno));
}

// After a failed getaddrinfo.
inline void SetLastResolveError(int result)
{
    SetLastError(static_cast<DWORD>(result == EAI_SYSTEM ? errno : EHOSTUNREACH));
}

} // namespace Platform
} // namespace CppUtil
