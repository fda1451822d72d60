/// @file
/// One named, typed setting of a section key, with its default, read on first use.
#pragma once

#include "CppUtil.Exception.QlException.h"
#include "QLRegistry.h"

#include <vector>

namespace CppUtil
{
namespace Settings
{

/// How the type of a setting shows in the name of the function that reports a failed write.
template <class T>
struct SRegistryTypeName;
template <>
struct SRegistryTypeName<CString>
{
    static const char* Get()
    {
        return "class ATL::CStringT<char,class StrTraitMFC_DLL<char,class ATL::ChTraitsCRT<char> > "
               ">";
    }
};
template <>
struct SRegistryTypeName<unsigned long>
{
    static const char* Get() { return "unsigned long"; }
};
template <>
struct SRegistryTypeName<unsigned long long>
{
    static const char* Get() { return "unsigned __int64"; }
};
template <>
struct SRegistryTypeName<double>
{
    static const char* Get() { return "double"; }
};
template <>
struct SRegistryTypeName<std::vector<unsigned char>>
{
    static const char* Get()
    {
        return "class std::vector<unsigned char,class std::allocator<unsigned char> >";
    }
};
template <>
struct SRegistryTypeName<std::vector<CString>>
{
    static const char* Get()
    {
        return "class std::vector<class ATL::CStringT<char,class StrTraitMFC_DLL<char,class "
               "ATL::ChTraitsCRT<char> > >,class std::allocator<class ATL::CStringT<char,class "
               "StrTraitMFC_DLL<char,class ATL::ChTraitsCRT<char> > > > >";
    }
};

/// T is one of CString, unsigned long (a DWORD), unsigned long long (a QWORD),
/// std::vector<unsigned char>, std::vector<CString> and double (kept as text).
template <class T>
class CRegistryValue
{
public:
    /// cacheValue: read the store once; without it every GetValue reads it again, for settings
    /// that other processes change. creatorFlag is kept for the creator; the store does not read
    /// it. loadNow reads at once.
    CRegistryValue(Text::COutput& out, Platform::HKEY root, const CString& section,
                   const CString& name, const T& defaultValue, bool cacheValue, bool creatorFlag,
                   bool loadNow)
        : m_oOut(out), m_hRoot(root), m_sSection(section), m_sName(name), m_oDefault(defaultValue),
          m_oValue(defaultValue), m_bLoaded(false), m_bCacheValue(cacheValue),
          m_bCreatorFlag(creatorFlag), m_bLoadNow(loadNow)
    {
        if (m_bLoadNow)
            Load();
    }
    virtual ~CRegistryValue() {}

    const T& GetValue()
    {
        if (!m_bLoaded || !m_bCacheValue)
            Load();
        return m_oValue;
    }
    operator T() { return GetValue(); }

    /// A missing key or value, or one of another type, gives the default.
    void Load()
    {
        CQLRegistry registry(m_oOut, m_hRoot, m_sSection, Platform::k_dwKeyRead);
        registry.Load(m_sName, m_oValue, m_oDefault);
        m_bLoaded = true;
    }

    /// Creates the key when needed. A key that cannot be created or written throws unless quiet;
    /// quiet only spares the failure to create it.
    void SetValue(const T& value, bool quiet = false)
    {
        CQLRegistry registry(m_oOut, m_hRoot, m_sSection, Platform::k_dwKeyAllAccess);
        if (!registry.Create())
        {
            if (quiet)
                return;
            CString message;
            message.Format("Could not create or write registry key [%s].\nIn order to run the "
                           "software successfully, you must have \"Full Control\" permissions "
                           "for this key.",
                           registry.GetSectionKeyPath().GetString());
            k_oSource.Throw(114,
                            CString("CppUtil::Settings::CRegistryValue<") +
                                SRegistryTypeName<T>::Get() + ">::SetValue",
                            message);
        }
        registry.SetValue(m_sName, value);
        m_oValue = value;
        m_bLoaded = true;
    }

    bool IsLoaded() const { return m_bLoaded; }
    bool GetCreatorFlag() const { return m_bCreatorFlag; }
    const T& GetDefault() const { return m_oDefault; }
    const CString& GetName() const { return m_sName; }

private:
    static constexpr Exception::CSourceFile k_oSource{"RegistryValue"};

    Text::COutput& m_oOut;
    Platform::HKEY m_hRoot;
    CString m_sSection;
    CString m_sName;
    T m_oDefault;
    T m_oValue;
    bool m_bLoaded;
    bool m_bCacheValue;
    bool m_bCreatorFlag;
    bool m_bLoadNow;
};

} // namespace Settings
} // namespace CppUtil
