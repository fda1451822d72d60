#include "CppUtil.Gui.HtmlDlg.h"

#include "CppUtil.Gui.Chart.Markup.h"

#include <cctype>
#include <cstdlib>
#include <string>

namespace CppUtil
{
namespace Gui
{
namespace
{

const char* const k_szPageStart =
    "<html><head><meta http-equiv=\"Content-Type\" content=\"text/html; charset=windows-1252\">"
    "<style>body { font-family: Segoe UI, Tahoma, sans-serif; font-size: 9pt; }</style>";
const char* const k_szHeadEnd = "</head><body>";
const char* const k_szPageEnd = "</body></html>";

bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f';
}

class CPlainText
{
public:
    void AddChar(char c)
    {
        if (IsSpace(c))
        {
            m_bPendingBlank = !m_sText.empty() && m_sText.back() != '\n';
            return;
        }
        FlushBlank();
        m_sText += c;
    }

    // A character from an entity: kept even when it is a blank that would otherwise fold.
    void AddLiteral(char c)
    {
        FlushBlank();
        m_sText += c;
    }

    void AddLineBreak()
    {
        m_bPendingBlank = false;
        m_sText += "\r\n";
    }

    std::string Take() { return std::move(m_sText); }

private:
    void FlushBlank()
    {
        if (m_bPendingBlank)
            m_sText += ' ';
        m_bPendingBlank = false;
    }

    std::string m_sText;
    bool m_bPendingBlank = false;
};

// Decodes the entity starting at html[at] ('&'); returns the characters it used, 0 when it is
// not an entity, and leaves the character in decoded.
std::size_t DecodeEntity(const std::string& html, std::size_t at, char& decoded)
{
    const std::size_t end = html.find(';', at);
    if (end == std::string::npos || end - at > 10)
        return 0;
    const std::string name = html.substr(at + 1, end - at - 1);
    static const struct
    {
        const char* m_szName;
        char m_cChar;
    } k_aNamed[] = {{"amp", '&'},  {"lt", '<'},    {"gt", '>'},
                    {"quot", '"'}, {"apos", '\''}, {"nbsp", ' '}};
    for (const auto& entity : k_aNamed)
    {
        if (name == entity.m_szName)
        {
            decoded = entity.m_cChar;
            return end - at + 1;
        }
    }
    if (name.size() >= 2 && name[0] == '#')
    {
        const bool hex = name[1] == 'x' || name[1] == 'X';
        const std::string digits = name.substr(hex ? 2 : 1);
        if (digits.empty() || digits.size() > 7)
            return 0;
        char* rest = nullptr;
        const long code = std::strtol(digits.c_str(), &rest, hex ? 16 : 10);
        if (*rest != '\0' || code <= 0)
            return 0;
        // Texts are in the 8-bit code page; what it cannot hold shows as '?'.
        decoded = code < 256 ? static_cast<char>(code) : '?';
        return end - at + 1;
    }
    return 0;
}

// The position after the tag that starts at html[at] ('<'), respecting quoted attribute values;
// npos when the tag never closes.
std::size_t TagEnd(const std::string& html, std::size_t at)
{
    char quote = 0;
    for (std::size_t i = at + 1; i < html.size(); ++i)
    {
        const char c = html[i];
        if (quote)
        {
            if (c == quote)
                quote = 0;
        }
        else if (c == '"' || c == '\'')
            quote = c;
        else if (c == '>')
            return i + 1;
    }
    return std::string::npos;
}

std::string TagName(const std::string& html, std::size_t at, bool& closing)
{
    std::size_t i = at + 1;
    closing = i < html.size() && html[i] == '/';
    if (closing)
        ++i;
    std::string name;
    while (i < html.size() && std::isalnum(static_cast<unsigned char>(html[i])))
        name += static_cast<char>(std::tolower(static_cast<unsigned char>(html[i++])));
    return name;
}

// Where the element whose contents are hidden ends: after its closing tag, or the end of text.
std::size_t SkipElement(const std::string& html, std::size_t from, const std::string& name)
{
    for (std::size_t at = html.find('<', from); at != std::string::npos;
         at = html.find('<', at + 1))
    {
        bool closing = false;
        if (TagName(html, at, closing) == name && closing)
        {
            const std::size_t end = TagEnd(html, at);
            return end == std::string::npos ? html.size() : end;
        }
    }
    return html.size();
}

} // namespace

CString CHtmlDlg::BaseSystemFormatHtml(const CString& body, const CString& title)
{
    CString head = k_szPageStart;
    if (!title.IsEmpty())
    {
        CString line = title;
        line.Replace("\r\n", " ");
        line.Replace("\r", " ");
        line.Replace("\n", " ");
        head += "<title>" + Chart::Markup::Escape(line) + "</title>";
    }
    return head + k_szHeadEnd + body + k_szPageEnd;
}

CString CHtmlDlg::ToPlainText(const CString& html)
{
    const std::string& text = html.Str();
    CPlainText plain;
    std::size_t i = 0;
    while (i < text.size())
    {
        const char c = text[i];
        if (c == '<' && text.compare(i, 4, "<!--") == 0)
        {
            const std::size_t end = text.find("-->", i + 4);
            i = end == std::string::npos ? text.size() : end + 3;
            continue;
        }
        if (c == '<')
        {
            const std::size_t end = TagEnd(text, i);
            bool closing = false;
            const std::string name = TagName(text, i, closing);
            // A '<' that opens no tag is text, as browsers show it.
            if (end == std::string::npos || (name.empty() && text[i + 1] != '!' && !closing))
            {
                plain.AddChar(c);
                ++i;
                continue;
            }
            if (name == "br")
                plain.AddLineBreak();
            const bool selfClosing = text[end - 2] == '/';
            if (!closing && !selfClosing && (name == "head" || name == "style" || name == "script"))
                i = SkipElement(text, end, name);
            else
                i = end;
            continue;
        }
        char decoded = 0;
        const std::size_t used = c == '&' ? DecodeEntity(text, i, decoded) : 0;
        if (used)
        {
            plain.AddLiteral(decoded);
            i += used;
            continue;
        }
        plain.AddChar(c);
        ++i;
    }
    return CString(plain.Take());
}

} // namespace Gui
} // namespace CppUtil
