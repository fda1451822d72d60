#include "CString.h"

#include "PrintfDialect.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <ostream>

namespace
{

// Result goes into a fresh string so arguments pointing into the target string stay valid
// while formatting.
std::string FormatToString(const char* fmt, va_list args)
{
    if (!fmt)
        return {};
    std::string rewritten;
    if (const char* standard = CppUtil::Platform::WithStandardSizes(fmt, rewritten))
        fmt = standard;
    std::string octal;
    if (const char* windows = CppUtil::Platform::WithWindowsOctalZero(fmt, args, octal))
        fmt = windows;

    // Most results fit on the stack, which saves the second formatting pass.
    char stackBuf[256];
    va_list probe;
    va_copy(probe, args);
    const int needed = std::vsnprintf(stackBuf, sizeof stackBuf, fmt, probe);
    va_end(probe);
    if (needed <= 0)
        return {};
    if (static_cast<size_t>(needed) < sizeof stackBuf)
        return std::string(stackBuf, static_cast<size_t>(needed));

    std::string out(static_cast<size_t>(needed), '\0');
    // The terminator lands on out's own trailing NUL.
    std::vsnprintf(&out[0], out.size() + 1, fmt, args);
    return out;
}

size_t ClampIndex(int index, size_t size)
{
    if (index <= 0)
        return 0;
    return std::min(static_cast<size_t>(index), size);
}

int ToIndex(size_t pos)
{
    return pos == std::string::npos ? -1 : static_cast<int>(pos);
}

bool IsSpace(char ch)
{
    return std::isspace(static_cast<unsigned char>(ch)) != 0;
}

} // namespace

void CString::Format(const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    FormatV(fmt, args);
    va_end(args);
}

void CString::AppendFormat(const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    AppendFormatV(fmt, args);
    va_end(args);
}

void CString::FormatV(const char* fmt, va_list args)
{
    m_sText = FormatToString(fmt, args);
}

void CString::AppendFormatV(const char* fmt, va_list args)
{
    m_sText += FormatToString(fmt, args);
}

CString CString::Left(int count) const
{
    return CString(m_sText.substr(0, ClampIndex(count, m_sText.size())));
}

CString CString::Mid(int first) const
{
    const size_t pos = ClampIndex(first, m_sText.size());
    return CString(m_sText.substr(pos));
}

CString CString::Mid(int first, int count) const
{
    const size_t pos = ClampIndex(first, m_sText.size());
    const size_t len = ClampIndex(count, m_sText.size() - pos);
    return CString(m_sText.substr(pos, len));
}

CString CString::Right(int count) const
{
    const size_t len = ClampIndex(count, m_sText.size());
    return CString(m_sText.substr(m_sText.size() - len));
}

int CString::Find(char ch, int start) const
{
    // Unlike the other methods, ATL rejects a bad start here instead of clamping it.
    if (start < 0 || start >= GetLength())
        return -1;
    return ToIndex(m_sText.find(ch, static_cast<size_t>(start)));
}

int CString::Find(const char* sub, int start) const
{
    if (!sub || start < 0 || start > GetLength())
        return -1;
    return ToIndex(m_sText.find(sub, static_cast<size_t>(start)));
}

int CString::ReverseFind(char ch) const
{
    return ToIndex(m_sText.rfind(ch));
}

int CString::FindOneOf(const char* set) const
{
    if (!set)
        return -1;
    return ToIndex(m_sText.find_first_of(set));
}

int CString::Replace(char oldCh, char newCh)
{
    if (oldCh == newCh)
        return 0;
    int count = 0;
    for (char& ch : m_sText)
    {
        if (ch == oldCh)
        {
            ch = newCh;
            ++count;
        }
    }
    return count;
}

int CString::Replace(const char* oldSub, const char* newSub)
{
    if (!oldSub || !*oldSub)
        return 0;
    // Built out of place, so either argument may point into this string.
    const std::string from(oldSub);
    const std::string to(newSub ? newSub : "");

    std::string out;
    int count = 0;
    size_t last = 0;
    for (size_t pos = m_sText.find(from); pos != std::string::npos; pos = m_sText.find(from, last))
    {
        out.append(m_sText, last, pos - last);
        out += to;
        last = pos + from.size();
        ++count;
    }
    if (count > 0)
    {
        out.append(m_sText, last, std::string::npos);
        m_sText = std::move(out);
    }
    return count;
}

int CString::Remove(char ch)
{
    const auto newEnd = std::remove(m_sText.begin(), m_sText.end(), ch);
    const int count = static_cast<int>(m_sText.end() - newEnd);
    m_sText.erase(newEnd, m_sText.end());
    return count;
}

