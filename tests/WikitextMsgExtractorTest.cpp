#include "LogRecorder.h"
#include "RegistrySandbox.h"
#include "ScratchFolder.h"
#include "Thrown.h"

#include <cpputil/CppUtil.Exception.Globals.h>
#include <cpputil/CppUtil.Text.WikitextTable.h>
#include <cpputil/CppUtil.WikitextMsgExtractor.h>
#include <cpputil/Platform/Registry/CRegKey.h>
#include <cpputil/Platform/Registry/Registry.h>

#include <MessageTableTest.h>
#include <cstdio>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <memory>

#include "AnsiFolder.h"
#include "McToolListing.h"

using CppUtil::CWikitextMsgExtractor;
using CppUtil::Exception::CQlException;
using CppUtil::Exception::g_sCurrentJobLogDir;
using CppUtil::Settings::CQLRegistry;
using CppUtil::Text::CWikitextTable;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// Runs first: no registry store has been built in this program before.
TEST(WikitextMsgExtractorTest, SwitchOnFirstStoreWritesTheLibraryMessagesOnce)
{
    CRegistrySandbox sandbox;
    CppUtil::Platform::CRegKey switchKey;
    ASSERT_EQ(ERROR_SUCCESS, switchKey.Create(HKEY_CURRENT_USER,
                                              "Software\\Velmora\\Quillon\\WikitextMsgExtractor",
                                              nullptr, 0, KEY_ALL_ACCESS, nullptr, nullptr));
    ASSERT_EQ(ERROR_SUCCESS, switchKey.SetDWORDValue("Enable", 1));
    // Off again however the test ends: under Wine the hive is shared with other tests.
    const std::shared_ptr<void> off(nullptr,
                                    [&switchKey](void*) { RegDeleteValueA(switchKey, "Enable"); });

    const CScratchFolder folder;
    g_sCurrentJobLogDir = folder.Path().string().c_str();
    const std::string file = folder / "cpputil.messages.wiki", moved = folder / "first.wiki";
    SRecordedOutput recorded;
    CQLRegistry(recorded.m_oOut, HKEY_CURRENT_USER, sandbox.Section("Any"), KEY_READ);
    // The switch is read once: a second store leaves the folder alone.
    std::filesystem::rename(file, moved);
    CQLRegistry(recorded.m_oOut, HKEY_CURRENT_USER, sandbox.Section("Any"), KEY_READ);

    EXPECT_FALSE(std::filesystem::exists(file));
    const std::string written = ReadAll(moved);
    EXPECT_EQ(written, CWikitextMsgExtractor::ListLibraryMessages().Str());
    EXPECT_THAT(written,
                HasSubstr("\n| 2 || MSG_VERBOSE_LOGGING_ENABLED || Verbose logging is enabled."));
    ASSERT_EQ(recorded.m_oRecorder.Lines().size(), 1u);
    EXPECT_EQ(recorded.m_oRecorder.Lines()[0].m_sText,
              "The library's compiled messages were written as wiki text to " + file);

    // Without a job-log folder the list goes to the temporary folder; a folder that cannot be
    // written raises, naming the file.
    g_sCurrentJobLogDir = "";
    const CString inTemp = CWikitextMsgExtractor::WriteLibraryMessages();
    EXPECT_EQ(std::string(inTemp),
              (std::filesystem::temp_directory_path() / "cpputil.messages.wiki").string());
    EXPECT_EQ(ReadAll(inTemp.GetString()), written);
    std::remove(inTemp);
    // A folder name outside ASCII, in the ANSI code page as the library's paths are.
    const std::string ansiFolder = folder / "job-\xFC";
    ASSERT_TRUE(MakeAnsiFolder(ansiFolder));
    g_sCurrentJobLogDir = ansiFolder.c_str();
    const std::string inAnsi =
        ansiFolder + static_cast<char>(folder.Path().preferred_separator) + "cpputil.messages.wiki";
    EXPECT_EQ(std::string(CWikitextMsgExtractor::WriteLibraryMessages()), inAnsi);
    EXPECT_EQ(ReadAll(inAnsi), written);

    g_sCurrentJobLogDir = (folder / "missing").c_str();
    EXPECT_THAT(Thrown<CQlException>([] { CWikitextMsgExtractor::WriteLibraryMessages(); }),
                StartsWith("Could not write the message list to " +
                           (folder.Path() / "missing" / "cpputil.messages.wiki").string() + ": "));
    g_sCurrentJobLogDir = "";
}

TEST(WikitextMsgExtractorTest, HostileTextsStayTextAndRowsFollowTheIds)
{
    EXPECT_EQ(CWikitextTable::Escape("a|b||c {{T|x}} [[L]] ''i'' ~~~~ <nowiki>&amp;</nowiki>\r\n"
                                     "-|next\nlast\r\n\r\n"),
              "a&#124;b&#124;&#124;c &#123;&#123;T&#124;x&#125;&#125; &#91;&#91;L&#93;&#93; "
              "&#39;&#39;i&#39;&#39; &#126;&#126;&#126;&#126; &lt;nowiki&gt;&amp;amp;&lt;/"
              "nowiki&gt;<br />-&#124;next<br />last");
    EXPECT_EQ(CWikitextTable::Escape("__TOC__ __NOTOC__ MSG_A_B\x01\x1b\t\xfc\x80\x81"),
              "&#95;&#95;TOC&#95;&#95; &#95;&#95;NOTOC&#95;&#95; MSG_A_B??\t&#252;&#8364;&#129;");

    CWikitextTable table;
    table.AddMessage(0xC0000001u, "", "|}\n{|");
    table.AddMessage(7, "MSG_SEVEN", "seven");
    EXPECT_EQ(table.Str(), "{| class=\"wikitable sortable\"\n"
                           "! ID !! Symbolic name !! Text\n"
                           "|-\n"
                           "| 7 || MSG_SEVEN || seven\n"
                           "|-\n"
                           "| 3221225473 ||  || &#124;&#125;<br />&#123;&#124;\n"
                           "|}\n");
}

TEST(WikitextMsgExtractorTest, ProgramTableListsAsItsSourceDoes)
{
    const std::map<unsigned long, CString> names = {{MSG_TEST_LINES, "MSG_TEST_LINES"},
                                                    {MSG_TEST_INSERTS, "MSG_TEST_INSERTS"},
                                                    {MSG_TEST_ESCAPES, "MSG_TEST_ESCAPES"},
                                                    {MSG_TEST_ERROR, "MSG_TEST_ERROR"},
                                                    {MSG_TEST_GREETING, "MSG_TEST_GREETING"}};
    const std::string listed = CWikitextMsgExtractor::ListMessages("", names).Str();
    for (const char* row : {"| 1 || MSG_TEST_LINES || first line<br /><br />third line\n",
                            "| 5 || MSG_TEST_ESCAPES || Tab\there, 100%% sure<br />last\n",
                            "| 49 || MSG_TEST_GREETING || Hello\n"})
        EXPECT_THAT(listed, HasSubstr(row));
    EXPECT_THAT(CWikitextMsgExtractor::ListMessages("", {}).Str(),
                HasSubstr("| 3240296496 ||  || Failed."));
    ExpectTheToolListsTheSame(listed);

    EXPECT_THAT(
        Thrown<CQlException>([] { CWikitextMsgExtractor::ListMessages("no-such-module", {}); }),
        StartsWith("Could not list the message table of module no-such-module: "));
}
