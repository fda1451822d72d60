/// @file
/// A signed duration in whole seconds, as ATL's CTimeSpan.
#pragma once

#include "../../CppUtil.Api.h"
#include "../Types/ApiTypes.h"
#include "../Types/CString.h"

#include <cstdint>

class CPPUTIL_API CTimeSpan
{
public:
    CTimeSpan() : m_timeSpan(0) {}
    CTimeSpan(std::int64_t time) : m_timeSpan(time) {}
    CTimeSpan(CppUtil::Platform::LONG lDays, int nHours, int nMins, int nSecs);

    /// The components carry the span's sign: -1:30:00 has GetHours() -1 and GetMinutes() -30.
    CppUtil::Platform::LONGLONG GetDays() const { return m_timeSpan / (24 * 3600); }
    CppUtil::Platform::LONGLONG GetTotalHours() const { return m_timeSpan / 3600; }
    CppUtil::Platform::LONG GetHours() const
    {
        return static_cast<CppUtil::Platform::LONG>(GetTotalHours() - GetDays() * 24);
    }
    CppUtil::Platform::LONGLONG GetTotalMinutes() const { return m_timeSpan / 60; }
    CppUtil::Platform::LONG GetMinutes() const
    {
        return static_cast<CppUtil::Platform::LONG>(GetTotalMinutes() - GetTotalHours() * 60);
    }
    CppUtil::Platform::LONGLONG GetTotalSeconds() const { return m_timeSpan; }
    CppUtil::Platform::LONG GetSeconds() const
    {
        return static_cast<CppUtil::Platform::LONG>(GetTotalSeconds() - GetTotalMinutes() * 60);
    }
    std::int64_t GetTimeSpan() const { return m_timeSpan; }

    /// %D days, %H hours, %M minutes, %S seconds (each component two digits), %% a percent sign.
    CString Format(const char* pFormat) const;

    CTimeSpan operator+(CTimeSpan span) const { return CTimeSpan(m_timeSpan + span.m_timeSpan); }
    CTimeSpan operator-(CTimeSpan span) const { return CTimeSpan(m_timeSpan - span.m_timeSpan); }
    CTimeSpan& operator+=(CTimeSpan span)
    {
        m_timeSpan += span.m_timeSpan;
        return *this;
    }
    CTimeSpan& operator-=(CTimeSpan span)
    {
        m_timeSpan -= span.m_timeSpan;
        return *this;
    }
    bool operator==(CTimeSpan span) const { return m_timeSpan == span.m_timeSpan; }
    bool operator!=(CTimeSpan span) const { return m_timeSpan != span.m_timeSpan; }
    bool operator<(CTimeSpan span) const { return m_timeSpan < span.m_timeSpan; }
    bool operator>(CTimeSpan span) const { return m_timeSpan > span.m_timeSpan; }
    bool operator<=(CTimeSpan span) const { return m_timeSpan <= span.m_timeSpan; }
    bool operator>=(CTimeSpan span) const { return m_timeSpan >= span.m_timeSpan; }

private:
    std::int64_t m_timeSpan;
};
