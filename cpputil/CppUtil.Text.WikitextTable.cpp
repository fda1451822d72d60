#include "CppUtil.Text.WikitextTable.h"

#include "CppUtil.Text.AnsiCodePage.h"

namespace CppUtil
{
namespace Text
{

void CWikitextTable::AddMessage(std::uint32_t id, const std::string& symbolicName,
                                const std::string& text)
{
    m_oRows[id] =
        "| " + std::to_string(id) + " || " + Escape(symbolicName) + " || " + Escape(text) + "\n";
}

std::string CWikitextTable::Str() const
{
    std::string table = "{| class=\"wikitable sortable\"\n! ID !! Symbolic name !! Text\n";
    for (const auto& row : m_oRows)
        table += "|-\n" + row.second;
    return table + "|}\n";
}

std::string CWikitextTable::Escape(const std::string& text)
{
    std::size_t end = text.size();
    while (end > 0 && (text[end - 1] == '\r' || text[end - 1] == '\n'))
        --end;
    std::string escaped;
    for (std::size_t i = 0; i < end; ++i)
    {
        const char ch = text[i];
        switch (ch)
        {
        case '\r':
            if (i + 1 < end && text[i + 1] == '\n')
                ++i;
            escaped += "<br />";
            break;
        case '\n':
            escaped += "<br />";
            break;
        case '|':
        case '{':
        case '}':
        case '[':
        case ']':
        case '\'':
        case '~':
            escaped += "&#" + std::to_string(static_cast<int>(ch)) + ";";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '&':
            escaped += "&amp;";
            break;
        case '_':
            // A run of two or more would make magic words such as __TOC__ out of a text.
            if ((i + 1 < end && text[i + 1] == '_') || (i > 0 && text[i - 1] == '_'))
                escaped += "&#95;";
            else
                escaped += ch;
            break;
        default:
        {
            const unsigned char byte = static_cast<unsigned char>(ch);
            if (byte >= 0x80)
                escaped += "&#" + std::to_string(AnsiCodePoint(byte)) + ";";
            else if (byte < 0x20 && ch != '\t')
                escaped += '?';
            else
                escaped += ch;
        }
        }
    }
    return escaped;
}

} // namespace Text
} // namespace CppUtil
