#include <cpputil/CppUtil.Text.RadixFormatter.h>
#include <cpputil/CppUtil.Text.SystemOfUnits.h>

#include <gtest/gtest.h>
#include <utility>
#include <vector>

using CppUtil::Text::CRadixFormatter;
using CppUtil::Text::CSystemOfUnits;

namespace
{

// Every test leaves the process-wide delegates empty.
class RadixFormatterTest : public ::testing::Test
{
protected:
    ~RadixFormatterTest() override
    {
        CRadixFormatter::UninstallRadixControl();
        CRadixFormatter::SetDigitGroupingGetter(boost::function<bool()>());
        CSystemOfUnits::SetDisplayUsUnitsGetter(boost::function<bool()>());
    }
};

} // namespace

TEST_F(RadixFormatterTest, QuestionsReachTheInstalledDelegates)
{
    // Nobody installed: decimal, metric, and a radix choice nobody hears.
    EXPECT_FALSE(CRadixFormatter::IsRadixHex());
    EXPECT_FALSE(CSystemOfUnits::IsDisplayUsUnits());
    CRadixFormatter::SetRadixHex(true);

    bool answer = false;
    std::vector<bool> choices;
    CRadixFormatter::InstallRadixControl([&answer] { return answer; },
                                         [&choices](bool choice) { choices.push_back(choice); });
    CSystemOfUnits::SetDisplayUsUnitsGetter([&answer] { return !answer; });
    EXPECT_FALSE(CRadixFormatter::IsRadixHex());
    EXPECT_TRUE(CSystemOfUnits::IsDisplayUsUnits());
    answer = true;
    EXPECT_TRUE(CRadixFormatter::IsRadixHex());
    EXPECT_FALSE(CSystemOfUnits::IsDisplayUsUnits());
    CRadixFormatter::SetRadixHex(false);
    CRadixFormatter::SetRadixHex(true);
    EXPECT_EQ((std::vector<bool>{false, true}), choices);

    CRadixFormatter::UninstallRadixControl();
    EXPECT_FALSE(CRadixFormatter::IsRadixHex());
    CRadixFormatter::SetRadixHex(false);
    EXPECT_EQ(2u, choices.size());

    // One at a time, each setter replaces only its own delegate.
    CRadixFormatter::SetEngineRadixSetter([&choices](bool choice) { choices.push_back(choice); });
    EXPECT_FALSE(CRadixFormatter::IsRadixHex());
    CRadixFormatter::SetEngineRadixAccessor([] { return true; });
    CRadixFormatter::SetRadixHex(true);
    EXPECT_EQ(3u, choices.size());
    EXPECT_TRUE(CRadixFormatter::IsRadixHex());
}

TEST_F(RadixFormatterTest, GroupsOfFourCountFromTheRightOnlyWhenAsked)
{
    const CString text(" 12 345678 \t-");
    EXPECT_EQ(text, CRadixFormatter::AddGroupingSpacesToHexString(text));
    CRadixFormatter::SetDigitGroupingGetter([] { return false; });
    EXPECT_EQ(text, CRadixFormatter::AddGroupingSpacesToHexString(text));

    CRadixFormatter::SetDigitGroupingGetter([] { return true; });
    const std::pair<const char*, const char*> cases[] = {
        {"12345", "1 2345"},
        {"-ABCDE", "-A BCDE"},
        {"ABCD", "ABCD"},
        {"-1234", "-1234"},
        {"123456789", "1 2345 6789"},
        // Blanks already there, inner ones included, are dropped before grouping.
        {" 12 3456 789 ", "1 2345 6789"},
        {"- 1 2345", "-1 2345"},
        {"    ", ""},
        {" - ", "-"},
        // Only the first character is taken for a sign.
        {"--12345", "--1 2345"}};
    for (const auto& c : cases)
        EXPECT_EQ(CString(c.second), CRadixFormatter::AddGroupingSpacesToHexString(c.first))
            << '"' << c.first << '"';
}
