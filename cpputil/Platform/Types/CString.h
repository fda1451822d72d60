/// @file
/// Narrow 8-bit string with the interface of ATL's CStringT<char>, so code written against MFC/ATL
/// strings builds unchanged on every backend.
#pragma once

#include "../../CppUtil.Api.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio> // brings in __MINGW_PRINTF_FORMAT on MinGW
#include <functional>
#include <iosfwd>
#include <string>
#include <utility>

/// The printf archetype must match the runtime vsnprintf actually used, or %lld/%zu checks lie.
/// Elsewhere than on MinGW the compiler knows only the C library's printf, which rejects the
/// Microsoft size prefixes (%I64d) that Format reads there too: no check is declared.
#if defined(__GNUC__) && defined(__MINGW_PRINTF_FORMAT)
#define CPPUTIL_CSTRING_PRINTF(fmtIndex, firstArg)                                                 \
    __attribute__((format(__MINGW_PRINTF_FORMAT, fmtIndex, firstArg)))
#else
#define CPPUTIL_CSTRING_PRINTF(fmtIndex, firstArg)
#endif

#if defined(_MSC_VER)
/// The std::string member is private; clients never touch it across the DLL boundary.
#pragma warning(push)
#pragma warning(disable : 4251)
#endif

/// Indexes are int and "not found" is -1, as in ATL. Out-of-range arguments are clamped instead of
/// asserting, so a stray index degrades to an empty or shortened result rather than a crash.
class CPPUTIL_API CString
{
public:
    CString() = default;
    CString(const char* psz) : m_sText(psz ? psz : "") {}
    CString(const char* pch, int length)
        : m_sText(pch && length > 0 ? std::string(pch, static_cast<size_t>(length)) : std::string())
    {
    }
    explicit CString(char ch, int repeat = 1)
        : m_sText(repeat > 0 ? static_cast<size_t>(repeat) : 0, ch)
    {
    }
    CString(const std::string& s) : m_sText(s) {}
    CString(std::string&& s) noexcept : m_sText(std::move(s)) {}
    CString(const CString&) = default;
    CString(CString&&) noexcept = default;
    ~CString() = default;

    CString& operator=(const CString&) = default;
    CString& operator=(CString&&) noexcept = default;
    CString& operator=(const char* psz)
    {
        m_sText.assign(psz ? psz : "");
        return *this;
    }
    CString& operator=(char ch)
    {
        m_sText.assign(1, ch);
        return *this;
    }
    CString& operator=(const std::string& s)
    {
        m_sText = s;
        return *this;
    }
    CString& operator=(std::string&& s) noexcept
    {
        m_sText = std::move(s);
        return *this;
    }

    /// Replaces the text with length characters from pch, reusing the storage when it is large
    /// enough.
    void SetString(const char* pch, int length)
    {
        if (pch && length > 0)
            m_sText.assign(pch, static_cast<size_t>(length));
        else
            m_sText.clear();
    }

    int GetLength() const { return static_cast<int>(m_sText.size()); }
    bool IsEmpty() const { return m_sText.empty(); }
    void Empty() { m_sText.clear(); }
    const char* GetString() const { return m_sText.c_str(); }
    operator const char*() const { return m_sText.c_str(); }
    const std::string& Str() const { return m_sText; }

    /// Index == length yields the terminator, as in ATL; anything further out yields '\0' too.
    char GetAt(int index) const
    {
        return IsValidIndex(index) ? m_sText[static_cast<size_t>(index)] : '\0';
    }
    char operator[](int index) const { return GetAt(index); }
    /// Out-of-range writes are ignored.
    void SetAt(int index, char ch)
    {
        if (index >= 0 && index < GetLength())
            m_sText[static_cast<size_t>(index)] = ch;
    }

    void Format(const char* fmt, ...) CPPUTIL_CSTRING_PRINTF(2, 3);
    void AppendFormat(const char* fmt, ...) CPPUTIL_CSTRING_PRINTF(2, 3);
    void FormatV(const char* fmt, va_list args);
    void AppendFormatV(const char* fmt, va_list args);

    CString Left(int count) const;
    CString Mid(int first) const;
    CString Mid(int first, int count) const;
    CString Right(int count) const;

    int Find(char ch, int start = 0) const;
    int Find(const char* sub, int start = 0) const;
    int ReverseFind(char ch) const;
    int FindOneOf(const char* set) const;

