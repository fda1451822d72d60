// A registry of its own for one test: on POSIX a temporary file registry (CPPUTIL_REGISTRY_ROOT),
// on Windows a section tree of its own below the product root, removed again at the end.
#pragma once

#include <cpputil/Platform/Registry/Registry.h>
#include <cpputil/QLRegistry.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#if defined(_WIN32)
#include <process.h>
#else
#include <unistd.h>
#endif

class CRegistrySandbox
{
public:
    CRegistrySandbox()
    {
#if defined(_WIN32)
        m_sPrefix = "CppUtilTest" + std::to_string(_getpid());
#else
        char folder[] = "/tmp/cpputil-registry-XXXXXX";
        m_sRoot = ::mkdtemp(folder);
        ::setenv("CPPUTIL_REGISTRY_ROOT", m_sRoot.c_str(), 1);
        m_sPrefix = "CppUtilTest";
#endif
    }
    ~CRegistrySandbox()
    {
#if defined(_WIN32)
        for (HKEY hive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER})
            ::RegDeleteTreeA(hive,
                             CppUtil::Settings::CQLRegistry::GetSectionKeyName(m_sPrefix.c_str()));
#else
        std::error_code ignored;
        std::filesystem::remove_all(m_sRoot, ignored);
#endif
    }

    // A section name that no other test or program uses, and its key path below the hive.
    CString Section(const std::string& name) const
    {
        return (m_sPrefix + "\\" + name).c_str();
    }
    CString KeyPath(const std::string& name) const
    {
        return CppUtil::Settings::CQLRegistry::GetSectionKeyName(Section(name));
    }
    const std::string& Root() const
    {
        return m_sRoot;
    }

private:
    std::string m_sRoot;
    std::string m_sPrefix;
};
