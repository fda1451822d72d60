#include "../PrintfDialect.h"

// The runtime is Microsoft's own: every directive means what it says.
const char* CppUtil::Platform::WithStandardSizes(const char*, std::string&)
{
    return nullptr;
}

const char* CppUtil::Platform::WithWindowsOctalZero(const char*, va_list, std::string&)
{
    return nullptr;
}
