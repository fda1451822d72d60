// Printing on Windows: the shell's "print" verb, for which a bare prefix has no program
// registered. Included by HtmlReportTest.cpp after its helper Failure.
#pragma once

#include <filesystem>
#include <string>

inline void CheckPrintingThroughThePlatform(CppUtil::Gui::CHtmlReport& report,
                                            const std::filesystem::path& saved,
                                            const std::filesystem::path&)
{
    EXPECT_EQ(Failure([&] { report.Print(); }),
              "Could not print the report " + saved.string() +
                  ": no application is registered to print this kind of file");
}
