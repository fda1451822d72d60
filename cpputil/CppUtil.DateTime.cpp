#include "CppUtil.DateTime.h"

#include "Platform/Time/COleDateTime.h"
#include "Platform/Time/CivilTime.h"

#include <atomic>
#include <boost/spirit/include/classic_actor.hpp>
#include <boost/spirit/include/classic_core.hpp>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

#define CPPUTIL_DATE_FORMAT "%Y-%m-%d"
#define CPPUTIL_TIME_FORMAT "%H:%M:%S"

namespace CppUtil
{

const int CDateTime::k_iDateTimeLength = 25;
const char* const CDateTime::k_sDateFormat = CPPUTIL_DATE_FORMAT;
const char* const CDateTime::k_sTimeFormat = CPPUTIL_TIME_FORMAT;
const char* const CDateTime::k_sFormat = CPPUTIL_DATE_FORMAT " " CPPUTIL_TIME_FORMAT;
const char* const CDateTime::k_sZuluSuffix = "Z";

namespace
{

// The cached delta: the second it belongs to above the low bits, the delta plus a bias in them.
const int k_iDeltaBits = 20;
const std::int64_t k_iDeltaBias = 1 << (k_iDeltaBits - 1);
std::atomic<std::int64_t> s_iGmtDeltaCache(-1);

// Room for the longest date and time strftime makes of the format, and for either suffix.
const int k_iTextSize = 96;

// 9999-12-31 23:59:59 UTC, the last moment the text forms can show. Clock fields carry over, so a
// text of an accepted year may still name a later moment; such a text is refused.
const std::int64_t k_iLastMoment = 253402300799;

} // namespace

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
    // Stamps come by the thousand: the delta is worked out once per second of the clock. A zone
    // change of the process (tzset) shows at the next second.
    const std::int64_t second = now.GetTime();
    const std::int64_t cached = s_iGmtDeltaCache.load(std::memory_order_relaxed);
    if (second >= 0 && cached >> k_iDeltaBits == second)
        return ATL::CTimeSpan((cached & ((1 << k_iDeltaBits) - 1)) - k_iDeltaBias);

    std::tm gmt;
    now.GetGmtTm(&gmt);
    const ATL::CTime gmtAsLocal(gmt.tm_year + 1900, gmt.tm_mon + 1, gmt.tm_mday, gmt.tm_hour,
                                gmt.tm_min, gmt.tm_sec);
    const ATL::CTimeSpan delta = now - gmtAsLocal;
    if (second >= 0 && std::llabs(delta.GetTimeSpan()) < k_iDeltaBias)
        s_iGmtDeltaCache.store(second << k_iDeltaBits | (delta.GetTimeSpan() + k_iDeltaBias),
                               std::memory_order_relaxed);
    return delta;
}

CString CDateTime::MillisecondsSuffix() const
{
    char text[k_iSuffixSize];
    return CString(text, AppendMilliseconds(text));
}

CString CDateTime::ZoneSuffix(bool utc) const
{
    char text[k_iSuffixSize];
    return CString(text, AppendZone(text, utc));
}

int CDateTime::AppendZone(char* text, bool utc)
{
    if (utc)
    {
        std::strcpy(text, k_sZuluSuffix);
        return static_cast<int>(std::strlen(k_sZuluSuffix));
    }
    // " " sign hours, then the span's "%M": hand-made, as this runs for every stamp.
    const ATL::CTimeSpan delta = GetGmtDelta();
    const long hours = std::labs(delta.GetHours());
    const long minutes = delta.GetMinutes();
    int length = 0;
    text[length++] = ' ';
    text[length++] = delta.GetHours() < 0 ? '-' : '+';
    text[length++] = static_cast<char>('0' + hours / 10);
    text[length++] = static_cast<char>('0' + hours % 10);
    if (minutes >= 0)
    {
        text[length++] = static_cast<char>('0' + minutes / 10);
        text[length++] = static_cast<char>('0' + minutes % 10);
    }
    else
    {
        // "%02ld" of a negative count: the sign and the digits, at least two characters.
        text[length++] = '-';
        if (-minutes >= 10)
            text[length++] = static_cast<char>('0' + -minutes / 10);
        text[length++] = static_cast<char>('0' + -minutes % 10);
    }
    return length;
}

