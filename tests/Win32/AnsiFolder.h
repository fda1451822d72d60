// Creates a folder whose name is bytes in the ANSI code page, as the library's paths are.
#pragma once

#include <windows.h>

#include <string>

inline bool MakeAnsiFolder(const std::string& path)
{
    return ::CreateDirectoryA(path.c_str(), nullptr) != FALSE;
}
