#include "CAsyncSocket.h"
#include "WinSock.h"

#include <cstring>

using CppUtil::Platform::SetLastResolveError;
using CppUtil::Platform::SetLastSocketError;

namespace
{

bool Resolve(LPCSTR host, UINT port, int type, sockaddr_in& address)
{
    std::memset(&address, 0, sizeof address);
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<unsigned short>(port));
    if (!host || !*host)
    {
        address.sin_addr.s_addr = htonl(INADDR_ANY);
        return true;
    }
    addrinfo hints;
    std::memset(&hints, 0, sizeof hints);
    hints.ai_family = AF_INET;
    hints.ai_socktype = type;
    addrinfo* found = nullptr;
    const int result = ::getaddrinfo(host, nullptr, &hints, &found);
    if (result != 0 || !found)
    {
        SetLastResolveError(result);
        return false;
    }
    address.sin_addr = reinterpret_cast<const sockaddr_in*>(found->ai_addr)->sin_addr;
    ::freeaddrinfo(found);
    return true;
}

void Describe(const sockaddr_in& address, CString& rAddress, UINT& rPort)
{
    char text[INET_ADDRSTRLEN] = "";
    ::inet_ntop(AF_INET, const_cast<in_addr*>(&address.sin_addr), text, sizeof text);
    rAddress = text;
    rPort = ntohs(address.sin_port);
}

} // namespace

CAsyncSocket::CAsyncSocket() : m_hSocket(INVALID_SOCKET), m_iType(SOCK_STREAM) {}

CAsyncSocket::~CAsyncSocket()
{
    Close();
}

BOOL CAsyncSocket::Create(UINT nSocketPort, int nSocketType, long, LPCSTR lpszSocketAddress)
{
    if (m_hSocket != INVALID_SOCKET)
        Close();
    sockaddr_in address;
    if (!Resolve(lpszSocketAddress, nSocketPort, nSocketType, address))
        return FALSE;
    m_hSocket = ::socket(AF_INET, nSocketType, 0);
    if (m_hSocket == INVALID_SOCKET)
    {
        SetLastSocketError();
        return FALSE;
    }
    m_iType = nSocketType;
    if (::bind(m_hSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
        SOCKET_ERROR)
    {
        SetLastSocketError();
        const DWORD error = ::GetLastError();
        Close();
        ::SetLastError(error);
        return FALSE;
    }
    return TRUE;
}

BOOL CAsyncSocket::Connect(LPCSTR lpszHostAddress, UINT nHostPort)
{
    sockaddr_in address;
    if (!Resolve(lpszHostAddress, nHostPort, m_iType, address))
        return FALSE;
    if (::connect(m_hSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
        SOCKET_ERROR)
    {
        SetLastSocketError();
        return FALSE;
    }
    return TRUE;
}

BOOL CAsyncSocket::GetSockName(CString& rSocketAddress, UINT& rSocketPort)
{
    sockaddr_in address;
    socklen_t length = sizeof address;
    if (::getsockname(m_hSocket, reinterpret_cast<sockaddr*>(&address), &length) == SOCKET_ERROR)
    {
        SetLastSocketError();
        return FALSE;
    }
    Describe(address, rSocketAddress, rSocketPort);
    return TRUE;
}

int CAsyncSocket::Send(const void* lpBuf, int nBufLen, int nFlags)
{
    const int sent =
        static_cast<int>(::send(m_hSocket, static_cast<const char*>(lpBuf), nBufLen, nFlags));
    if (sent == SOCKET_ERROR)
        SetLastSocketError();
    return sent;
}

int CAsyncSocket::Receive(void* lpBuf, int nBufLen, int nFlags)
{
    const int received =
        static_cast<int>(::recv(m_hSocket, static_cast<char*>(lpBuf), nBufLen, nFlags));
    if (received == SOCKET_ERROR)
        SetLastSocketError();
    return received;
}

int CAsyncSocket::SendTo(const void* lpBuf, int nBufLen, UINT nHostPort, LPCSTR lpszHostAddress,
                         int nFlags)
{
    sockaddr_in address;
    if (!Resolve(lpszHostAddress, nHostPort, m_iType, address))
        return SOCKET_ERROR;
    if (!lpszHostAddress)
        address.sin_addr.s_addr = htonl(INADDR_BROADCAST);
    const int sent =
        static_cast<int>(::sendto(m_hSocket, static_cast<const char*>(lpBuf), nBufLen, nFlags,
                                  reinterpret_cast<const sockaddr*>(&address), sizeof address));
    if (sent == SOCKET_ERROR)
        SetLastSocketError();
    return sent;
}

int CAsyncSocket::ReceiveFrom(void* lpBuf, int nBufLen, CString& rSocketAddress, UINT& rSocketPort,
                              int nFlags)
{
    sockaddr_in address;
    socklen_t length = sizeof address;
    const int received =
        static_cast<int>(::recvfrom(m_hSocket, static_cast<char*>(lpBuf), nBufLen, nFlags,
                                    reinterpret_cast<sockaddr*>(&address), &length));
    if (received == SOCKET_ERROR)
        SetLastSocketError();
    else
        Describe(address, rSocketAddress, rSocketPort);
    return received;
}

void CAsyncSocket::Close()
{
    if (m_hSocket != INVALID_SOCKET)
    {
        ::closesocket(m_hSocket);
        m_hSocket = INVALID_SOCKET;
    }
}
