#include "../TempFolder.h"

#include "../SystemError.h"

#include <windows.h>

std::string CppUtil::Platform::GetTempFolder(CString& folder)
{
    char path[MAX_PATH + 1];
    const DWORD length = ::GetTempPathA(sizeof(path), path);
    if (length == 0 || length > sizeof(path))
        return GetSystemErrorText(length ? ERROR_INSUFFICIENT_BUFFER : ::GetLastError()).Str();
    folder = CString(path, static_cast<int>(length));
    return std::string();
}
