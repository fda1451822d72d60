#include "../PrintfDialect.h"

#include <cctype>
#include <cstring>

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

} // namespace

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
