#include "CppUtil.Gui.Chart.Markup.h"

#include "CppUtil.Text.AnsiCodePage.h"

namespace CppUtil
{
namespace Gui
{
namespace Chart
{
namespace Markup
{

CString Escape(const CString& text)
{
    CString escaped;
    for (int index = 0; index < text.GetLength(); ++index)
    {
        const unsigned char ch = static_cast<unsigned char>(text[index]);
        switch (ch)
        {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&#39;";
            break;
        default:
            if (ch >= 0x80)
                escaped.AppendFormat("&#%u;", Text::AnsiCodePoint(ch));
            else if (ch < 0x20 && ch != '\t' && ch != '\n' && ch != '\r')
                escaped += '?';
            else
                escaped += static_cast<char>(ch);
        }
    }
    return escaped;
}

CString ToHex(const Gdiplus::Color& color)
{
    CString hex;
    hex.Format("#%02x%02x%02x", static_cast<unsigned int>(color.GetR()),
               static_cast<unsigned int>(color.GetG()), static_cast<unsigned int>(color.GetB()));
    return hex;
}

} // namespace Markup
} // namespace Chart
} // namespace Gui
} // namespace CppUtil
