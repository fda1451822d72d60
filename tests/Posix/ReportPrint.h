// Printing on POSIX: whatever "lp" PATH finds, checked with a stand-in lp. Included by
// HtmlReportTest.cpp after its helpers Failure and ReadAll.
#pragma once

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

inline void CheckPrintingThroughThePlatform(CppUtil::Gui::CHtmlReport& report,
                                            const std::filesystem::path& saved,
                                            const std::filesystem::path& folder)
{
    // The print command is whatever "lp" PATH finds; none at all is a clear failure.
    // PATH comes back as it was, however the checks end.
    struct SPathRestorer
    {
        const char* m_szOld = std::getenv("PATH");
        const bool m_bWasSet = m_szOld != nullptr;
        const std::string m_sOld = m_bWasSet ? m_szOld : "";
        ~SPathRestorer()
        {
            if (m_bWasSet)
                ::setenv("PATH", m_sOld.c_str(), 1);
            else
                ::unsetenv("PATH");
            ::unsetenv("LP_EXIT");
        }
    } restorer;
    const std::filesystem::path bin = folder / "bin";
    std::filesystem::create_directories(bin);
    // A folder named lp earlier on PATH is no command, as for a shell.
    const std::filesystem::path other = folder / "other";
    std::filesystem::create_directories(other / "lp");
    ::chmod((other / "lp").string().c_str(), 0755);
    ::setenv("PATH", (other.string() + ":" + bin.string()).c_str(), 1);
    EXPECT_EQ(Failure([&] { report.Print(); }),
              "Could not print the report " + saved.string() +
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
    EXPECT_EQ(Failure([&] { report.Print(); }), "Could not print the report " + saved.string() +
                                                    ": " + lp.string() +
                                                    " failed with exit status 3");
}