int CDateTime::AppendMilliseconds(char* text) const
{
    if (!m_bHasMilliseconds)
        return 0;
    const unsigned int milliseconds = m_usMilliseconds;
    text[0] = '.';
    text[1] = static_cast<char>('0' + milliseconds / 100 % 10);
    text[2] = static_cast<char>('0' + milliseconds / 10 % 10);
    text[3] = static_cast<char>('0' + milliseconds % 10);
    return 4;
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
    // The same text as ToDateString + " " + ToTimeString, from one conversion into one buffer.
    std::tm fields;
    if (!(utc ? m_oTime.GetGmtTm(&fields) : m_oTime.GetLocalTm(&fields)))
        return MillisecondsSuffix() + ZoneSuffix(utc);
    char text[k_iTextSize];
    int length = static_cast<int>(
        Platform::FormatCivil(text, k_iTextSize - 2 * k_iSuffixSize, k_sFormat, fields));
    length += AppendMilliseconds(text + length);
    length += AppendZone(text + length, utc);
    return CString(text, length);
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
    unsigned int year = 0, month = 0, day = 0, zoneHours = 0, zoneMinutes = 0, westMinutes = 0;
    int hour = 0, minute = 0, second = 0;
    char sign = 0, minutesSign = 0;
    // The clock fields are not range-checked, CTime carries them over, but they must fit the int
    // it takes: a larger number would wrap round to a time centuries before the text's.
    const spirit::uint_parser<int> clockField;
    // The zone is four digits, hhmm; a zone west of UTC with a part hour prints its minutes with
    // their own sign (St John's "-03-30", 3 h 30 min west; "+00-30" for half an hour west), and
    // that form reads back too. Other forms are refused.
    const spirit::uint_parser<unsigned int, 10, 2, 2> twoDigits;
    const spirit::uint_parser<unsigned int, 10, 1, 2> oneOrTwoDigits;
    const char* const begin = text.GetString();
    const bool parsed = spirit::parse(begin, begin + text.GetLength(),
                                      spirit::uint_p[spirit::assign_a(year)] >> '-' >>
                                          spirit::uint_p[spirit::assign_a(month)] >> '-' >>
                                          spirit::uint_p[spirit::assign_a(day)] >> ' ' >>
                                          clockField[spirit::assign_a(hour)] >> ':' >>
                                          clockField[spirit::assign_a(minute)] >> ':' >>
                                          clockField[spirit::assign_a(second)] >> ' ' >>
                                          (spirit::ch_p('0')[spirit::assign_a(sign)] |
                                           spirit::ch_p('+')[spirit::assign_a(sign)] |
                                           spirit::ch_p('-')[spirit::assign_a(sign)]) >>
                                          twoDigits[spirit::assign_a(zoneHours)] >>
                                          (twoDigits[spirit::assign_a(zoneMinutes)] |
                                           (spirit::ch_p('-')[spirit::assign_a(minutesSign)] >>
                                            oneOrTwoDigits[spirit::assign_a(westMinutes)])))
                            .full;
    // Minutes of their own sign follow only the hours of a zone west of UTC, or no hours at all.
    if (!parsed ||
        (minutesSign && ((sign != '-' && zoneHours != 0) || westMinutes == 0 || westMinutes > 59)))
        return false;
    if (year <= 1970 || year >= 3001 || month < 1 || month > 12 || day < 1 || day > 31)
        return false;

    ATL::CTime time(static_cast<int>(year), static_cast<int>(month), static_cast<int>(day), hour,
                    minute, second);
    if (!utc)
    {
        const int hours = static_cast<int>(zoneHours) * (sign == '-' ? -1 : 1);
        const int minutes = minutesSign ? -static_cast<int>(westMinutes)
                                        : static_cast<int>(zoneMinutes) * (sign == '-' ? -1 : 1);
        time -= ATL::CTimeSpan(0, hours, minutes, 0);
        time += GetGmtDelta();
    }
    if (time.GetTime() > k_iLastMoment)
        return false;
    m_oTime = time;
    return true;
}

bool CDateTime::SetLegacy(const CString& text)
{
    COleDateTime parsed;
    // US English, whatever the user's locale.
    SYSTEMTIME fields;
    if (!parsed.ParseDateTime(text, 0, 0x409) || !parsed.GetAsSystemTime(fields))
        return false;
    const ATL::CTime time(fields, -1);
    // A time the zone cannot convert comes back as -1, also a moment of its own (1969-12-31).
    if (time.GetTime() == -1 && time.GetYear() != fields.wYear)
        return false;
    m_oTime = time;
    return true;
}

} // namespace CppUtil
