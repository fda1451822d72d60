#include "MessageFormatter.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>

namespace CppUtil
{
namespace Platform
{

namespace
{

bool IsDigit(char ch)
{
    return ch >= '0' && ch <= '9';
}

template <typename T>
std::string Printf(const std::string& format, T value)
{
    const int length = std::snprintf(nullptr, 0, format.c_str(), value);
    if (length <= 0)
        return std::string();
    std::string text(static_cast<size_t>(length), '\0');
    std::snprintf(&text[0], text.size() + 1, format.c_str(), value);
    return text;
}

void AppendUtf8(std::uint32_t codePoint, std::string& out)
{
    if (codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF))
        codePoint = '?';
    if (codePoint < 0x80)
    {
        out += static_cast<char>(codePoint);
        return;
    }
    char bytes[4];
    int count = codePoint < 0x800 ? 2 : (codePoint < 0x10000 ? 3 : 4);
    for (int i = count - 1; i > 0; --i)
    {
        bytes[i] = static_cast<char>(0x80 | (codePoint & 0x3F));
        codePoint >>= 6;
    }
    bytes[0] = static_cast<char>((0xF00 >> count) | codePoint);
    out.append(bytes, static_cast<size_t>(count));
}

// The text as FormatMessageA lays it out within a line width: a line that reaches the width is
// broken before the last blank of the message text in it, or where it stands when it has none.
// The blanks and tabs before that blank, and the message text's tabs after it, go with the
// break; a tab is no place to break.
// Inserts are never broken: a blank inside one is no place to break, and a line break inside one
// does not start the line's room afresh. A carriage return (%r) does.
class CLineWrapper
{
public:
    CLineWrapper(unsigned int width, std::string& out) : m_uWidth(width), m_sOut(out) {}

    void Text(char ch)
    {
        m_sLine += ch;
        m_sKinds += ch == ' ' ? k_cBlank : ch == '\t' ? k_cTab : k_cOther;
        Fit();
    }

    void Insert(const std::string& text)
    {
        m_sLine += text;
        m_sKinds.append(text.size(), k_cOther);
        Fit();
    }

    void CarriageReturn()
    {
        m_sLine += '\r';
        m_sKinds += k_cOther;
        m_uRoomStart = m_sLine.size();
    }

    void HardBreak()
    {
        Flush();
        m_sOut += "\r\n";
    }

    // %0: a line that an insert has filled to the width still gets its break.
    void End()
    {
        if (m_uWidth != 0 && Used() >= m_uWidth)
            HardBreak();
    }

    void Flush()
    {
        m_sOut += m_sLine;
        m_sLine.clear();
        m_sKinds.clear();
        m_uRoomStart = 0;
    }

private:
    // What each character of the line is to the layout.
    static constexpr char k_cBlank = 'b';
    static constexpr char k_cTab = 't';
    static constexpr char k_cOther = '.';

    size_t Used() const { return m_sLine.size() - m_uRoomStart; }

    void Fit()
    {
        if (m_uWidth == 0 || Used() < m_uWidth)
            return;
        const size_t last = m_sKinds.rfind(k_cBlank);
        if (last == std::string::npos)
        {
            HardBreak();
            return;
        }
        size_t first = last;
        while (first > 0 && (m_sLine[first - 1] == ' ' || m_sLine[first - 1] == '\t'))
            --first;
        size_t after = last + 1;
        while (after < m_sKinds.size() && m_sKinds[after] == k_cTab)
            ++after;
        m_sOut.append(m_sLine, 0, first);
        m_sOut += "\r\n";
        m_sLine.erase(0, after);
        m_sKinds.erase(0, after);
        m_uRoomStart = m_uRoomStart > after ? m_uRoomStart - after : 0;
    }

