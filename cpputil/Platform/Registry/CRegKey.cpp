#include "CRegKey.h"
#include "Registry.h"

#include <cstring>
#include <vector>

namespace CppUtil
{
namespace Platform
{

CRegKey::CRegKey() : m_hKey(nullptr) {}

CRegKey::~CRegKey()
{
    Close();
}

LONG CRegKey::Open(HKEY parent, LPCSTR keyName, REGSAM access)
{
    HKEY key = nullptr;
    const LONG status = ::RegOpenKeyExA(parent, keyName, 0, access, &key);
    if (status == ERROR_SUCCESS)
    {
        Close();
        m_hKey = key;
    }
    return status;
}

LONG CRegKey::Create(HKEY parent, LPCSTR keyName, LPSTR keyClass, DWORD options, REGSAM access,
                     LPSECURITY_ATTRIBUTES attributes, LPDWORD disposition)
{
    HKEY key = nullptr;
    DWORD created = 0;
    const LONG status = ::RegCreateKeyExA(parent, keyName, 0, keyClass, options, access, attributes,
                                          &key, &created);
    if (disposition)
        *disposition = created;
    if (status == ERROR_SUCCESS)
    {
        Close();
        m_hKey = key;
    }
    return status;
}

LONG CRegKey::Close()
{
    LONG status = ERROR_SUCCESS;
    if (m_hKey)
    {
        status = ::RegCloseKey(m_hKey);
        m_hKey = nullptr;
    }
    return status;
}

LONG CRegKey::Flush()
{
    return ::RegFlushKey(m_hKey);
}

LONG CRegKey::QueryDWORDValue(LPCSTR name, DWORD& value) const
{
    DWORD type = 0;
    DWORD size = sizeof(DWORD);
    DWORD data = 0;
    const LONG status =
        ::RegQueryValueExA(m_hKey, name, nullptr, &type, reinterpret_cast<LPBYTE>(&data), &size);
    if (status != ERROR_SUCCESS)
        return status;
    if (type != REG_DWORD || size != sizeof(DWORD))
        return ERROR_INVALID_DATA;
    value = data;
    return ERROR_SUCCESS;
}

LONG CRegKey::QueryQWORDValue(LPCSTR name, ULONGLONG& value) const
{
    DWORD type = 0;
    DWORD size = sizeof(ULONGLONG);
    ULONGLONG data = 0;
    const LONG status =
        ::RegQueryValueExA(m_hKey, name, nullptr, &type, reinterpret_cast<LPBYTE>(&data), &size);
    if (status != ERROR_SUCCESS)
        return status;
    if (type != REG_QWORD || size != sizeof(ULONGLONG))
        return ERROR_INVALID_DATA;
    value = data;
    return ERROR_SUCCESS;
}

LONG CRegKey::QueryBinaryValue(LPCSTR name, void* value, ULONG* size) const
{
    if (!size)
        return ERROR_INVALID_PARAMETER;
    DWORD type = 0;
    DWORD bytes = *size;
    const LONG status =
        ::RegQueryValueExA(m_hKey, name, nullptr, &type, static_cast<LPBYTE>(value), &bytes);
    *size = bytes;
    if (status != ERROR_SUCCESS)
        return status;
    return type == REG_BINARY ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

LONG CRegKey::QueryText(LPCSTR name, DWORD wanted, LPSTR value, ULONG* chars) const
{
    if (!chars)
        return ERROR_INVALID_PARAMETER;
    const ULONG capacity = *chars;
    DWORD type = 0;
    DWORD bytes = capacity;
    const LONG status =
        ::RegQueryValueExA(m_hKey, name, nullptr, &type, reinterpret_cast<LPBYTE>(value), &bytes);
    *chars = bytes;
    if (status != ERROR_SUCCESS)
        return status;
    if (type != wanted && !(wanted == REG_SZ && type == REG_EXPAND_SZ))
        return ERROR_INVALID_DATA;
    if (wanted == REG_SZ)
    {
        // A text stored without its NUL is refused, as ATL refuses it.
        if (value && bytes != 0 && value[bytes - 1] != '\0')
            return ERROR_INVALID_DATA;
        if (value && bytes == 0)
            value[0] = '\0';
        return ERROR_SUCCESS;
    }
    // A list stored without its last NUL gets one: the room for it is counted in.
    *chars = bytes + 1;
    if (!value)
        return ERROR_SUCCESS;
    if (bytes != 0 && value[bytes - 1] == '\0')
    {
        *chars = bytes;
        return ERROR_SUCCESS;
    }
    if (bytes + 1 > capacity)
        return ERROR_MORE_DATA;
    value[bytes] = '\0';
    return ERROR_SUCCESS;
}

LONG CRegKey::QueryStringValue(LPCSTR name, LPSTR value, ULONG* chars) const
{
    return QueryText(name, REG_SZ, value, chars);
}

LONG CRegKey::QueryMultiStringValue(LPCSTR name, LPSTR value, ULONG* chars) const
{
    return QueryText(name, REG_MULTI_SZ, value, chars);
}

LONG CRegKey::SetDWORDValue(LPCSTR name, DWORD value)
{
    return ::RegSetValueExA(m_hKey, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                            sizeof value);
}

LONG CRegKey::SetQWORDValue(LPCSTR name, ULONGLONG value)
{
    return ::RegSetValueExA(m_hKey, name, 0, REG_QWORD, reinterpret_cast<const BYTE*>(&value),
                            sizeof value);
}

LONG CRegKey::SetBinaryValue(LPCSTR name, const void* value, ULONG size)
{
    return ::RegSetValueExA(m_hKey, name, 0, REG_BINARY, static_cast<const BYTE*>(value), size);
}

LONG CRegKey::SetStringValue(LPCSTR name, LPCSTR value)
{
    if (!value)
        return ERROR_INVALID_DATA;
    return ::RegSetValueExA(m_hKey, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value),
                            static_cast<DWORD>(std::strlen(value) + 1));
}

LONG CRegKey::SetMultiStringValue(LPCSTR name, LPCSTR value)
{
    if (!value)
        return ERROR_INVALID_DATA;
    const char* end = value;
    while (*end)
        end += std::strlen(end) + 1;
    return ::RegSetValueExA(m_hKey, name, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(value),
                            static_cast<DWORD>(end - value + 1));
}

} // namespace Platform
} // namespace CppUtil
