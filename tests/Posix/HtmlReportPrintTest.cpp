// Printing a saved report on POSIX systems: "lp" from PATH, with the file after "--".
#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/CppUtil.Gui.HtmlReport.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using CppUtil::Exception::CQlException;
using CppUtil::Gui::CHtmlReport;

namespace
{

std::string PrintFailure(CHtmlReport& report)
{
    try
    {
        report.Print();
    }
    catch (const CQlException& e)
    {
        return e.what();
    }
    return "";
}

std::string ReadAll(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

} // namespace

TEST(HtmlReportTest, PrintingRunsLpAndReportsItsFailures)
{
    const std::filesystem::path folder = std::filesystem::temp_directory_path() /
                                         ("cpputil-report-print-" + std::to_string(::getpid()));
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder / "bin");
    const std::filesystem::path saved = folder / "-report.html";
    CHtmlReport report("Lot 7");
    report.AddTable({"Device"});
    report.Save(saved.string().c_str());

    // The print command is whatever "lp" PATH finds; none at all is a clear failure.
    const char* oldPath = std::getenv("PATH");
    const std::string restore = oldPath ? oldPath : "";
    const std::filesystem::path bin = folder / "bin";
    ::setenv("PATH", bin.string().c_str(), 1);
    EXPECT_EQ(PrintFailure(report), "Could not print the report " + saved.string() +
                                        ": no print command: \"lp\" was not found on PATH");

    // A stand-in lp keeps its arguments and a copy of the file it was given.
    const std::filesystem::path lp = bin / "lp";
    const std::filesystem::path args = folder / "args.txt";
    std::ofstream(lp) << "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" << args.string()
                      << "'\n/bin/cp -- \"$2\" '" << args.string()
                      << ".copy'\nexit ${LP_EXIT:-0}\n";
    ::chmod(lp.string().c_str(), 0755);
    report.Print();
    EXPECT_EQ(ReadAll(args), "--\n" + saved.string() + "\n");
    EXPECT_EQ(ReadAll(args.string() + ".copy"), report.ToHtml().Str());
    ::setenv("LP_EXIT", "3", 1);
    EXPECT_EQ(PrintFailure(report), "Could not print the report " + saved.string() + ": " +
                                        lp.string() + " failed with exit status 3");
    ::unsetenv("LP_EXIT");
    ::setenv("PATH", restore.c_str(), 1);
    std::filesystem::remove_all(folder);
}
