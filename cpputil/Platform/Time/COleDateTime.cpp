#include "COleDateTime.h"

#include "CivilTime.h"
#include "OleDateParser.h"

#include <cmath>

namespace
{

// The range of an OLE date: 100-01-01 00:00:00 up to, not including, 10000-01-01.
// 100-01-01 is day -657434, whose fraction counts forward: every value above -657435 is on it.
const DATE k_dMinDate = -657435.0;
const DATE k_dMaxDate = 2958466.0;

} // namespace

bool COleDateTime::ParseDateTime(LPCSTR lpszDate, DWORD dwFlags, LCID lcid)
{
    DATE date = 0;
    if (lpszDate && CppUtil::Platform::ParseOleDate(lpszDate, dwFlags, lcid, date))
    {
        m_dt = date;
        m_status = valid;
        return true;
    }
    m_dt = 0;
    m_status = invalid;
    return false;
}

bool COleDateTime::GetAsSystemTime(SYSTEMTIME& sysTime) const
{
    if (m_status != valid || !(m_dt > k_dMinDate && m_dt < k_dMaxDate))
        return false;
    // Before 1899-12-30 the whole part counts days back but the fraction still counts forward.
    const double day = std::trunc(m_dt);
    const std::int64_t seconds =
        static_cast<std::int64_t>(day) * 86400 + std::llround(std::fabs(m_dt - day) * 86400.0);
    std::tm fields;
    CppUtil::Platform::CivilFromSeconds(
        CppUtil::Platform::SecondsFromCivil(1899, 12, 30, 0, 0, 0) + seconds, fields);
    CppUtil::Platform::SystemTimeFromFields(fields, 0, sysTime);
    return true;
}
