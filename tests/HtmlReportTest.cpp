#include "Thrown.h"

#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/CppUtil.Gui.HtmlDlg.h>
#include <cpputil/CppUtil.Gui.HtmlReport.h>

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <string>
#include <vector>

using CppUtil::Exception::CQlException;
using CppUtil::Gui::CHtmlDlg;
using CppUtil::Gui::CHtmlReport;

namespace
{

const std::string k_sHostile = "<A&B> \"q\" 'x' </table></div><script>alert(1)</script>";

std::size_t Count(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

template <class TCall>
std::string Failure(const TCall& call)
{
    return Thrown<CQlException>(call);
}

std::string ReadAll(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

} // namespace

// How a saved report reaches the printer differs by platform.
#include "ReportPrint.h"

TEST(HtmlReportTest, HostileTextStaysTextInThePageAndInTheTextForm)
{
    const CString hostile = k_sHostile.c_str();
    CHtmlReport report("Title " + hostile);
    report.AddSection("Section " + hostile);
    report.AddParagraph("Paragraph " + hostile);
    report.AddTable({"Head " + hostile, "Count"});
    report.AddRow({"Cell " + hostile, "12"});
    report.AddWarning("Warning " + hostile);
    report.AddError("Error " + hostile);

    const std::string html = report.ToHtml().Str();
    // Only the report's own markup: no tag or entity from the texts got through, and the hostile
    // text is escaped eight times, the title being shown twice.
    EXPECT_EQ((std::vector<std::size_t>{0, 1, 1, 2, 8}),
              (std::vector<std::size_t>{Count(html, "<script"), Count(html, "<table"),
                                        Count(html, "</table>"), Count(html, "</div>"),
                                        Count(html, "&lt;A&amp;B&gt; &quot;q&quot;")}));
    // What a reader sees is each text as given.
    const std::string seen = CHtmlDlg::ToPlainText(report.ToHtml()).Str();
    for (const char* label :
         {"Section ", "Paragraph ", "Head ", "Cell ", "Warning: Warning ", "Error: Error "})
        EXPECT_NE(seen.find(label + k_sHostile), std::string::npos) << label;

    const std::string text = report.ToText().Str();
    EXPECT_EQ(text.rfind("Title " + k_sHostile + "\r\n===", 0), 0u) << text;
    for (const char* line : {"\r\nWarning: Warning ", "\r\nError: Error "})
        EXPECT_NE(text.find(line + k_sHostile + "\r\n"), std::string::npos) << line;

    // The page's title is one line of text in its head.
    const std::string twoLines = CHtmlReport("T1\r\n<T2>").ToHtml().Str();
    EXPECT_LT(twoLines.find("<title>T1 &lt;T2&gt;</title>"), twoLines.find("</head>")) << twoLines;
    EXPECT_EQ(Count(twoLines, "<title>"), 1u);

    // Control characters show alike in both forms; ANSI bytes as what they mean.
    CHtmlReport controls("Bell\a\x80");
    EXPECT_NE(controls.ToHtml().Str().find(">Bell?&#8364;</h1>"), std::string::npos);
    EXPECT_EQ(controls.ToText().Str().rfind("Bell?\x80\r\n", 0), 0u);
}

TEST(HtmlReportTest, TablesRightAlignNumbersAndShowAHeaderWithoutRows)
{
    CHtmlReport report("Job");
    report.AddTable({"Device", "Rate", "Yield"});
    report.AddRow({"AT29C256", "1,250.5", "98.5%"});
    report.AddRow({"-7", "1.2.", "n/a"});
    report.AddTable({"Empty", "Table"});

    const std::string html = report.ToHtml().Str();
    EXPECT_EQ(Count(html, "<tr>"), 4u);
    EXPECT_EQ(Count(html, "text-align:right"), 3u);
    for (const char* cell : {"1,250.5", "98.5%", "-7"})
        EXPECT_NE(html.find(std::string("text-align:right\">") + cell + "</td>"), std::string::npos)
            << cell;
    EXPECT_NE(html.find(">Empty</th>"), std::string::npos);

    EXPECT_NE(report.ToText().Str().find("Device    Rate     Yield\r\n"
                                         "--------  -------  -----\r\n"
                                         "AT29C256  1,250.5  98.5%\r\n"
                                         "      -7  1.2.     n/a\r\n"
                                         "\r\n"
                                         "Empty  Table\r\n"
                                         "-----  -----\r\n"),
              std::string::npos)
        << report.ToText();

    EXPECT_NE(Failure([&] { report.AddRow({"one"}); })
                  .find("A report row has 1 cells where its table has 2 columns."),
              std::string::npos);
    report.AddParagraph("After the tables");
    const auto addRow = [&] { report.AddRow({"a", "b"}); };
    EXPECT_NE(Failure(addRow).find("no table was started"), std::string::npos);
}

TEST(HtmlReportTest, SavingAndPrintingFailWithClearTexts)
{
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() /
        ("cpputil-html-report-" + std::to_string(std::random_device()()));
    std::filesystem::create_directories(folder);
    CHtmlReport report("Lot 7");
    EXPECT_EQ(Failure([&] { report.Print(); }),
              "The report \"Lot 7\" cannot be printed before it is saved.");

    const std::filesystem::path unwritable = folder / "missing" / "report.html";
    const std::string unsaved =
        "Could not save the report \"Lot 7\" to " + unwritable.string() + ": ";
    EXPECT_EQ(unsaved,
              Failure([&] { report.Save(unwritable.string().c_str()); }).substr(0, unsaved.size()));
    // A failed save leaves nothing to print.
    EXPECT_NE(Failure([&] { report.Print(); }).find("cannot be printed before it is saved"),
              std::string::npos);

    const std::filesystem::path saved = folder / "-report.html";
    report.AddTable({"Device"});
    report.Save(saved.string().c_str());
    EXPECT_EQ(ReadAll(saved), report.ToHtml().Str());

    CheckPrintingThroughThePlatform(report, saved, folder);
    std::filesystem::remove_all(folder);
}
