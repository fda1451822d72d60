#include "../CAsyncSocket.h"

BOOL AfxSocketInit()
{
    return TRUE;
}
