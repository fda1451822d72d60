// The text form of registry keys and values that Windows' registry editor exports and imports
// ("Windows Registry Editor Version 5.00"). The POSIX file registry keeps each key's values in one
// such file; cpputil-reg imports and exports whole trees in it.
#pragma once

#include "../../Types/WinTypes.h"

#include <string>
#include <vector>

namespace CppUtil
{
namespace Platform
{

// One value line. The data is what the narrow (A) registry functions see: strings are 8-bit text
// with their terminating NULs, whatever encoding the file used.
struct SRegValue
{
    std::string m_sName; // empty for the key's default value ("@")
    DWORD m_dwType;
    std::vector<unsigned char> m_oData;
    bool m_bDelete; // "name"=- : remove the value on import
};

// One [key] block; values before the first block belong to a block with an empty key.
struct SRegSection
{
    std::string m_sKey;
    bool m_bDelete; // [-key] : remove the whole tree on import
    std::vector<SRegValue> m_oValues;
};

class CRegFile
{
public:
    // Reads 8-bit text (in the ANSI code page, Windows-1252, or UTF-8 with its mark) or UTF-16LE
    // with its byte order mark; characters the code page lacks become '?'. Quoted texts take the
    // registry editor's escapes \\, \", \n and \r; \0 ends the import at its line, and any
    // other gives the character escaped. False, with nothing read, unless the text starts with a
    // version 5 or version 4 header. Lines that are not well formed are skipped, so a damaged file
    // still yields the values it holds intact.
    static bool Parse(const std::string& bytes, std::vector<SRegSection>& sections);

    // 8-bit text with LF line ends, the file registry's own form.
    static std::string Write(const std::vector<SRegSection>& sections);
    // The line (or, for long data, lines) of one value in that form, with its line end.
    static std::string WriteValue(const SRegValue& value);

    // The same text as the registry editor writes it: UTF-16LE with its mark and CR LF line ends.
    static std::string ToUtf16(const std::string& text);

    // Text types' data between the narrow form (Windows-1252) and UTF-16LE; characters the code
    // page lacks become '?'.
    static std::vector<unsigned char> Widen(const std::vector<unsigned char>& narrow);
    static std::vector<unsigned char> Narrow(const std::vector<unsigned char>& wide);
    // The UTF-16 code unit of one character of the code page.
    static unsigned int Wide(char ch);
};

} // namespace Platform
} // namespace CppUtil
