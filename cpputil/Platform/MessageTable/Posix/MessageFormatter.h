// Win32's FormatMessage rules for one message text on POSIX systems: inserts (%1 to %99 with an
// optional !printf format!), the escapes %0 %% %n %r %t %space %. %!, the line breaks and the
// line width.
#pragma once

#include "../../Types/Posix/WinTypes.h"

#include <cstdint>
#include <string>
#include <vector>

namespace CppUtil
{
namespace Platform
{

class CMessageFormatter
{
public:
    // flags and arguments as FormatMessageA takes them.
    CMessageFormatter(DWORD flags, va_list* arguments);

    // ERROR_SUCCESS with the finished text, or the error FormatMessageA reports.
    DWORD Format(const char* text, std::string& out);

private:
    enum class EArgument
    {
        Unknown,
        Int32,
        Int64,
        Pointer
    };

    struct SInsert
    {
        unsigned int m_uNumber;
        std::string m_sFlags;
        bool m_bWidthStar;
        bool m_bPrecisionStar;
        std::string m_sWidth;
        std::string m_sPrecision;
        unsigned int m_uBits; // size of an integer value
        bool m_bWide;
        char m_cConversion; // 0 when the format has none this layer supports
        std::string m_sTrailing;
    };

    static const char* ParseInsert(const char* text, SInsert& insert);
    std::vector<unsigned int> Take(const SInsert& insert);
    void RestartCount();
    static EArgument ArgumentOf(const SInsert& insert);
    void FetchArguments(const char* text);
    bool Argument(unsigned int number, std::uint64_t& value) const;
    bool AppendInsert(const SInsert& insert, std::string& out);

    bool m_bIgnoreInserts;
    bool m_bArgumentArray;
    unsigned int m_uWidth; // FORMAT_MESSAGE_MAX_WIDTH_MASK bits
    va_list* m_poArguments;
    std::vector<std::uint64_t> m_oValues; // the va_list's arguments, fetched in order
    // Win32's count of the arguments the inserts have taken so far.
    unsigned int m_uHighest = 0;            // the highest number used
    unsigned int m_uListed = 0;             // arguments of the va_list counted
    std::vector<unsigned int> m_oPositions; // each number's position in the array or list
};

} // namespace Platform
} // namespace CppUtil
