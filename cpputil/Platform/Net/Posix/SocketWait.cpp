#include "../CAsyncSocket.h"
#include "../WinSock.h"

#include <algorithm>
#include <climits>
#include <poll.h>

int CppUtil::Platform::WaitReadable(SOCKET socket, unsigned long timeoutMs)
{
    // poll, not select: select's fd_set is a bit array of FD_SETSIZE bits, and a host with many
    // open files hands out descriptors beyond it.
    pollfd entry = {socket, POLLIN, 0};
    const int result =
        ::poll(&entry, 1, static_cast<int>(std::min<unsigned long>(timeoutMs, INT_MAX)));
    if (result < 0)
    {
        SetLastSocketError();
        return SOCKET_ERROR;
    }
    // select fails on a descriptor that is not open; poll only flags it.
    if (result > 0 && (entry.revents & POLLNVAL))
    {
        ::SetLastError(EBADF);
        return SOCKET_ERROR;
    }
    return result;
}