    const unsigned int m_uWidth;
    std::string& m_sOut;
    std::string m_sLine;
    std::string m_sKinds;    // k_cBlank, k_cTab or k_cOther for each character of m_sLine
    size_t m_uRoomStart = 0; // where the line's room starts: after its last %r
};

} // namespace

CMessageFormatter::CMessageFormatter(DWORD flags, va_list* arguments)
    : m_bIgnoreInserts((flags & FORMAT_MESSAGE_IGNORE_INSERTS) != 0),
      m_bArgumentArray((flags & FORMAT_MESSAGE_ARGUMENT_ARRAY) != 0),
      m_uWidth(flags & FORMAT_MESSAGE_MAX_WIDTH_MASK), m_poArguments(arguments)
{
}

// text points at the insert's first digit. Returns where the insert ends, or NULL when its
// format has no closing '!'.
const char* CMessageFormatter::ParseInsert(const char* text, SInsert& insert)
{
    insert = SInsert{};
    insert.m_uNumber = static_cast<unsigned int>(*text++ - '0');
    if (IsDigit(*text))
        insert.m_uNumber = insert.m_uNumber * 10 + static_cast<unsigned int>(*text++ - '0');
    insert.m_uBits = 32;
    insert.m_cConversion = 's';
    if (*text != '!')
        return text;
    const char* end = std::strchr(text + 1, '!');
    if (!end)
        return nullptr;

    const std::string format(text + 1, end);
    size_t i = 0;
    while (i < format.size() && std::strchr("-+ #0", format[i]))
        insert.m_sFlags += format[i++];
    if (i < format.size() && format[i] == '*')
    {
        insert.m_bWidthStar = true;
        ++i;
    }
    while (i < format.size() && IsDigit(format[i]))
        insert.m_sWidth += format[i++];
    if (i < format.size() && format[i] == '.')
    {
        insert.m_sPrecision = ".";
        ++i;
        if (i < format.size() && format[i] == '*')
        {
            insert.m_bPrecisionStar = true;
            ++i;
        }
        while (i < format.size() && IsDigit(format[i]))
            insert.m_sPrecision += format[i++];
    }

    // Windows' sizes: long is 32 bits, I and the C99 size prefixes are pointer-sized.
    const unsigned int pointerBits = sizeof(void*) * 8;
    bool narrow = false;
    const std::string rest = format.substr(i);
    struct SLength
    {
        const char* m_szPrefix;
        unsigned int m_uBits;
    };
    const SLength lengths[] = {{"I64", 64}, {"I32", 32},        {"ll", 64},
                               {"hh", 8},   {"I", pointerBits}, {"z", pointerBits},
                               {"j", 64},   {"t", pointerBits}, {"h", 16},
                               {"l", 32},   {"w", 32}};
    for (const SLength& length : lengths)
    {
        const size_t size = std::strlen(length.m_szPrefix);
        if (rest.compare(0, size, length.m_szPrefix) == 0)
        {
            insert.m_uBits = length.m_uBits;
            insert.m_bWide = rest[0] == 'l' || rest[0] == 'w';
            narrow = rest[0] == 'h';
            i += size;
            break;
        }
    }
    const char conversion = i < format.size() ? format[i] : '\0';
    if (conversion != '\0' && std::strchr("diouxXcCsSp", conversion))
    {
        insert.m_cConversion = conversion;
        insert.m_bWide = (insert.m_bWide || conversion == 'C' || conversion == 'S') && !narrow;
        ++i;
    }
    else
    {
        insert.m_cConversion = 0;
    }
    insert.m_sTrailing = format.substr(i);
    return end + 1;
}

// Win32's count of an insert's arguments: the first is the one the insert's number names; each
// further one (a '*' width or precision, then the value) is the one after the highest used so far.
// From a va_list, an insert with a '*' then drops the argument before its value from the count,
// so later numbers from there on name the argument after. Returns the arguments' positions in
// the caller's array or list, 1 for the first.
std::vector<unsigned int> CMessageFormatter::Take(const SInsert& insert)
{
    auto position = [this](unsigned int number)
    {
        while (m_oPositions.size() < number)
            m_oPositions.push_back(++m_uListed);
        return m_oPositions[number - 1];
    };
    std::vector<unsigned int> taken;
    unsigned int number = insert.m_uNumber;
    const int count = 1 + (insert.m_bWidthStar ? 1 : 0) + (insert.m_bPrecisionStar ? 1 : 0);
    for (int i = 0; i < count; ++i)
    {
        if (i > 0)
            number = m_uHighest + 1;
        m_uHighest = std::max(m_uHighest, number);
        taken.push_back(position(number));
    }
    if (count > 1 && !m_bArgumentArray)
    {
        m_oPositions.erase(m_oPositions.begin() + (number - 2));
        --m_uHighest;
    }
    return taken;
}

void CMessageFormatter::RestartCount()
{
    m_uHighest = 0;
    m_uListed = 0;
    m_oPositions.clear();
}

CMessageFormatter::EArgument CMessageFormatter::ArgumentOf(const SInsert& insert)
{
    switch (insert.m_cConversion)
    {
    case 0:
        return EArgument::Unknown;
    case 's':
    case 'S':
    case 'p':
        return EArgument::Pointer;
    case 'c':
    case 'C':
        return EArgument::Int32;
    default:
        return insert.m_uBits > 32 ? EArgument::Int64 : EArgument::Int32;
    }
}

// A va_list cannot be indexed, so every argument up to the highest insert is fetched first, each
// with the type its first insert gives it.
void CMessageFormatter::FetchArguments(const char* text)
{
    std::vector<EArgument> kinds;
    auto note = [&kinds](unsigned int number, EArgument kind)
    {
        if (kinds.size() < number)
            kinds.resize(number, EArgument::Unknown);
        if (kinds[number - 1] == EArgument::Unknown)
            kinds[number - 1] = kind;
    };
    for (const char* p = text; *p;)
    {
        if (p[0] != '%' || p[1] == '\0')
        {
            ++p;
            continue;
        }
        if (!IsDigit(p[1]) || p[1] == '0')
        {
            p += 2;
            continue;
        }
        SInsert insert;
        p = ParseInsert(p + 1, insert);
        if (!p)
            break;
        if (insert.m_cConversion == 0)
            continue;
        const std::vector<unsigned int> taken = Take(insert);
        for (size_t i = 0; i + 1 < taken.size(); ++i)
            note(taken[i], EArgument::Int32);
        note(taken.back(), ArgumentOf(insert));
    }
    RestartCount();
    for (EArgument kind : kinds)
    {
        switch (kind)
        {
        case EArgument::Int32:
            m_oValues.push_back(static_cast<std::uint32_t>(va_arg(*m_poArguments, int)));
            break;
        case EArgument::Int64:
            m_oValues.push_back(va_arg(*m_poArguments, unsigned long long));
            break;
        default:
            m_oValues.push_back(reinterpret_cast<std::uintptr_t>(va_arg(*m_poArguments, void*)));
        }
    }
}

bool CMessageFormatter::Argument(unsigned int number, std::uint64_t& value) const
{
    if (!m_poArguments || number == 0)
        return false;
    if (m_bArgumentArray)
    {
        value = reinterpret_cast<const DWORD_PTR*>(m_poArguments)[number - 1];
        return true;
    }
    if (number > m_oValues.size())
        return false;
    value = m_oValues[number - 1];
    return true;
}

bool CMessageFormatter::AppendInsert(const SInsert& insert, std::string& out)
{
    if (insert.m_cConversion == 0)
    {
        out += insert.m_sTrailing;
        return true;
    }
    const std::vector<unsigned int> taken = Take(insert);
    size_t next = 0;
    std::uint64_t value = 0;
    std::string format = "%" + insert.m_sFlags + insert.m_sWidth;
    if (insert.m_bWidthStar)
    {
        if (!Argument(taken[next++], value))
            return false;
        format += std::to_string(static_cast<int>(value));
    }
    if (insert.m_bPrecisionStar)
    {
        if (!Argument(taken[next++], value))
            return false;
        if (static_cast<int>(value) >= 0)
            format += "." + std::to_string(static_cast<int>(value));
    }
    else
    {
        format += insert.m_sPrecision;
    }
    if (!Argument(taken[next++], value))
        return false;

    const unsigned int bits = insert.m_uBits;
    const std::uint64_t mask = bits >= 64 ? ~std::uint64_t(0) : (std::uint64_t(1) << bits) - 1;
    switch (insert.m_cConversion)
    {
    case 'd':
    case 'i':
    {
        std::uint64_t raw = value & mask;
        if (bits < 64 && (raw >> (bits - 1)) != 0)
            raw |= ~mask;
        out += Printf(format + "lld", static_cast<long long>(raw));
        break;
    }
    case 'o':
    case 'u':
    case 'x':
    case 'X':
        out += Printf(format + "ll" + insert.m_cConversion,
                      static_cast<unsigned long long>(value & mask));
        break;
    case 'p':
        out += Printf("%0" + std::to_string(sizeof(void*) * 2) + "llX",
                      static_cast<unsigned long long>(value));
        break;
    case 'c':
    case 'C':
        if (insert.m_bWide)
        {
            std::string text;
            AppendUtf8(static_cast<std::uint32_t>(value), text);
            out += Printf(format + "s", text.c_str());
        }
        else
        {
            out += Printf(format + "c", static_cast<int>(static_cast<char>(value)));
        }
        break;
    default:
    {
        const void* pointer = reinterpret_cast<const void*>(static_cast<std::uintptr_t>(value));
        if (!pointer)
        {
            out += Printf(format + "s", "(null)");
        }
        else if (insert.m_bWide)
        {
            std::string text;
            for (const wchar_t* wide = static_cast<const wchar_t*>(pointer); *wide; ++wide)
                AppendUtf8(static_cast<std::uint32_t>(*wide), text);
            out += Printf(format + "s", text.c_str());
        }
        else
        {
            out += Printf(format + "s", static_cast<const char*>(pointer));
        }
    }
    }
    out += insert.m_sTrailing;
    return true;
}

DWORD CMessageFormatter::Format(const char* text, std::string& out)
{
    out.clear();
    if (!text)
        return ERROR_INVALID_PARAMETER;
    RestartCount();
    if (!m_bIgnoreInserts && !m_bArgumentArray && m_poArguments)
        FetchArguments(text);

    // FORMAT_MESSAGE_MAX_WIDTH_MASK itself joins the lines without a width.
    CLineWrapper lines(m_uWidth == FORMAT_MESSAGE_MAX_WIDTH_MASK ? 0 : m_uWidth, out);
    for (const char* p = text; *p;)
    {
        const char ch = *p;
        if (ch == '\r' || ch == '\n')
        {
            // CR LF, a lone CR and a lone LF are each one line break; with a width they are blanks.
            p += ch == '\r' && p[1] == '\n' ? 2 : 1;
            if (m_uWidth != 0)
                lines.Text(' ');
            else
                lines.HardBreak();
            continue;
        }
        if (ch != '%')
        {
            lines.Text(ch);
            ++p;
            continue;
        }
        const char next = p[1];
        if (next == '\0')
            return ERROR_INVALID_PARAMETER;
        if (next == '0') // the end of the text, without the line break that would follow
        {
            lines.End();
            break;
        }
        if (IsDigit(next))
        {
            if (m_bIgnoreInserts)
            {
                // Kept as written: '%' and its first digit as one piece, a second digit as text.
                lines.Insert(std::string(p, p + 2));
                p += 2;
                continue;
            }
            SInsert insert;
            std::string value;
            const char* end = ParseInsert(p + 1, insert);
            if (!end || !AppendInsert(insert, value))
                return ERROR_INVALID_PARAMETER;
            lines.Insert(value);
            p = end;
            continue;
        }
        p += 2;
        switch (next)
        {
        case 'n': // a hard line break, kept even when the lines are joined
            lines.HardBreak();
            break;
        case 'r':
            lines.CarriageReturn();
            break;
        case 't': // a tab, or a line break where lines are laid out
            if (m_uWidth != 0)
                lines.HardBreak();
            else
                lines.Insert("\t");
            break;
        default:
            if (m_bIgnoreInserts)
                lines.Insert(std::string(p - 2, p));
            else
                lines.Text(next);
        }
    }
    lines.Flush();
    return ERROR_SUCCESS;
}

} // namespace Platform
} // namespace CppUtil
