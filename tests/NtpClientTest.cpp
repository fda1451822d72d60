// CNtpClient against a scripted server on loopback that answers with chosen time stamps (or
// badly, or not at all), and against chronyd, which CTest starts on its own port.
#include "CivilDays.h"
#include "DescriptorHog.h"
#include "LogRecorder.h"

#include <cpputil/CppUtil.NtpClient.h>
#include <cpputil/CppUtil.Text.Output.h>
#include <cpputil/Platform/Net/CAsyncSocket.h>
#include <cpputil/Platform/Net/WinSock.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace CppUtil;

namespace
{

// Milliseconds since 1970 of the UTC clock.
std::int64_t SystemMilliseconds()
{
    SYSTEMTIME st;
    ::GetSystemTime(&st);
    const std::int64_t days = DaysFromCivil(st.wYear, st.wMonth, st.wDay);
    return (days * 86400 + st.wHour * 3600 + st.wMinute * 60 + st.wSecond) * 1000 +
           st.wMilliseconds;
}

// The client gives UTC clock digits as local clock fields; this reads the digits back.
std::int64_t UtcDigitsOf(const ATL::CTime& time)
{
    std::tm t;
    if (!time.GetLocalTm(&t))
        return -1;
    const std::int64_t days = DaysFromCivil(t.tm_year + 1900, t.tm_mon + 1, t.tm_mday);
    return days * 86400 + t.tm_hour * 3600 + t.tm_min * 60 + t.tm_sec;
}

const std::uint64_t k_uNtpEpochOffset = 2208988800u;

std::uint64_t ReadStamp(const unsigned char* p)
{
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i)
        value = value << 8 | p[i];
    return value;
}

void WriteStamp(unsigned char* p, std::uint64_t value)
{
    for (int i = 7; i >= 0; --i, value >>= 8)
        p[i] = static_cast<unsigned char>(value);
}

// Answers one request on 127.0.0.1 the way a test asks for.
class CScriptedServer
{
public:
    enum EAnswer
    {
        Offset,
        Short,
        Silent,
        OtherPort
    };

    CScriptedServer(EAnswer answer, double offset = 0) : m_eAnswer(answer), m_dOffset(offset)
    {
        EXPECT_TRUE(m_oSocket.Create(0, SOCK_DGRAM, 0, "127.0.0.1"));
        CString address;
        EXPECT_TRUE(m_oSocket.GetSockName(address, m_uPort));
        m_oThread = std::thread(&CScriptedServer::Serve, this);
    }
    ~CScriptedServer() { Join(); }
    // Waits until the request has been answered (or not, as asked).
    void Join()
    {
        if (m_oThread.joinable())
            m_oThread.join();
    }

    // Valid once the client call has returned.
    int m_iRequestSize = 0;
    unsigned char m_aucRequest[128] = {};
    std::int64_t m_iTransmitMs = 0;
    UINT m_uClientPort = 0;
    UINT m_uPort = 0;

private:
    void Serve()
    {
        CString address;
        m_iRequestSize =
            m_oSocket.ReceiveFrom(m_aucRequest, sizeof m_aucRequest, address, m_uClientPort);
        if (m_iRequestSize < 48)
            return;
        const std::uint64_t t1 = ReadStamp(m_aucRequest + 40);
        m_iTransmitMs = static_cast<std::int64_t>((t1 >> 32) - k_uNtpEpochOffset) * 1000 +
                        static_cast<std::int64_t>(((t1 & 0xFFFFFFFFu) * 1000) >> 32);

        unsigned char reply[48] = {};
        reply[0] = 0x1C; // version 3, server
        reply[1] = 2;
        // The server's clock is the client's, shifted by the chosen offset, and it answers at once.
        const std::uint64_t shifted =
            t1 + static_cast<std::uint64_t>(std::llround(m_dOffset * 4294967296.0));
        WriteStamp(reply + 24, t1);
        WriteStamp(reply + 32, shifted);
        WriteStamp(reply + 40, shifted);
        if (m_eAnswer == Silent)
            return;
        CAsyncSocket other;
        EXPECT_TRUE(m_eAnswer != OtherPort || other.Create(0, SOCK_DGRAM, 0, "127.0.0.1"));
        (m_eAnswer == OtherPort ? other : m_oSocket)
            .SendTo(reply, m_eAnswer == Short ? 40 : 48, m_uClientPort, "127.0.0.1");
    }

    EAnswer m_eAnswer;
    double m_dOffset;
    CAsyncSocket m_oSocket;
    std::thread m_oThread;
};

class NtpClientTest : public ::testing::Test, protected SRecordedOutput
{
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(AfxSocketInit()); }

    std::string LastLog()
    {
        const std::vector<std::string> texts = m_oRecorder.Texts();
        return texts.empty() ? std::string() : texts.back();
    }

    // A socket can be bound to the client's port again only once the client has closed it.
    static bool IsPortFree(UINT port)
    {
        CAsyncSocket probe;
        return probe.Create(port, SOCK_DGRAM, 0, "127.0.0.1") != FALSE;
    }
};

} // namespace

