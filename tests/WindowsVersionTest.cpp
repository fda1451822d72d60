#include <cpputil/CppUtil.Settings.WindowsVersion.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <utility>

#include "Fifo.h"
#include "ScratchFolder.h"

using CppUtil::Settings::CWindowsVersion;

TEST(WindowsVersionTest, OsReleaseTextsAndFiles)
{
    const std::pair<std::string, std::string> k_aCases[] = {
        {"", ""},
        {"NAME=Fedora\nVERSION='40 (Workstation Edition)'", "Fedora 40 (Workstation Edition)"},
        {"PRETTY_NAME=\"\"\nNAME=\"  Arch  \"", "Arch"},
        {"# by hand\r\n\r\n  PRETTY_NAME='Alpine Linux v3.20'  # trailing\r\n",
         "Alpine Linux v3.20"},
        {"PRETTY_NAME=\"Say \\\"hi\\\" \\\\ \\$HOME \\n\"", "Say \"hi\" \\ $HOME \\n"},
        {"PRETTY_NAME=Debian\\ 12\"\"'!'", "Debian 12!"},
        // Later assignments win; lines that are not whole assignments are skipped.
        {"PRETTY_NAME=One\nPRETTY_NAME=\"Broken\nrest\"\nPRETTY_NAME='Two'", "Two"},
        {"PRETTY_NAME=Evil rm -rf /\nexport PRETTY_NAME=E\n9PRETTY_NAME=x\nPRETTY-NAME=y\n=z\n"
         "PRETTY_NAME\nPRETTY_NAME='Broken",
         ""},
        {"\xff\xfe=\x01\nPRETTY_NAME=\"\x01\x1b[31mRed\x1b[0m\x07\x7f\"", "[31mRed[0m"},
        {"PRETTY_NAME=" + std::string(500, 'x'), std::string(100, 'x')},
        // The cut never splits a character: "é" is two bytes, and the 100th would be its first.
        {"PRETTY_NAME=" + std::string(99, 'x') + "\xc3\xa9yz", std::string(99, 'x')},
    };
    for (const auto& c : k_aCases)
        EXPECT_EQ(c.second, CWindowsVersion::ParseOsRelease(c.first.c_str()).GetString())
            << c.first;

    const CScratchFolder folder;
    const std::string file = folder / "os-release";
    std::ofstream(file, std::ios::binary) << "ID=quillonos\nPRETTY_NAME=\"Quillon OS 3\"\n";
    EXPECT_STREQ("Quillon OS 3", CWindowsVersion::ReadOsRelease(file.c_str()));
    std::filesystem::remove(file);
    EXPECT_STREQ("", CWindowsVersion::ReadOsRelease(file.c_str()));
    // A FIFO nobody writes to would block a plain read for ever; it counts as no file. Windows
    // has no such file to make.
    if (MakeFifo(file))
    {
        EXPECT_STREQ("", CWindowsVersion::ReadOsRelease(file.c_str()));
    }
}

TEST(WindowsVersionTest, NumbersAndAtLeast)
{
    const CWindowsVersion kernel("Linux", "6.8.0-45-generic", "Ubuntu 24.04.1 LTS");
    EXPECT_TRUE(kernel.IsAtLeast(6, 8) && kernel.IsAtLeast(5, 99, 99));
    EXPECT_FALSE(kernel.IsAtLeast(6, 9) || kernel.IsAtLeast(6, 8, 1));
    EXPECT_STREQ("Linux 6.8.0-45-generic (Ubuntu 24.04.1 LTS)", kernel.ToString());
    EXPECT_STREQ("Unknown system", CWindowsVersion("", "", "").ToString());

    // Whatever is not a number counts as 0, and so does everything after it.
    for (const auto& [release, numbers] :
         std::map<std::string, std::string>{{"10.0.19045", "10.0.19045"},
                                            {"5.15", "5.15.0"},
                                            {"4.x.9", "4.0.0"},
                                            {"abc", "0.0.0"},
                                            {"3.99999999999.1", "3.0.0"},
                                            {"4294967295.1.2.3", "4294967295.1.2"}})
    {
        const CWindowsVersion version("Windows", release.c_str(), "");
        EXPECT_EQ(numbers, std::to_string(version.GetMajor()) + "." +
                               std::to_string(version.GetMinor()) + "." +
                               std::to_string(version.GetBuild()));
    }

    // The host's own: a system with a version, whichever it is.
    const CWindowsVersion host = CWindowsVersion::GetCurrent();
    EXPECT_TRUE(host.IsAtLeast(1));
    EXPECT_EQ(0, host.ToString().Find(host.GetSystem())) << host.ToString();
}
