#include "RegFile.h"

#include "../Registry.h"

#include <cctype>
#include <cstdio>

namespace CppUtil
{
namespace Platform
{
namespace
{

const char k_szHeader5[] = "Windows Registry Editor Version 5.00";
const char k_szHeader4[] = "REGEDIT4";

// The characters of the ANSI code page, Windows-1252, from 0x80 to 0x9F; the five it leaves
// undefined map to the control characters of the same number, as Windows maps them.
const unsigned short k_awAnsiHigh[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

unsigned int FromAnsi(unsigned char ch)
{
    return ch >= 0x80 && ch < 0xA0 ? k_awAnsiHigh[ch - 0x80] : ch;
}

// A character the code page lacks becomes '?', as the narrow registry calls give it.
char ToAnsi(unsigned int code)
{
    if (code < 0x80 || (code >= 0xA0 && code < 0x100))
        return static_cast<char>(code);
    for (unsigned int i = 0; i < 32; ++i)
        if (k_awAnsiHigh[i] == code)
            return static_cast<char>(0x80 + i);
    return '?';
}

std::string DecodeUtf16(const std::string& bytes)
{
    std::string text;
    text.reserve(bytes.size() / 2);
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2)
    {
        const unsigned int unit =
            static_cast<unsigned char>(bytes[i]) | (static_cast<unsigned char>(bytes[i + 1]) << 8);
        // The low half of a pair adds nothing: the pair's character is one '?'.
        if (unit < 0xDC00 || unit > 0xDFFF)
            text += ToAnsi(unit);
    }
    return text;
}

std::string DecodeUtf8(const std::string& bytes)
{
    std::string text;
    for (std::size_t i = 0; i < bytes.size();)
    {
        const unsigned char lead = static_cast<unsigned char>(bytes[i]);
        const std::size_t length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        unsigned int code = length == 1 ? lead : lead & (0x3F >> (length - 1));
        std::size_t used = 1;
        while (used < length && i + used < bytes.size() &&
               (static_cast<unsigned char>(bytes[i + used]) & 0xC0) == 0x80)
            code = (code << 6) | (static_cast<unsigned char>(bytes[i + used++]) & 0x3F);
        text += used == length && !(lead >= 0x80 && lead < 0xC2) ? ToAnsi(code) : '?';
        i += used;
    }
    return text;
}

std::vector<std::string> SplitLines(const std::string& text)
{
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start <= text.size())
    {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        std::string line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
        start = end + 1;
    }
    return lines;
}

// A quoted text starting at pos (the opening quote); pos ends after the closing quote.
bool ParseQuoted(const std::string& line, std::size_t& pos, std::string& text)
{
    if (pos >= line.size() || line[pos] != '"')
        return false;
    text.clear();
    for (++pos; pos < line.size(); ++pos)
    {
        const char ch = line[pos];
        if (ch == '"')
        {
            ++pos;
            return true;
        }
        if (ch != '\\')
        {
            text += ch;
            continue;
        }
        // The registry editor's escapes; it reads any other as the character escaped.
        if (++pos == line.size())
            return false;
        text += line[pos] == 'n' ? '\n' : line[pos] == 'r' ? '\r' : line[pos];
    }
    return false;
}

// The registry editor refuses the escape \0 in a quoted text and imports nothing from that line
// on.
bool EndsImport(const std::string& line)
{
    bool quoted = false;
    for (std::size_t pos = 0; pos < line.size(); ++pos)
    {
        if (line[pos] == '"')
            quoted = !quoted;
        else if (quoted && line[pos] == '\\' && ++pos < line.size() && line[pos] == '0')
            return true;
    }
    return false;
}

int HexDigit(char ch)
{
    if (ch >= '0' && ch <= '9')
        return ch - '0';
    if (ch >= 'a' && ch <= 'f')
        return ch - 'a' + 10;
    if (ch >= 'A' && ch <= 'F')
        return ch - 'A' + 10;
    return -1;
}

// "aa,bb,..." with blanks allowed around the bytes.
bool ParseHexBytes(const std::string& list, std::vector<unsigned char>& bytes)
{
    bytes.clear();
    std::size_t pos = 0;
    while (pos < list.size())
    {
        while (pos < list.size() && (list[pos] == ' ' || list[pos] == '\t'))
            ++pos;
        if (pos == list.size())
            break;
        int value = 0;
        int digits = 0;
        while (pos < list.size() && HexDigit(list[pos]) >= 0 && digits < 2)
        {
            value = value * 16 + HexDigit(list[pos++]);
            ++digits;
        }
        if (digits == 0)
            return false;
        bytes.push_back(static_cast<unsigned char>(value));
        while (pos < list.size() && (list[pos] == ' ' || list[pos] == '\t'))
            ++pos;
        if (pos < list.size() && list[pos++] != ',')
            return false;
    }
    return true;
}

bool IsStringType(DWORD type)
{
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

bool ParseData(const std::string& data, SRegValue& value)
{
    value.m_bDelete = false;
    if (data == "-")
    {
        value.m_bDelete = true;
        value.m_dwType = REG_NONE;
        return true;
    }
    if (!data.empty() && data[0] == '"')
    {
        std::size_t pos = 0;
        std::string text;
        if (!ParseQuoted(data, pos, text) || pos != data.size())
            return false;
        value.m_dwType = REG_SZ;
        value.m_oData.assign(text.begin(), text.end());
        value.m_oData.push_back(0);
        return true;
    }
    if (data.compare(0, 6, "dword:") == 0)
    {
        const std::string digits = data.substr(6);
        if (digits.empty() || digits.size() > 8)
            return false;
        DWORD number = 0;
        for (char ch : digits)
        {
            if (HexDigit(ch) < 0)
                return false;
            number = number * 16 + static_cast<DWORD>(HexDigit(ch));
        }
        value.m_dwType = REG_DWORD;
        value.m_oData.clear();
        for (int i = 0; i < 4; ++i)
            value.m_oData.push_back(static_cast<unsigned char>(number >> (8 * i)));
        return true;
    }
    if (data.compare(0, 3, "hex") != 0)
        return false;
    std::size_t pos = 3;
    DWORD type = REG_BINARY;
    if (pos < data.size() && data[pos] == '(')
    {
        const std::size_t close = data.find(')', pos);
        if (close == std::string::npos || close == pos + 1 || close > pos + 9)
            return false;
        type = 0;
        for (std::size_t i = pos + 1; i < close; ++i)
        {
            if (HexDigit(data[i]) < 0)
                return false;
            type = type * 16 + static_cast<DWORD>(HexDigit(data[i]));
        }
        pos = close + 1;
    }
    if (pos >= data.size() || data[pos] != ':')
        return false;
    std::vector<unsigned char> bytes;
    if (!ParseHexBytes(data.substr(pos + 1), bytes))
        return false;
    value.m_dwType = type;
    value.m_oData = IsStringType(type) ? CRegFile::Narrow(bytes) : bytes;
    return true;
}

std::string Escape(const std::string& text)
{
    std::string escaped;
    for (char ch : text)
    {
        if (ch == '\n')
            escaped += "\\n";
        else if (ch == '\r')
            escaped += "\\r";
        else
        {
            if (ch == '\\' || ch == '"')
                escaped += '\\';
            escaped += ch;
        }
    }
    return escaped;
}

// A text the quoted form can carry: one terminating NUL, no control characters before it but
// the line breaks, which are escaped.
bool IsQuotable(const std::vector<unsigned char>& data)
{
    if (data.empty() || data.back() != 0)
        return false;
    for (std::size_t i = 0; i + 1 < data.size(); ++i)
        if ((data[i] < 0x20 && data[i] != '\n' && data[i] != '\r') || data[i] == 0x7F)
            return false;
    return true;
}

void WriteHex(std::string& out, std::size_t column, const std::vector<unsigned char>& bytes)
{
    char digits[4];
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        std::snprintf(digits, sizeof digits, "%02x", bytes[i]);
        out += digits;
        column += 2;
        if (i + 1 < bytes.size())
        {
            out += ',';
            ++column;
            // The editor's own wrapping, which keeps lines under 80 characters.
            if (column > 76)
            {
                out += "\\\n  ";
                column = 2;
            }
        }
    }
}

} // namespace

std::vector<unsigned char> CRegFile::Widen(const std::vector<unsigned char>& narrow)
{
    std::vector<unsigned char> wide;
    wide.reserve(narrow.size() * 2);
    for (unsigned char ch : narrow)
    {
        const unsigned int code = FromAnsi(ch);
        wide.push_back(static_cast<unsigned char>(code));
        wide.push_back(static_cast<unsigned char>(code >> 8));
    }
    return wide;
}

std::vector<unsigned char> CRegFile::Narrow(const std::vector<unsigned char>& wide)
{
    std::vector<unsigned char> narrow;
    narrow.reserve(wide.size() / 2);
    for (std::size_t i = 0; i + 1 < wide.size(); i += 2)
        narrow.push_back(static_cast<unsigned char>(ToAnsi(wide[i] | (wide[i + 1] << 8))));
    return narrow;
}

bool CRegFile::Parse(const std::string& bytes, std::vector<SRegSection>& sections)
{
    std::string text;
    if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
        static_cast<unsigned char>(bytes[1]) == 0xFE)
        text = DecodeUtf16(bytes);
    else if (bytes.compare(0, 3, "\xEF\xBB\xBF") == 0)
        text = DecodeUtf8(bytes.substr(3));
    else
        text = bytes;

