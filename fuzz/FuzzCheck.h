// The fuzz targets' assertion: a broken property aborts, which libFuzzer reports as a crash with
// the input that caused it, in release builds too.
#pragma once

#include <cstdlib>

inline void Check(bool condition)
{
    if (!condition)
        std::abort();
}
