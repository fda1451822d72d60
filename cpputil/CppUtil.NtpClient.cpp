#include "CppUtil.NtpClient.h"
#include "Platform/Net/WinSock.h"

#include "CppUtil.Exception.QlException.h"
#include "CppUtil.Text.Output.h"
#include "Platform/Kernel/SystemError.h"
#include "Platform/Net/CSocket.h"

#include <cmath>
#include <cstdint>
#include <cstring>

namespace CppUtil
{

namespace
{

const Exception::CSourceFile k_oSource("CppUtil.NtpClient");
const char* const k_szGetServerTime = "CppUtil::CNtpClient::GetServerTime";

const int k_iRequestSize = 48;
const int k_iReplySize = 68;
const unsigned long k_ulReplyTimeoutMs = 1000;
// Leap indicator 0, version 3, mode 3 (client).
const unsigned char k_ucRequestHeader = 0x1B;
const long k_lAllEvents = 0x3F;
// The Julian day of 1900-01-01, where NTP time stamps start.
const long k_lJulianDay1900 = 2415021;
const double k_dFractionScale = 4294967296.0;

// High 32 bits whole seconds since 1900-01-01 00:00 UTC, low 32 bits the binary fraction.
typedef std::uint64_t TNtpTime;

long JulianDay(long year, long month, long day)
{
    const long a = (14 - month) / 12;
    const long y = year + 4800 - a;
    const long m = month + 12 * a - 3;
    return day + (153 * m + 2) / 5 + 365 * y + y / 4 - y / 100 + y / 400 - 32045;
}

TNtpTime ToNtpTime(const SYSTEMTIME& time)
{
    const long days = JulianDay(time.wYear, time.wMonth, time.wDay) - k_lJulianDay1900;
    if (days < 0)
        k_oSource.Throw(52, k_szGetServerTime, "days >= 0");
    const std::uint64_t seconds = static_cast<std::uint64_t>(days) * 86400 + time.wHour * 3600u +
                                  time.wMinute * 60u + time.wSecond;
    if (seconds > 0xFFFFFFFFu)
        k_oSource.Throw(55, k_szGetServerTime, "seconds <= 0xFFFFFFFFu");
    const std::uint64_t fraction =
        static_cast<std::uint64_t>(time.wMilliseconds / 1000.0 * k_dFractionScale);
    return (seconds << 32) | fraction;
}

SYSTEMTIME ToSystemTime(TNtpTime time)
{
    const std::uint64_t seconds = time >> 32;
    const std::uint64_t secondOfDay = seconds % 86400;
    // Julian day to Gregorian date (Fliegel and Van Flandern).
    long l = static_cast<long>(seconds / 86400) + k_lJulianDay1900 + 68569;
    const long n = 4 * l / 146097;
    l -= (146097 * n + 3) / 4;
    const long i = 4000 * (l + 1) / 1461001;
    l = l - 1461 * i / 4 + 31;
    const long j = 80 * l / 2447;
    const long day = l - 2447 * j / 80;
    l = j / 11;
    const long month = j + 2 - 12 * l;
    const long year = 100 * (n - 49) + i + l;

    SYSTEMTIME result = SYSTEMTIME();
    result.wYear = static_cast<WORD>(year);
    result.wMonth = static_cast<WORD>(month);
    result.wDay = static_cast<WORD>(day);
    result.wHour = static_cast<WORD>(secondOfDay / 3600 % 24);
    result.wMinute = static_cast<WORD>(secondOfDay / 60 % 60);
    result.wSecond = static_cast<WORD>(secondOfDay % 60);
    const std::uint64_t milliseconds = ((time & 0xFFFFFFFFu) * 1000) >> 32;
    if (milliseconds >= 1000)
        k_oSource.Throw(85, k_szGetServerTime, "milliseconds < 1000");
    result.wMilliseconds = static_cast<WORD>(milliseconds);
    return result;
}

TNtpTime Now()
{
    SYSTEMTIME now;
    ::GetSystemTime(&now);
    return ToNtpTime(now);
}

// a - b in seconds.
double Difference(TNtpTime a, TNtpTime b)
{
    const bool negative = a < b;
    const TNtpTime larger = negative ? b : a;
    const TNtpTime smaller = negative ? a : b;
    const double seconds = static_cast<double>((larger >> 32) - (smaller >> 32));
    const double fraction =
        (static_cast<double>(larger & 0xFFFFFFFFu) - static_cast<double>(smaller & 0xFFFFFFFFu)) /
        k_dFractionScale;
    return negative ? -(seconds + fraction) : seconds + fraction;
}

TNtpTime AddOffset(TNtpTime time, double offset)
{
    double whole = 0;
    const double fraction = std::modf(std::fabs(offset), &whole);
    std::uint64_t seconds = time >> 32;
    std::int64_t ticks = static_cast<std::int64_t>(time & 0xFFFFFFFFu);
    const std::int64_t fractionTicks = static_cast<std::int64_t>(fraction * k_dFractionScale);
    if (offset >= 0)
    {
        seconds += static_cast<std::uint64_t>(whole);
        ticks += fractionTicks;
        if (ticks >= 0x100000000LL)
        {
            ticks -= 0x100000000LL;
            ++seconds;
        }
    }
    else
    {
        seconds -= static_cast<std::uint64_t>(whole);
        ticks -= fractionTicks;
        if (ticks < 0)
        {
            ticks += 0x100000000LL;
            --seconds;
        }
    }
    return ((seconds & 0xFFFFFFFFu) << 32) | static_cast<std::uint64_t>(ticks);
}

void Write(unsigned char* buffer, TNtpTime time)
{
    const std::uint32_t words[2] = {htonl(static_cast<std::uint32_t>(time >> 32)),
                                    htonl(static_cast<std::uint32_t>(time))};
    std::memcpy(buffer, words, sizeof words);
}

TNtpTime Read(const unsigned char* buffer)
{
    std::uint32_t words[2];
    std::memcpy(words, buffer, sizeof words);
    return (static_cast<TNtpTime>(ntohl(words[0])) << 32) | ntohl(words[1]);
}

} // namespace

CNtpClient::CNtpClient(Text::COutput& output) : m_oOutput(output) {}

ATL::CTime CNtpClient::GetServerTime(const CString& server, int port)
{
    // The socket closes itself on every way out.
    CSocket socket;
    if (!socket.Create(0, SOCK_DGRAM, k_lAllEvents, nullptr))
        return OnError("Failed to create client socket");
    if (!socket.Connect(server, static_cast<UINT>(port)))
    {
        CString text;
        text.Format("Could not connect to server %s on port %d", server.GetString(), port);
        return OnError(text);
    }

    unsigned char request[k_iRequestSize] = {};
    request[0] = k_ucRequestHeader;
    Write(request + 40, Now());
    if (socket.Send(request, k_iRequestSize) == SOCKET_ERROR)
        return OnError("Failed to send request to the server");
    // Taken before the wait on purpose: the offset leaves the network transit time out.
    const TNtpTime destination = Now();

    if (!IsDataAvailable(socket, k_ulReplyTimeoutMs))
        return OnError("Timed out while waiting for reply");
    unsigned char reply[k_iReplySize] = {};
    // A reply without all the time stamps counts as none.
    if (socket.Receive(reply, k_iReplySize) < k_iRequestSize)
        return OnError("Unable to read reply from the server");

    // Read for a debugger's sake: neither changes the result.
    const int leapIndicator = reply[0] >> 6;
    const int stratum = reply[1];
    (void)leapIndicator;
    (void)stratum;
    const TNtpTime originate = Read(reply + 24);
    const TNtpTime receive = Read(reply + 32);
    const TNtpTime transmit = Read(reply + 40);

    // The round trip, as above for a debugger only.
    const double delay = Difference(destination, originate) - Difference(receive, transmit);
    (void)delay;
    const double offset =
        (Difference(receive, originate) + Difference(transmit, destination)) / 2.0;

    // The UTC clock fields become local clock fields, as stamps from GetSystemTime do.
    return ATL::CTime(ToSystemTime(AddOffset(Now(), offset)), -1);
}

bool CNtpClient::IsDataAvailable(CSocket& socket, unsigned long timeoutMs) const
{
    const int result = Platform::WaitReadable(socket.m_hSocket, timeoutMs);
    // The log line then names the time-out instead of whatever error came before.
    if (result == 0)
        ::SetLastError(WSAETIMEDOUT);
    return result > 0;
}

ATL::CTime CNtpClient::OnError(const CString& text)
{
    const DWORD error = ::GetLastError();
    m_oOutput.LogF("Time Server Inaccessible: %s. %s [%d].\n", CString()) % text %
        Platform::GetSystemErrorText(error) % static_cast<int>(error);
    return ATL::CTime();
}

} // namespace CppUtil
