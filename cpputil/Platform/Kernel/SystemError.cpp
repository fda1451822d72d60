#include "SystemError.h"

namespace CppUtil
{
namespace Platform
{

CString GetSystemErrorText(DWORD error)
{
    LPSTR buffer = nullptr;
    const DWORD length = ::FormatMessageA(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_ALLOCATE_BUFFER,
        nullptr, error, 0, reinterpret_cast<LPSTR>(&buffer), 0, nullptr);
    CString text;
    if (length != 0 && buffer)
        text = CString(buffer, static_cast<int>(length));
    if (buffer)
        ::LocalFree(buffer);
    if (text.IsEmpty())
        text.Format("Error %lu.", static_cast<unsigned long>(error));
    return text.TrimRight("\r\n");
}

} // namespace Platform
} // namespace CppUtil
