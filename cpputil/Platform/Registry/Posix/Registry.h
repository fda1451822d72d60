// Registry and security calls for POSIX systems, with the names, values and behaviour of
// windows.h and aclapi.h, over the file registry (FileRegistry.h). Only what the library and its
// tools use is provided.
#pragma once

#include "../../Kernel/Posix/WinSync.h"
#include "../../Types/Posix/WinTypes.h"

#define DELETE 0x00010000L
#define READ_CONTROL 0x00020000L
#define WRITE_DAC 0x00040000L
#define WRITE_OWNER 0x00080000L
#define KEY_QUERY_VALUE 0x0001
#define KEY_SET_VALUE 0x0002
#define KEY_CREATE_SUB_KEY 0x0004
#define KEY_ENUMERATE_SUB_KEYS 0x0008
#define KEY_NOTIFY 0x0010
#define KEY_CREATE_LINK 0x0020
#define KEY_READ 0x20019
#define KEY_WRITE 0x20006
#define KEY_ALL_ACCESS 0xF003F

#define REG_NONE 0
#define REG_SZ 1
#define REG_EXPAND_SZ 2
#define REG_BINARY 3
#define REG_DWORD 4
#define REG_MULTI_SZ 7
#define REG_QWORD 11

#define REG_OPTION_NON_VOLATILE 0x00000000L
#define REG_CREATED_NEW_KEY 0x00000001L
#define REG_OPENED_EXISTING_KEY 0x00000002L

namespace CppUtil
{
namespace Platform
{

typedef HKEY* PHKEY;
typedef BYTE* LPBYTE;
typedef LONG LSTATUS;

struct FILETIME
{
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};
typedef FILETIME* PFILETIME;

// A key below a predefined key or an open one; names match without regard to case. Opening for
// any kind of writing needs write permission on the key's folder (ERROR_ACCESS_DENIED).
LSTATUS RegOpenKeyExA(HKEY key, LPCSTR subKey, DWORD options, REGSAM access, PHKEY result);
LSTATUS RegCreateKeyExA(HKEY key, LPCSTR subKey, DWORD reserved, LPSTR keyClass, DWORD options,
                        REGSAM access, const SECURITY_ATTRIBUTES* attributes, PHKEY result,
                        LPDWORD disposition);
LSTATUS RegCloseKey(HKEY key);
LSTATUS RegQueryValueExA(HKEY key, LPCSTR valueName, LPDWORD reserved, LPDWORD type, LPBYTE data,
                         LPDWORD size);
LSTATUS RegSetValueExA(HKEY key, LPCSTR valueName, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD size);
LSTATUS RegDeleteValueA(HKEY key, LPCSTR valueName);
// A write is seen by every process once its call returns and survives the crash of the process
// that made it; it survives a crash of the system once the process that made it has called
// RegFlushKey on any key of the same hive, or on the hive, and the call has returned.
LSTATUS RegFlushKey(HKEY key);
// Sub-keys in the order of their names, letter case ignored.
LSTATUS RegEnumKeyExA(HKEY key, DWORD index, LPSTR name, LPDWORD nameLength, LPDWORD reserved,
                      LPSTR keyClass, LPDWORD classLength, PFILETIME lastWriteTime);

// Security: a key's access is its folder's permission bits. The only grant that changes anything
// is one for Everyone, which opens the key to all users; GENERIC_ALL gives read and write.
typedef void* PSID;
struct ACL
{
    DWORD m_dwMode;    // the permission bits the key gets
    DWORD m_dwInherit; // whether sub-keys get them too
};
typedef ACL* PACL;
typedef void* PSECURITY_DESCRIPTOR;
typedef DWORD SECURITY_INFORMATION;
typedef DWORD ACCESS_MASK;

enum SE_OBJECT_TYPE
{
    SE_UNKNOWN_OBJECT_TYPE = 0,
    SE_FILE_OBJECT,
    SE_SERVICE,
    SE_PRINTER,
    SE_REGISTRY_KEY
};
enum ACCESS_MODE
{
    NOT_USED_ACCESS = 0,
    GRANT_ACCESS,
    SET_ACCESS,
    DENY_ACCESS,
    REVOKE_ACCESS
};
enum MULTIPLE_TRUSTEE_OPERATION
{
    NO_MULTIPLE_TRUSTEE,
    TRUSTEE_IS_IMPERSONATE
};
enum TRUSTEE_FORM
{
    TRUSTEE_IS_SID,
    TRUSTEE_IS_NAME
};
enum TRUSTEE_TYPE
{
    TRUSTEE_IS_UNKNOWN,
    TRUSTEE_IS_USER,
    TRUSTEE_IS_GROUP,
    TRUSTEE_IS_DOMAIN,
    TRUSTEE_IS_ALIAS,
    TRUSTEE_IS_WELL_KNOWN_GROUP
};

#define DACL_SECURITY_INFORMATION 0x00000004L
#define GENERIC_ALL 0x10000000L
#define NO_INHERITANCE 0x0
#define SUB_CONTAINERS_AND_OBJECTS_INHERIT 0x3
#define SECURITY_WORLD_RID 0x00000000L

struct SID_IDENTIFIER_AUTHORITY
{
    BYTE Value[6];
};
typedef SID_IDENTIFIER_AUTHORITY* PSID_IDENTIFIER_AUTHORITY;
#define SECURITY_WORLD_SID_AUTHORITY                                                               \
    {                                                                                              \
        0, 0, 0, 0, 0, 1                                                                           \
    }

struct TRUSTEE_A
{
    TRUSTEE_A* pMultipleTrustee;
    MULTIPLE_TRUSTEE_OPERATION MultipleTrusteeOperation;
    TRUSTEE_FORM TrusteeForm;
    TRUSTEE_TYPE TrusteeType;
    LPSTR ptstrName;
};
struct EXPLICIT_ACCESS_A
{
    DWORD grfAccessPermissions;
    ACCESS_MODE grfAccessMode;
    DWORD grfInheritance;
    TRUSTEE_A Trustee;
};
typedef EXPLICIT_ACCESS_A* PEXPLICIT_ACCESS_A;

// Object names are "MACHINE\..." or "CURRENT_USER\...".
DWORD GetNamedSecurityInfoA(LPCSTR objectName, SE_OBJECT_TYPE objectType,
                            SECURITY_INFORMATION information, PSID* owner, PSID* group, PACL* dacl,
                            PACL* sacl, PSECURITY_DESCRIPTOR* descriptor);
DWORD SetNamedSecurityInfoA(LPSTR objectName, SE_OBJECT_TYPE objectType,
                            SECURITY_INFORMATION information, PSID owner, PSID group, PACL dacl,
                            PACL sacl);
BOOL AllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, BYTE count, DWORD sub0,
                              DWORD sub1, DWORD sub2, DWORD sub3, DWORD sub4, DWORD sub5,
                              DWORD sub6, DWORD sub7, PSID* sid);
PVOID FreeSid(PSID sid);
DWORD SetEntriesInAclA(ULONG count, PEXPLICIT_ACCESS_A entries, PACL oldAcl, PACL* newAcl);

} // namespace Platform
} // namespace CppUtil
