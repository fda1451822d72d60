// Files that are not regular files, which readers of outside input must refuse without blocking.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

/// Makes a FIFO; on POSIX failing to make one fails the test.
inline bool MakeFifo(const std::string& path)
{
    const bool made = ::mkfifo(path.c_str(), 0600) == 0;
    EXPECT_TRUE(made) << path;
    return made;
}
