// The kernel's own version: RtlGetVersion, not the manifest-dependent answer of GetVersionEx; a
// compatibility-mode layer set by the user still applies.
#include "../../../CppUtil.Settings.WindowsVersion.h"

#include <windows.h>

#include <fstream>
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

// An os-release file is a few hundred bytes; more is not one.
const std::streamsize k_iMaxOsReleaseSize = 64 * 1024;

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

CString CWindowsVersion::ReadOsRelease(const CString& path)
{
    std::ifstream file(path.GetString(), std::ios::binary);
    if (!file)
        return CString();
    std::string text(static_cast<std::string::size_type>(k_iMaxOsReleaseSize), '\0');
    file.read(&text[0], k_iMaxOsReleaseSize);
    text.resize(static_cast<std::string::size_type>(file.gcount()));
    // A NUL ends the text a CString can hold; what follows is no os-release content anyway.
    return ParseOsRelease(CString(text.c_str()));
}

} // namespace Settings
} // namespace CppUtil
