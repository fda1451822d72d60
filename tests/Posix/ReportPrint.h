// Printing on POSIX: whatever "lp" PATH finds, checked with a stand-in lp.
#pragma once

#include "../ScratchFolder.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

// print answers the text of the failure that printing the saved report raises.
template <class TPrint>
void CheckPrintingThroughThePlatform(CppUtil::Gui::CHtmlReport& report, const std::string& saved,
                                     const std::filesystem::path& folder, const TPrint& print)
{
    // PATH comes back as it was, however the checks end.
    const char* const set = std::getenv("PATH");
    const std::shared_ptr<void> restore(
        nullptr,
        [path = std::string(set ? set : ""), wasSet = set != nullptr](void*) {
            wasSet ? ::setenv("PATH", path.c_str(), 1) : ::unsetenv("PATH"), ::unsetenv("LP_EXIT");
        });
    // No lp at all is a clear failure; a folder named lp earlier on PATH is no command, as for a
    // shell.
    const std::filesystem::path bin = folder / "bin", other = folder / "other";
    std::filesystem::create_directories(bin);
    std::filesystem::create_directories(other / "lp");
    ::chmod((other / "lp").string().c_str(), 0755);
    ::setenv("PATH", (other.string() + ":" + bin.string()).c_str(), 1);
    EXPECT_EQ(print(), "Could not print the report " + saved +
                           ": no print command: \"lp\" was not found on PATH");

    // A stand-in lp keeps its arguments and a copy of the file it was given.
    const std::string lp = (bin / "lp").string(), args = (folder / "args.txt").string();
    std::ofstream(lp) << "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" << args << "'\n/bin/cp -- \"$2\" '"
                      << args << ".copy'\nexit ${LP_EXIT:-0}\n";
    ::chmod(lp.c_str(), 0755);
    report.Print();
    EXPECT_EQ(ReadAll(args), "--\n" + saved + "\n");
    EXPECT_EQ(ReadAll(args + ".copy"), report.ToHtml().Str());
    ::setenv("LP_EXIT", "3", 1);
    EXPECT_EQ(print(),
              "Could not print the report " + saved + ": " + lp + " failed with exit status 3");
}
