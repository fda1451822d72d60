#include "../CAsyncSocket.h"

BOOL AfxSocketInit()
{
    WSADATA data;
    return ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
}
