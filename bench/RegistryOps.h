// The registry operations the registry benchmarks time, and their baseline: a plain
// open/read/close of a small file. Shared by the Google Benchmark program and by the plain timing
// program that gives the same figures under Wine, where Google Benchmark is not built. The
// section key can be filled with other values first, since a store's cost may grow with the key.
#pragma once

#include "BenchStore.h"

#include <cpputil/CppUtil.Text.Output.h>
#include <cpputil/Platform/Registry/CRegKey.h>
#include <cpputil/Platform/Registry/Registry.h> // the registry calls and names, as inside the library
#include <cpputil/RegistryValue.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace RegistryOps
{

const char k_szSection[] = "CppUtilBench";
const char k_szValue[] = "Counter";
const char k_szSectionKey[] = "Software\\Velmora\\Quillon\\CppUtilBench";

// A new setting object's first read: opening the section key and reading one DWORD.
inline unsigned long FirstLoad()
{
    CppUtil::Settings::CRegistryValue<unsigned long> value(CppUtil::Text::DefaultOutput(),
                                                           HKEY_CURRENT_USER, k_szSection,
                                                           k_szValue, 0, true, false, false);
    return value.GetValue();
}

inline void SetValue(unsigned long number)
{
    CppUtil::Settings::CRegistryValue<unsigned long>(CppUtil::Text::DefaultOutput(),
                                                     HKEY_CURRENT_USER, k_szSection, k_szValue, 0,
                                                     true, false, false)
        .SetValue(number);
}

// A registry of its own: a temporary file registry on POSIX, a section of HKCU on Windows.
class CSetup
{
public:
    CSetup() : m_oStore(k_szSectionKey), m_sFile(m_oStore.BaselineFile())
    {
        // The baseline file has the size of a key's value file holding one number.
        if (std::FILE* file = std::fopen(m_sFile.c_str(), "wb"))
        {
            std::fputs("Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Software\\Velmo"
                       "ra\\Quillon\\CppUtilBench]\n\"Counter\"=dword:0000002a\n",
                       file);
            std::fclose(file);
        }
        SetValue(42);
        m_iValues = 1;
    }
    ~CSetup() { std::remove(m_sFile.c_str()); }

    const std::string& File() const { return m_sFile; }

    // Adds other values to the section key until it holds count values.
    void Fill(int count)
    {
        CppUtil::Platform::CRegKey key;
        if (m_iValues >= count ||
            key.Open(HKEY_CURRENT_USER, k_szSectionKey, KEY_ALL_ACCESS) != ERROR_SUCCESS)
            return;
        for (; m_iValues < count; ++m_iValues)
            key.SetDWORDValue(("Filler" + std::to_string(m_iValues)).c_str(),
                              static_cast<DWORD>(m_iValues));
    }

private:
    CBenchStore m_oStore;
    std::string m_sFile;
    int m_iValues = 0;
};

} // namespace RegistryOps
