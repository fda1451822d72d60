#include "CTime.h"

#include "CivilTime.h"
#include "LocalTime.h"

#include <chrono>

namespace
{

// As ATL's maxTimeBufferSize.
const size_t k_uMaxTimeBufferSize = 128;

CString FormatFields(const char* pFormat, const std::tm& fields)
{
    char buffer[k_uMaxTimeBufferSize];
    const size_t length =
        CppUtil::Platform::FormatCivil(buffer, sizeof buffer, pFormat ? pFormat : "", fields);
    return CString(buffer, static_cast<int>(length));
}

} // namespace

CTime CTime::GetCurrentTime()
{
    // The fine system clock, as the stamps' milliseconds are read from: std::time may read a
    // coarse clock that lags it by a tick across a second's boundary.
    return CTime(static_cast<__int64>(std::chrono::duration_cast<std::chrono::seconds>(
                                          std::chrono::system_clock::now().time_since_epoch())
                                          .count()));
}

CTime::CTime(int nYear, int nMonth, int nDay, int nHour, int nMin, int nSec, int nDST) : m_time(-1)
{
    std::tm fields = std::tm();
    if (nMonth >= 1 && nMonth <= 12 && nDay >= 1 && nDay <= 28 && nHour >= 0 && nHour <= 23 &&
        nMin >= 0 && nMin <= 59 && nSec >= 0 && nSec <= 59)
    {
        fields.tm_year = nYear - 1900;
        fields.tm_mon = nMonth - 1;
        fields.tm_mday = nDay;
        fields.tm_hour = nHour;
        fields.tm_min = nMin;
        fields.tm_sec = nSec;
    }
    else
    {
        // Normalised here, so both backends carry over out-of-range fields alike.
        CppUtil::Platform::CivilFromSeconds(
            CppUtil::Platform::SecondsFromCivil(nYear, nMonth, nDay, nHour, nMin, nSec), fields);
    }
    __int64 time;
    if (CppUtil::Platform::LocalFieldsToTime(fields, nDST, time))
        m_time = time;
}

CTime::CTime(const SYSTEMTIME& st, int nDST)
    : CTime(st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond, nDST)
{
}

std::tm* CTime::GetGmtTm(std::tm* ptm) const
{
    CppUtil::Platform::CivilFromSeconds(m_time, *ptm);
    return ptm;
}

std::tm* CTime::GetLocalTm(std::tm* ptm) const
{
    return CppUtil::Platform::TimeToLocalFields(m_time, *ptm) ? ptm : nullptr;
}

int CTime::LocalField(int std::tm::*field) const
{
    std::tm fields;
    return GetLocalTm(&fields) ? fields.*field : -1;
}

int CTime::GetYear() const
{
    const int year = LocalField(&std::tm::tm_year);
    return year == -1 ? -1 : year + 1900;
}

int CTime::GetMonth() const
{
    const int month = LocalField(&std::tm::tm_mon);
    return month == -1 ? -1 : month + 1;
}

int CTime::GetDay() const
{
    return LocalField(&std::tm::tm_mday);
}

int CTime::GetHour() const
{
    return LocalField(&std::tm::tm_hour);
}

int CTime::GetMinute() const
{
    return LocalField(&std::tm::tm_min);
}

int CTime::GetSecond() const
{
    return LocalField(&std::tm::tm_sec);
}

int CTime::GetDayOfWeek() const
{
    const int day = LocalField(&std::tm::tm_wday);
    return day == -1 ? -1 : day + 1;
}

CString CTime::Format(const char* pFormat) const
{
    std::tm fields;
    return GetLocalTm(&fields) ? FormatFields(pFormat, fields) : CString();
}

CString CTime::FormatGmt(const char* pFormat) const
{
    std::tm fields;
    return FormatFields(pFormat, *GetGmtTm(&fields));
}
