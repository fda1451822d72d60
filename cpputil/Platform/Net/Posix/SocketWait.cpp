#include "../CAsyncSocket.h"
#include "../WinSock.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <poll.h>

int CppUtil::Platform::WaitReadable(SOCKET socket, unsigned long timeoutMs)
{
    typedef std::chrono::steady_clock TClock;
    // poll, not select: select's fd_set is a bit array of FD_SETSIZE bits, and a host with many
    // open files hands out descriptors beyond it.
    pollfd entry = {socket, POLLIN, 0};
    const TClock::time_point deadline =
        TClock::now() + std::chrono::milliseconds(std::min<unsigned long>(timeoutMs, INT_MAX));
    int result;
    for (;;)
    {
        const long long left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - TClock::now()).count();
        result = ::poll(&entry, 1, static_cast<int>(std::max<long long>(left, 0)));
        // A signal cuts the wait short, which Winsock's select never does: wait on until the
        // deadline.
        if (result >= 0 || errno != EINTR)
            break;
    }
    if (result < 0)
    {
        SetLastSocketError();
        return SOCKET_ERROR;
    }
    // select fails on a descriptor that is not open, as not a socket; poll only flags it.
    if (result > 0 && (entry.revents & POLLNVAL))
    {
        ::SetLastError(SocketErrorOf(ENOTSOCK));
        return SOCKET_ERROR;
    }
    return result;
}
