#include "QLRegistry.h"
#include "Platform/Registry/Registry.h"

#include "CppUtil.Exception.QlException.h"
#include "CppUtil.Text.Output.h"
#include "CppUtil.WikitextMsgExtractor.h"
#include "Platform/Kernel/SystemError.h"
#include "RegistryValue.h"

#include <algorithm>
#include <atomic>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>

namespace CppUtil
{
namespace Settings
{
namespace
{

const Exception::CSourceFile k_oSource("QLRegistry");

// The developer's switch for the compiled-message extractor, per user.
const char k_szExtractorSection[] = "WikitextMsgExtractor";

std::atomic<bool> s_bConstructedBefore(false);

// The developer's switch asks for the library's messages as wiki text. Any failure is logged: a
// developer aid must not keep the store from working.
void ExtractCompiledMessages()
{
    try
    {
        const CString path = CWikitextMsgExtractor::WriteLibraryMessages();
        Text::DefaultOutput().LogF(
            "The library's compiled messages were written as wiki text to %s", 0u) %
            path;
    }
    catch (const std::exception& failure)
    {
        Text::DefaultOutput().LogF("The library's compiled messages could not be written as wiki "
                                   "text: %s",
                                   0u) %
            failure.what();
    }
}

// kind names the registry type in the text, as in "Could not set DWORD value".
void CheckWrite(unsigned int line, LONG status, const char* kind, const CString& name,
                const char* function)
{
    if (status == ERROR_SUCCESS)
        return;
    CString message;
    message.Format("Could not set %s value \"%s\" to registry. Error code = %d", kind,
                   name.GetString(), static_cast<int>(status));
    k_oSource.Throw(line, CString("CppUtil::Settings::CQLRegistry::") + function, message);
}

// what is the failed step, with the key it was taken on.
[[noreturn]] void ThrowGrantError(unsigned int line, const CString& what, DWORD code)
{
    CString message;
    message.Format("%s. Error Code = %d.", what.GetString(), static_cast<int>(code));
    k_oSource.Throw(line, "CppUtil::Settings::CQLRegistry::GrantFullControlForEveryoneToKey",
                    message);
}

CString Folded(CString text)
{
    return text.MakeLower();
}

// Frees what the security calls allocate, on every way out.
struct SSecurityResources
{
    PSECURITY_DESCRIPTOR m_poDescriptor = nullptr;
    PSID m_poEveryone = nullptr;
    PACL m_poNewDacl = nullptr;
    ~SSecurityResources()
    {
        if (m_poNewDacl)
            ::LocalFree(m_poNewDacl);
        if (m_poEveryone)
            ::FreeSid(m_poEveryone);
        if (m_poDescriptor)
            ::LocalFree(m_poDescriptor);
    }
};

struct SKeyCloser
{
    HKEY m_hKey;
    ~SKeyCloser() { ::RegCloseKey(m_hKey); }
};

} // namespace

const CString CQLRegistry::k_sQuillonRootSubKey("Software\\Velmora\\Quillon\\");
const CString CQLRegistry::k_sHKLMAutohandlerSubKeyName("Autohandler");
const CString CQLRegistry::k_sHKCUAutohandlerSubKeyName("Qx71Hdlr");
const CString CQLRegistry::k_sBackslashSeparator("\\");
std::vector<CString> CQLRegistry::m_oHklmPermissionSectionKeys;

CQLRegistry::CQLRegistry(Text::COutput& out, HKEY root, const CString& section, DWORD access)
    : m_dwAttempts(3), m_oOut(out), m_hRoot(root), m_sSectionKeyPath(GetSectionKeyName(section)),
      m_dwGrantedAccess(0), m_iUncaughtAtConstruction(std::uncaught_exceptions())
{
    if (!s_bConstructedBefore.exchange(true))
    {
        CRegistryValue<unsigned long> enable(Text::DefaultOutput(), HKEY_CURRENT_USER,
                                             k_szExtractorSection, "Enable", 0, true, true, true);
        if (enable.GetValue() != 0)
            ExtractCompiledMessages();
    }
    OpenSectionKey(access);
}

CQLRegistry::CQLRegistry(const CQLRegistry& other)
    : m_dwAttempts(other.m_dwAttempts), m_oOut(other.m_oOut), m_hRoot(other.m_hRoot),
      m_sSectionKeyPath(other.m_sSectionKeyPath), m_dwGrantedAccess(0),
      m_iUncaughtAtConstruction(std::uncaught_exceptions())
{
    // A key handle cannot be shared; the copy opens the key again with the same rights.
    if (other.m_dwGrantedAccess != 0 &&
        m_oKey.Open(m_hRoot, m_sSectionKeyPath, other.m_dwGrantedAccess) == ERROR_SUCCESS)
        m_dwGrantedAccess = other.m_dwGrantedAccess;
}

CQLRegistry::~CQLRegistry() noexcept(false)
{
    try
    {
        GrantHklmSectionKeyPermissionToEveryone();
    }
    catch (...)
    {
        if (std::uncaught_exceptions() == m_iUncaughtAtConstruction)
            throw;
    }
}

CString CQLRegistry::GetSectionKeyName(const CString& section)
{
    return k_sQuillonRootSubKey + section;
}

void CQLRegistry::OpenSectionKey(DWORD access)
{
    for (DWORD attempt = 0; attempt < m_dwAttempts; ++attempt)
    {
        if (m_oKey.Open(m_hRoot, m_sSectionKeyPath, access) == ERROR_SUCCESS)
        {
            m_dwGrantedAccess = access;
            return;
        }
        if (attempt + 1 < m_dwAttempts)
            ::Sleep(10);
    }
}

bool CQLRegistry::Create()
{
    if (m_oKey.Create(m_hRoot, m_sSectionKeyPath, nullptr, REG_OPTION_NON_VOLATILE,
                      KEY_READ | KEY_WRITE, nullptr, nullptr) != ERROR_SUCCESS)
        return false;
    m_dwGrantedAccess = KEY_ALL_ACCESS;
    return true;
}

bool CQLRegistry::CurrentUserHasWritePermission() const
{
    return m_dwGrantedAccess == KEY_ALL_ACCESS;
}

bool CQLRegistry::IsValuePresent(const CString& name) const
{
    DWORD size = 0;
    return m_oKey.GetHandle() &&
           ::RegQueryValueExA(m_oKey, name, nullptr, nullptr, nullptr, &size) == ERROR_SUCCESS;
}

DWORD CQLRegistry::GetDWORDValue(const CString& name, DWORD defaultValue) const
{
    DWORD value = 0;
    return m_oKey.GetHandle() && m_oKey.QueryDWORDValue(name, value) == ERROR_SUCCESS
               ? value
               : defaultValue;
}

unsigned long long CQLRegistry::GetQWORDValue(const CString& name,
                                              unsigned long long defaultValue) const
{
    ULONGLONG value = 0;
    return m_oKey.GetHandle() && m_oKey.QueryQWORDValue(name, value) == ERROR_SUCCESS
               ? value
               : defaultValue;
}

std::vector<unsigned char>
CQLRegistry::GetBinaryValue(const CString& name,
                            const std::vector<unsigned char>& defaultValue) const
{
    if (!m_oKey.GetHandle())
        return defaultValue;
    ULONG size = 0;
    const LONG status = m_oKey.QueryBinaryValue(name, nullptr, &size);
    if (status != ERROR_SUCCESS)
        return defaultValue;
    std::vector<unsigned char> value(size);
    if (size != 0 && m_oKey.QueryBinaryValue(name, value.data(), &size) != ERROR_SUCCESS)
        return defaultValue;
    value.resize(size);
    return value;
}

CString CQLRegistry::GetStringValue(const CString& name, const CString& defaultValue) const
{
    if (!m_oKey.GetHandle())
        return defaultValue;
    ULONG chars = 0;
    if (m_oKey.QueryStringValue(name, nullptr, &chars) != ERROR_SUCCESS)
        return defaultValue;
    std::vector<char> buffer(chars + 1);
    if (m_oKey.QueryStringValue(name, buffer.data(), &chars) != ERROR_SUCCESS)
        return defaultValue;
    return CString(buffer.data());
}

std::vector<CString> CQLRegistry::GetMultiString(const CString& name) const
{
    std::vector<CString> strings;
    if (!m_oKey.GetHandle())
        return strings;
    ULONG chars = 0;
    if (m_oKey.QueryMultiStringValue(name, nullptr, &chars) != ERROR_SUCCESS)
        return strings;
    // Two spare NULs end the list even when the stored one lacks its terminators.
    std::vector<char> buffer(chars + 2, '\0');
    ULONG size = chars;
    if (m_oKey.QueryMultiStringValue(name, buffer.data(), &size) != ERROR_SUCCESS)
        return strings;
    for (const char* text = buffer.data(); *text && text < buffer.data() + chars;
         text += strings.back().GetLength() + 1)
        strings.push_back(CString(text));
    return strings;
}

unsigned int CQLRegistry::GetMultiStringRequiredSize(const std::vector<CString>& strings) const
{
    unsigned int size = 1;
    for (const CString& text : strings)
        size += static_cast<unsigned int>(text.GetLength()) + 1;
    return size;
}

void CQLRegistry::SetDWORDValue(const CString& name, DWORD value)
{
    CheckWrite(236, m_oKey.SetDWORDValue(name, value), "DWORD", name, "SetDWORDValue");
}

void CQLRegistry::SetQWORDValue(const CString& name, unsigned long long value)
{
    CheckWrite(241, m_oKey.SetQWORDValue(name, value), "QWORD", name, "SetQWORDValue");
}

void CQLRegistry::SetBinaryValue(const CString& name, const std::vector<unsigned char>& value)
{
    CheckWrite(247, m_oKey.SetBinaryValue(name, value.data(), static_cast<ULONG>(value.size())),
               "binary", name, "SetBinaryValue");
}

void CQLRegistry::SetStringValue(const CString& name, const CString& value)
{
    CheckWrite(252, m_oKey.SetStringValue(name, value), "string", name, "SetStringValue");
}

void CQLRegistry::SetMultiString(const CString& name, const std::vector<CString>& value)
{
    std::vector<char> buffer(GetMultiStringRequiredSize(value), '\0');
    std::size_t offset = 0;
    for (const CString& text : value)
    {
        std::copy(text.GetString(), text.GetString() + text.GetLength(), buffer.begin() + offset);
        offset += static_cast<std::size_t>(text.GetLength()) + 1;
    }
    // An empty text inside the list would end it early; the registry stores the bytes as given.
    const LONG status = ::RegSetValueExA(m_oKey, name, 0, REG_MULTI_SZ,
                                         reinterpret_cast<const BYTE*>(buffer.data()),
                                         static_cast<DWORD>(buffer.size()));
    CheckWrite(268, status, "multi-string", name, "SetMultiString");
}

void CQLRegistry::Load(const CString& name, CString& value, const CString& defaultValue) const
{
    value = GetStringValue(name, defaultValue);
}

void CQLRegistry::Load(const CString& name, unsigned long& value, unsigned long defaultValue) const
{
    DWORD stored = 0;
    value = m_oKey.GetHandle() && m_oKey.QueryDWORDValue(name, stored) == ERROR_SUCCESS
                ? stored
                : defaultValue;
}

void CQLRegistry::Load(const CString& name, unsigned long long& value,
                       unsigned long long defaultValue) const
{
    value = GetQWORDValue(name, defaultValue);
}

void CQLRegistry::Load(const CString& name, std::vector<unsigned char>& value,
                       const std::vector<unsigned char>& defaultValue) const
{
    value = GetBinaryValue(name, defaultValue);
}

void CQLRegistry::Load(const CString& name, std::vector<CString>& value,
                       const std::vector<CString>& defaultValue) const
{
    ULONG chars = 0;
    value =
        m_oKey.GetHandle() && m_oKey.QueryMultiStringValue(name, nullptr, &chars) == ERROR_SUCCESS
            ? GetMultiString(name)
            : defaultValue;
}

void CQLRegistry::Load(const CString& name, double& value, double defaultValue) const
{
    CString text = GetStringValue(name, "");
    // Stored with '.', whatever the C locale of the host says.
    const char point = *std::localeconv()->decimal_point;
    text.Replace('.', point);
    char* end = nullptr;
    const double number = std::strtod(text, &end);
    value = (!text.IsEmpty() && end && *end == '\0') ? number : defaultValue;
}

void CQLRegistry::SetValue(const CString& name, unsigned long value)
{
    // unsigned long is 64 bits wide on LP64 systems: a value that a DWORD cannot hold is refused
    // like any failed write rather than cut to its low half.
    const DWORD dword = static_cast<DWORD>(value);
    if (dword != value)
        CheckWrite(323, ERROR_INVALID_PARAMETER, "DWORD", name, "SetDWORDValue");
    SetDWORDValue(name, dword);
}

void CQLRegistry::SetValue(const CString& name, double value)
{
    // 17 significant digits give back the same double.
    CString text;
    text.Format("%.17g", value);
    text.Replace(*std::localeconv()->decimal_point, '.');
    SetStringValue(name, text);
}

void CQLRegistry::SetHklmPermissionSectionKeys(Text::COutput& out,
                                               const std::vector<CString>& sections)
{
    m_oHklmPermissionSectionKeys = sections;
    for (CString& entry : m_oHklmPermissionSectionKeys)
    {
        const CString section = entry;
        entry = Folded(GetSectionKeyName(section));
        CRegistryValue<CString> permission(out, HKEY_LOCAL_MACHINE, section, "Permission", "",
                                           false, true, false);
        permission.SetValue("Everyone", false);
    }
}

bool CQLRegistry::ShouldGrantHklmSectionKeyPermissionToEveryone() const
{
    if (m_hRoot != HKEY_LOCAL_MACHINE || !CurrentUserHasWritePermission())
        return false;
    const CString folded = Folded(m_sSectionKeyPath);
    return std::find(m_oHklmPermissionSectionKeys.begin(), m_oHklmPermissionSectionKeys.end(),
                     folded) != m_oHklmPermissionSectionKeys.end();
}

void CQLRegistry::GrantHklmSectionKeyPermissionToEveryone()
{
    if (ShouldGrantHklmSectionKeyPermissionToEveryone())
        GrantFullControlForEveryoneToKey(m_oOut, m_sSectionKeyPath, false);
}

bool CQLRegistry::CurrentUserHasWriteAccessToAllChildKeys(Text::COutput& out,
                                                          const CString& keyPath)
{
    HKEY key = nullptr;
    LONG status = ::RegOpenKeyExA(HKEY_LOCAL_MACHINE, keyPath, 0, KEY_ALL_ACCESS, &key);
    if (status != ERROR_SUCCESS)
    {
        out.LogF("Could not open %s for write access. RegOpenKeyEx() failed with: %s", 0u) %
            keyPath % Platform::GetSystemErrorText(static_cast<DWORD>(status));
        return false;
    }
    SKeyCloser closer{key};
    for (DWORD index = 0;; ++index)
    {
        char name[256];
        DWORD length = 255;
        status = ::RegEnumKeyExA(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (status == ERROR_NO_MORE_ITEMS)
            return true;
        if (status != ERROR_SUCCESS)
        {
            out.LogF("Could not enumerate subkeys of %s. RegEnumKeyEx() failed with: %s", 0u) %
                keyPath % Platform::GetSystemErrorText(static_cast<DWORD>(status));
            return false;
        }
        if (!CurrentUserHasWriteAccessToAllChildKeys(out, keyPath + "\\" + name))
            return false;
    }
}

void CQLRegistry::GrantFullControlForEveryoneToKey(Text::COutput& out, const CString& keyPath,
                                                   bool inheritToChildren)
{
    if (!CurrentUserHasWriteAccessToAllChildKeys(out, keyPath))
    {
        out.LogF("Could not set \"Everyone\" permission for HKEY_LOCAL_MACHINE\\%s because the "
                 "current user does not have write access to all subkeys.",
                 0u) %
            keyPath;
        return;
    }
    CString objectName = "MACHINE\\" + keyPath;
    SSecurityResources resources;
    PACL oldDacl = nullptr;
    DWORD status =
        ::GetNamedSecurityInfoA(objectName, SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr,
                                nullptr, &oldDacl, nullptr, &resources.m_poDescriptor);
    if (status != ERROR_SUCCESS)
        ThrowGrantError(419, "Error retrieving security information for " + objectName, status);

    SID_IDENTIFIER_AUTHORITY worldAuthority = SECURITY_WORLD_SID_AUTHORITY;
    if (!::AllocateAndInitializeSid(&worldAuthority, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0,
                                    &resources.m_poEveryone))
    {
        const DWORD error = ::GetLastError(); // before the text's allocation can touch it
        ThrowGrantError(429, "Error initializing SID for Everyone Access", error);
    }

    EXPLICIT_ACCESS_A access = {};
    access.grfAccessPermissions = GENERIC_ALL;
    access.grfAccessMode = SET_ACCESS;
    access.grfInheritance = inheritToChildren ? SUB_CONTAINERS_AND_OBJECTS_INHERIT : NO_INHERITANCE;
    access.Trustee.pMultipleTrustee = nullptr;
    access.Trustee.MultipleTrusteeOperation = NO_MULTIPLE_TRUSTEE;
    access.Trustee.TrusteeForm = TRUSTEE_IS_SID;
    access.Trustee.TrusteeType = TRUSTEE_IS_WELL_KNOWN_GROUP;
    access.Trustee.ptstrName = static_cast<LPSTR>(resources.m_poEveryone);
    status = ::SetEntriesInAclA(1, &access, oldDacl, &resources.m_poNewDacl);
    if (status != ERROR_SUCCESS)
        ThrowGrantError(447, "Error copying DACL security information for " + objectName, status);

    status = ::SetNamedSecurityInfoA(objectName.GetBuffer(objectName.GetLength()), SE_REGISTRY_KEY,
                                     DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                     resources.m_poNewDacl, nullptr);
    objectName.ReleaseBuffer();
    if (status != ERROR_SUCCESS)
        ThrowGrantError(459, "Error setting security information for " + objectName, status);
}

} // namespace Settings
} // namespace CppUtil
