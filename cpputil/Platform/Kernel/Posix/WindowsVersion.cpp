// The kernel from uname, the distribution from os-release: /etc's copy first, as systems that
// keep theirs in /usr/lib link it there.
#include "../../../CppUtil.Settings.WindowsVersion.h"

#include <sys/utsname.h>

namespace CppUtil
{
namespace Settings
{

CWindowsVersion CWindowsVersion::GetCurrent()
{
    struct utsname names = {};
    const bool known = ::uname(&names) == 0;
    CString distribution = ReadOsRelease("/etc/os-release");
    if (distribution.IsEmpty())
        distribution = ReadOsRelease("/usr/lib/os-release");
    return CWindowsVersion(known ? names.sysname : "", known ? names.release : "", distribution);
}

} // namespace Settings
} // namespace CppUtil
