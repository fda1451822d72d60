#include "../ShellPrint.h"

#include <windows.h>

#include <shellapi.h>

std::string CppUtil::Platform::PrintFile(const std::string& path)
{
    // ShellExecute answers a value above 32 on success, else one of its own error codes.
    const INT_PTR result = reinterpret_cast<INT_PTR>(
        ::ShellExecuteA(nullptr, "print", path.c_str(), nullptr, nullptr, SW_HIDE));
    if (result > 32)
        return std::string();
    if (result == SE_ERR_NOASSOC)
        return "no application is registered to print this kind of file";
    return "the shell's \"print\" verb failed with code " + std::to_string(result);
}
