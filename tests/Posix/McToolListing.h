// The native build's message compiler prints a .mc file's table as wiki text; it must print what
// the library lists for the same table.
#pragma once

#include "../ScratchFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

inline void ExpectTheToolListsTheSame(const std::string& listed)
{
    const CScratchFolder folder;
    const std::string printed = folder / "listing.wiki";
    ASSERT_EQ(
        0,
        std::system((CPPUTIL_MC_TOOL " --wiki " CPPUTIL_MC_SOURCE " > '" + printed + "'").c_str()));
    EXPECT_EQ(ReadAll(printed), listed);
}
