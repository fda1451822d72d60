#include "CppUtil.DateTime.h"

#include "Platform/COleDateTime.h"

#include <boost/spirit/include/classic_actor.hpp>
#include <boost/spirit/include/classic_chset.hpp>
#include <boost/spirit/include/classic_core.hpp>
#include <cstdlib>

#define CPPUTIL_DATE_FORMAT "%Y-%m-%d"
#define CPPUTIL_TIME_FORMAT "%H:%M:%S"

namespace CppUtil
{

const int CDateTime::k_iDateTimeLength = 25;
const char* const CDateTime::k_sDateFormat = CPPUTIL_DATE_FORMAT;
const char* const CDateTime::k_sTimeFormat = CPPUTIL_TIME_FORMAT;
const char* const CDateTime::k_sFormat = CPPUTIL_DATE_FORMAT " " CPPUTIL_TIME_FORMAT;
const char* const CDateTime::k_sZuluSuffix = "Z";

CDateTime::CDateTime() : m_usMilliseconds(0), m_bHasMilliseconds(false) {}

CDateTime::CDateTime(const ATL::CTime& time)
    : m_oTime(time), m_usMilliseconds(0), m_bHasMilliseconds(false)
{
}

CDateTime::CDateTime(const SYSTEMTIME& time)
    : m_oTime(time, -1), m_usMilliseconds(time.wMilliseconds), m_bHasMilliseconds(true)
{
}

CDateTime::CDateTime(const CString& text, bool utc) : m_usMilliseconds(0), m_bHasMilliseconds(false)
{
    CString whole(text);
    const int point = whole.Find('.');
    if (point >= 0)
    {
        const int space = whole.Find(' ', point);
        if (space >= 0)
            whole.Delete(point, space - point);
        else
            whole = whole.Left(point);
    }
    Set(whole, utc);
}

CDateTime::TFormatFunc CDateTime::GetFormatFunc(bool utc)
{
    return utc ? &ATL::CTime::FormatGmt : &ATL::CTime::Format;
}

ATL::CTimeSpan CDateTime::GetGmtDelta()
{
    // One reading of the clock: the delta belongs to a single moment even when daylight saving
    // changes around the call.
    const ATL::CTime now = ATL::CTime::GetCurrentTime();
    std::tm gmt;
    now.GetGmtTm(&gmt);
    const ATL::CTime gmtAsLocal(gmt.tm_year + 1900, gmt.tm_mon + 1, gmt.tm_mday, gmt.tm_hour,
                                gmt.tm_min, gmt.tm_sec);
    return now - gmtAsLocal;
}

CString CDateTime::MillisecondsSuffix() const
{
    CString text;
    if (m_bHasMilliseconds)
        text.Format(".%03d", static_cast<int>(m_usMilliseconds));
    return text;
}

CString CDateTime::ZoneSuffix(bool utc) const
{
    if (utc)
        return k_sZuluSuffix;
    const ATL::CTimeSpan delta = GetGmtDelta();
    CString text;
    text.Format(" %s%02d", delta.GetHours() < 0 ? "-" : "+",
                static_cast<int>(std::labs(delta.GetHours())));
    return text + delta.Format("%M");
}

CString CDateTime::ToDateString(bool utc) const
{
    return (m_oTime.*GetFormatFunc(utc))(k_sDateFormat);
}

CString CDateTime::ToTimeString(bool utc) const
{
    return (m_oTime.*GetFormatFunc(utc))(k_sTimeFormat) + MillisecondsSuffix() + ZoneSuffix(utc);
}

CString CDateTime::ToString(bool utc) const
{
    // The date and the time in one conversion: the same text as ToDateString + " " +
    // ToTimeString.
    return (m_oTime.*GetFormatFunc(utc))(k_sFormat) + MillisecondsSuffix() + ZoneSuffix(utc);
}

CString CDateTime::ToDisplayString() const
{
    return IsEmpty() ? CString() : m_oTime.Format("%c");
}

CDateTime CDateTime::Now()
{
    return CDateTime(ATL::CTime::GetCurrentTime());
}

CString CDateTime::GetNowDateTimeStamp()
{
    return Now().ToString(false);
}

CString CDateTime::GetDateTimeStamp(const ATL::CTime& time)
{
    return CDateTime(time).ToString(false);
}

CString CDateTime::GetNowDateBlackBoxTimeStamp()
{
    SYSTEMTIME now;
    ::GetSystemTime(&now);
    return CDateTime(now).ToString(false);
}

bool CDateTime::Set(const CString& text, bool utc)
{
    if (text.GetLength() < k_iDateTimeLength)
        return false;

    namespace spirit = boost::spirit::classic;
    unsigned int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    unsigned int zoneHours = 0, zoneMinutes = 0;
    char sign = 0;
    // The zone is four digits, hhmm.
    const spirit::uint_parser<unsigned int, 10, 2, 2> twoDigits;
    const char* const begin = text.GetString();
    const bool parsed = spirit::parse(begin, begin + text.GetLength(),
                                      spirit::uint_p[spirit::assign_a(year)] >> '-' >>
                                          spirit::uint_p[spirit::assign_a(month)] >> '-' >>
                                          spirit::uint_p[spirit::assign_a(day)] >> ' ' >>
                                          spirit::uint_p[spirit::assign_a(hour)] >> ':' >>
                                          spirit::uint_p[spirit::assign_a(minute)] >> ':' >>
                                          spirit::uint_p[spirit::assign_a(second)] >> ' ' >>
                                          spirit::chset_p("0+-")[spirit::assign_a(sign)] >>
                                          twoDigits[spirit::assign_a(zoneHours)] >>
                                          twoDigits[spirit::assign_a(zoneMinutes)])
                            .full;
    if (!parsed)
        return false;
    if (year <= 1970 || year >= 3001 || month < 1 || month > 12 || day < 1 || day > 31)
        return false;

    ATL::CTime time(static_cast<int>(year), static_cast<int>(month), static_cast<int>(day),
                    static_cast<int>(hour), static_cast<int>(minute), static_cast<int>(second));
    if (!utc)
    {
        const ATL::CTimeSpan zone(0, static_cast<int>(zoneHours), static_cast<int>(zoneMinutes), 0);
        if (sign == '-')
            time += zone;
        else
            time -= zone;
        time += GetGmtDelta();
    }
    m_oTime = time;
    return true;
}

bool CDateTime::SetLegacy(const CString& text)
{
    COleDateTime parsed;
    // US English, whatever the user's locale.
    const bool result = parsed.ParseDateTime(text, 0, 0x409);
    SYSTEMTIME fields;
    if (result && parsed.GetAsSystemTime(fields))
        m_oTime = ATL::CTime(fields, -1);
    return result;
}

} // namespace CppUtil
