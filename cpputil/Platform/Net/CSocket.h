/// @file
/// MFC's blocking socket: a CAsyncSocket whose calls wait until they are done.
#pragma once

#include "CAsyncSocket.h"

class CPPUTIL_API CSocket : public CAsyncSocket
{
public:
    CSocket();
    ~CSocket() override;
};
