/// @file
/// A point in time with optional milliseconds and one fixed text form, "2019-04-08 12:34:56 +0200"
/// for local values and "2019-04-08 10:34:56Z" for UTC ones, used for the time stamps of logs,
/// reports and stored settings.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Time/CTime.h"
#include "Platform/Types/ApiTypes.h"
#include "Platform/Types/CString.h"

namespace CppUtil
{

class CPPUTIL_API CDateTime
{
public:
    /// Empty: time 0.
    CDateTime();
    CDateTime(const ATL::CTime& time);
    /// The fields are local clock time; the milliseconds are kept.
    CDateTime(const Platform::SYSTEMTIME& time);
    /// Parses with Set after dropping a fractional-seconds part; an unparsable text gives an empty
    /// value.
    CDateTime(const CString& text, bool utc);

    ATL::CTime GetTime() const { return m_oTime; }
    Platform::ULONGLONG GetAsSeconds() const
    {
        return static_cast<Platform::ULONGLONG>(m_oTime.GetTime());
    }
    bool IsEmpty() const { return m_oTime == ATL::CTime(); }

    /// Whole seconds only: values within the same second are equal.
    bool operator==(const CDateTime& other) const { return m_oTime == other.m_oTime; }
    bool operator!=(const CDateTime& other) const { return m_oTime != other.m_oTime; }

    CString ToDateString(bool utc) const;
    /// The zone suffix of a local value is the current distance from UTC, whatever the value's own
    /// date: stamps written now read back with the same offset.
    CString ToTimeString(bool utc) const;
    CString ToString(bool utc) const;
    /// The user's locale form; empty for an empty value.
    CString ToDisplayString() const;

    static CDateTime Now();
    static CString GetNowDateTimeStamp();
    static CString GetDateTimeStamp(const ATL::CTime& time);
    /// UTC clock digits with milliseconds, but the local zone suffix: black-box stamps are only
    /// compared with one another, never converted.
    static CString GetNowDateBlackBoxTimeStamp();

    /// The fixed text form; false, leaving the value as it was, for anything else. With utc set
    /// the zone is read but not applied.
    bool Set(const CString& text, bool utc);
    /// Free-form dates and times in US English ("4/8/2019 12:34:56 PM", "April 8, 2019"), read as
    /// local clock time. The milliseconds stay as they were.
    bool SetLegacy(const CString& text);

private:
    typedef CString (ATL::CTime::*TFormatFunc)(const char*) const;

    static TFormatFunc GetFormatFunc(bool utc);
    static ATL::CTimeSpan GetGmtDelta();
    CString ZoneSuffix(bool utc) const;
    CString MillisecondsSuffix() const;
    /// Write the suffix at text (k_iSuffixSize bytes) and return its length.
    static int AppendZone(char* text, bool utc);
    int AppendMilliseconds(char* text) const;

    static const int k_iSuffixSize = 16;

    static const int k_iDateTimeLength;
    static const char* const k_sDateFormat;
    static const char* const k_sTimeFormat;
    static const char* const k_sFormat;
    static const char* const k_sZuluSuffix;

    ATL::CTime m_oTime;
    unsigned short m_usMilliseconds;
    bool m_bHasMilliseconds;
};

} // namespace CppUtil
