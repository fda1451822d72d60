#include "../PrintfDialect.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <vector>

namespace
{

// The size in a directive that Windows' C runtime reads and this C library does not: I64, I32
// and I (pointer-sized) decide an integer's size over any h or l beside them; before any other
// conversion they mean nothing. Returns the characters read, 0 where there is no such prefix,
// and -1 for an I that starts none of them (the directive then prints as it stands).
int MicrosoftSize(const char* p, const char*& replacement)
{
    if (std::strncmp(p, "I64", 3) == 0)
        replacement = "ll";
    else if (std::strncmp(p, "I32", 3) == 0)
        replacement = "";
    else if (*p == 'I')
        replacement = "z";
    else
        return 0;
    if (*replacement == 'z' && std::isdigit(static_cast<unsigned char>(p[1])))
        return -1;
    return *replacement == 'z' ? 1 : 3;
}

// Takes the integer a directive of the given size reads from args, cut to that size. False for
// a size this C library does not know.
bool TakeInteger(va_list& args, const std::string& size, std::uintmax_t& value)
{
    if (size == "hh")
        value = static_cast<unsigned char>(va_arg(args, int));
    else if (size == "h")
        value = static_cast<unsigned short>(va_arg(args, int));
    else if (size.empty())
        value = static_cast<unsigned int>(va_arg(args, int));
    else if (size == "l")
        value = static_cast<unsigned long>(va_arg(args, long));
    else if (size == "ll" || size == "q" || size == "L")
        value = static_cast<unsigned long long>(va_arg(args, long long));
    else if (size == "j")
        value = va_arg(args, std::uintmax_t);
    else if (size == "z" || size == "Z")
        value = va_arg(args, std::size_t);
    else if (size == "t")
        value = static_cast<std::uintmax_t>(va_arg(args, std::ptrdiff_t));
    else
        return false;
    return true;
}

// Takes the argument of any other conversion from args. False for a conversion or size this C
// library does not know.
bool TakeOther(va_list& args, const std::string& size, char conversion)
{
    if (conversion == 'c' || conversion == 'C')
    {
        if (conversion == 'C' || size == "l")
            va_arg(args, std::wint_t);
        else
            va_arg(args, int);
    }
    else if (std::strchr("sSpn", conversion))
        va_arg(args, void*);
    else if (std::strchr("eEfFgGaA", conversion) && size == "L")
        va_arg(args, long double);
    else if (std::strchr("eEfFgGaA", conversion) && (size.empty() || size == "l"))
        va_arg(args, double);
    else if (conversion != 'm')
        return false;
    return true;
}

} // namespace

const char* CppUtil::Platform::WithWindowsOctalZero(const char* fmt, va_list args,
                                                    std::string& rewritten)
{
    // Nearly every format is spared the walk through its arguments; positional arguments are
    // Microsoft's no more than this is.
    if (!std::strchr(fmt, '#') || !std::strchr(fmt, '.') || !std::strchr(fmt, 'o') ||
        std::strchr(fmt, '$'))
        return nullptr;
    va_list walk;
    va_copy(walk, args);
    std::vector<const char*> marks; // the '#' flags to drop, in order
    bool known = true;
    for (const char* p = fmt; *p && known;)
    {
        if (*p++ != '%')
            continue;
        if (*p == '%')
        {
            ++p;
            continue;
        }
        const char* const flags = p;
        while (*p && std::strchr("-+ #0'I", *p))
            ++p;
        const char* const flagsEnd = p;
        if (*p == '*')
        {
            va_arg(walk, int);
            ++p;
        }
        while (std::isdigit(static_cast<unsigned char>(*p)))
            ++p;
        bool noDigits = false;
        if (*p == '.')
        {
            ++p;
            if (*p == '*')
            {
                noDigits = va_arg(walk, int) == 0;
                ++p;
            }
            else
            {
                noDigits = true;
                for (; std::isdigit(static_cast<unsigned char>(*p)); ++p)
                    noDigits = noDigits && *p == '0';
            }
        }
        std::string size;
        while (*p && std::strchr("hlLqjzZt", *p))
            size += *p++;
        const char conversion = *p;
        if (conversion == '\0')
            break;
        ++p;
        std::uintmax_t value = 0;
        if (std::strchr("diouxX", conversion))
            known = TakeInteger(walk, size, value);
        else
            known = TakeOther(walk, size, conversion);
        if (known && conversion == 'o' && noDigits && value == 0)
        {
            for (const char* flag = flags; flag != flagsEnd; ++flag)
            {
                if (*flag == '#')
                    marks.push_back(flag);
            }
        }
    }
    va_end(walk);
    if (!known || marks.empty())
        return nullptr;
    for (const char* p = fmt; *p; ++p)
    {
        if (!std::binary_search(marks.begin(), marks.end(), p))
            rewritten += *p;
    }
    return rewritten.c_str();
}

const char* CppUtil::Platform::WithStandardSizes(const char* fmt, std::string& rewritten)
{
    if (!std::strchr(fmt, 'I') && !std::strchr(fmt, 'p'))
        return nullptr;
    bool changed = false;
    for (const char* p = fmt; *p;)
    {
        if (*p != '%')
        {
            rewritten += *p++;
            continue;
        }
        if (p[1] == '%')
        {
            rewritten.append(p, 2);
            p += 2;
            continue;
        }
        const char* const directive = p++;
        while (*p && std::strchr("-+ #0123456789.*", *p))
            ++p;
        const std::string flags(directive + 1, p);
        // The sizes: a Microsoft prefix wins over h and l, which are kept for the other
        // conversions (a wide character or text).
        std::string letters;
        const char* microsoft = nullptr;
        bool literal = false;
        while (*p && !literal)
        {
            const char* replacement = nullptr;
            const int length = MicrosoftSize(p, replacement);
            if (length < 0)
                literal = true;
            else if (length > 0)
            {
                microsoft = replacement;
                p += length;
            }
            else if (*p == 'h' || *p == 'l')
                letters += *p++;
            else
                break;
        }
        const char conversion = *p;
        if (!literal && microsoft && conversion == '\0')
        {
            // Cut short at the end of the text: the directive prints nothing.
            changed = true;
            break;
        }
        if (!literal && conversion == 'p')
        {
            // Nothing given, not even a size: 16 digits; else as the hexadecimal conversion.
            rewritten += '%';
            rewritten += flags.empty() && !microsoft ? "016" : flags;
            rewritten += flags.find('#') == std::string::npos ? "lX" : "lx";
            ++p;
            changed = true;
            continue;
        }
        if (!microsoft && !literal)
        {
            rewritten.append(directive, p);
            continue;
        }
        if (literal || !std::strchr("diouxXcCsSeEfFgGaAn", conversion))
        {
            // Not a directive to Windows: its characters print as they stand.
            rewritten += "%%";
            rewritten.append(directive + 1, p + (literal ? 1 : 0));
            p += literal ? 1 : 0;
            changed = true;
            continue;
        }
        rewritten += '%';
        rewritten += flags;
        rewritten += std::strchr("diouxX", conversion) ? std::string(microsoft) : letters;
        changed = true;
    }
    return changed ? rewritten.c_str() : nullptr;
}