int CString::Insert(int index, char ch)
{
    m_sText.insert(ClampIndex(index, m_sText.size()), 1, ch);
    return GetLength();
}

int CString::Insert(int index, const char* psz)
{
    if (psz)
        m_sText.insert(ClampIndex(index, m_sText.size()), psz);
    return GetLength();
}

int CString::Delete(int index, int count)
{
    const size_t pos = ClampIndex(index, m_sText.size());
    const size_t len = ClampIndex(count, m_sText.size() - pos);
    m_sText.erase(pos, len);
    return GetLength();
}

CString& CString::MakeLower()
{
    for (char& ch : m_sText)
        ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    return *this;
}

CString& CString::MakeUpper()
{
    for (char& ch : m_sText)
        ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    return *this;
}

CString& CString::MakeReverse()
{
    std::reverse(m_sText.begin(), m_sText.end());
    return *this;
}

CString& CString::TrimLeft()
{
    m_sText.erase(m_sText.begin(), std::find_if_not(m_sText.begin(), m_sText.end(), IsSpace));
    return *this;
}

CString& CString::TrimLeft(char target)
{
    m_sText.erase(0, m_sText.find_first_not_of(target));
    return *this;
}

CString& CString::TrimLeft(const char* targets)
{
    if (targets && *targets)
        m_sText.erase(0, m_sText.find_first_not_of(targets));
    return *this;
}

CString& CString::TrimRight()
{
    m_sText.erase(std::find_if_not(m_sText.rbegin(), m_sText.rend(), IsSpace).base(),
                  m_sText.end());
    return *this;
}

CString& CString::TrimRight(char target)
{
    // npos + 1 wraps to 0, which clears a string made only of targets.
    m_sText.erase(m_sText.find_last_not_of(target) + 1);
    return *this;
}

CString& CString::TrimRight(const char* targets)
{
    if (targets && *targets)
        m_sText.erase(m_sText.find_last_not_of(targets) + 1);
    return *this;
}

CString CString::Tokenize(const char* tokens, int& start) const
{
    if (start >= 0 && start < GetLength())
    {
        const size_t from = static_cast<size_t>(start);
        if (!tokens || !*tokens)
        {
            // ATL leaves start untouched here, which makes a Tokenize loop spin forever.
            start = GetLength();
            return CString(m_sText.substr(from));
        }
        const size_t tokenBegin = m_sText.find_first_not_of(tokens, from);
        if (tokenBegin != std::string::npos)
        {
            size_t tokenEnd = m_sText.find_first_of(tokens, tokenBegin);
            if (tokenEnd == std::string::npos)
                tokenEnd = m_sText.size();
            // Past the delimiter; may land one beyond the end, which the next call rejects.
            start = static_cast<int>(tokenEnd + 1);
            return CString(m_sText.substr(tokenBegin, tokenEnd - tokenBegin));
        }
    }
    start = -1;
    return CString();
}

CString CString::SpanIncluding(const char* set) const
{
    const size_t end = m_sText.find_first_not_of(set ? set : "");
    return CString(m_sText.substr(0, end));
}

CString CString::SpanExcluding(const char* set) const
{
    const size_t end = m_sText.find_first_of(set ? set : "");
    return CString(m_sText.substr(0, end));
}

int CString::Compare(const char* psz) const
{
    return m_sText.compare(psz ? psz : "");
}

int CString::CompareNoCase(const char* psz) const
{
    if (!psz)
        psz = "";
    // Folds to lower case like _stricmp, so punctuation between Z and a sorts before letters.
    for (size_t i = 0;; ++i)
    {
        const bool endA = i == m_sText.size();
        const bool endB = psz[i] == '\0';
        if (endA || endB)
            return endA && endB ? 0 : (endA ? -1 : 1);
        const int a = std::tolower(static_cast<unsigned char>(m_sText[i]));
        const int b = std::tolower(static_cast<unsigned char>(psz[i]));
        if (a != b)
            return a - b;
    }
}

char* CString::GetBuffer(int minLength)
{
    if (minLength > GetLength())
        m_sText.resize(static_cast<size_t>(minLength));
    return &m_sText[0];
}

char* CString::GetBufferSetLength(int length)
{
    m_sText.resize(length > 0 ? static_cast<size_t>(length) : 0);
    return &m_sText[0];
}

void CString::ReleaseBuffer(int newLength)
{
    if (newLength < 0)
    {
        const size_t nul = m_sText.find('\0');
        if (nul != std::string::npos)
            m_sText.resize(nul);
    }
    else if (static_cast<size_t>(newLength) < m_sText.size())
    {
        m_sText.resize(static_cast<size_t>(newLength));
    }
}

std::ostream& operator<<(std::ostream& os, const CString& s)
{
    return os << s.Str();
}
