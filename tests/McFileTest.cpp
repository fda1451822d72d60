// The parser of cpputil-mc: what it rejects, and where it says the mistake is. What it accepts is
// read back end to end by MessageTableTest, on both backends.
#include "McFile.h"

#include <gmock/gmock.h>

using CppUtil::Tools::CMcFile;

namespace
{

struct SBroken
{
    const char* m_szText;
    unsigned int m_uLine;
    const char* m_szError; // a part of the message
};

} // namespace

TEST(McFileTest, MistakesAreReportedAtTheirLine)
{
    const SBroken broken[] = {
        {"MessageId=1\nSeverty=Error\nLanguage=English\nx\n.\n", 2, "'Severty' where"},
        {"MessageId=1\nLanguage=Klingon\nx\n.\n", 2, "undeclared language 'Klingon'"},
        {"MessageId=1\nFacility=Nowhere\nLanguage=English\nx\n.\n", 2, "undeclared facility"},
        {"MessageId=1\nLanguage=English\nnever ends\n. \n", 2, "no line holding a single '.'"},
        {"MessageId=1\nLanguage=English\n.\n", 3, "empty"},
        {"MessageId=1\n\nSymbolicName=A\n", 1, "no 'Language=' text"},
        {"MessageId=0x10000\nLanguage=English\nx\n.\n", 1, "larger than 0xFFFF"},
        {"MessageId=0xFFFF\nLanguage=English\nx\n.\nMessageId=\nLanguage=English\ny\n.\n", 5,
         "larger than 0xFFFF"},
        {"MessageId=1\nLanguage=English\nx\n.\nMessageId=1\nLanguage=English\ny\n.\n", 5,
         "already used on line 1"},
        {"MessageId=1\nSymbolicName=A\nLanguage=English\nx\n.\nMessageId=2\nSymbolicName=A\n"
         "Language=English\ny\n.\n",
         6, "symbolic name 'A'"},
        {"MessageId=1\nLanguage=English\nx\n.\nSymbolicName=B\n", 5, "MessageId"},
        {"SeverityNames=(Fatal=0x4)\n", 1, "larger than 0x3"},
        {"LanguageNames=(French=0x40C)\n", 1, "file name"},
        {"FacilityNames=(\n  Io=0x10\n  Net=\n)\n", 4, "expected a number"},
        {"MessageId=1 ; note\n", 1, "';'"},
        {"MessageId=1\nLanguage=English extra\nx\n.\n", 2, "the line after"},
        {"MessageId=1\nLanguage=English\nx\n.\nOutputBase=8\n", 5, "10 or 16"},
        {"; nothing but a comment\n", 2, "no message"},
        {"MessageId=1x\n", 1, "not a number"},
    };
    for (const SBroken& entry : broken)
    {
        CMcFile file;
        EXPECT_FALSE(file.Parse(entry.m_szText)) << entry.m_szText;
        EXPECT_EQ(entry.m_uLine, file.GetErrorLine()) << entry.m_szText;
        EXPECT_THAT(file.GetError(), ::testing::HasSubstr(entry.m_szError)) << entry.m_szText;
    }
}

TEST(McFileTest, WindowsLineEndsCommentsAndCustomerBit)
{
    CMcFile file(true);
    ASSERT_TRUE(file.Parse("; // kept\r\nOutputBase=10\r\nMessageId=7\r\nSeverity=Warning\r\n"
                           "SymbolicName=MSG_SEVEN\r\nLanguage=English\r\n;not a comment\r\n"
                           "%.\r\n."))
        << file.GetError();
    ASSERT_EQ(1u, file.GetMessages().size());
    const CMcFile::SMessage& message = file.GetMessages()[0];
    EXPECT_EQ(0xA0000007u, message.m_uId);
    ASSERT_EQ(1u, message.m_oTexts.size());
    EXPECT_EQ(";not a comment\r\n%.\r\n", message.m_oTexts[0].m_sText);

    EXPECT_THAT(file.MakeHeader("Seven.mc"),
                ::testing::AllOf(::testing::HasSubstr("\n // kept\n"),
                                 ::testing::HasSubstr(" 2684354567L\n")));
}
