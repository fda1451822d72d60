// Files a test writes and reads back: a folder of the running test's own under the temporary
// folder, gone with whatever it holds when the test ends.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <system_error>

// The whole file. A char path opens in the ANSI code page, as the library's paths do.
inline std::string ReadAll(const std::string& path)
{
    std::ifstream file(path.c_str(), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

class CScratchFolder
{
public:
    // The random part keeps parallel runs of the same test, and what a killed run left, apart.
    CScratchFolder()
        : m_oPath(std::filesystem::temp_directory_path() /
                  ("cpputil-" +
                   std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()) +
                   "-" + std::to_string(std::random_device()())))
    {
        std::filesystem::create_directories(m_oPath);
    }
    ~CScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_oPath, ignored);
    }
    CScratchFolder(const CScratchFolder&) = delete;
    CScratchFolder& operator=(const CScratchFolder&) = delete;

    const std::filesystem::path& Path() const { return m_oPath; }
    // A name inside the folder, as the narrow text the library takes: joined as bytes, because a
    // path would carry a name outside ASCII through another encoding on Windows.
    std::string operator/(const std::string& name) const
    {
        return m_oPath.string() + static_cast<char>(std::filesystem::path::preferred_separator) +
               name;
    }

private:
    const std::filesystem::path m_oPath;
};
