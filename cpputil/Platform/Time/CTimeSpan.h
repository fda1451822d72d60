/// @file
/// A signed duration in whole seconds, as ATL's CTimeSpan.
#pragma once

#include "../../CppUtil.Api.h"
#include "../Types/CString.h"
#include "../Types/WinTypes.h"

class CPPUTIL_API CTimeSpan
{
public:
    CTimeSpan() : m_timeSpan(0) {}
    CTimeSpan(__int64 time) : m_timeSpan(time) {}
    CTimeSpan(LONG lDays, int nHours, int nMins, int nSecs);

    /// The components carry the span's sign: -1:30:00 has GetHours() -1 and GetMinutes() -30.
    LONGLONG GetDays() const { return m_timeSpan / (24 * 3600); }
    LONGLONG GetTotalHours() const { return m_timeSpan / 3600; }
    LONG GetHours() const { return static_cast<LONG>(GetTotalHours() - GetDays() * 24); }
    LONGLONG GetTotalMinutes() const { return m_timeSpan / 60; }
    LONG GetMinutes() const { return static_cast<LONG>(GetTotalMinutes() - GetTotalHours() * 60); }
    LONGLONG GetTotalSeconds() const { return m_timeSpan; }
    LONG GetSeconds() const
    {
        return static_cast<LONG>(GetTotalSeconds() - GetTotalMinutes() * 60);
    }
    __int64 GetTimeSpan() const { return m_timeSpan; }

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
    __int64 m_timeSpan;
};
