// Message tables compiled from .mc files, read through GetModuleHandleA and FormatMessageA: the
// library's own table, and this program's (MessageTableTest.mc).
#include "MessageTableTest.h"

#include <cpputil/Platform/Types/CString.h>
#include <cpputil/Platform/Types/WinTypes.h>

#include <cctype>
#include <cstdarg>
#include <gmock/gmock.h>
#include <string>
#include <utility>
#include <vector>

namespace
{

const char* const k_szVerboseLogging =
    "Verbose logging is enabled. This may affect Quillon and/or programmer performance.\r\n"
    "\r\n"
    "Note: To disable verbose logging set all registry values in "
    "HKLM\\Software\\Velmora\\Quillon\\%s to zero then restart Quillon. You must have "
    "administrative access rights to modify these registry values.\r\n";

const char* const k_szVerboseLoggingWithImageCapture =
    "Verbose logging is enabled including downward vision image capture logging. This may "
    "affect Quillon and/or programmer performance.\r\n"
    "\r\n"
    "Important: Downward vision image capture logging will significantly decrease DPH.\r\n"
    "\r\n"
    "Note: To disable verbose logging set all registry values in "
    "HKLM\\Software\\Velmora\\Quillon\\%s to zero then restart Quillon. You must have "
    "administrative access rights to modify these registry values.\r\n";

// The formatted text; empty on failure, with the last error left for the caller.
std::string Load(DWORD flags, LPCVOID source, DWORD id, DWORD language = 0,
                 const DWORD_PTR* arguments = nullptr)
{
    char buffer[1024];
    if (arguments)
        flags |= FORMAT_MESSAGE_ARGUMENT_ARRAY;
    SetLastError(ERROR_SUCCESS);
    const DWORD length =
        FormatMessageA(flags, source, id, language, buffer, sizeof buffer,
                       reinterpret_cast<va_list*>(const_cast<DWORD_PTR*>(arguments)));
    return std::string(buffer, length);
}

std::string LoadV(HMODULE module, DWORD id, ...)
{
    char buffer[256];
    va_list arguments;
    va_start(arguments, id);
    const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_HMODULE, module, id, 0, buffer,
                                        sizeof buffer, &arguments);
    va_end(arguments);
    return std::string(buffer, length);
}

// ERROR_NO_WORK_DONE, which MinGW's windows.h does not name: an empty result.
const DWORD k_dwNoWorkDone = 235;
const DWORD k_dwModule = FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_IGNORE_INSERTS;
const DWORD k_dwSystem = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;

} // namespace

// Windows finds loaded modules only; this program loads the library because it uses CString.
TEST(MessageTableTest, LibraryTableHoldsItsMessagesLetterForLetterAndNoOthers)
{
    const HMODULE library = GetModuleHandleA("cpputil");
    ASSERT_NE(nullptr, library);
    EXPECT_EQ(library, GetModuleHandleA("CppUtil.DLL"));
    EXPECT_NE(GetModuleHandleA(nullptr), library);
    EXPECT_EQ(k_szVerboseLogging, Load(k_dwModule, library, 2));
    EXPECT_EQ(k_szVerboseLoggingWithImageCapture, Load(k_dwModule, library, 11));

    // The %s is left for the library, which fills in its registry key printf-style.
    CString notice;
    notice.Format(Load(k_dwModule, library, 2).c_str(), "VerboseLogging");
    EXPECT_NE(-1, notice.Find("Quillon\\VerboseLogging to zero"));

    EXPECT_EQ("", Load(k_dwModule, library, 12345));
    EXPECT_EQ(static_cast<DWORD>(ERROR_MR_MID_NOT_FOUND), GetLastError());
    // 1 is the program's message, not the library's.
    EXPECT_EQ("", Load(k_dwModule, library, MSG_TEST_LINES));
    EXPECT_EQ(static_cast<DWORD>(ERROR_MR_MID_NOT_FOUND), GetLastError());
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(nullptr, GetModuleHandleA("no-such-module"));
    EXPECT_EQ(static_cast<DWORD>(ERROR_MOD_NOT_FOUND), GetLastError());
    char small[8];
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(0u, FormatMessageA(k_dwModule, library, 2, 0, small, sizeof small, nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER), GetLastError());
}

