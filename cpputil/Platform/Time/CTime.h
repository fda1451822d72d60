/// @file
/// A moment as 64-bit seconds since 1970-01-01 00:00 UTC, as ATL's CTime. The field constructors
/// read local clock time; Format shows local clock time and FormatGmt UTC.
#pragma once

#include "../../CppUtil.Api.h"
#include "../Types/ApiTypes.h"
#include "../Types/CString.h"
#include "CTimeSpan.h"

#include <cstdint>
#include <ctime>

class CPPUTIL_API CTime
{
public:
    static CTime GetCurrentTime();

    CTime() : m_time(0) {}
    CTime(std::int64_t time) : m_time(time) {}
    /// Fields out of their range carry over (minute 60 is the next hour). A moment the system
    /// cannot represent gives -1, as mktime does.
    CTime(int nYear, int nMonth, int nDay, int nHour, int nMin, int nSec, int nDST = -1);
    CTime(const CppUtil::Platform::SYSTEMTIME& st, int nDST = -1);

    std::int64_t GetTime() const { return m_time; }
    /// Null when the moment has no calendar fields on this system.
    std::tm* GetGmtTm(std::tm* ptm) const;
    std::tm* GetLocalTm(std::tm* ptm) const;

    /// Local clock fields.
    int GetYear() const;
    int GetMonth() const;
    int GetDay() const;
    int GetHour() const;
    int GetMinute() const;
    int GetSecond() const;
    int GetDayOfWeek() const;

    /// strftime formats; empty when the moment has no calendar fields.
    CString Format(const char* pFormat) const;
    CString FormatGmt(const char* pFormat) const;

    CTimeSpan operator-(CTime time) const { return CTimeSpan(m_time - time.m_time); }
    CTime operator-(CTimeSpan span) const { return CTime(m_time - span.GetTimeSpan()); }
    CTime operator+(CTimeSpan span) const { return CTime(m_time + span.GetTimeSpan()); }
    CTime& operator+=(CTimeSpan span)
    {
        m_time += span.GetTimeSpan();
        return *this;
    }
    CTime& operator-=(CTimeSpan span)
    {
        m_time -= span.GetTimeSpan();
        return *this;
    }
    bool operator==(CTime time) const { return m_time == time.m_time; }
    bool operator!=(CTime time) const { return m_time != time.m_time; }
    bool operator<(CTime time) const { return m_time < time.m_time; }
    bool operator>(CTime time) const { return m_time > time.m_time; }
    bool operator<=(CTime time) const { return m_time <= time.m_time; }
    bool operator>=(CTime time) const { return m_time >= time.m_time; }

private:
    int LocalField(int std::tm::*field) const;

    std::int64_t m_time;
};

namespace ATL
{
using ::CTime;
using ::CTimeSpan;
} // namespace ATL
