/// @file
/// Which operating system the host runs on, for checks such as "at least version X" and for the
/// text that logs and reports show.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"

namespace CppUtil
{
namespace Settings
{

/// On Windows the system's own version, as the kernel reports it (RtlGetVersion), not the
/// manifest-dependent answer of GetVersionEx; a compatibility-mode layer set by the user still
/// applies. System "Windows" or "Windows Server", release
/// "major.minor.build", distribution the service pack, if any. On POSIX the kernel from uname
/// (system "Linux", release "6.8.0-45-generic") and the distribution's PRETTY_NAME from
/// os-release. The numbers compared are the release's first three dot-separated numbers; what
/// follows them, or a release without numbers, counts as 0.
class CPPUTIL_API CWindowsVersion
{
public:
    /// Reads the host's version anew; never throws: what cannot be read stays empty, or 0.
    static CWindowsVersion GetCurrent();

    CWindowsVersion(const CString& system, const CString& release, const CString& distribution);

    const CString& GetSystem() const { return m_sSystem; }
    const CString& GetRelease() const { return m_sRelease; }
    const CString& GetDistribution() const { return m_sDistribution; }
    unsigned int GetMajor() const { return m_uMajor; }
    unsigned int GetMinor() const { return m_uMinor; }
    unsigned int GetBuild() const { return m_uBuild; }

    /// Whether the release's numbers are at least these, compared in order.
    bool IsAtLeast(unsigned int major, unsigned int minor = 0, unsigned int build = 0) const;
    /// "Windows 10.0.19045", "Linux 6.8.0-45-generic (Ubuntu 24.04.1 LTS)".
    CString ToString() const;

    /// The distribution's name from an os-release text: PRETTY_NAME, else NAME and VERSION, else
    /// NAME; empty when there is none. Quoted and unquoted values are read as the shell would read
    /// the simple assignments the format allows; lines that are not such are skipped, control
    /// characters dropped and the name cut to 100 characters, so that no file can spoil a log.
    static CString ParseOsRelease(const CString& text);
    /// The same from a file; empty when the file cannot be read.
    static CString ReadOsRelease(const CString& path);

private:
    CString m_sSystem;
    CString m_sRelease;
    CString m_sDistribution;
    unsigned int m_uMajor;
    unsigned int m_uMinor;
    unsigned int m_uBuild;
};

} // namespace Settings
} // namespace CppUtil
