#include "LogRecorder.h"
#include "ScratchFolder.h"
#include "Thrown.h"

#include <cpputil/CppUtil.CompiledMsg.h>
#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/CppUtil.Text.Output.h>
#include <cpputil/CppUtil.WikitextMsgExtractor.h>
#include <cpputil/Platform/Types/WinTypes.h>

#include <fstream>
#include <functional>
#include <gmock/gmock.h>

using CppUtil::CCompiledMsgBase;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace
{

// The library's table as the system's message reader sees it (checked letter for letter by
// MessageTableTest).
CString TableText(DWORD id)
{
    char text[1024];
    const DWORD length =
        FormatMessageA(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_IGNORE_INSERTS,
                       GetModuleHandleA("cpputil"), id, 0, text, sizeof text, nullptr);
    return CString(text, static_cast<int>(length));
}

std::string SystemText(DWORD error)
{
    char text[512];
    DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                  nullptr, error, 0, text, sizeof text, nullptr);
    while (length > 0 && (text[length - 1] == '\r' || text[length - 1] == '\n'))
        --length;
    return std::string(text, length);
}

std::string LoadFailure(unsigned long id, const char* module)
{
    try
    {
        CCompiledMsgBase(id, module, "").LoadCStr();
    }
    catch (const CppUtil::Exception::CQlException& e)
    {
        EXPECT_TRUE(CCompiledMsgBase::CheckException());
        EXPECT_EQ(CString("CppUtil::CCompiledMsgBase::LoadCStr"), e.GetFunction());
        return e.what();
    }
    ADD_FAILURE() << "message " << id << " of " << module << " loaded";
    return std::string();
}

} // namespace

TEST(CompiledMsgTest, LibraryMessagesLoadWithTheirIdAndServeAsFormat)
{
    const CCompiledMsgBase notice(2, "cpputil", "MSG_VERBOSE_LOGGING_ENABLED");
    ASSERT_NE(-1, TableText(2).Find("Quillon\\%s to zero"));
    EXPECT_EQ(TableText(2), notice.LoadCStr());
    EXPECT_EQ(TableText(11), CCompiledMsgBase(11, "cpputil", "").LoadCStr());
    EXPECT_EQ(TableText(2) + " (ID cpputil:2)", notice.LoadCStrWithMsgId());
    CCompiledMsgBase::IsShowId = [] { return false; };
    EXPECT_EQ(TableText(2), notice.LoadCStrWithMsgId());
    EXPECT_TRUE(notice.GetIdDisplayStr().IsEmpty());
    CCompiledMsgBase::IsShowId = boost::function<bool()>();

    SRecordedOutput log;
    CLogRecorder& recorder = log.m_oRecorder;
    log.m_oOut.LogF(CCompiledMsgBase(2, "cpputil", ""), 0u) % "VerboseLogging";
    log.m_oOut.JobLogF(CCompiledMsgBase(11, "cpputil", ""), "second") % "VerboseLogging";
    ASSERT_EQ(2u, recorder.Lines().size());
    EXPECT_THAT(recorder.Texts()[0], HasSubstr("Quillon\\VerboseLogging to zero then restart"));
    EXPECT_EQ(CppUtil::Text::JobLog, recorder.Lines()[1].m_eDestination);
    EXPECT_EQ("second", recorder.Lines()[1].m_sSecondText);
}

TEST(CompiledMsgTest, LoadFailureNamesIdModuleAndSystemReason)
{
    const std::string missingId = LoadFailure(999, "cpputil");
    const std::string head = "Could not load compiled message with ID 999 in module cpputil:\r\n";
    EXPECT_GT(missingId.size(), head.size());
    EXPECT_THAT(missingId,
                ::testing::AllOf(StartsWith(head), HasSubstr(SystemText(ERROR_MR_MID_NOT_FOUND)),
                                 ::testing::Not(::testing::EndsWith("\n"))));
    // This program has no message table of its own.
    EXPECT_THAT(LoadFailure(1, ""), HasSubstr(SystemText(ERROR_RESOURCE_DATA_NOT_FOUND)));
    EXPECT_THAT(Thrown<CppUtil::Exception::CQlException>(
                    [] { CppUtil::CWikitextMsgExtractor::ListMessages("", {}); }),
                HasSubstr(SystemText(ERROR_RESOURCE_DATA_NOT_FOUND)));

    EXPECT_THAT(
        LoadFailure(5, "no-such-module"),
        StartsWith("Could not load compiled message with ID 5 in module no-such-module:\r\n"));
    // The failure is not mistaken for another, nor another for it.
    EXPECT_NE(LoadFailure(5, "no-such-module"), missingId);
    EXPECT_FALSE(CCompiledMsgBase::CheckException());
    const std::function<void()> others[] = {
        [] { CppUtil::Exception::ThrowQlException("Disk full", "f", "file", 1); },
        [] { throw std::runtime_error("Could not load compiled message with ID 1"); }};
    for (const std::function<void()>& other : others)
        try
        {
            other();
        }
        catch (...)
        {
            EXPECT_FALSE(CCompiledMsgBase::CheckException());
        }
}

TEST(CompiledMsgTest, WriteToFileFlattensAndCuts)
{
    CScratchFolder folder;
    const std::string path = folder / "compiled-messages.txt";
    {
        std::ofstream file(path.c_str(), std::ios::binary);
        CCompiledMsgBase::WriteToFile(file, "a\r\nb\rc\nd<br />e->f");
        CCompiledMsgBase::WriteToFile(file, CString('x', 300));
        CCompiledMsgBase::WriteToFile(file, CString('y', 254));
    }
    EXPECT_EQ("[[a b c d e/f]]\n\n[[" + std::string(252, 'x') + "...]]\n\n[[" +
                  std::string(254, 'y') + "]]\n\n",
              ReadAll(path));
}
