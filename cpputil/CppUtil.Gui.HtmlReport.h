/// @file
/// Reports that a host fills, saves as one HTML page and prints.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"

#include <vector>

namespace CppUtil
{
namespace Gui
{

/// A report of blocks in the order they were added: section headings, paragraphs, warnings,
/// errors and tables. The page it saves stands alone: its styles are written into it, it refers to
/// no other file, and every text the host gives is escaped, so that a name such as "<A&B>" shows
/// as it is and cannot change the page.
///
/// Decisions:
/// - A table cell whose whole text is a number ("-12", "1,250.5", "98.5%") is right-aligned, in
///   the page and in the text form; every other cell is left-aligned.
/// - Line breaks in a text are kept (as <br /> in the page). Other control characters but tab
///   show as '?', in the page and in the text form; bytes above 127 are taken in the ANSI code page
///   windows-1252, which the page declares.
/// - The page's title is the report's title on one line.
/// - A row must have as many cells as its table's header, and a row needs a table: misuse raises
///   CQlException. A table without rows shows its header row alone.
/// - Print hands the file saved last to the system (Windows: the shell's "print" verb; elsewhere
///   the "lp" command on PATH) and raises CQlException when the report was not saved, or when
///   there is no way to print or the print command fails. On Windows the verb returns once the
///   printing program has started, so a failure of that program is not reported.
class CPPUTIL_API CHtmlReport
{
public:
    explicit CHtmlReport(const CString& title);

    void AddSection(const CString& heading);
    void AddParagraph(const CString& text);
    /// Shown in a framed, coloured box that starts with "Warning:".
    void AddWarning(const CString& text);
    /// Shown in a framed, coloured box that starts with "Error:".
    void AddError(const CString& text);
    /// Starts a table; the rows added next belong to it.
    void AddTable(const std::vector<CString>& header);
    void AddRow(const std::vector<CString>& cells);

    const CString& GetTitle() const { return m_sTitle; }

    /// The whole page, wrapped by CHtmlDlg::BaseSystemFormatHtml.
    CString ToHtml() const;
    /// The report as plain text for a log: lines end with CR LF, table columns are padded.
    CString ToText() const;

    /// Writes the page; raises CQlException naming the file when it cannot be written.
    void Save(const CString& path);
    /// Prints the file saved last.
    void Print() const;

private:
    enum class EBlock
    {
        Section,
        Paragraph,
        Warning,
        Error,
        Table
    };

    struct SBlock
    {
        EBlock m_eKind;
        CString m_sText;                           // all but tables
        std::vector<std::vector<CString>> m_oRows; // tables: the header row first
    };

    CString m_sTitle;
    std::vector<SBlock> m_oBlocks;
    CString m_sSavedPath;
};

} // namespace Gui
} // namespace CppUtil