TEST(MessageTableTest, ProgramTableIsTheExecutablesWithItsLanguagesAndInserts)
{
    const HMODULE program = GetModuleHandleA(nullptr);
    ASSERT_NE(nullptr, program);
    EXPECT_EQ(program, GetModuleHandleA("MessageTableTest.exe"));
    EXPECT_EQ(program, GetModuleHandleA("messagetabletest.EXE"));

    // Ids as mc numbers them: the previous one plus one, plus n, and severity and facility bits.
    EXPECT_EQ(2u, MSG_TEST_INSERTS);
    EXPECT_EQ(5u, MSG_TEST_ESCAPES);
    EXPECT_EQ(0xC1230030u, MSG_TEST_ERROR);
    EXPECT_EQ(0x123u, static_cast<DWORD>(FACILITY_TEST));

    EXPECT_EQ("first line\r\n\r\nthird line\r\n", Load(k_dwModule, program, MSG_TEST_LINES));
    EXPECT_EQ("Failed.\r\n", Load(k_dwModule, program, MSG_TEST_ERROR));
    // No module is the executable.
    EXPECT_EQ("Failed.\r\n", Load(k_dwModule, nullptr, MSG_TEST_ERROR));
    EXPECT_EQ("Hallo\r\n", Load(k_dwModule, program, MSG_TEST_GREETING, 0x407));
    EXPECT_EQ("Hello\r\n", Load(k_dwModule, program, MSG_TEST_GREETING, 0x409));
    // German texts exist, but not this one; there is no French at all.
    EXPECT_EQ("", Load(k_dwModule, program, MSG_TEST_LINES, 0x407));
    EXPECT_EQ(static_cast<DWORD>(ERROR_MR_MID_NOT_FOUND), GetLastError());
    EXPECT_EQ("", Load(k_dwModule, program, MSG_TEST_GREETING, 0x40C));
    EXPECT_EQ(static_cast<DWORD>(ERROR_RESOURCE_LANG_NOT_FOUND), GetLastError());

    // Inserts are kept when ignored and applied otherwise.
    EXPECT_EQ("Lot %1!d! of %2 keeps %s as it is.\r\n",
              Load(k_dwModule, program, MSG_TEST_INSERTS));

    const DWORD_PTR arguments[] = {42, reinterpret_cast<DWORD_PTR>("A-17")};
    EXPECT_EQ("Lot 42 of A-17 keeps s as it is.\r\n",
              Load(FORMAT_MESSAGE_FROM_HMODULE, program, MSG_TEST_INSERTS, 0, arguments));
    EXPECT_EQ("Lot -7 of B-2 keeps s as it is.\r\n", LoadV(program, MSG_TEST_INSERTS, -7, "B-2"));

    // %0 ends the text before its line break; %n, %t and %% work even with inserts ignored.
    EXPECT_EQ("Tab\there, 100% sure\r\nlast", LoadV(program, MSG_TEST_ESCAPES));
    EXPECT_EQ("Tab\there, 100%% sure\r\nlast", Load(k_dwModule, program, MSG_TEST_ESCAPES));

    const DWORD_PTR string[] = {reinterpret_cast<DWORD_PTR>("x"), 255};
    EXPECT_EQ("[  x] ff%!.\r\r\n",
              Load(FORMAT_MESSAGE_FROM_STRING, "[%1!3s!] %2!x!%%%!%.%r%n", 0, 0, string));
}

// Win32's rules for texts given as strings, arguments taken from an array.
TEST(MessageTableTest, FormatRulesOfWin32)
{
    struct SCase
    {
        DWORD m_dwFlags;
        const char* m_szText;
        std::vector<DWORD_PTR> m_oArguments;
        const char* m_szResult;
        DWORD m_dwError;
    };
    const auto text = [](const char* value) { return reinterpret_cast<DWORD_PTR>(value); };
    const DWORD ignore = FORMAT_MESSAGE_IGNORE_INSERTS;
    const SCase cases[] = {
        {0, "a\r\nb\nc\rd", {}, "a\r\nb\r\nc\r\nd", 0},
        {FORMAT_MESSAGE_MAX_WIDTH_MASK, "a\r\nb c%nd", {}, "a b c\r\nd", 0},
        {ignore, "x %1 %n %% %0 y", {}, "x %1 \r\n %% ", 0},
        {ignore, "a%.b% c%!d%qe", {}, "a%.b% c%!d%qe", 0},
        {0, "a%.b% c%!d%qe", {}, "a.b c!dqe", 0},
        {0, "%1!5d!|%1!-5d!|%1!05d!|%1!+d!|%1!#x!", {42}, "   42|42   |00042|+42|0x2a", 0},
        {0,
         "%1!hd! %2!u! %2!d! %3!I64u!",
         {70000, 0xFFFFFFFF, 12345678901234},
         "4464 4294967295 -1 12345678901234",
         0},
        {0, "[%1!*s!] [%3!.2s!]", {6, text("ab"), text("cdef")}, "[    ab] [cd]", 0},
        {0, "ab%", {}, "", ERROR_INVALID_PARAMETER},
        {0, "%1!d", {5}, "", ERROR_INVALID_PARAMETER},
        {0, "", {}, "", k_dwNoWorkDone},
    };
    for (const SCase& entry : cases)
    {
        const DWORD_PTR* arguments =
            entry.m_oArguments.empty() ? nullptr : entry.m_oArguments.data();
        EXPECT_EQ(entry.m_szResult, Load(FORMAT_MESSAGE_FROM_STRING | entry.m_dwFlags,
                                         entry.m_szText, 0, 0, arguments))
            << entry.m_szText;
        if (entry.m_dwError != 0)
        {
            EXPECT_EQ(entry.m_dwError, GetLastError()) << entry.m_szText;
        }
    }
    // An insert with nothing to fill it in.
    EXPECT_EQ("", Load(FORMAT_MESSAGE_FROM_STRING, "x %1 y", 0));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_PARAMETER), GetLastError());
}

