#include "LogRecorder.h"
#include "RegistrySandbox.h"
#include "Thrown.h"

#include <cpputil/CppUtil.Exception.Globals.h>
#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/CppUtil.Text.WikitextTable.h>
#include <cpputil/CppUtil.WikitextMsgExtractor.h>
#include <cpputil/Platform/Registry/Registry.h>

#include <MessageTableTest.h>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <type_traits>

#include "AnsiFolder.h"
#include "McToolListing.h"

using CppUtil::CWikitextMsgExtractor;
using CppUtil::Exception::CQlException;
using CppUtil::Exception::g_sCurrentJobLogDir;
using CppUtil::Settings::CQLRegistry;
using CppUtil::Text::CWikitextTable;

namespace
{

// A char path opens in the ANSI code page, as the library's.
std::string ReadAll(const std::string& path)
{
    std::ifstream file(path.c_str(), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

const std::map<unsigned long, CString> k_oTestNames = {{MSG_TEST_LINES, "MSG_TEST_LINES"},
                                                       {MSG_TEST_INSERTS, "MSG_TEST_INSERTS"},
                                                       {MSG_TEST_ESCAPES, "MSG_TEST_ESCAPES"},
                                                       {MSG_TEST_ERROR, "MSG_TEST_ERROR"},
                                                       {MSG_TEST_GREETING, "MSG_TEST_GREETING"}};

} // namespace

// Runs first: no registry store has been built in this program before.
TEST(WikitextMsgExtractorTest, SwitchOnFirstStoreWritesTheLibraryMessagesOnce)
{
    CRegistrySandbox sandbox;
    const char* const key = "Software\\Velmora\\Quillon\\WikitextMsgExtractor";
    HKEY switchKey = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExA(HKEY_CURRENT_USER, key, 0, nullptr, 0, KEY_ALL_ACCESS,
                                             nullptr, &switchKey, nullptr));
    const DWORD on = 1;
    ASSERT_EQ(ERROR_SUCCESS, RegSetValueExA(switchKey, "Enable", 0, REG_DWORD,
                                            reinterpret_cast<const BYTE*>(&on), sizeof(on)));
    // Off again however the test ends: under Wine the hive is shared with other tests.
    const auto off = [](HKEY key) { RegDeleteValueA(key, "Enable"), RegCloseKey(key); };
    const std::unique_ptr<std::remove_pointer_t<HKEY>, decltype(off)> switchOff(switchKey, off);

    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() /
        ("cpputil-wikitext-" + std::to_string(std::random_device()()));
    std::filesystem::create_directories(folder);
    g_sCurrentJobLogDir = folder.string().c_str();
    const std::filesystem::path file = folder / "cpputil.messages.wiki";

    SRecordedOutput recorded;
    {
        CQLRegistry first(recorded.m_oOut, HKEY_CURRENT_USER, sandbox.Section("Any"), KEY_READ);
    }
    // The switch is read once: a second store leaves the folder alone.
    std::filesystem::path moved = folder / "first.wiki";
    std::filesystem::rename(file, moved);
    {
        CQLRegistry second(recorded.m_oOut, HKEY_CURRENT_USER, sandbox.Section("Any"), KEY_READ);
    }

    EXPECT_FALSE(std::filesystem::exists(file));
    const std::string written = ReadAll(moved.string());
    EXPECT_EQ(written, CWikitextMsgExtractor::ListLibraryMessages().Str());
    EXPECT_NE(written.find("\n| 2 || MSG_VERBOSE_LOGGING_ENABLED || Verbose logging is enabled."),
              std::string::npos)
        << written;
    ASSERT_EQ(recorded.m_oRecorder.Lines().size(), 1u);
    EXPECT_EQ(recorded.m_oRecorder.Lines()[0].m_sText,
              "The library's compiled messages were written as wiki text to " + file.string());

    // Without a job-log folder the list goes to the temporary folder; a folder that cannot be
    // written raises, naming the file.
    g_sCurrentJobLogDir = "";
    const CString inTemp = CWikitextMsgExtractor::WriteLibraryMessages();
    EXPECT_EQ(std::string(inTemp),
              (std::filesystem::temp_directory_path() / file.filename()).string());
    EXPECT_EQ(ReadAll(inTemp.GetString()), written);
    std::remove(inTemp);
    // A folder name outside ASCII, in the ANSI code page as the library's paths are.
    const std::string ansiFolder = (folder / "job-").string() + "\xFC";
    ASSERT_TRUE(MakeAnsiFolder(ansiFolder));
    g_sCurrentJobLogDir = ansiFolder.c_str();
    const std::string inAnsi =
        (ansiFolder + static_cast<char>(folder.preferred_separator) + file.filename().string());
    EXPECT_EQ(std::string(CWikitextMsgExtractor::WriteLibraryMessages()), inAnsi);
    EXPECT_EQ(ReadAll(inAnsi), written);

    g_sCurrentJobLogDir = (folder / "missing").string().c_str();
    const std::string unwritable = "Could not write the message list to " +
                                   (folder / "missing" / file.filename()).string() + ": ";
    EXPECT_EQ(unwritable,
              Thrown<CQlException>([] { CWikitextMsgExtractor::WriteLibraryMessages(); })
                  .substr(0, unwritable.size()));
    g_sCurrentJobLogDir = "";
    std::filesystem::remove_all(folder);
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
    const std::string listed = CWikitextMsgExtractor::ListMessages("", k_oTestNames).Str();
    for (const char* row : {"| 1 || MSG_TEST_LINES || first line<br /><br />third line\n",
                            "| 5 || MSG_TEST_ESCAPES || Tab\there, 100%% sure<br />last\n",
                            "| 49 || MSG_TEST_GREETING || Hello\n"})
        EXPECT_NE(listed.find(row), std::string::npos) << row << listed;
    EXPECT_NE(CWikitextMsgExtractor::ListMessages("", {}).Str().find("| 3240296496 ||  || Failed."),
              std::string::npos);
    ExpectTheToolListsTheSame(listed);

    const std::string unlisted = "Could not list the message table of module no-such-module: ";
    EXPECT_EQ(unlisted, Thrown<CQlException>(
                            [] { CWikitextMsgExtractor::ListMessages("no-such-module", {}); })
                            .substr(0, unlisted.size()));
}
