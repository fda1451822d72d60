#include "CppUtil.Settings.WindowsVersion.h"

#include <cctype>
#include <climits>
#include <map>
#include <string>

namespace CppUtil
{
namespace Settings
{

namespace
{

const std::string::size_type k_uMaxNameLength = 100;

bool IsKeyChar(char c, bool first)
{
    const unsigned char u = static_cast<unsigned char>(c);
    return c == '_' || std::isalpha(u) || (!first && std::isdigit(u));
}

// One "KEY=value" line as the shell reads a simple assignment: quoted and unquoted pieces joined
// up to the first unquoted blank, after which only a comment may follow. False for anything else,
// an unfinished quote included.
bool ParseAssignment(const std::string& line, std::string& key, std::string& value)
{
    std::string::size_type i = line.find_first_not_of(" \t");
    if (i == std::string::npos || line[i] == '#')
        return false;
    const std::string::size_type keyStart = i;
    while (i < line.size() && IsKeyChar(line[i], i == keyStart))
        ++i;
    if (i == keyStart || i >= line.size() || line[i] != '=')
        return false;
    key = line.substr(keyStart, i - keyStart);
    value.clear();
    for (++i; i < line.size() && line[i] != ' ' && line[i] != '\t';)
    {
        const char c = line[i++];
        if (c == '\'')
        {
            const std::string::size_type end = line.find('\'', i);
            if (end == std::string::npos)
                return false;
            value += line.substr(i, end - i);
            i = end + 1;
        }
        else if (c == '"')
        {
            for (;;)
            {
                if (i >= line.size())
                    return false;
                const char d = line[i++];
                if (d == '"')
                    break;
                // Inside double quotes a backslash escapes only these; elsewhere it stays.
                if (d == '\\' && i < line.size() &&
                    std::string("\"\\$`").find(line[i]) != std::string::npos)
                    value += line[i++];
                else
                    value += d;
            }
        }
        else if (c == '\\')
        {
            if (i < line.size())
                value += line[i++];
        }
        else
        {
            value += c;
        }
    }
    const std::string::size_type rest = line.find_first_not_of(" \t", i);
    return rest == std::string::npos || line[rest] == '#';
}

// Control characters would let a file rewrite the log line that shows it.
std::string Clean(const std::string& text)
{
    std::string clean;
    for (const char c : text)
        if (static_cast<unsigned char>(c) >= 0x20 && c != 0x7f)
            clean += c;
    const std::string::size_type first = clean.find_first_not_of(' ');
    if (first == std::string::npos)
        return std::string();
    clean = clean.substr(first, clean.find_last_not_of(' ') - first + 1);
    if (clean.size() > k_uMaxNameLength)
    {
        // Cut before a UTF-8 continuation byte, never inside a character.
        std::string::size_type cut = k_uMaxNameLength;
        while (cut > 0 && (static_cast<unsigned char>(clean[cut]) & 0xc0) == 0x80)
            --cut;
        clean.resize(cut);
    }
    return clean;
}

// The next dot-separated number of a release; false at the first piece that is not one, or that
// is too wide.
bool NextNumber(const std::string& text, std::string::size_type& i, unsigned int& number)
{
    if (i >= text.size() || !std::isdigit(static_cast<unsigned char>(text[i])))
        return false;
    unsigned long long value = 0;
    for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i)
    {
        value = value * 10 + static_cast<unsigned int>(text[i] - '0');
        if (value > UINT_MAX)
            return false;
    }
    number = static_cast<unsigned int>(value);
    if (i < text.size() && text[i] == '.')
        ++i;
    return true;
}

} // namespace

CWindowsVersion::CWindowsVersion(const CString& system, const CString& release,
                                 const CString& distribution)
    : m_sSystem(system), m_sRelease(release), m_sDistribution(distribution), m_uMajor(0),
      m_uMinor(0), m_uBuild(0)
{
    const std::string text(release.GetString());
    std::string::size_type i = 0;
    unsigned int* const numbers[] = {&m_uMajor, &m_uMinor, &m_uBuild};
    for (unsigned int* number : numbers)
    {
        unsigned int value = 0;
        if (!NextNumber(text, i, value))
            break;
        *number = value;
    }
}

bool CWindowsVersion::IsAtLeast(unsigned int major, unsigned int minor, unsigned int build) const
{
    if (m_uMajor != major)
        return m_uMajor > major;
    if (m_uMinor != minor)
        return m_uMinor > minor;
    return m_uBuild >= build;
}

CString CWindowsVersion::ToString() const
{
    CString text = m_sSystem.IsEmpty() ? CString("Unknown system") : m_sSystem;
    if (!m_sRelease.IsEmpty())
        text += " " + m_sRelease;
    if (!m_sDistribution.IsEmpty())
        text += " (" + m_sDistribution + ")";
    return text;
}

CString CWindowsVersion::ParseOsRelease(const CString& text)
{
    std::map<std::string, std::string> values;
    const std::string all(text.GetString(), static_cast<std::string::size_type>(text.GetLength()));
    std::string::size_type start = 0;
    while (start <= all.size())
    {
        std::string::size_type end = all.find('\n', start);
        if (end == std::string::npos)
            end = all.size();
        std::string line = all.substr(start, end - start);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        std::string key;
        std::string value;
        // As in the shell, a later assignment replaces an earlier one.
        if (ParseAssignment(line, key, value))
            values[key] = value;
        start = end + 1;
    }
    std::string name = Clean(values["PRETTY_NAME"]);
    if (name.empty())
    {
        name = Clean(values["NAME"]);
        const std::string version = Clean(values["VERSION"]);
        if (!name.empty() && !version.empty())
            name = Clean(name + " " + version);
    }
    return CString(name.c_str());
}

} // namespace Settings
} // namespace CppUtil
