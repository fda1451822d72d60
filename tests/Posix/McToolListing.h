// The native build's message compiler prints a .mc file's table as wiki text; it must print what
// the library lists for the same table.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

inline void ExpectTheToolListsTheSame(const std::string& listed)
{
    std::unique_ptr<FILE, int (*)(FILE*)> tool(
        ::popen(CPPUTIL_MC_TOOL " --wiki " CPPUTIL_MC_SOURCE, "r"), ::pclose);
    ASSERT_TRUE(tool);
    std::string printed;
    char buffer[512];
    for (size_t read; (read = std::fread(buffer, 1, sizeof(buffer), tool.get())) > 0;)
        printed.append(buffer, read);
    EXPECT_EQ(printed, listed);
}
