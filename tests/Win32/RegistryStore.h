// A test's registry on Windows: a section tree of its own below the product root, named after the
// process and removed from both hives at the end.
#pragma once

#include <cpputil/Platform/Registry/Registry.h>
#include <cpputil/QLRegistry.h>

#include <process.h>
#include <string>

class CRegistryStore
{
public:
    ~CRegistryStore()
    {
        for (HKEY hive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER})
            ::RegDeleteTreeA(hive,
                             CppUtil::Settings::CQLRegistry::GetSectionKeyName(m_sPrefix.c_str()));
    }

    const std::string& Prefix() const { return m_sPrefix; }
    // The real registry has no folder.
    const std::string& Root() const { return m_sRoot; }
    void RemoveMachineSection(const char* section)
    {
        ::RegDeleteTreeA(HKEY_LOCAL_MACHINE,
                         CppUtil::Settings::CQLRegistry::GetSectionKeyName(section));
    }

private:
    std::string m_sRoot;
    std::string m_sPrefix = "CppUtilTest" + std::to_string(_getpid());
};
