// The settings store's test fixture, shared with the platform's own cases in Win32/ or Posix/.
#pragma once

#include "LogRecorder.h"
#include "RegistrySandbox.h"

#include <cpputil/RegistryValue.h>

#include <gmock/gmock.h>
#include <string>
#include <vector>

using namespace CppUtil::Settings;

class QLRegistryTest : public ::testing::Test, protected SRecordedOutput
{
protected:
    template <class T>
    T Load(HKEY hive, const CString& section, const char* name, const T& defaultValue)
    {
        return CRegistryValue<T>(m_oOut, hive, section, name, defaultValue, true, false, true)
            .GetValue();
    }

    template <class T>
    void Store(HKEY hive, const CString& section, const char* name, const T& value)
    {
        CRegistryValue<T>(m_oOut, hive, section, name, T(), true, false, false).SetValue(value);
    }

    CRegistrySandbox m_oSandbox;
};

// Whether HKLM\\keyPath is open to every user; inherits tells whether sub-keys are to follow.
bool IsOpenToEveryone(const CString& keyPath, bool* inherits = nullptr);
// After walk was opened to everyone with its sub-keys: the platform's way of showing it.
void ExpectOpenToEveryoneWithSubKeys(const CString& walk);
// HKEY_CURRENT_USER\\keyPath (full name keyName) as the registry editor exports it, into exported;
// then the editor file import is imported. False when the key cannot be reached or read.
bool ExchangeWithEditor(const std::string& keyName, const CString& keyPath,
                        const std::string& import, std::string& exported);
