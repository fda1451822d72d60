/// @file
/// An OLE automation date (days since 1899-12-30, the time of day as the fraction) with MFC's
/// COleDateTime interface, as far as the library uses it.
#pragma once

#include "../../CppUtil.Api.h"
#include "../Types/ApiTypes.h"

#include <cstdint>

class CPPUTIL_API COleDateTime
{
public:
    enum DateTimeStatus
    {
        error = -1,
        valid = 0,
        invalid = 1,
        null = 2
    };

    COleDateTime() : m_dt(0), m_status(valid) {}
    explicit COleDateTime(CppUtil::Platform::DATE dtSrc) : m_dt(dtSrc), m_status(valid) {}

    /// Windows: the system's OLE parser. Elsewhere: the forms the OLE parser accepts in US
    /// English, whatever the locale asked for. A failure leaves the value invalid.
    bool ParseDateTime(CppUtil::Platform::LPCSTR lpszDate, CppUtil::Platform::DWORD dwFlags = 0,
                       CppUtil::Platform::LCID lcid = CppUtil::Platform::k_lcidUserDefault);

    DateTimeStatus GetStatus() const { return m_status; }
    /// Rounded to the second; false for an invalid value or one outside the years 100 to 9999.
    bool GetAsSystemTime(CppUtil::Platform::SYSTEMTIME& sysTime) const;

    CppUtil::Platform::DATE m_dt;
    DateTimeStatus m_status;
};
