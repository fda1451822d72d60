// The Winsock names the library uses, over BSD sockets.
#pragma once

#include "../../Types/Posix/WinTypes.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#define INVALID_SOCKET (-1)
#define SOCKET_ERROR (-1)

#define FD_READ 0x01
#define FD_WRITE 0x02
#define FD_OOB 0x04
#define FD_ACCEPT 0x08
#define FD_CONNECT 0x10
#define FD_CLOSE 0x20

#define WSAETIMEDOUT 10060L
#define WSAEHOSTUNREACH 10065L
#define WSAHOST_NOT_FOUND 11001L
#define WSATRY_AGAIN 11002L

namespace CppUtil
{
namespace Platform
{

inline int closesocket(SOCKET s)
{
    return ::close(s);
}

// Winsock's code for an errno value: its codes are 10000 plus the BSD numbers, which Linux's
// numbers do not follow. A value without a socket meaning keeps the general failure's code.
inline DWORD SocketErrorOf(int error)
{
    static const int k_aiErrors[][2] = {
        {EINTR, 10004},           {EBADF, 10009},        {EACCES, 10013},
        {EFAULT, 10014},          {EINVAL, 10022},       {EMFILE, 10024},
        {EWOULDBLOCK, 10035},     {EINPROGRESS, 10036},  {EALREADY, 10037},
        {ENOTSOCK, 10038},        {EDESTADDRREQ, 10039}, {EMSGSIZE, 10040},
        {EPROTOTYPE, 10041},      {ENOPROTOOPT, 10042},  {EPROTONOSUPPORT, 10043},
        {ESOCKTNOSUPPORT, 10044}, {EOPNOTSUPP, 10045},   {EPFNOSUPPORT, 10046},
        {EAFNOSUPPORT, 10047},    {EADDRINUSE, 10048},   {EADDRNOTAVAIL, 10049},
        {ENETDOWN, 10050},        {ENETUNREACH, 10051},  {ENETRESET, 10052},
        {ECONNABORTED, 10053},    {ECONNRESET, 10054},   {ENOBUFS, 10055},
        {EISCONN, 10056},         {ENOTCONN, 10057},     {ESHUTDOWN, 10058},
        {ETOOMANYREFS, 10059},    {ETIMEDOUT, 10060},    {ECONNREFUSED, 10061},
        {ELOOP, 10062},           {ENAMETOOLONG, 10063}, {EHOSTDOWN, 10064},
        {EHOSTUNREACH, 10065},
    };
    for (const auto& pair : k_aiErrors)
    {
        if (pair[0] == error)
            return static_cast<DWORD>(pair[1]);
    }
    return ERROR_GEN_FAILURE;
}

// After a failed socket call: the error becomes the thread's last error, as Winsock does it.
inline void SetLastSocketError()
{
    SetLastError(SocketErrorOf(errno));
}

// After a failed getaddrinfo.
inline void SetLastResolveError(int result)
{
    if (result == EAI_SYSTEM)
        SetLastSocketError();
    else
        SetLastError(result == EAI_AGAIN ? WSATRY_AGAIN : WSAHOST_NOT_FOUND);
}

} // namespace Platform
} // namespace CppUtil
