#include "../ProcessClock.h"

std::clock_t CppUtil::Platform::ProcessClock()
{
    return std::clock();
}
