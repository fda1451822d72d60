// Any text given to the hexadecimal grouping comes back with the same characters once blanks are
// ignored, grouped in fours from the right with single blanks, and never crashes.
#include "FuzzCheck.h"

#include <cpputil/CppUtil.Text.RadixFormatter.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace
{

std::string WithoutBlanks(const std::string& text)
{
    std::string result;
    for (char c : text)
        if (c != ' ')
            result += c;
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using CppUtil::Text::CRadixFormatter;
    const std::string input(reinterpret_cast<const char*>(data), size);
    const bool grouping = size > 0 && (data[0] & 1) != 0;
    CRadixFormatter::SetDigitGroupingGetter([grouping] { return grouping; });
    const std::string output = CRadixFormatter::AddGroupingSpacesToHexString(CString(input)).Str();
    if (!grouping)
    {
        Check(output == input);
        return 0;
    }
    Check(WithoutBlanks(output) == WithoutBlanks(input));
    // Blanks only between digits, every group of four but the first, which may be shorter.
    const std::string digits = WithoutBlanks(input);
    const std::size_t sign = !digits.empty() && digits[0] == '-' ? 1 : 0;
    const std::size_t count = digits.size() - sign;
    Check(output.size() == digits.size() + (count > 0 ? (count - 1) / 4 : 0));
    for (std::size_t i = sign, fromRight = output.size() - sign; i < output.size(); ++i)
    {
        --fromRight;
        Check((output[i] == ' ') == (fromRight % 5 == 4));
    }
    return 0;
}
