// cpputil-reg, run as an administrator would run it.
#include "RegistrySandbox.h"
#include "ScratchFolder.h"

#include <cpputil/CppUtil.Settings.VerboseLogging.h>
#include <cpputil/CppUtil.Text.Output.h>
#include <cpputil/RegistryValue.h>

#include <fstream>
#include <gmock/gmock.h>
#include <sys/wait.h>

using CppUtil::Settings::CRegistryValue;
using ::testing::HasSubstr;
using ::testing::Not;

namespace
{

struct SRun
{
    int m_iStatus;
    std::string m_sOut;
    std::string m_sErr;
};

class RegToolTest : public ::testing::Test
{
protected:
    SRun Run(const std::vector<std::string>& arguments, const std::string& answer = "")
    {
        std::string command = "printf '" + answer + "' | '" CPPUTIL_REG_TOOL "'";
        for (const std::string& argument : arguments)
            command += " '" + argument + "'";
        const std::string out = m_oSandbox.Root() + "/out.txt";
        const std::string err = m_oSandbox.Root() + "/err.txt";
        const int status = std::system((command + " >" + out + " 2>" + err).c_str());
        return SRun{WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadAll(out), ReadAll(err)};
    }

    CRegistrySandbox m_oSandbox;
};

const char k_szKey[] = "HKLM\\Software\\Velmora\\Quillon\\VerboseLogging";

} // namespace