TEST(MessageTableTest, SystemTextsMeanTheirOwnCodeAndUnknownCodesFail)
{
    // The texts are the system's own, so only their form is the same everywhere.
    using ::testing::AllOf;
    using ::testing::EndsWith;
    using ::testing::HasSubstr;
    EXPECT_THAT(Load(k_dwSystem, nullptr, ERROR_MR_MID_NOT_FOUND),
                AllOf(EndsWith("\r\n"), HasSubstr("0x%1"), HasSubstr("%2")));
    const DWORD_PTR inserts[] = {reinterpret_cast<DWORD_PTR>("3039"),
                                 reinterpret_cast<DWORD_PTR>("cpputil")};
    EXPECT_THAT(Load(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, ERROR_MR_MID_NOT_FOUND, 0, inserts),
                AllOf(HasSubstr("0x3039"), HasSubstr("cpputil")));

    LPSTR allocated = nullptr;
    const DWORD length =
        FormatMessageA(k_dwSystem | FORMAT_MESSAGE_ALLOCATE_BUFFER, nullptr, ERROR_MOD_NOT_FOUND, 0,
                       reinterpret_cast<LPSTR>(&allocated), 0, nullptr);
    ASSERT_NE(nullptr, allocated);
    EXPECT_THAT(std::string(allocated, length), AllOf(EndsWith("\r\n"), HasSubstr("odule")));
    EXPECT_EQ(nullptr, LocalFree(allocated));

    // Each system words the texts its own way; the meaning is what must not change.
    const std::pair<DWORD, const char*> known[] = {
        {3, "path"},       {112, "disk"}, {183, "exist"},    {995, "abort"},  {1223, "cancel"},
        {1460, "timeout"}, {5, "access"}, {87, "parameter"}, {10054, "conn"}, {11001, "host"},
    };
    for (const auto& code : known)
    {
        std::string text = Load(k_dwSystem, nullptr, code.first);
        for (char& ch : text)
            ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
        EXPECT_THAT(text, HasSubstr(code.second)) << code.first;
    }
    for (DWORD unknown : {40000u, 15999u, 0x7FFFFFFFu})
    {
        EXPECT_EQ("", Load(k_dwSystem, nullptr, unknown)) << unknown;
        EXPECT_EQ(static_cast<DWORD>(ERROR_MR_MID_NOT_FOUND), GetLastError()) << unknown;
    }
}

TEST(MessageTableTest, LineWidthWrapsBeforeTheLastBlankAndNeverInsideAnInsert)
{
    const DWORD_PTR inserts[] = {reinterpret_cast<DWORD_PTR>("alpha beta  gamma"), 42};
    const char* text = "The quick brown fox jumps over the lazy dog and keeps running far beyond "
                       "the fence.";
    EXPECT_EQ("The quick\r\nbrown fox\r\njumps over\r\nthe lazy\r\ndog and\r\nkeeps\r\n"
              "running\r\nfar beyond\r\nthe fence.",
              Load(FORMAT_MESSAGE_FROM_STRING | 11, text, 0));
    // A full line without a blank is broken where it stands, and ends in a line break.
    EXPECT_EQ("The\r\nquick\r\n\r\nbrown\r\n fox\r\njumps\r\n\r\nover\r\nthe\r\nlazy\r\ndog"
              "\r\nand\r\nkeeps\r\n\r\nrunni\r\nng\r\nfar\r\nbeyon\r\nd\r\nthe\r\nfence\r\n.",
              Load(FORMAT_MESSAGE_FROM_STRING | 5, text, 0));
    EXPECT_EQ("Insert\r\nalpha beta  gamma\r\nand 42\r\nthen",
              Load(FORMAT_MESSAGE_FROM_STRING | 10, "Insert %1 and %2!d! then", 0, 0, inserts));
    // The text's own line breaks are blanks; %n stays a break.
    EXPECT_EQ("Line one\r\nLine two\r\nis short%\r\nx",
              Load(FORMAT_MESSAGE_FROM_STRING | 10, "Line one\r\nLine two\nis short%%%nx", 0));
}
