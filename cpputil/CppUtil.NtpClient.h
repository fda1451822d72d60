/// @file
/// Asks one time server for the current time with a single NTP client exchange over UDP. Failures
/// are logged and give an empty CTime; nothing is thrown. Windows Sockets must be started first.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Time/CTime.h"
#include "Platform/Types/CString.h"

class CSocket;

namespace CppUtil
{

namespace Text
{
class COutput;
}

class CPPUTIL_API CNtpClient
{
public:
    explicit CNtpClient(Text::COutput& output);

    /// The server's time as local clock fields holding the UTC clock digits, the way stamps from
    /// GetSystemTime read; empty on failure.
    ATL::CTime GetServerTime(const CString& server, int port);

private:
    bool IsDataAvailable(CSocket& socket, unsigned long timeoutMs) const;
    ATL::CTime OnError(const CString& text);

    Text::COutput& m_oOutput;
};

} // namespace CppUtil
