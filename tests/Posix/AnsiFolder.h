// Creates a folder whose name is bytes in the ANSI code page, as the library's paths are.
#pragma once

#include <sys/stat.h>

#include <string>

inline bool MakeAnsiFolder(const std::string& path)
{
    return ::mkdir(path.c_str(), 0755) == 0;
}
