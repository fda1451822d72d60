/// @file
/// A socket with MFC's CAsyncSocket interface over Winsock or BSD sockets. Network events are not
/// delivered as notifications: the socket stays blocking and callers wait with WaitReadable.
#pragma once

#include "../../CppUtil.Api.h"
#include "../Types/ApiTypes.h"
#include "../Types/CString.h"

/// Starts Windows Sockets for the process (a no-op where sockets need no start).
CPPUTIL_API CppUtil::Platform::BOOL AfxSocketInit();

class CPPUTIL_API CAsyncSocket
{
public:
    /// SOCK_STREAM, and FD_READ | FD_WRITE | FD_OOB | FD_ACCEPT | FD_CONNECT | FD_CLOSE: the same
    /// values on both systems.
    static constexpr int k_iStream = 1;
    static constexpr long k_lAllEvents = 0x3F;

    CAsyncSocket();
    /// Closes the socket.
    virtual ~CAsyncSocket();
    CAsyncSocket(const CAsyncSocket&) = delete;
    CAsyncSocket& operator=(const CAsyncSocket&) = delete;

    operator CppUtil::Platform::SOCKET() const { return m_hSocket; }

    /// An IPv4 socket bound to the port (0: any) and the dotted address (null: any). The event
    /// mask is accepted for MFC's signature.
    CppUtil::Platform::BOOL Create(CppUtil::Platform::UINT nSocketPort = 0,
                                   int nSocketType = k_iStream, long lEvent = k_lAllEvents,
                                   CppUtil::Platform::LPCSTR lpszSocketAddress = nullptr);
    /// The host is a dotted address or a name.
    CppUtil::Platform::BOOL Connect(CppUtil::Platform::LPCSTR lpszHostAddress,
                                    CppUtil::Platform::UINT nHostPort);
    CppUtil::Platform::BOOL GetSockName(CString& rSocketAddress,
                                        CppUtil::Platform::UINT& rSocketPort);

    /// The byte count, or SOCKET_ERROR with the cause in GetLastError.
    virtual int Send(const void* lpBuf, int nBufLen, int nFlags = 0);
    virtual int Receive(void* lpBuf, int nBufLen, int nFlags = 0);
    int SendTo(const void* lpBuf, int nBufLen, CppUtil::Platform::UINT nHostPort,
               CppUtil::Platform::LPCSTR lpszHostAddress = nullptr, int nFlags = 0);
    int ReceiveFrom(void* lpBuf, int nBufLen, CString& rSocketAddress,
                    CppUtil::Platform::UINT& rSocketPort, int nFlags = 0);

    virtual void Close();

    CppUtil::Platform::SOCKET m_hSocket;

private:
    int m_iType;
};
