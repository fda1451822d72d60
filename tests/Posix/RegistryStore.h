// A test's registry on POSIX systems: a temporary file registry (CPPUTIL_REGISTRY_ROOT), created
// empty and removed with everything in it at the end.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

class CRegistryStore
{
public:
    CRegistryStore()
    {
        char folder[] = "/tmp/cpputil-registry-XXXXXX";
        m_sRoot = ::mkdtemp(folder);
        ::setenv("CPPUTIL_REGISTRY_ROOT", m_sRoot.c_str(), 1);
    }
    ~CRegistryStore()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_sRoot, ignored);
    }
    CRegistryStore(const CRegistryStore&) = delete;
    CRegistryStore& operator=(const CRegistryStore&) = delete;

    const std::string& Prefix() const { return m_sPrefix; }
    const std::string& Root() const { return m_sRoot; }
    // The file registry is this store's own and started empty: nobody else left the section.
    void RemoveMachineSection(const char*) {}

private:
    std::string m_sRoot;
    std::string m_sPrefix = "CppUtilTest";
};
