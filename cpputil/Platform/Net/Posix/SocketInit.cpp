#include "../CAsyncSocket.h"
#include "../WinSock.h"

BOOL AfxSocketInit()
{
    return TRUE;
}
