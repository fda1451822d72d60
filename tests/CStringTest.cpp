#include "../cpputil/Platform/Types/CString.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>
#include <sstream>
#include <string>
#include <unordered_set>
#include <utility>

TEST(CString, ConstructionAndElementAccess)
{
    EXPECT_TRUE(CString(static_cast<const char*>(nullptr)).IsEmpty());
    EXPECT_EQ(CString("abcdef", 3), "abc");
    EXPECT_EQ(CString("a\0b", 3).GetLength(), 3); // embedded NUL kept
    EXPECT_TRUE(CString("abc", -1).IsEmpty());
    EXPECT_EQ(CString('x', 3), "xxx");
    EXPECT_TRUE(CString('x', -2).IsEmpty());
    std::string big(100, 'q');
    const char* data = big.data();
    CString moved(std::move(big));
    EXPECT_EQ(static_cast<const void*>(moved.GetString()), data); // took the buffer

    CString s("abc");
    EXPECT_EQ(s[3], '\0');
    EXPECT_EQ(s.GetAt(-1), '\0');
    EXPECT_EQ(s.GetAt(99), '\0');
    s.SetAt(1, 'X');
    s.SetAt(3, 'Y');
    s.SetAt(-1, 'Y');
    EXPECT_EQ(s, "aXc");
    s = 'z';
    EXPECT_EQ(s, "z");
    s = static_cast<const char*>(nullptr);
    EXPECT_TRUE(s.IsEmpty());
    s.SetString("abcdef", 4);
    EXPECT_EQ(s, "abcd");
    s.SetString("abc", -1);
    EXPECT_TRUE(s.IsEmpty());
}

TEST(CString, Format)
{
    CString s;
    s.Format("%lld|%zu|%.2f|%s", -9000000000LL, static_cast<size_t>(42), 3.14159, "x");
    EXPECT_EQ(s, "-9000000000|42|3.14|x");
    s.Format("%s", std::string(1000, 'a').c_str()); // beyond the stack buffer
    s.AppendFormat("%d", 7);
    EXPECT_EQ(s.GetLength(), 1001);
    EXPECT_EQ(s.Right(2), "a7");

    // Arguments pointing into the string itself.
    s = "ab";
    s.Format("%s-%s", s.GetString(), s.GetString());
    EXPECT_EQ(s, "ab-ab");
    s = std::string(300, 'b').c_str();
    s.AppendFormat("%s", s.GetString());
    EXPECT_EQ(s, CString('b', 600));

    // Windows' integer size prefixes, on every backend; the format travels in a variable as
    // Windows code hands it over, past the compiler's own format check.
    const char* sizes = "%I64d|%I64u|%-+8I64x|%I32d|%05I32u|%Id|%IX|%%I64d|%.3I64d|%lld";
    s.Format(sizes, -9000000000LL, 18446744073709551615ULL, 0x123456789ULL, -5, 42u,
             static_cast<std::ptrdiff_t>(-7), static_cast<size_t>(0xABC), 5LL, 9LL);
    EXPECT_EQ(s, "-9000000000|18446744073709551615|123456789|-5|00042|-7|ABC|%I64d|005|9");
}

TEST(CString, SubstringsAndSearchingClamp)
{
    const CString s("abcdef"), t("abcabc");
    const std::pair<CString, const char*> parts[] = {
        {s.Left(-1), ""},      {s.Left(99), "abcdef"}, {s.Right(2), "ef"},  {s.Right(-3), ""},
        {s.Mid(-2), "abcdef"}, {s.Mid(9), ""},         {s.Mid(2, 2), "cd"}, {s.Mid(4, 99), "ef"},
        {s.Mid(-2, 3), "abc"}, {s.Mid(1, -1), ""}};
    for (size_t i = 0; i < std::size(parts); ++i)
        EXPECT_EQ(parts[i].first, parts[i].second) << i;
    EXPECT_EQ(t.SpanIncluding("ba") + t.SpanExcluding("c") + "|" + t.SpanExcluding(""),
              "abab|abcabc");
    const std::pair<int, int> found[] = {
        {t.Find('b', 2), 4},    {t.Find('b', -1), -1},   {t.Find('b', 6), -1},
        {t.Find("bc", 3), 4},   {t.Find("", 6), 6},      {t.Find("", 7), -1},
        {t.Find("zz"), -1},     {t.ReverseFind('a'), 3}, {t.ReverseFind('z'), -1},
        {t.FindOneOf("xc"), 2}, {t.FindOneOf(""), -1}};
    for (size_t i = 0; i < std::size(found); ++i)
        EXPECT_EQ(found[i].first, found[i].second) << i;
}

