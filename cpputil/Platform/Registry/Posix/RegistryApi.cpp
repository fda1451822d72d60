// The registry and security calls for POSIX systems, over the file registry.
#include "FileRegistry.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

using CppUtil::Platform::CFileRegistry;
using CppUtil::Platform::SRegValue;

namespace CppUtil
{
namespace Platform
{

struct HKEY__
{
    std::string m_sFolder;
    std::string m_sName; // as the value file's header shows it
    REGSAM m_dwAccess;
};

namespace
{

// The longest value name Windows takes, in characters (one byte each in the ANSI code page).
const std::size_t k_uMaxValueName = 16383;

const REGSAM k_dwWriteRights =
    KEY_SET_VALUE | KEY_CREATE_SUB_KEY | KEY_CREATE_LINK | DELETE | WRITE_DAC | WRITE_OWNER;

bool IsText(DWORD type)
{
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

bool IsPredefined(HKEY key)
{
    return key == HKEY_LOCAL_MACHINE || key == HKEY_CURRENT_USER;
}

LSTATUS Base(HKEY key, std::string& folder, std::string& name)
{
    if (IsPredefined(key))
    {
        folder = CFileRegistry::HiveFolder(key);
        name = CFileRegistry::HiveName(key);
        return ERROR_SUCCESS;
    }
    if (!key)
        return ERROR_INVALID_HANDLE;
    folder = key->m_sFolder;
    name = key->m_sName;
    return ERROR_SUCCESS;
}

std::string Join(const std::string& name, LPCSTR subKey)
{
    std::string joined = name;
    if (!subKey)
        return joined;
    std::string path = subKey;
    while (!path.empty() && path.back() == '\\')
        path.pop_back();
    if (!path.empty())
        joined += "\\" + path;
    return joined;
}

// The folder's permission bits decide, for the effective user, as Windows' key security does.
LSTATUS CheckAccess(const std::string& folder, REGSAM access)
{
    const int mode = (access & k_dwWriteRights) ? (R_OK | W_OK | X_OK) : (R_OK | X_OK);
    return ::faccessat(AT_FDCWD, folder.c_str(), mode, AT_EACCESS) == 0 ? ERROR_SUCCESS
                                                                        : ERROR_ACCESS_DENIED;
}

LSTATUS OpenOrCreate(HKEY key, LPCSTR subKey, REGSAM access, bool create, PHKEY result,
                     LPDWORD disposition)
{
    if (!result)
        return ERROR_INVALID_PARAMETER;
    *result = nullptr;
    std::string base;
    std::string name;
    LSTATUS status = Base(key, base, name);
    if (status != ERROR_SUCCESS)
        return status;
    if (create && !IsPredefined(key) && !(key->m_dwAccess & KEY_CREATE_SUB_KEY))
        return ERROR_ACCESS_DENIED;
    // A sub-key is relative: a leading backslash makes the path malformed.
    if (subKey && subKey[0] == '\\')
        return ERROR_BAD_PATHNAME;
    std::string folder;
    bool created = false;
    status = CFileRegistry::FindKey(base, subKey ? subKey : "", create, folder, &created);
    if (status == ERROR_SUCCESS)
        status = CheckAccess(folder, access);
    if (status != ERROR_SUCCESS)
        return status;
    *result = new (std::nothrow) HKEY__{folder, Join(name, subKey), access};
    if (!*result)
        return ERROR_NOT_ENOUGH_MEMORY;
    if (disposition)
        *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return ERROR_SUCCESS;
}

// Both halves of an object name such as "MACHINE\Software\...".
bool ObjectFolder(LPCSTR objectName, std::string& folder)
{
    if (!objectName)
        return false;
    const std::string object = objectName;
    const std::size_t slash = object.find('\\');
    const std::string root = object.substr(0, slash);
    HKEY hive = nullptr;
    if (CFileRegistry::SameName(root, "MACHINE"))
        hive = HKEY_LOCAL_MACHINE;
    else if (CFileRegistry::SameName(root, "CURRENT_USER"))
        hive = HKEY_CURRENT_USER;
    else
        return false;
    return CFileRegistry::FindKey(CFileRegistry::HiveFolder(hive),
                                  slash == std::string::npos ? "" : object.substr(slash + 1), false,
                                  folder) == ERROR_SUCCESS;
}

DWORD ChangeMode(const std::string& folder, DWORD mode, bool inherit)
{
    if (::chmod(folder.c_str(), mode) != 0)
        return ERROR_ACCESS_DENIED;
    // The key's own files follow its folder, without the search bits.
    const mode_t fileMode = mode & 0666;
    ::chmod((folder + "/.values.reg").c_str(), fileMode);
    ::chmod((folder + "/.values.journal").c_str(), fileMode);
    ::chmod((folder + "/.lock").c_str(), fileMode);
    if (inherit)
    {
        for (const std::string& name : CFileRegistry::SubKeys(folder))
        {
            std::string child;
            if (CFileRegistry::FindKey(folder, name, false, child) == ERROR_SUCCESS)
            {
                const DWORD status = ChangeMode(child, mode, true);
                if (status != ERROR_SUCCESS)
                    return status;
            }
        }
    }
    return ERROR_SUCCESS;
}

const SID_IDENTIFIER_AUTHORITY k_oWorldAuthority = SECURITY_WORLD_SID_AUTHORITY;
const DWORD k_dwEveryone = 0x57524C44; // the one SID the layer knows

} // namespace

LSTATUS RegOpenKeyExA(HKEY key, LPCSTR subKey, DWORD, REGSAM access, PHKEY result)
{
    return OpenOrCreate(key, subKey, access, false, result, nullptr);
}

LSTATUS RegCreateKeyExA(HKEY key, LPCSTR subKey, DWORD, LPSTR, DWORD, REGSAM access,
                        const SECURITY_ATTRIBUTES*, PHKEY result, LPDWORD disposition)
{
    return OpenOrCreate(key, subKey, access, true, result, disposition);
}

LSTATUS RegCloseKey(HKEY key)
{
    if (!key)
        return ERROR_INVALID_HANDLE;
    if (!IsPredefined(key))
        delete key;
    return ERROR_SUCCESS;
}

LSTATUS RegQueryValueExA(HKEY key, LPCSTR valueName, LPDWORD, LPDWORD type, LPBYTE data,
                         LPDWORD size)
{
    std::string folder;
    std::string name;
    LSTATUS status = Base(key, folder, name);
    if (status != ERROR_SUCCESS)
        return status;
    if (data && !size)
        return ERROR_INVALID_PARAMETER;
    // What a failed query leaves behind is Win32's too: no type, and no size when only the size
    // was asked for.
    if (type)
        *type = REG_NONE;
    if (!data && size)
        *size = 0;
    if (!IsPredefined(key) && !(key->m_dwAccess & KEY_QUERY_VALUE))
        return ERROR_ACCESS_DENIED;
    SRegValue value;
    if (!CFileRegistry::QueryValue(folder, valueName ? valueName : "", value))
        return ERROR_FILE_NOT_FOUND;
    if (type)
        *type = value.m_dwType;
    const DWORD needed = static_cast<DWORD>(value.m_oData.size());
    if (data && *size < needed)
        status = ERROR_MORE_DATA;
    else if (data && needed != 0)
    {
        std::memcpy(data, value.m_oData.data(), needed);
        // A text stored without its NUL gets one after it where the buffer has room, uncounted.
        if (IsText(value.m_dwType) && data[needed - 1] && needed < *size)
            data[needed] = '\0';
    }
    if (size)
        *size = needed;
    return status;
}

LSTATUS RegSetValueExA(HKEY key, LPCSTR valueName, DWORD, DWORD type, const BYTE* data, DWORD size)
{
    if (!key || IsPredefined(key))
        return ERROR_INVALID_HANDLE;
    if (!(key->m_dwAccess & KEY_SET_VALUE))
        return ERROR_ACCESS_DENIED;
    const std::string name = valueName ? valueName : "";
    if (name.size() > k_uMaxValueName)
        return ERROR_INVALID_PARAMETER;
    if (size && !data)
        return ERROR_NOACCESS;
    // A text counted without its NUL gets it when the byte after the data is one: the narrow
    // call does this on Windows, and code relies on it.
    if (IsText(type) && size && data[size - 1] && !data[size])
        ++size;
    return CFileRegistry::WriteValue(
        key->m_sFolder, key->m_sName,
        SRegValue{name, type, std::vector<unsigned char>(data, data + size), false});
}

LSTATUS RegDeleteValueA(HKEY key, LPCSTR valueName)
{
    if (!key || IsPredefined(key))
        return ERROR_INVALID_HANDLE;
    if (!(key->m_dwAccess & KEY_SET_VALUE))
        return ERROR_ACCESS_DENIED;
    return CFileRegistry::WriteValue(key->m_sFolder, key->m_sName,
                                     SRegValue{valueName ? valueName : "", REG_NONE, {}, true});
}

LSTATUS RegFlushKey(HKEY key)
{
    if (!key)
        return ERROR_INVALID_HANDLE;
    // The whole hive that holds the key, as Windows flushes it.
    return CFileRegistry::Flush(IsPredefined(key) ? key : CFileRegistry::HiveOf(key->m_sName));
}

LSTATUS RegEnumKeyExA(HKEY key, DWORD index, LPSTR name, LPDWORD nameLength, LPDWORD, LPSTR,
                      LPDWORD, PFILETIME)
{
    std::string folder;
    std::string keyName;
    const LSTATUS status = Base(key, folder, keyName);
    if (status != ERROR_SUCCESS)
        return status;
    if (!IsPredefined(key) && !(key->m_dwAccess & KEY_ENUMERATE_SUB_KEYS))
        return ERROR_ACCESS_DENIED;
    if (!name || !nameLength)
        return ERROR_INVALID_PARAMETER;
    const std::vector<std::string> names = CFileRegistry::SubKeys(folder);
    if (index >= names.size())
        return ERROR_NO_MORE_ITEMS;
    const std::string& found = names[index];
    if (found.size() >= *nameLength)
        return ERROR_MORE_DATA;
    std::memcpy(name, found.c_str(), found.size() + 1);
    *nameLength = static_cast<DWORD>(found.size());
    return ERROR_SUCCESS;
}

DWORD GetNamedSecurityInfoA(LPCSTR objectName, SE_OBJECT_TYPE objectType, SECURITY_INFORMATION,
                            PSID* owner, PSID* group, PACL* dacl, PACL* sacl,
                            PSECURITY_DESCRIPTOR* descriptor)
{
    if (objectType != SE_REGISTRY_KEY || !descriptor)
        return ERROR_INVALID_PARAMETER;
    std::string folder;
    if (!ObjectFolder(objectName, folder))
        return ERROR_FILE_NOT_FOUND;
    struct stat info;
    if (::stat(folder.c_str(), &info) != 0)
        return ERROR_FILE_NOT_FOUND;
    ACL* acl = static_cast<ACL*>(std::malloc(sizeof(ACL)));
    if (!acl)
        return ERROR_NOT_ENOUGH_MEMORY;
    acl->m_dwMode = info.st_mode & 07777;
    acl->m_dwInherit = 0;
    *descriptor = acl; // the descriptor is the DACL itself; LocalFree releases it
    if (dacl)
        *dacl = acl;
    if (owner)
        *owner = nullptr;
    if (group)
        *group = nullptr;
    if (sacl)
        *sacl = nullptr;
    return ERROR_SUCCESS;
}

DWORD SetNamedSecurityInfoA(LPSTR objectName, SE_OBJECT_TYPE objectType, SECURITY_INFORMATION, PSID,
                            PSID, PACL dacl, PACL)
{
    if (objectType != SE_REGISTRY_KEY || !dacl)
        return ERROR_INVALID_PARAMETER;
    std::string folder;
    if (!ObjectFolder(objectName, folder))
        return ERROR_FILE_NOT_FOUND;
    return ChangeMode(folder, dacl->m_dwMode, dacl->m_dwInherit != 0);
}

BOOL AllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, BYTE count, DWORD sub0, DWORD,
                              DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, PSID* sid)
{
    if (!authority || !sid || count != 1 ||
        std::memcmp(authority->Value, k_oWorldAuthority.Value, sizeof authority->Value) != 0 ||
        sub0 != SECURITY_WORLD_RID)
    {
        ::SetLastError(ERROR_NOT_SUPPORTED);
        return FALSE;
    }
    DWORD* everyone = static_cast<DWORD*>(std::malloc(sizeof(DWORD)));
    if (!everyone)
    {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
    }
    *everyone = k_dwEveryone;
    *sid = everyone;
    return TRUE;
}

PVOID FreeSid(PSID sid)
{
    std::free(sid);
    return nullptr;
}

DWORD SetEntriesInAclA(ULONG count, PEXPLICIT_ACCESS_A entries, PACL oldAcl, PACL* newAcl)
{
    if (!newAcl || (count && !entries))
        return ERROR_INVALID_PARAMETER;
    ACL* acl = static_cast<ACL*>(std::malloc(sizeof(ACL)));
    if (!acl)
        return ERROR_NOT_ENOUGH_MEMORY;
    *acl = oldAcl ? *oldAcl : ACL{0700, 0};
    for (ULONG i = 0; i < count; ++i)
    {
        const EXPLICIT_ACCESS_A& entry = entries[i];
        const PSID trustee = reinterpret_cast<PSID>(entry.Trustee.ptstrName);
        if (entry.Trustee.TrusteeForm != TRUSTEE_IS_SID || !trustee ||
            *static_cast<const DWORD*>(trustee) != k_dwEveryone)
        {
            std::free(acl);
            return ERROR_NOT_SUPPORTED;
        }
        const DWORD bits = (entry.grfAccessPermissions & GENERIC_ALL) ? 0777 : 0;
        if (entry.grfAccessMode == SET_ACCESS || entry.grfAccessMode == GRANT_ACCESS)
            acl->m_dwMode |= bits;
        else if (entry.grfAccessMode == DENY_ACCESS || entry.grfAccessMode == REVOKE_ACCESS)
            acl->m_dwMode &= ~(bits & 0007);
        acl->m_dwInherit = entry.grfInheritance != NO_INHERITANCE;
    }
    *newAcl = acl;
    return ERROR_SUCCESS;
}

} // namespace Platform
} // namespace CppUtil
