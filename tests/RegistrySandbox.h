// A registry of its own for one test: where it lives is the platform's CRegistryStore.
#pragma once

#include "RegistryStore.h"

#include <cpputil/Platform/Registry/Registry.h>
#include <cpputil/QLRegistry.h>

#include <string>

class CRegistrySandbox
{
public:
    // A section name that no other test or program uses, and its key path below the hive.
    CString Section(const std::string& name) const
    {
        return (m_oStore.Prefix() + "\\" + name).c_str();
    }
    CString KeyPath(const std::string& name) const
    {
        return CppUtil::Settings::CQLRegistry::GetSectionKeyName(Section(name));
    }
    const std::string& Root() const { return m_oStore.Root(); }
    // Removes a section that is not the sandbox's own, with its sub-keys, from HKLM.
    void RemoveMachineSection(const char* section) { m_oStore.RemoveMachineSection(section); }

private:
    CRegistryStore m_oStore;
};
