#include "CppUtil.Gui.HtmlReport.h"

#include "CppUtil.Exception.QlException.h"
#include "CppUtil.Gui.Chart.Markup.h"
#include "CppUtil.Gui.HtmlDlg.h"
#include "Platform/Kernel/ShellPrint.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace CppUtil
{
namespace Gui
{
namespace
{

const Exception::CSourceFile k_oSource("CppUtil.Gui.HtmlReport");

const char k_szTitleStyle[] = "font-size:15pt;margin:0 0 10px 0";
const char k_szSectionStyle[] = "font-size:12pt;margin:16px 0 6px 0;border-bottom:1px solid #999";
const char k_szParagraphStyle[] = "margin:6px 0";
const char k_szWarningStyle[] =
    "margin:8px 0;padding:6px 10px;background:#fff4ce;border:1px solid #c19c00;"
    "border-left:6px solid #c19c00;color:#3d2e00";
const char k_szErrorStyle[] = "margin:8px 0;padding:6px 10px;background:#fde7e9;"
                              "border:1px solid #c50f1f;border-left:6px solid #c50f1f;color:#600";
const char k_szTableStyle[] = "border-collapse:collapse;margin:8px 0";
const char k_szHeaderStyle[] =
    "border:1px solid #999;padding:3px 8px;background:#e8e8e8;text-align:left";
const char k_szCellStyle[] = "border:1px solid #999;padding:3px 8px";

[[noreturn]] void Throw(const CString& message, const char* function, unsigned int line)
{
    k_oSource.Throw(line, CString("CppUtil::Gui::CHtmlReport::") + function, message);
}

// An optional sign, digits with single '.' or ',' between them, an optional '%'.
bool IsNumber(const CString& cell)
{
    const std::string& text = cell.Str();
    std::size_t at = 0;
    if (at < text.size() && (text[at] == '-' || text[at] == '+'))
        ++at;
    std::size_t end = text.size();
    if (end > at && text[end - 1] == '%')
        --end;
    if (at == end)
        return false;
    for (std::size_t i = at; i < end; ++i)
    {
        const bool digit = std::isdigit(static_cast<unsigned char>(text[i])) != 0;
        const bool separator = (text[i] == '.' || text[i] == ',') && i > at && i + 1 < end &&
                               std::isdigit(static_cast<unsigned char>(text[i - 1])) &&
                               std::isdigit(static_cast<unsigned char>(text[i + 1]));
        if (!digit && !separator)
            return false;
    }
    return true;
}

CString Html(const CString& text)
{
    CString html = Chart::Markup::Escape(text);
    html.Replace("\r\n", "<br />");
    html.Replace("\r", "<br />");
    html.Replace("\n", "<br />");
    return html;
}

// Control characters other than tab and line breaks as '?', as the page shows them.
CString Visible(CString text)
{
    for (int index = 0; index < text.GetLength(); ++index)
    {
        const char ch = text[index];
        if (static_cast<unsigned char>(ch) < 0x20 && ch != '\t' && ch != '\r' && ch != '\n')
            text.SetAt(index, '?');
    }
    return text;
}

// Visible text whose line breaks, of whichever kind, are all given as lineBreak.
CString WithLineBreaks(CString text, const char* lineBreak)
{
    text = Visible(text);
    text.Replace("\r\n", "\n");
    text.Replace("\r", "\n");
    text.Replace("\n", lineBreak);
    return text;
}

CString Underlined(const CString& text, char line)
{
    const CString single = WithLineBreaks(text, " ");
    return single + "\r\n" + CString(line, std::max(single.GetLength(), 1)) + "\r\n";
}

} // namespace

CHtmlReport::CHtmlReport(const CString& title) : m_sTitle(title) {}

void CHtmlReport::AddSection(const CString& heading)
{
    m_oBlocks.push_back(SBlock{EBlock::Section, heading, {}});
}

void CHtmlReport::AddParagraph(const CString& text)
{
    m_oBlocks.push_back(SBlock{EBlock::Paragraph, text, {}});
}

void CHtmlReport::AddWarning(const CString& text)
{
    m_oBlocks.push_back(SBlock{EBlock::Warning, text, {}});
}

void CHtmlReport::AddError(const CString& text)
{
    m_oBlocks.push_back(SBlock{EBlock::Error, text, {}});
}

void CHtmlReport::AddTable(const std::vector<CString>& header)
{
    if (header.empty())
        Throw("A report table needs at least one column.", "AddTable", 124);
    m_oBlocks.push_back(SBlock{EBlock::Table, CString(), {header}});
}

void CHtmlReport::AddRow(const std::vector<CString>& cells)
{
    if (m_oBlocks.empty() || m_oBlocks.back().m_eKind != EBlock::Table)
        Throw("A report row was added where no table was started.", "AddRow", 131);
    std::vector<std::vector<CString>>& rows = m_oBlocks.back().m_oRows;
    if (cells.size() != rows.front().size())
    {
        CString message;
        message.Format("A report row has %d cells where its table has %d columns.",
                       static_cast<int>(cells.size()), static_cast<int>(rows.front().size()));
        Throw(message, "AddRow", 138);
    }
    rows.push_back(cells);
}

CString CHtmlReport::ToHtml() const
{
    CString body;
    body.Format("<h1 style=\"%s\">%s</h1>\r\n", k_szTitleStyle, Html(m_sTitle).GetString());
    for (const SBlock& block : m_oBlocks)
    {
        switch (block.m_eKind)
        {
        case EBlock::Section:
            body.AppendFormat("<h2 style=\"%s\">%s</h2>\r\n", k_szSectionStyle,
                              Html(block.m_sText).GetString());
            break;
        case EBlock::Paragraph:
            body.AppendFormat("<p style=\"%s\">%s</p>\r\n", k_szParagraphStyle,
                              Html(block.m_sText).GetString());
            break;
        case EBlock::Warning:
            body.AppendFormat("<div class=\"warning\" role=\"alert\" style=\"%s\"><b>Warning:</b> "
                              "%s</div>\r\n",
                              k_szWarningStyle, Html(block.m_sText).GetString());
            break;
        case EBlock::Error:
            body.AppendFormat("<div class=\"error\" role=\"alert\" style=\"%s\"><b>Error:</b> "
                              "%s</div>\r\n",
                              k_szErrorStyle, Html(block.m_sText).GetString());
            break;
        case EBlock::Table:
            body.AppendFormat("<table style=\"%s\">\r\n", k_szTableStyle);
            for (std::size_t row = 0; row < block.m_oRows.size(); ++row)
            {
                body += "<tr>";
                for (const CString& cell : block.m_oRows[row])
                {
                    if (row == 0)
                        body.AppendFormat("<th style=\"%s\">%s</th>", k_szHeaderStyle,
                                          Html(cell).GetString());
                    else
                        body.AppendFormat("<td style=\"%s%s\">%s</td>", k_szCellStyle,
                                          IsNumber(cell) ? ";text-align:right" : "",
                                          Html(cell).GetString());
                }
                body += "</tr>\r\n";
            }
            body += "</table>\r\n";
            break;
        }
    }
    return CHtmlDlg::BaseSystemFormatHtml(body, m_sTitle);
}

CString CHtmlReport::ToText() const
{
    CString text = Underlined(m_sTitle, '=');
    for (const SBlock& block : m_oBlocks)
    {
        text += "\r\n";
        switch (block.m_eKind)
        {
        case EBlock::Section:
            text += Underlined(block.m_sText, '-');
            break;
        case EBlock::Paragraph:
            text += WithLineBreaks(block.m_sText, "\r\n") + "\r\n";
            break;
        case EBlock::Warning:
            text += "Warning: " + WithLineBreaks(block.m_sText, "\r\n") + "\r\n";
            break;
        case EBlock::Error:
            text += "Error: " + WithLineBreaks(block.m_sText, "\r\n") + "\r\n";
            break;
        case EBlock::Table:
        {
            std::vector<int> widths(block.m_oRows.front().size(), 0);
            for (const std::vector<CString>& row : block.m_oRows)
            {
                for (std::size_t column = 0; column < row.size(); ++column)
                    widths[column] =
                        std::max(widths[column], WithLineBreaks(row[column], " ").GetLength());
            }
            for (std::size_t row = 0; row < block.m_oRows.size(); ++row)
            {
                CString line;
                for (std::size_t column = 0; column < widths.size(); ++column)
                {
                    const CString cell = WithLineBreaks(block.m_oRows[row][column], " ");
                    const CString padding(' ', widths[column] - cell.GetLength());
                    if (column > 0)
                        line += "  ";
                    line += row > 0 && IsNumber(cell) ? padding + cell : cell + padding;
                }
                line.TrimRight();
                text += line + "\r\n";
                if (row == 0)
                {
                    CString rule;
                    for (std::size_t column = 0; column < widths.size(); ++column)
                        rule += (column > 0 ? "  " : "") + CString('-', widths[column]);
                    text += rule + "\r\n";
                }
            }
            break;
        }
        }
    }
    return text;
}

void CHtmlReport::Save(const CString& path)
{
    errno = 0;
    std::ofstream file(path.GetString(), std::ios::binary | std::ios::trunc);
    if (file.is_open())
    {
        const CString html = ToHtml();
        file.write(html.GetString(), html.GetLength());
        file.close();
    }
    if (!file.is_open() && file.good())
    {
        m_sSavedPath = path;
        return;
    }
    const int error = errno;
    CString message;
    message.Format("Could not save the report \"%s\" to %s: %s", m_sTitle.GetString(),
                   path.GetString(),
                   error ? std::strerror(error) : "the file could not be written");
    Throw(message, "Save", 270);
}

void CHtmlReport::Print() const
{
    if (m_sSavedPath.IsEmpty())
    {
        CString message;
        message.Format("The report \"%s\" cannot be printed before it is saved.",
                       m_sTitle.GetString());
        Throw(message, "Print", 280);
    }
    const std::string failure = Platform::PrintFile(m_sSavedPath.Str());
    if (failure.empty())
        return;
    CString message;
    message.Format("Could not print the report %s: %s", m_sSavedPath.GetString(), failure.c_str());
    Throw(message, "Print", 287);
}

} // namespace Gui
} // namespace CppUtil
