/// @file
/// A registry key handle with the operations of ATL's CRegKey that the settings store uses; the
/// key is closed on destruction. Status codes are the registry calls' own.
#pragma once

#include "../../CppUtil.Api.h"
#include "../Types/ApiTypes.h"

namespace CppUtil
{
namespace Platform
{

class CPPUTIL_API CRegKey
{
public:
    CRegKey();
    ~CRegKey();
    CRegKey(const CRegKey&) = delete;
    CRegKey& operator=(const CRegKey&) = delete;

    LONG Open(HKEY parent, LPCSTR keyName, REGSAM access);
    LONG Create(HKEY parent, LPCSTR keyName, LPSTR keyClass, DWORD options, REGSAM access,
                LPSECURITY_ATTRIBUTES attributes, LPDWORD disposition);
    LONG Close();
    /// Writes the key's changes through to the disk (RegFlushKey).
    LONG Flush();
    HKEY GetHandle() const { return m_hKey; }
    operator HKEY() const { return m_hKey; }

    /// Each fails with ERROR_INVALID_DATA when the value has another type or size.
    LONG QueryDWORDValue(LPCSTR name, DWORD& value) const;
    LONG QueryQWORDValue(LPCSTR name, ULONGLONG& value) const;
    /// size: the buffer's size in bytes, set to the value's size.
    LONG QueryBinaryValue(LPCSTR name, void* value, ULONG* size) const;
    /// chars: the buffer's size in characters, set to what the text needs (with its NUL). A
    /// REG_SZ stored without its NUL gives ERROR_INVALID_DATA.
    LONG QueryStringValue(LPCSTR name, LPSTR value, ULONG* chars) const;
    LONG QueryMultiStringValue(LPCSTR name, LPSTR value, ULONG* chars) const;

    LONG SetDWORDValue(LPCSTR name, DWORD value);
    LONG SetQWORDValue(LPCSTR name, ULONGLONG value);
    LONG SetBinaryValue(LPCSTR name, const void* value, ULONG size);
    LONG SetStringValue(LPCSTR name, LPCSTR value);
    /// value: NUL-separated texts ending with an empty one.
    LONG SetMultiStringValue(LPCSTR name, LPCSTR value);

private:
    LONG QueryText(LPCSTR name, DWORD type, LPSTR value, ULONG* chars) const;

    HKEY m_hKey;
};

} // namespace Platform
} // namespace CppUtil
