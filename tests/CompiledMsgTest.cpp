#include "LogRecorder.h"

#include <cpputil/CppUtil.CompiledMsg.h>
#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/CppUtil.Text.Output.h>

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

using CppUtil::CCompiledMsgBase;

namespace
{

const char* const k_szMessage2 =
    "Verbose logging is enabled. This may affect Quillon and/or programmer performance.\r\n\r\n"
    "Note: To disable verbose logging set all registry values in "
    "HKLM\\Software\\Velmora\\Quillon\\%s to zero then restart Quillon. You must have "
    "administrative access rights to modify these registry values.\r\n";

const char* const k_szMessage11 =
    "Verbose logging is enabled including downward vision image capture logging. This may affect "
    "Quillon and/or programmer performance.\r\n\r\nImportant: Downward vision image capture "
    "logging will significantly decrease DPH.\r\n\r\nNote: To disable verbose logging set all "
    "registry values in HKLM\\Software\\Velmora\\Quillon\\%s to zero then restart Quillon. You "
    "must have administrative access rights to modify these registry values.\r\n";

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

TEST(CompiledMsgTest, LibraryMessagesLoadTextForText)
{
    const CCompiledMsgBase notice(2, "cpputil", "MSG_VERBOSE_LOGGING_ENABLED");
    EXPECT_EQ(CString(k_szMessage2), notice.LoadCStr());
    EXPECT_EQ(CString(k_szMessage11), CCompiledMsgBase(11, "cpputil", "").LoadCStr());
    EXPECT_EQ(CString(k_szMessage2) + " (ID cpputil:2)", notice.LoadCStrWithMsgId());

    CCompiledMsgBase::IsShowId = [] { return false; };
    EXPECT_EQ(CString(k_szMessage2), notice.LoadCStrWithMsgId());
    EXPECT_TRUE(notice.GetIdDisplayStr().IsEmpty());
    CCompiledMsgBase::IsShowId = boost::function<bool()>();
}

TEST(CompiledMsgTest, MessageServesAsFormat)
{
    CLogRecorder recorder;
    CppUtil::Text::CMessageManager* manager = new CppUtil::Text::CMessageManager;
    CppUtil::Text::COutput out(manager);
    manager->SetLoggingEventHandler(recorder.Handler());
    out.LogF(CCompiledMsgBase(2, "cpputil", ""), 0u) % "VerboseLogging";
    out.JobLogF(CCompiledMsgBase(11, "cpputil", ""), "second") % "VerboseLogging";
    ASSERT_EQ(2u, recorder.Lines().size());
    EXPECT_NE(std::string::npos,
              recorder.Lines()[0].m_sText.find("Quillon\\VerboseLogging to zero then restart"));
    EXPECT_EQ(CppUtil::Text::JobLog, recorder.Lines()[1].m_eDestination);
    EXPECT_EQ("second", recorder.Lines()[1].m_sSecondText);
}

TEST(CompiledMsgTest, LoadFailureNamesIdModuleAndSystemReason)
{
    const std::string missingId = LoadFailure(999, "cpputil");
    const std::string head = "Could not load compiled message with ID 999 in module cpputil:\r\n";
    ASSERT_EQ(head, missingId.substr(0, head.size()));
    EXPECT_GT(missingId.size(), head.size());
    EXPECT_NE('\n', missingId.back());

    EXPECT_EQ(0u,
              LoadFailure(5, "no-such-module")
                  .find("Could not load compiled message with ID 5 in module no-such-module:\r\n"));
    // The failure is not mistaken for another, nor another for it.
    EXPECT_NE(LoadFailure(5, "no-such-module"), missingId);
}

TEST(CompiledMsgTest, CheckExceptionTellsLoadFailuresApart)
{
    EXPECT_FALSE(CCompiledMsgBase::CheckException());
    try
    {
        CppUtil::Exception::ThrowQlException("Disk full", "f", "file", 1);
    }
    catch (...)
    {
        EXPECT_FALSE(CCompiledMsgBase::CheckException());
    }
    try
    {
        throw std::runtime_error("Could not load compiled message with ID 1");
    }
    catch (...)
    {
        EXPECT_FALSE(CCompiledMsgBase::CheckException());
    }
}

TEST(CompiledMsgTest, WriteToFileFlattensAndCuts)
{
    const std::string path = ::testing::TempDir() + "compiled-messages.txt";
    {
        std::ofstream file(path.c_str());
        CCompiledMsgBase::WriteToFile(file, "a\r\nb\rc\nd<br />e->f");
        CCompiledMsgBase::WriteToFile(file, CString('x', 300));
        CCompiledMsgBase::WriteToFile(file, CString('y', 254));
    }
    std::ifstream file(path.c_str());
    std::stringstream content;
    content << file.rdbuf();
    EXPECT_EQ("[[a b c d e/f]]\n\n[[" + std::string(252, 'x') + "...]]\n\n[[" +
                  std::string(254, 'y') + "]]\n\n",
              content.str());
    file.close();
    std::remove(path.c_str());
}
