/// @file
/// The settings store: typed values in section keys below the product's root key, and the policy
/// that opens chosen machine-wide sections to every local user.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Registry/CRegKey.h"
#include "Platform/Types/CString.h"

#include <vector>

namespace CppUtil
{
namespace Text
{
class COutput;
}

namespace Settings
{

template <class T>
class CRegistryValue;

class CPPUTIL_API CQLRegistry
{
public:
    static const CString k_sHKLMAutohandlerSubKeyName;
    static const CString k_sHKCUAutohandlerSubKeyName;
    static const CString k_sBackslashSeparator;

    /// Opens root\\GetSectionKeyName(section) with access; a key that cannot be opened leaves the
    /// object usable, with no key and no access (reads then give their defaults).
    CQLRegistry(Text::COutput& out, Platform::HKEY root, const CString& section,
                Platform::DWORD access);
    CQLRegistry(const CQLRegistry& other);
    CQLRegistry& operator=(const CQLRegistry&) = delete;
    /// Opens the key to Everyone when the section asks for it, which may throw; a throw while
    /// another exception unwinds is swallowed.
    ~CQLRegistry() noexcept(false);

    static CString GetSectionKeyName(const CString& section);
    void OpenSectionKey(Platform::DWORD access);
    /// Creates or opens the key for reading and writing; on success the object counts as holding
    /// all access, which is what the write-permission test compares against.
    bool Create();
    bool CurrentUserHasWritePermission() const;
    bool IsValuePresent(const CString& name) const;

    /// Once at start-up, before other threads use the store: the sections whose HKLM keys every
    /// user may write. Each gets "Permission" = "Everyone"; a key that cannot be written throws.
    static void SetHklmPermissionSectionKeys(Text::COutput& out,
                                             const std::vector<CString>& sections);
    bool ShouldGrantHklmSectionKeyPermissionToEveryone() const;
    void GrantHklmSectionKeyPermissionToEveryone();
    /// Whether every key of the tree at HKLM\\keyPath opens with all access; the first that does
    /// not is logged.
    static bool CurrentUserHasWriteAccessToAllChildKeys(Text::COutput& out, const CString& keyPath);
    static void GrantFullControlForEveryoneToKey(Text::COutput& out, const CString& keyPath,
                                                 bool inheritToChildren);

    Platform::DWORD GetGrantedAccess() const { return m_dwGrantedAccess; }
    const CString& GetSectionKeyPath() const { return m_sSectionKeyPath; }

private:
    template <class T>
    friend class CRegistryValue;

    Platform::DWORD GetDWORDValue(const CString& name, Platform::DWORD defaultValue) const;
    unsigned long long GetQWORDValue(const CString& name, unsigned long long defaultValue) const;
    std::vector<unsigned char> GetBinaryValue(const CString& name,
                                              const std::vector<unsigned char>& defaultValue) const;
    CString GetStringValue(const CString& name, const CString& defaultValue) const;
    std::vector<CString> GetMultiString(const CString& name) const;
    unsigned int GetMultiStringRequiredSize(const std::vector<CString>& strings) const;

    void SetDWORDValue(const CString& name, Platform::DWORD value);
    void SetQWORDValue(const CString& name, unsigned long long value);
    void SetBinaryValue(const CString& name, const std::vector<unsigned char>& value);
    void SetStringValue(const CString& name, const CString& value);
    void SetMultiString(const CString& name, const std::vector<CString>& value);

    /// The typed reads with the caller's default; LoadValue<T>(name) uses the default the store
    /// chooses (all-ones for the integers).
    void Load(const CString& name, CString& value, const CString& defaultValue) const;
    void Load(const CString& name, unsigned long& value, unsigned long defaultValue) const;
    void Load(const CString& name, unsigned long long& value,
              unsigned long long defaultValue) const;
    void Load(const CString& name, std::vector<unsigned char>& value,
              const std::vector<unsigned char>& defaultValue) const;
    void Load(const CString& name, std::vector<CString>& value,
              const std::vector<CString>& defaultValue) const;
    void Load(const CString& name, double& value, double defaultValue) const;

    template <class T>
    T LoadValue(const CString& name) const
    {
        T value{};
        Load(name, value, StoreDefault(value));
        return value;
    }
    static unsigned long StoreDefault(unsigned long) { return 0xFFFFFFFFul; }
    static unsigned long long StoreDefault(unsigned long long) { return ~0ull; }
    template <class T>
    static T StoreDefault(const T&)
    {
        return T();
    }

    void SetValue(const CString& name, const CString& value) { SetStringValue(name, value); }
    void SetValue(const CString& name, unsigned long value);
    void SetValue(const CString& name, unsigned long long value) { SetQWORDValue(name, value); }
    void SetValue(const CString& name, const std::vector<unsigned char>& value)
    {
        SetBinaryValue(name, value);
    }
    void SetValue(const CString& name, const std::vector<CString>& value)
    {
        SetMultiString(name, value);
    }
    void SetValue(const CString& name, double value);

    static const CString k_sQuillonRootSubKey;
    static std::vector<CString> m_oHklmPermissionSectionKeys;

    Platform::DWORD m_dwAttempts;
    Text::COutput& m_oOut;
    Platform::HKEY m_hRoot;
    Platform::CRegKey m_oKey;
    CString m_sSectionKeyPath;
    Platform::DWORD m_dwGrantedAccess;
    int m_iUncaughtAtConstruction;
};

} // namespace Settings
} // namespace CppUtil