    const std::vector<std::string> lines = SplitLines(text);
    std::size_t index = 0;
    while (index < lines.size() && lines[index].find_first_not_of(" \t") == std::string::npos)
        ++index;
    if (index == lines.size() || (lines[index] != k_szHeader5 && lines[index] != k_szHeader4))
        return false;

    std::vector<SRegSection> result;
    for (++index; index < lines.size(); ++index)
    {
        std::string line = lines[index];
        const std::size_t first = line.find_first_not_of(" \t");
        if (first == std::string::npos || line[first] == ';')
            continue;
        line.erase(0, first);
        if (line[0] == '[')
        {
            const std::size_t close = line.rfind(']');
            if (close == std::string::npos)
                continue;
            SRegSection section;
            section.m_bDelete = close > 1 && line[1] == '-';
            section.m_sKey =
                line.substr(section.m_bDelete ? 2 : 1, close - (section.m_bDelete ? 2 : 1));
            result.push_back(section);
            continue;
        }
        // A hex list goes on over the following lines while each ends with a backslash.
        while (line.size() > 1 && line.back() == '\\' && index + 1 < lines.size())
        {
            line.pop_back();
            std::string next = lines[++index];
            const std::size_t start = next.find_first_not_of(" \t");
            line += start == std::string::npos ? std::string() : next.substr(start);
        }
        if (EndsImport(line))
            break;
        SRegValue value;
        std::size_t pos = 0;
        if (line[0] == '@')
            pos = 1;
        else if (!ParseQuoted(line, pos, value.m_sName))
            continue;
        if (pos >= line.size() || line[pos] != '=')
            continue;
        std::string data = line.substr(pos + 1);
        while (!data.empty() && (data.back() == ' ' || data.back() == '\t'))
            data.pop_back();
        if (!ParseData(data, value))
            continue;
        if (result.empty())
            result.push_back(SRegSection{std::string(), false, {}});
        result.back().m_oValues.push_back(value);
    }
    sections.swap(result);
    return true;
}

