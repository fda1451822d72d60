// Whole-file reading for the command-line tools.
#pragma once

#include <fstream>
#include <sstream>
#include <string>

namespace CppUtil
{
namespace Tools
{

/// Reads the file's bytes unchanged; false when it cannot be opened or read.
inline bool ReadFile(const std::string& path, std::string& bytes)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return false;
    std::ostringstream buffer;
    buffer << file.rdbuf();
    bytes = buffer.str();
    return !file.bad();
}

} // namespace Tools
} // namespace CppUtil