TEST_F(RegToolTest, EditsMeetTheLibraryAndSurviveExportAndImport)
{
    SRun run = Run({"add", k_szKey, "/v", "ApsLog", "/t", "REG_DWORD", "/d", "1", "/f"});
    EXPECT_EQ(0, run.m_iStatus) << run.m_sErr;
    CppUtil::Settings::CVerboseLogging::LoadFromRegistry();
    EXPECT_TRUE(CppUtil::Settings::CVerboseLogging::IsApsLoggingEnabled());

    CRegistryValue<CString>(CppUtil::Text::DefaultOutput(), HKEY_LOCAL_MACHINE, "VerboseLogging",
                            "Note", "", true, false, false)
        .SetValue("from the library");
    run = Run({"query", "hklm\\software\\velmora\\quillon\\verboselogging"});
    EXPECT_EQ(0, run.m_iStatus);
    EXPECT_THAT(run.m_sOut,
                ::testing::AllOf(HasSubstr("    ApsLog    REG_DWORD    0x1\n"),
                                 HasSubstr("    Note    REG_SZ    from the library\n")));

    // Without /f the administrator is asked; "n" leaves the value alone.
    run = Run({"add", k_szKey, "/v", "apslog", "/t", "REG_DWORD", "/d", "0x10"}, "n\\n");
    EXPECT_EQ(1, run.m_iStatus);
    EXPECT_THAT(Run({"query", k_szKey, "/v", "ApsLog"}).m_sOut, HasSubstr("0x1\n"));
    run = Run({"add", k_szKey, "/v", "apslog", "/t", "REG_DWORD", "/d", "0x10"}, "y\\n");
    EXPECT_EQ(0, run.m_iStatus);
    EXPECT_THAT(Run({"query", k_szKey, "/v", "ApsLog"}).m_sOut, HasSubstr("0x10\n"));

    EXPECT_EQ(0, Run({"add", k_szKey, "/v", "List", "/t", "REG_MULTI_SZ", "/d", "a,b", "/s", ","})
                     .m_iStatus);
    EXPECT_EQ(
        (std::vector<CString>{"a", "b"}),
        (CRegistryValue<std::vector<CString>>(CppUtil::Text::DefaultOutput(), HKEY_LOCAL_MACHINE,
                                              "VerboseLogging", "List", {}, true, false, true)
             .GetValue()));

    // Export in the registry editor's own form: UTF-16 with its mark and CR LF line ends.
    const std::string file = m_oSandbox.Root() + "/export.reg";
    ASSERT_EQ(0, Run({"add", std::string(k_szKey) + "\\Sub", "/v", "Bytes", "/t", "REG_BINARY",
                      "/d", "00ff", "/f"})
                     .m_iStatus);
    ASSERT_EQ(0, Run({"add", k_szKey, "/ve", "/d", "top", "/f"}).m_iStatus);
    const std::string before = Run({"query", k_szKey, "/s"}).m_sOut;
    ASSERT_EQ(0, Run({"export", k_szKey, file}).m_iStatus);
    EXPECT_THAT(ReadAll(file), ::testing::AllOf(::testing::StartsWith("\xFF\xFE"),
                                                HasSubstr(std::string("\r\0\n\0", 4))));
    EXPECT_EQ(1, Run({"export", k_szKey, file}, "n\\n").m_iStatus);
    ASSERT_EQ(0, Run({"delete", k_szKey, "/f"}).m_iStatus);
    ASSERT_EQ(0, Run({"import", file}).m_iStatus);
    EXPECT_EQ(before, Run({"query", k_szKey, "/s"}).m_sOut);

    // A hand-written file in 8-bit text: a value removed, one added, a tree dropped.
    std::ofstream(file, std::ios::trunc)
        << "Windows Registry Editor Version 5.00\n\n"
           "[HKEY_LOCAL_MACHINE\\Software\\Velmora\\Quillon\\VerboseLogging]\n"
           "\"ApsLog\"=-\n\"VisionUpward\"=dword:00000002\n\n"
           "[-HKEY_LOCAL_MACHINE\\Software\\Velmora\\Quillon\\VerboseLogging\\Sub]\n";
    ASSERT_EQ(0, Run({"import", file}).m_iStatus);
    EXPECT_THAT(Run({"query", k_szKey, "/s"}).m_sOut,
                ::testing::AllOf(Not(HasSubstr("ApsLog")),
                                 HasSubstr("VisionUpward    REG_DWORD    0x2"),
                                 Not(HasSubstr("Sub"))));
    // No header, or a hive the tool does not serve.
    for (const char* text :
         {"[HKEY_LOCAL_MACHINE\\X]\n\"A\"=\"b\"\n",
          "Windows Registry Editor Version 5.00\n\n[HKEY_CLASSES_ROOT\\X]\n\"A\"=\"b\"\n"})
    {
        std::ofstream(file, std::ios::trunc) << text;
        EXPECT_EQ(1, Run({"import", file}).m_iStatus) << text;
    }

    EXPECT_EQ(0, Run({"delete", k_szKey, "/v", "VisionUpward", "/f"}).m_iStatus);
    run = Run({"query", k_szKey, "/v", "VisionUpward"});
    EXPECT_EQ(1, run.m_iStatus);
    EXPECT_EQ("ERROR: The system was unable to find the specified registry key or value.\n",
              run.m_sErr);
    EXPECT_EQ(0, Run({"delete", k_szKey, "/f"}).m_iStatus);
    EXPECT_EQ(1, Run({"query", k_szKey}).m_iStatus);
}

TEST_F(RegToolTest, BadArgumentsFailWithAMessage)
{
    const std::vector<std::vector<std::string>> bad = {
        {},
        {"frobnicate", k_szKey},
        {"add", "HKCR\\Software\\X", "/v", "A", "/f"},
        {"add", k_szKey, "/v"},
        {"add", k_szKey, "/v", "A", "/t", "REG_DWORD", "/d", "4294967296", "/f"},
        {"add", k_szKey, "/v", "A", "/t", "REG_BINARY", "/d", "abc", "/f"},
        {"delete", "HKLM", "/f"},
        {"import", "/nonexistent/file.reg"}};
    for (const std::vector<std::string>& arguments : bad)
    {
        const SRun run = Run(arguments);
        EXPECT_EQ(1, run.m_iStatus) << (arguments.empty() ? "" : arguments[0]);
        EXPECT_THAT(run.m_sErr, ::testing::StartsWith("ERROR: "));
    }
    EXPECT_EQ(0, Run({"/?"}).m_iStatus);
}
