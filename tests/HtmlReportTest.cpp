#include "ScratchFolder.h"
#include "Thrown.h"

#include <cpputil/CppUtil.Gui.HtmlDlg.h>
#include <cpputil/CppUtil.Gui.HtmlReport.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using CppUtil::Exception::CQlException;
using CppUtil::Gui::CHtmlDlg;
using CppUtil::Gui::CHtmlReport;
using ::testing::HasSubstr;
using ::testing::StartsWith;

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
        EXPECT_THAT(seen, HasSubstr(label + k_sHostile));

    const std::string text = report.ToText().Str();
    EXPECT_THAT(text, StartsWith("Title " + k_sHostile + "\r\n==="));
    for (const char* line : {"\r\nWarning: Warning ", "\r\nError: Error "})
        EXPECT_THAT(text, HasSubstr(line + k_sHostile + "\r\n"));

    // The page's title is one line of text in its head.
    const std::string twoLines = CHtmlReport("T1\r\n<T2>").ToHtml().Str();
    EXPECT_LT(twoLines.find("<title>T1 &lt;T2&gt;</title>"), twoLines.find("</head>")) << twoLines;
    EXPECT_EQ(Count(twoLines, "<title>"), 1u);

    // Control characters show alike in both forms; ANSI bytes as what they mean.
    CHtmlReport controls("Bell\a\x80");
    EXPECT_THAT(controls.ToHtml().Str(), HasSubstr(">Bell?&#8364;</h1>"));
    EXPECT_THAT(controls.ToText().Str(), StartsWith("Bell?\x80\r\n"));
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
        EXPECT_THAT(html, HasSubstr(std::string("text-align:right\">") + cell + "</td>"));
    EXPECT_THAT(html, HasSubstr(">Empty</th>"));
    EXPECT_THAT(report.ToText().Str(), HasSubstr("Device    Rate     Yield\r\n"
                                                 "--------  -------  -----\r\n"
                                                 "AT29C256  1,250.5  98.5%\r\n"
                                                 "      -7  1.2.     n/a\r\n"
                                                 "\r\n"
                                                 "Empty  Table\r\n"
                                                 "-----  -----\r\n"));

    EXPECT_THAT(Thrown<CQlException>([&] { report.AddRow({"one"}); }),
                HasSubstr("A report row has 1 cells where its table has 2 columns."));
    report.AddParagraph("After the tables");
    EXPECT_THAT(Thrown<CQlException>(
                    [&] {
                        report.AddRow({"a", "b"});
                    }),
                HasSubstr("no table was started"));
}

TEST(HtmlReportTest, SavingAndPrintingFailWithClearTexts)
{
    const CScratchFolder folder;
    CHtmlReport report("Lot 7");
    const auto print = [&] { return Thrown<CQlException>([&] { report.Print(); }); };
    const std::string unsaved = "The report \"Lot 7\" cannot be printed before it is saved.";
    EXPECT_EQ(print(), unsaved);
    const std::string unwritable = folder / "missing/report.html";
    EXPECT_THAT(Thrown<CQlException>([&] { report.Save(unwritable.c_str()); }),
                StartsWith("Could not save the report \"Lot 7\" to " + unwritable + ": "));
    // A failed save leaves nothing to print.
    EXPECT_EQ(print(), unsaved);

    const std::string saved = folder / "-report.html";
    report.AddTable({"Device"});
    report.Save(saved.c_str());
    EXPECT_EQ(ReadAll(saved), report.ToHtml().Str());
    CheckPrintingThroughThePlatform(report, saved, folder.Path(), print);
}
