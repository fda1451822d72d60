#include "../CAsyncSocket.h"
#include "../WinSock.h"

int CppUtil::Platform::WaitReadable(SOCKET socket, unsigned long timeoutMs)
{
    // Winsock's fd_set is a list of up to FD_SETSIZE sockets, whatever their values, and select
    // ignores its first argument.
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(socket, &readable);
    timeval timeout;
    timeout.tv_sec = static_cast<long>(timeoutMs / 1000);
    timeout.tv_usec = static_cast<long>(timeoutMs % 1000 * 1000);
    return ::select(0, &readable, nullptr, nullptr, &timeout);
}
