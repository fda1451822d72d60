// Files that are not regular files, which readers of outside input must refuse without blocking.
// Windows has no FIFO in its file system.
#pragma once

#include <string>

inline bool MakeFifo(const std::string&)
{
    return false;
}