std::string CRegFile::Write(const std::vector<SRegSection>& sections)
{
    std::string out = k_szHeader5;
    out += "\n";
    for (const SRegSection& section : sections)
    {
        out += "\n[";
        if (section.m_bDelete)
            out += '-';
        out += section.m_sKey + "]\n";
        for (const SRegValue& value : section.m_oValues)
            out += WriteValue(value);
    }
    // The editor ends its files with an empty line.
    return out + "\n";
}

std::string CRegFile::WriteValue(const SRegValue& value)
{
    std::string out;
    const std::string name = value.m_sName.empty() ? "@" : "\"" + Escape(value.m_sName) + "\"";
    out += name + "=";
    if (value.m_bDelete)
        out += "-";
    else if (value.m_dwType == REG_SZ && IsQuotable(value.m_oData))
        out += "\"" + Escape(std::string(value.m_oData.begin(), value.m_oData.end() - 1)) + "\"";
    else if (value.m_dwType == REG_DWORD && value.m_oData.size() == 4)
    {
        char digits[16];
        std::snprintf(digits, sizeof digits, "dword:%08x",
                      static_cast<unsigned int>(
                          value.m_oData[0] | (value.m_oData[1] << 8) | (value.m_oData[2] << 16) |
                          (static_cast<unsigned int>(value.m_oData[3]) << 24)));
        out += digits;
    }
    else
    {
        char prefix[24];
        if (value.m_dwType == REG_BINARY)
            std::snprintf(prefix, sizeof prefix, "hex:");
        else
            std::snprintf(prefix, sizeof prefix,
                          "hex(%x):", static_cast<unsigned int>(value.m_dwType));
        out += prefix;
        WriteHex(out, name.size() + 1 + std::string(prefix).size(),
                 IsStringType(value.m_dwType) ? Widen(value.m_oData) : value.m_oData);
    }
    out += "\n";
    return out;
}

std::string CRegFile::ToUtf16(const std::string& text)
{
    std::string wide = "\xFF\xFE";
    for (char ch : text)
    {
        if (ch == '\n')
        {
            wide += '\r';
            wide += '\0';
        }
        const unsigned int code = FromAnsi(static_cast<unsigned char>(ch));
        wide += static_cast<char>(code & 0xFF);
        wide += static_cast<char>(code >> 8);
    }
    return wide;
}

unsigned int CRegFile::Wide(char ch)
{
    return FromAnsi(static_cast<unsigned char>(ch));
}

} // namespace Platform
} // namespace CppUtil
