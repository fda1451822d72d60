// The kernel's own version: GetVersionEx answers what the application's manifest and any
// compatibility shim let it see, RtlGetVersion what the system is.
#include "../../../CppUtil.Settings.WindowsVersion.h"

#include <windows.h>

#include <string>

namespace CppUtil
{
namespace Settings
{

namespace
{

typedef LONG(WINAPI* TRtlGetVersion)(OSVERSIONINFOEXW*);

CString Narrow(const wchar_t* text)
{
    char buffer[256] = {};
    ::WideCharToMultiByte(CP_ACP, 0, text, -1, buffer, sizeof buffer - 1, nullptr, nullptr);
    return CString(buffer);
}

} // namespace

CWindowsVersion CWindowsVersion::GetCurrent()
{
    const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
    const FARPROC address = ntdll ? ::GetProcAddress(ntdll, "RtlGetVersion") : nullptr;
    OSVERSIONINFOEXW info = {};
    info.dwOSVersionInfoSize = sizeof info;
    if (!address ||
        reinterpret_cast<TRtlGetVersion>(reinterpret_cast<void (*)()>(address))(&info) != 0)
        return CWindowsVersion("Windows", "", "");
    const std::string release = std::to_string(info.dwMajorVersion) + "." +
                                std::to_string(info.dwMinorVersion) + "." +
                                std::to_string(info.dwBuildNumber);
    return CWindowsVersion(info.wProductType == VER_NT_WORKSTATION ? "Windows" : "Windows Server",
                           release.c_str(), Narrow(info.szCSDVersion));
}

} // namespace Settings
} // namespace CppUtil
