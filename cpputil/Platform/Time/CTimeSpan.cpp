#include "CTimeSpan.h"
#include "../Types/WinTypes.h"

CTimeSpan::CTimeSpan(LONG lDays, int nHours, int nMins, int nSecs)
    : m_timeSpan(static_cast<__int64>(lDays) * 86400 + static_cast<__int64>(nHours) * 3600 +
                 static_cast<__int64>(nMins) * 60 + nSecs)
{
}

CString CTimeSpan::Format(const char* pFormat) const
{
    CString result;
    for (const char* p = pFormat; p && *p; ++p)
    {
        if (*p != '%' || p[1] == '\0')
        {
            result += *p;
            continue;
        }
        switch (*++p)
        {
        case 'D':
            result.AppendFormat("%lld", static_cast<long long>(GetDays()));
            break;
        case 'H':
            result.AppendFormat("%02ld", static_cast<long>(GetHours()));
            break;
        case 'M':
            result.AppendFormat("%02ld", static_cast<long>(GetMinutes()));
            break;
        case 'S':
            result.AppendFormat("%02ld", static_cast<long>(GetSeconds()));
            break;
        default:
            result += *p;
            break;
        }
    }
    return result;
}
