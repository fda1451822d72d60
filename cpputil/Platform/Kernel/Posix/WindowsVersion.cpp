// The kernel from uname, the distribution from os-release: /etc's copy first, as systems that
// keep theirs in /usr/lib link it there.
#include "../../../CppUtil.Settings.WindowsVersion.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <string>

namespace CppUtil
{
namespace Settings
{

namespace
{

// An os-release file is a few hundred bytes; more is not one.
const std::string::size_type k_uMaxOsReleaseSize = 64 * 1024;

} // namespace

CWindowsVersion CWindowsVersion::GetCurrent()
{
    struct utsname names = {};
    const bool known = ::uname(&names) == 0;
    CString distribution = ReadOsRelease("/etc/os-release");
    if (distribution.IsEmpty())
        distribution = ReadOsRelease("/usr/lib/os-release");
    return CWindowsVersion(known ? names.sysname : "", known ? names.release : "", distribution);
}

CString CWindowsVersion::ReadOsRelease(const CString& path)
{
    // Not blocking, and regular files only: a FIFO or a device put there must not hang the caller.
    const int fd = ::open(path.GetString(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return CString();
    std::string text;
    struct stat status = {};
    if (::fstat(fd, &status) == 0 && S_ISREG(status.st_mode))
    {
        text.resize(k_uMaxOsReleaseSize);
        std::string::size_type size = 0;
        while (size < text.size())
        {
            const ssize_t got = ::read(fd, &text[size], text.size() - size);
            if (got <= 0)
                break;
            size += static_cast<std::string::size_type>(got);
        }
        text.resize(size);
    }
    ::close(fd);
    // A NUL ends the text a CString can hold; what follows is no os-release content anyway.
    return ParseOsRelease(CString(text.c_str()));
}

} // namespace Settings
} // namespace CppUtil
