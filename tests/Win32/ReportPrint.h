// Printing on Windows: the shell's "print" verb, for which a bare prefix has no program
// registered.
#pragma once

#include <filesystem>
#include <string>

// print answers the text of the failure that printing the saved report raises.
template <class TPrint>
void CheckPrintingThroughThePlatform(CppUtil::Gui::CHtmlReport&, const std::string& saved,
                                     const std::filesystem::path&, const TPrint& print)
{
    EXPECT_EQ(print(), "Could not print the report " + saved +
                           ": no application is registered to print this kind of file");
}