TEST_F(NtpClientTest, AppliesTheServersOffset)
{
    for (double offset : {3.25, -0.5, 0.0, -2.75, 1.5})
    {
        SCOPED_TRACE(offset);
        // Last, with the sockets beyond FD_SETSIZE where sockets are descriptor numbers.
        std::unique_ptr<CDescriptorHog> hog(offset == 1.5 ? HogLowDescriptors() : nullptr);
        if (hog && hog->m_iNext < 0)
            GTEST_SKIP() << "cannot open " << FD_SETSIZE << " files";
        CScriptedServer server(CScriptedServer::Offset, offset);
        CNtpClient client(m_oOut);
        const std::int64_t before = SystemMilliseconds();
        const ATL::CTime result = client.GetServerTime("127.0.0.1", server.m_uPort);
        const std::int64_t after = SystemMilliseconds();
        server.Join();
        const std::int64_t offsetMs = std::llround(offset * 1000);

        // The reply came at once: the result is the client's clock plus the offset, to the
        // millisecond, so a carry or borrow gone wrong moves it by a whole second.
        EXPECT_GE(UtcDigitsOf(result), (before + offsetMs - 5) / 1000);
        EXPECT_LE(UtcDigitsOf(result), (after + offsetMs) / 1000);
        EXPECT_TRUE(m_oRecorder.Lines().empty()) << LastLog();

        // The request: 48 bytes in client mode, nothing set but the transmit time, which is now.
        ASSERT_EQ(48, server.m_iRequestSize);
        EXPECT_EQ(0x1B, server.m_aucRequest[0]);
        EXPECT_THAT(std::vector<int>(server.m_aucRequest + 1, server.m_aucRequest + 40),
                    ::testing::Each(0));
        // A millisecond can be lost to the binary fraction.
        EXPECT_GE(server.m_iTransmitMs, before - 1);
        EXPECT_LE(server.m_iTransmitMs, after);
        EXPECT_TRUE(IsPortFree(server.m_uClientPort));
    }
}

TEST_F(NtpClientTest, FailuresAreLoggedAndGiveAnEmptyTime)
{
    struct SCase
    {
        CScriptedServer::EAnswer m_eAnswer;
        const char* m_szLog;
        bool m_bWaits;
    };
    // A connected socket only takes datagrams from the server's own port.
    const SCase cases[] = {
        {CScriptedServer::Short, "Time Server Inaccessible: Unable to read reply from the server. ",
         false},
        {CScriptedServer::Silent, "Time Server Inaccessible: Timed out while waiting for reply. ",
         true},
        {CScriptedServer::OtherPort,
         "Time Server Inaccessible: Timed out while waiting for reply. ", true},
    };
    for (const SCase& c : cases)
    {
        SCOPED_TRACE(c.m_szLog);
        CScriptedServer server(c.m_eAnswer);
        CNtpClient client(m_oOut);
        const auto start = std::chrono::steady_clock::now();
        const ATL::CTime result = client.GetServerTime("127.0.0.1", server.m_uPort);
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        server.Join();
        EXPECT_EQ(ATL::CTime(), result);
        EXPECT_THAT(LastLog(), ::testing::AllOf(::testing::StartsWith(c.m_szLog),
                                                ::testing::EndsWith("].\n")));
        EXPECT_EQ(c.m_bWaits, seconds >= 0.9) << seconds;
        EXPECT_LT(seconds, 10.0);
        EXPECT_TRUE(IsPortFree(server.m_uClientPort));
    }

    CNtpClient client(m_oOut);
    EXPECT_EQ(ATL::CTime(), client.GetServerTime("no.such.host.invalid", 123));
    EXPECT_THAT(LastLog(), ::testing::StartsWith("Time Server Inaccessible: Could not connect to "
                                                 "server no.such.host.invalid on port 123. "));
}

// chronyd serves the system clock, so its time is the client's own.
TEST_F(NtpClientTest, AgreesWithChronyd)
{
    const char* dir = std::getenv("CPPUTIL_NTP_SERVER_DIR");
    const char* port = std::getenv("CPPUTIL_NTP_SERVER_PORT");
    if (!dir || !port)
        GTEST_SKIP() << "chronyd is started by CTest (fixture NtpServer); run this through ctest";
    std::ifstream unavailable(std::string(dir) + "/unavailable");
    if (unavailable)
        GTEST_SKIP() << unavailable.rdbuf();

    CNtpClient client(m_oOut);
    ATL::CTime result;
    ATL::CTime expected;
    // chronyd may still be opening its socket.
    for (int attempt = 0; attempt < 10 && result == ATL::CTime(); ++attempt)
    {
        result = client.GetServerTime("127.0.0.1", std::atoi(port));
        SYSTEMTIME now;
        ::GetSystemTime(&now);
        expected = ATL::CTime(now, -1);
    }
    ASSERT_NE(ATL::CTime(), result) << LastLog();
    EXPECT_LE(std::llabs((result - expected).GetTotalSeconds()), 1);
}