    int Replace(char oldCh, char newCh);
    int Replace(const char* oldSub, const char* newSub);
    int Remove(char ch);
    int Insert(int index, char ch);
    int Insert(int index, const char* psz);
    int Delete(int index, int count = 1);

    CString& MakeLower();
    CString& MakeUpper();
    CString& MakeReverse();

    CString& Trim() { return TrimRight().TrimLeft(); }
    CString& Trim(char target) { return TrimRight(target).TrimLeft(target); }
    CString& Trim(const char* targets) { return TrimRight(targets).TrimLeft(targets); }
    CString& TrimLeft();
    CString& TrimLeft(char target);
    CString& TrimLeft(const char* targets);
    CString& TrimRight();
    CString& TrimRight(char target);
    CString& TrimRight(const char* targets);

    CString Tokenize(const char* tokens, int& start) const;
    CString SpanIncluding(const char* set) const;
    CString SpanExcluding(const char* set) const;

    int Compare(const char* psz) const;
    int CompareNoCase(const char* psz) const;

    /// The buffer is sized up front so writes up to minLength characters (plus a terminator) stay
    /// inside the string; GetLength() reflects that size until ReleaseBuffer().
    char* GetBuffer(int minLength);
    char* GetBufferSetLength(int length);
    void ReleaseBuffer(int newLength = -1);

    CString& operator+=(const CString& s)
    {
        m_sText += s.m_sText;
        return *this;
    }
    CString& operator+=(const char* psz)
    {
        if (psz)
            m_sText += psz;
        return *this;
    }
    CString& operator+=(char ch)
    {
        m_sText += ch;
        return *this;
    }

private:
    bool IsValidIndex(int index) const
    {
        return index >= 0 && static_cast<size_t>(index) <= m_sText.size();
    }

    std::string m_sText;
};

#if defined(_MSC_VER)
#pragma warning(pop)
#endif

inline CString operator+(const CString& a, const CString& b)
{
    CString r(a);
    r += b;
    return r;
}
inline CString operator+(const CString& a, const char* b)
{
    CString r(a);
    r += b;
    return r;
}
inline CString operator+(const char* a, const CString& b)
{
    CString r(a);
    r += b;
    return r;
}
inline CString operator+(const CString& a, char b)
{
    CString r(a);
    r += b;
    return r;
}
inline CString operator+(char a, const CString& b)
{
    CString r(a);
    r += b;
    return r;
}

inline bool operator==(const CString& a, const CString& b)
{
    return a.Str() == b.Str();
}
inline bool operator!=(const CString& a, const CString& b)
{
    return a.Str() != b.Str();
}
inline bool operator<(const CString& a, const CString& b)
{
    return a.Str() < b.Str();
}
inline bool operator>(const CString& a, const CString& b)
{
    return a.Str() > b.Str();
}
inline bool operator<=(const CString& a, const CString& b)
{
    return a.Str() <= b.Str();
}
inline bool operator>=(const CString& a, const CString& b)
{
    return a.Str() >= b.Str();
}

inline bool operator==(const CString& a, const char* b)
{
    return a.Compare(b) == 0;
}
inline bool operator!=(const CString& a, const char* b)
{
    return a.Compare(b) != 0;
}
inline bool operator<(const CString& a, const char* b)
{
    return a.Compare(b) < 0;
}
inline bool operator>(const CString& a, const char* b)
{
    return a.Compare(b) > 0;
}
inline bool operator<=(const CString& a, const char* b)
{
    return a.Compare(b) <= 0;
}
inline bool operator>=(const CString& a, const char* b)
{
    return a.Compare(b) >= 0;
}

inline bool operator==(const char* a, const CString& b)
{
    return b.Compare(a) == 0;
}
inline bool operator!=(const char* a, const CString& b)
{
    return b.Compare(a) != 0;
}
inline bool operator<(const char* a, const CString& b)
{
    return b.Compare(a) > 0;
}
inline bool operator>(const char* a, const CString& b)
{
    return b.Compare(a) < 0;
}
inline bool operator<=(const char* a, const CString& b)
{
    return b.Compare(a) >= 0;
}
inline bool operator>=(const char* a, const CString& b)
{
    return b.Compare(a) <= 0;
}

CPPUTIL_API std::ostream& operator<<(std::ostream& os, const CString& s);

namespace std
{
template <>
struct hash<CString>
{
    size_t operator()(const CString& s) const noexcept { return hash<std::string>{}(s.Str()); }
};
} // namespace std