TEST(CString, EditingCaseAndTrim)
{
    CString s("aaa");
    EXPECT_EQ(s.Replace("aa", "b"), 1); // non-overlapping, left to right
    EXPECT_EQ(s, "ba");
    EXPECT_EQ(s.Replace("", "x"), 0);
    EXPECT_EQ(s.Replace("a", nullptr), 1);
    EXPECT_EQ(s, "b");
    s = "x.y.z";
    EXPECT_EQ(s.Replace('.', '.'), 0);
    EXPECT_EQ(s.Replace('.', '/'), 2);
    EXPECT_EQ(s.Remove('/'), 2);
    EXPECT_EQ(s.Insert(-5, '<'), 4);
    EXPECT_EQ(s.Insert(99, ">>"), 6);
    EXPECT_EQ(s, "<xyz>>");
    EXPECT_EQ(s.Delete(4, 99), 4);
    EXPECT_EQ(s.Delete(-1), 3);
    EXPECT_EQ(s.Delete(9, 1), 3);
    EXPECT_EQ(s, "xyz");
    s.Insert(1, s.GetString()); // source aliases the target
    EXPECT_EQ(s, "xxyzyz");
    s += s.GetString();
    EXPECT_EQ(s, "xxyzyzxxyzyz");

    s = " \t\r\nMiXed_1 \n";
    EXPECT_EQ(s.Trim().MakeUpper(), "MIXED_1");
    EXPECT_EQ(s.MakeLower().MakeReverse(), "1_dexim");
    s = "xxyxaxyx";
    EXPECT_EQ(CString(s).TrimLeft('x'), "yxaxyx");
    EXPECT_EQ(CString(s).TrimRight("xy"), "xxyxa");
    EXPECT_EQ(CString(s).Trim(""), s);
    EXPECT_EQ(CString("xxx").TrimRight('x'), "");
    EXPECT_EQ(CString("   ").TrimLeft(), "");
}

TEST(CString, Tokenize)
{
    const CString s(",,a,,bc;d,");
    int pos = 0;
    EXPECT_EQ(s.Tokenize(",;", pos), "a");
    EXPECT_EQ(pos, 4);
    EXPECT_EQ(s.Tokenize(",;", pos), "bc");
    EXPECT_EQ(s.Tokenize(",;", pos), "d");
    EXPECT_EQ(pos, 10);
    EXPECT_EQ(s.Tokenize(",;", pos), "");
    EXPECT_EQ(pos, -1);
    pos = 99;
    EXPECT_EQ(s.Tokenize(",", pos), "");
    EXPECT_EQ(pos, -1);
    pos = 0;
    EXPECT_EQ(CString(",,,").Tokenize(",", pos), "");
    EXPECT_EQ(pos, -1);
    pos = 2;
    EXPECT_EQ(s.Tokenize("", pos), "a,,bc;d,");
    EXPECT_EQ(s.Tokenize("", pos), ""); // a loop over empty delimiters terminates
    EXPECT_EQ(pos, -1);
}

TEST(CString, ComparisonConcatenationStreamAndHash)
{
    const CString b("b");
    EXPECT_LT(b.Compare("c"), 0);
    EXPECT_GT(b.Compare(nullptr), 0);
    EXPECT_EQ(CString("HeLLo").CompareNoCase("hello"), 0);
    EXPECT_LT(CString("abc").CompareNoCase("ABCD"), 0);
    EXPECT_LT(CString("a_").CompareNoCase("AB"), 0); // folds to lower, not upper, case
    EXPECT_TRUE(b == "b" && "b" == b && b != "a" && "a" != b);
    EXPECT_TRUE("a" < b && b < "c" && b > "a" && "c" > b);
    EXPECT_TRUE(b <= "b" && "b" <= b && b >= "b" && "b" >= b);
    EXPECT_TRUE(CString("\xff") > CString("a")); // bytes compare unsigned

    EXPECT_EQ(b + b + "a" + 'c', "bbac");
    EXPECT_EQ("x" + b, "xb");
    EXPECT_EQ('y' + b, "yb");
    std::ostringstream os;
    os << b << CString("cd", 1);
    EXPECT_EQ(os.str(), "bc");
    std::unordered_set<CString> set{CString("k"), CString(std::string("k"))};
    EXPECT_EQ(set.size(), 1u);
}

TEST(CString, Buffer)
{
    CString s("abc");
    char* p = s.GetBuffer(10);
    EXPECT_STREQ(p, "abc");
    std::snprintf(p, 11, "%s", "0123456789");
    s.ReleaseBuffer();
    EXPECT_EQ(s, "0123456789");
    s.GetBuffer(0)[2] = '\0';
    s.ReleaseBuffer();
    EXPECT_EQ(s, "01");
    s.GetBuffer(8);
    s.ReleaseBuffer(); // untouched tail does not leak into the length
    EXPECT_EQ(s, "01");
    p = s.GetBufferSetLength(4);
    p[2] = 'x';
    p[3] = 'y';
    s.ReleaseBuffer(3);
    EXPECT_EQ(s, "01x");
}
