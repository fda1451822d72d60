/// @file
/// A socket with MFC's CAsyncSocket interface over Winsock or BSD sockets. Network events are not
/// delivered as notifications: the socket stays blocking and callers wait with WaitReadable.
#pragma once

#include "../../CppUtil.Api.h"
#include "../Types/CString.h"
#include "WinSock.h"

/// Starts Windows Sockets for the process (a no-op where sockets need no start).
CPPUTIL_API BOOL AfxSocketInit();

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

class CPPUTIL_API CAsyncSocket
{
public:
    CAsyncSocket();
    /// Closes the socket.
    virtual ~CAsyncSocket();
    CAsyncSocket(const CAsyncSocket&) = delete;
    CAsyncSocket& operator=(const CAsyncSocket&) = delete;

    operator SOCKET() const { return m_hSocket; }

    /// An IPv4 socket bound to the port (0: any) and the dotted address (null: any). The event
    /// mask is accepted for MFC's signature.
    BOOL Create(UINT nSocketPort = 0, int nSocketType = SOCK_STREAM,
                long lEvent = FD_READ | FD_WRITE | FD_OOB | FD_ACCEPT | FD_CONNECT | FD_CLOSE,
                LPCSTR lpszSocketAddress = nullptr);
    /// The host is a dotted address or a name.
    BOOL Connect(LPCSTR lpszHostAddress, UINT nHostPort);
    BOOL GetSockName(CString& rSocketAddress, UINT& rSocketPort);

    /// The byte count, or SOCKET_ERROR with the cause in GetLastError.
    virtual int Send(const void* lpBuf, int nBufLen, int nFlags = 0);
    virtual int Receive(void* lpBuf, int nBufLen, int nFlags = 0);
    int SendTo(const void* lpBuf, int nBufLen, UINT nHostPort, LPCSTR lpszHostAddress = nullptr,
               int nFlags = 0);
    int ReceiveFrom(void* lpBuf, int nBufLen, CString& rSocketAddress, UINT& rSocketPort,
                    int nFlags = 0);

    virtual void Close();

    SOCKET m_hSocket;

private:
    int m_iType;
};
