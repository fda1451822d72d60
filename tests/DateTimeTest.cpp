// CDateTime and the time values under it, in the zone named by TZ. CTest runs this program once
// per zone (Europe/Berlin, America/New_York, Asia/Kolkata, UTC); the expectations come from the
// zones' published rules, written out below, never from the library's own conversions.
#include "CivilDays.h"

#include <cpputil/CppUtil.DateTime.h>
#include <cpputil/Platform/Time/COleDateTime.h>
#include <cpputil/Platform/Types/WinTypes.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <gmock/gmock.h>
#include <string>
#include <utility>

using CppUtil::CDateTime;

namespace
{

std::int64_t Utc(int y, int mo, int d, int h = 0, int mi = 0, int s = 0)
{
    return DaysFromCivil(y, mo, d) * 86400 + h * 3600 + mi * 60 + s;
}

SYSTEMTIME Fields(int y, int mo, int d, int h, int mi, int s, int ms)
{
    return SYSTEMTIME{WORD(y), WORD(mo), 0, WORD(d), WORD(h), WORD(mi), WORD(s), WORD(ms)};
}

// The clock fields of a second count (from 1970 on) read as UTC, and their text.
SYSTEMTIME Civil(std::int64_t t)
{
    const std::int64_t days = t / 86400, rest = t % 86400;
    int y = 1970, m = 1;
    while (DaysFromCivil(y + 1, 1, 1) <= days)
        ++y;
    while (m < 12 && DaysFromCivil(y, m + 1, 1) <= days)
        ++m;
    return Fields(y, m, static_cast<int>(days - DaysFromCivil(y, m, 1) + 1),
                  static_cast<int>(rest / 3600), static_cast<int>(rest / 60 % 60),
                  static_cast<int>(rest % 60), 0);
}

std::string Digits(std::int64_t t)
{
    const SYSTEMTIME st = Civil(t);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", st.wYear, st.wMonth, st.wDay,
                  st.wHour, st.wMinute, st.wSecond);
    return text;
}

// Day of month of the n-th Sunday of a month, or (n = 0) the last one of a 31-day month.
int Sunday(int y, int m, int n)
{
    const int first = 1 + static_cast<int>((7 - (DaysFromCivil(y, m, 1) + 4) % 7) % 7);
    return n > 0 ? first + 7 * (n - 1) : first + (first <= 3 ? 28 : 21);
}

struct SZone
{
    const char* m_szTz;
    int m_iStandardMinutes;
    // 'E' European Union rules, 'U' United States rules since 2007, 0 none.
    char m_cRules;
};

const SZone k_aoZones[] = {
    {"Europe/Berlin", 60, 'E'},
    {"America/New_York", -300, 'U'},
    {"Asia/Kolkata", 330, 0},
    {"UTC", 0, 0},
};

const SZone* CurrentZone()
{
    const char* tz = std::getenv("TZ");
    for (const SZone& zone : k_aoZones)
        if (tz && std::strcmp(tz + (tz[0] == ':'), zone.m_szTz) == 0)
            return &zone;
    return nullptr;
}

// Minutes east of UTC at a moment.
int OffsetAt(const SZone& zone, std::int64_t t)
{
    int y = 1970;
    while (Utc(y + 1, 1, 1) <= t)
        ++y;
    bool summer = false;
    if (zone.m_cRules == 'E')
        summer = t >= Utc(y, 3, Sunday(y, 3, 0), 1) && t < Utc(y, 10, Sunday(y, 10, 0), 1);
    else if (zone.m_cRules == 'U')
        summer = t >= Utc(y, 3, Sunday(y, 3, 2), 7) && t < Utc(y, 11, Sunday(y, 11, 1), 6);
    return zone.m_iStandardMinutes + (summer ? 60 : 0);
}

// Whether local clock fields fall in the hour that repeats when daylight saving ends.
bool IsRepeated(const SZone& zone, std::int64_t fields)
{
    const std::int64_t standard = fields - zone.m_iStandardMinutes * 60;
    return OffsetAt(zone, standard) == zone.m_iStandardMinutes &&
           OffsetAt(zone, standard - 3600) == zone.m_iStandardMinutes + 60;
}

// The moment of local clock fields outside the repeated hour.
std::int64_t FromLocal(const SZone& zone, std::int64_t fields)
{
    std::int64_t t = fields - zone.m_iStandardMinutes * 60;
    return fields - OffsetAt(zone, t) * 60 == t ? t : t - 3600;
}

// The " +hhmm" suffix of the zone's offset now.
std::string NowSuffix(const SZone& zone)
{
    const int minutes = OffsetAt(zone, static_cast<std::int64_t>(std::time(nullptr)));
    char text[16];
    std::snprintf(text, sizeof text, " %c%02d%02d", minutes < 0 ? '-' : '+', std::abs(minutes) / 60,
                  std::abs(minutes) % 60);
    return text;
}

class DateTimeTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_poZone = CurrentZone();
        if (!m_poZone)
            GTEST_SKIP() << "TZ must name Europe/Berlin, America/New_York, Asia/Kolkata or UTC; "
                            "CTest runs this program once for each";
    }

    const SZone* m_poZone = nullptr;
};

// Moments around the daylight-saving changes of both rule sets, and ordinary ones.
const std::int64_t k_aiMoments[] = {
    Utc(2019, 3, 31, 0, 59, 59), Utc(2019, 3, 31, 1, 0, 0),   Utc(2019, 10, 27, 0, 59, 59),
    Utc(2019, 10, 27, 1, 0, 0),  Utc(2019, 3, 10, 6, 59, 59), Utc(2019, 3, 10, 7, 0, 0),
    Utc(2019, 11, 3, 5, 59, 59), Utc(2019, 11, 3, 6, 0, 0),   Utc(2019, 4, 8, 10, 34, 56),
    Utc(2024, 2, 29, 23, 30, 0), Utc(1971, 1, 1, 12, 0, 0),   Utc(2040, 7, 1, 12, 0, 0),
};

} // namespace

TEST_F(DateTimeTest, TextFormsFollowTheZone)
{
    const std::string nowSuffix = NowSuffix(*m_poZone);
    for (std::int64_t t : k_aiMoments)
    {
        SCOPED_TRACE(Digits(t));
        const CDateTime value{ATL::CTime(t)};
        const std::string local = Digits(t + OffsetAt(*m_poZone, t) * 60);
        EXPECT_EQ(local + nowSuffix, value.ToString(false).GetString());
        EXPECT_EQ(Digits(t) + "Z", value.ToString(true).GetString());
        EXPECT_EQ(local.substr(0, 10), value.ToDateString(false).GetString());
        EXPECT_EQ(Digits(t).substr(11) + "Z", value.ToTimeString(true).GetString());
        EXPECT_EQ(value.ToString(false),
                  value.ToDateString(false) + " " + value.ToTimeString(false));
        EXPECT_EQ(static_cast<ULONGLONG>(t), value.GetAsSeconds());
        // The local fields read back as local time, and the text read back by Set, whatever the
        // value's own daylight-saving state (the repeated hour aside, which neither can tell).
        const std::int64_t fields = t + OffsetAt(*m_poZone, t) * 60;
        if (IsRepeated(*m_poZone, fields))
            continue;
        EXPECT_EQ(FromLocal(*m_poZone, fields), CDateTime(Civil(fields)).GetTime().GetTime());
        CDateTime read;
        ASSERT_TRUE(read.Set(value.ToString(false), false));
        EXPECT_EQ(t, read.GetTime().GetTime());
    }
}

TEST_F(DateTimeTest, SetReadsOnlyTheFixedFormAndAppliesItsZone)
{
    const int now = OffsetAt(*m_poZone, static_cast<std::int64_t>(std::time(nullptr)));
    struct SCase
    {
        const char* m_szText;
        std::int64_t m_iFields;
        int m_iZoneMinutes;
    };
    const SCase cases[] = {
        {"2019-04-08 12:34:56 +0200", Utc(2019, 4, 8, 12, 34, 56), 120},
        {"2019-01-15 08:00:00 -0500", Utc(2019, 1, 15, 8), -300},
        {"2019-07-01 23:59:59 +0530", Utc(2019, 7, 1, 23, 59, 59), 330},
        {"2019-10-27 04:00:00 00000", Utc(2019, 10, 27, 4), 0},
        {"1971-01-01 00:00:00 +0000", Utc(1971, 1, 1), 0},
        {"3000-12-31 12:00:00 -0130", Utc(3000, 12, 31, 12), -90},
        // Hours, minutes and seconds are not checked: they carry over.
        {"2019-04-08 24:00:60 +0100", Utc(2019, 4, 9, 0, 1, 0), 60},
    };
    for (const SCase& c : cases)
    {
        SCOPED_TRACE(c.m_szText);
        const std::int64_t local = FromLocal(*m_poZone, c.m_iFields);
        CDateTime value;
        ASSERT_TRUE(value.Set(c.m_szText, false));
        EXPECT_EQ(local - c.m_iZoneMinutes * 60 + now * 60, value.GetTime().GetTime());
        ASSERT_TRUE(value.Set(c.m_szText, true));
        EXPECT_EQ(local, value.GetTime().GetTime());
        // The text constructor drops a fraction of a second before parsing.
        std::string text = c.m_szText;
        EXPECT_EQ(value, CDateTime(CString(text.insert(19, ".789").c_str()), true));
    }

    // Anything else is refused and the value kept.
    CDateTime value{ATL::CTime(Utc(2020, 1, 1))};
    for (const char* text :
         {"2019-04-08 12:34:56Z", "2019-04-08 12:34:56 +020", "1970-12-31 23:59:59 +0000",
          "3001-01-01 00:00:00 +0000", "2019-00-08 12:34:56 +0200", "2019-13-08 12:34:56 +0200",
          "2019-04-00 12:34:56 +0200", "2019-04-32 12:34:56 +0200", "2019-04-08 12:34:56 *0200",
          "2019-04-08T12:34:56 +0200", "2019-04-08 12:34:56 +0200 ", "2019-04-08 12:34: 6 +0200",
          "99999999999-04-08 12:34:56 +0200",
          // A clock field past what an int holds would wrap round to centuries earlier.
          "2019-04-08 12:2147483648:56 +0200",
          // Clock fields that carry over past the year 9999, which no text form can show.
          "2019-04-08 100004789:34:789 -0530"})
    {
        EXPECT_FALSE(value.Set(text, false)) << text;
        EXPECT_FALSE(value.Set(text, true)) << text;
        EXPECT_EQ(Utc(2020, 1, 1), value.GetTime().GetTime()) << text;
        EXPECT_TRUE(CDateTime(text, false).IsEmpty()) << text;
    }
    EXPECT_TRUE(CDateTime("2019-04-08 12:34:56.5Z", true).IsEmpty());
}

TEST_F(DateTimeTest, EmptyValuesDisplayTextAndMilliseconds)
{
    const CDateTime empty;
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_EQ(0u, empty.GetAsSeconds());
    EXPECT_EQ("", empty.ToDisplayString());

    // Milliseconds are shown but not compared.
    const CDateTime a(Fields(2019, 4, 8, 12, 34, 56, 7));
    const CDateTime b(Fields(2019, 4, 8, 12, 34, 56, 8));
    const CDateTime c(Fields(2019, 4, 8, 12, 34, 57, 7));
    EXPECT_TRUE(a == b && !(a != b) && a != c && !a.IsEmpty());
    // The locale's form differs between systems; the local clock digits are in every one.
    EXPECT_THAT(a.ToDisplayString().GetString(), ::testing::HasSubstr("12:34:56"));
    EXPECT_EQ("2019-04-08 12:34:56.007" + NowSuffix(*m_poZone), a.ToString(false).GetString());
    const std::int64_t t = FromLocal(*m_poZone, Utc(2019, 4, 8, 12, 34, 56));
    EXPECT_EQ(Digits(t) + ".007Z", a.ToString(true).GetString());
    EXPECT_EQ(Digits(t).substr(11) + ".007Z", a.ToTimeString(true).GetString());

    // Neither a CTime nor a text carries milliseconds.
    EXPECT_EQ(Digits(t) + "Z", CDateTime(a.GetTime()).ToString(true).GetString());
    const CDateTime parsed("2019-04-08 12:34:56.789 +0000", true);
    EXPECT_EQ(Digits(t) + "Z", parsed.ToString(true).GetString());

    // Set and SetLegacy leave them alone.
    CDateTime d(a);
    ASSERT_TRUE(d.Set("2019-04-08 12:00:00 +0000", true));
    EXPECT_EQ(".007Z", d.ToString(true).Right(5));
    ASSERT_TRUE(d.SetLegacy("4/8/2019 1:00 PM"));
    EXPECT_EQ(".007Z", d.ToString(true).Right(5));
}

TEST_F(DateTimeTest, FactoriesStampTheCurrentMoment)
{
    const std::string suffix = NowSuffix(*m_poZone);
    // The system clock's fine reading: std::time may read a coarse clock that lags the one the
    // stamps are read from by a tick, across a second's boundary.
    const auto seconds = []
    {
        return static_cast<std::int64_t>(std::chrono::duration_cast<std::chrono::seconds>(
                                             std::chrono::system_clock::now().time_since_epoch())
                                             .count());
    };
    const std::int64_t before = seconds();
    const CString stamp = CDateTime::GetNowDateTimeStamp();
    const CDateTime now = CDateTime::Now();
    SYSTEMTIME utc;
    ::GetSystemTime(&utc);
    const CString blackBox = CDateTime::GetNowDateBlackBoxTimeStamp();
    const std::int64_t after = seconds();

    CDateTime parsed;
    ASSERT_TRUE(parsed.Set(stamp, false)) << stamp;
    const auto between = ::testing::AllOf(::testing::Ge(before), ::testing::Le(after));
    EXPECT_THAT(parsed.GetTime().GetTime(), between);
    EXPECT_THAT(now.GetTime().GetTime(), between);
    EXPECT_EQ(suffix, std::string(stamp.Right(6)));
    EXPECT_EQ(CDateTime(ATL::CTime(Utc(2019, 4, 8))).ToString(false),
              CDateTime::GetDateTimeStamp(ATL::CTime(Utc(2019, 4, 8))));

    // UTC digits with milliseconds, then the local suffix.
    ASSERT_EQ(29, blackBox.GetLength()) << blackBox;
    EXPECT_EQ(suffix, std::string(blackBox.Right(6)));
    EXPECT_EQ('.', blackBox[19]);
    const std::int64_t stamped =
        Utc(std::atoi(blackBox.Mid(0, 4)), std::atoi(blackBox.Mid(5, 2)),
            std::atoi(blackBox.Mid(8, 2)), std::atoi(blackBox.Mid(11, 2)),
            std::atoi(blackBox.Mid(14, 2)), std::atoi(blackBox.Mid(17, 2)));
    const std::int64_t read =
        Utc(utc.wYear, utc.wMonth, utc.wDay, utc.wHour, utc.wMinute, utc.wSecond);
    EXPECT_THAT(stamped, ::testing::AllOf(::testing::Ge(read), ::testing::Le(after)));
}

TEST_F(DateTimeTest, SetLegacyReadsFreeFormUsEnglish)
{
    const std::pair<const char*, std::int64_t> accepted[] = {
        {"4/8/2019 12:34:56 PM", Utc(2019, 4, 8, 12, 34, 56)},
        {"4/8/2019 12:34:56 AM", Utc(2019, 4, 8, 0, 34, 56)},
        {"04/08/2019 1:05 pm", Utc(2019, 4, 8, 13, 5)},
        {"April 8, 2019", Utc(2019, 4, 8)},
        {"Apr 8 2019 23:59", Utc(2019, 4, 8, 23, 59)},
        {"8 April 2019", Utc(2019, 4, 8)},
        {"Monday, April 8, 2019 12:34:56", Utc(2019, 4, 8, 12, 34, 56)},
        {"2019-04-08 12:34", Utc(2019, 4, 8, 12, 34)},
        {"4-8-19", Utc(2019, 4, 8)},
        {"2/29/2024", Utc(2024, 2, 29)},
        // Three numbers: month first, else year first, else day first.
        {"13 4 8", Utc(2013, 4, 8)},
        {"13/4/2019", Utc(2019, 4, 13)},
        // Two-digit years up to 49 are this century's.
        {"1/1/49 1:05PM", Utc(2049, 1, 1, 13, 5)},
        {"1/1/50", Utc(1950, 1, 1)},
        // The days of daylight-saving changes.
        {"3/31/2019 4:00", Utc(2019, 3, 31, 4)},
        {"10/27/2019 1:00", Utc(2019, 10, 27, 1)},
        {"3/10/2019 1:30", Utc(2019, 3, 10, 1, 30)},
        {"11/3/2019 3:00", Utc(2019, 11, 3, 3)},
        // A name between two short numbers follows the year (the parity program holds the other
        // forms where the two backends' parsers once parted, with the Win32 parser's answers).
        {"19-Jan-21", Utc(2019, 1, 21)}};
    for (const auto& c : accepted)
    {
        CDateTime value;
        ASSERT_TRUE(value.SetLegacy(c.first)) << c.first;
        EXPECT_EQ(FromLocal(*m_poZone, c.second), value.GetTime().GetTime()) << c.first;
    }

    CDateTime value{ATL::CTime(Utc(2020, 1, 1))};
    for (const char* text :
         {"", "hello", "2/30/2019", "4/8/2019 25:00", "4/8/2019 12:60", "4/8/2019 12:34:56 XM",
          "Sept 3 2019", "3.4.2019", "April 8, 2019 #",
          // The smallest OLE date parses, but CTime cannot hold it: no value to take.
          "1 1 100"})
    {
        EXPECT_FALSE(value.SetLegacy(text)) << text;
        EXPECT_EQ(Utc(2020, 1, 1), value.GetTime().GetTime()) << text;
    }
}

TEST(OleDateTimeTest, RangeBoundsAreInclusive)
{
    SYSTEMTIME fields;
    EXPECT_TRUE(COleDateTime(-657434.0).GetAsSystemTime(fields));
    EXPECT_TRUE(fields.wYear == 100 && fields.wMonth == 1 && fields.wDay == 1);
    EXPECT_TRUE(COleDateTime(2958465.0).GetAsSystemTime(fields));
    EXPECT_EQ(9999, fields.wYear);
    EXPECT_FALSE(COleDateTime(-657435.0).GetAsSystemTime(fields));
    EXPECT_FALSE(COleDateTime(2958466.0).GetAsSystemTime(fields));
}

// The hour that repeats when daylight saving ends is read as its first pass, the hour skipped
// when it starts as if the clock had already gone forward; whatever was converted before.
TEST_F(DateTimeTest, AmbiguousAndSkippedLocalTimesAreReadOneWay)
{
    if (!m_poZone->m_cRules)
        GTEST_SKIP() << "the zone keeps no daylight saving";
    const bool europe = m_poZone->m_cRules == 'E';
    const int year = 2019;
    const int endDay = europe ? Sunday(year, 10, 0) : Sunday(year, 11, 1);
    const int startDay = europe ? Sunday(year, 3, 0) : Sunday(year, 3, 2);
    const int endMonth = europe ? 10 : 11;
    const int repeatedHour = europe ? 2 : 1;
    const std::int64_t summer = (m_poZone->m_iStandardMinutes + 60) * 60;
    const std::int64_t first = Utc(year, endMonth, endDay, repeatedHour, 30) - summer;
    const std::int64_t skipped = Utc(year, 3, startDay, 2, 30) - summer;
    for (int round = 0; round < 2; ++round)
    {
        // Conversions on either side of the change before each one.
        ATL::CTime(year, round ? 1 : 7, 15, 12, 0, 0);
        EXPECT_EQ(first, ATL::CTime(year, endMonth, endDay, repeatedHour, 30, 0).GetTime());
        ATL::CTime(year, round ? 7 : 1, 15, 12, 0, 0);
        EXPECT_EQ(first, ATL::CTime(year, endMonth, endDay, repeatedHour, 30, 0).GetTime());
        EXPECT_EQ(skipped, ATL::CTime(year, 3, startDay, 2, 30, 0).GetTime());
    }
}

TEST(TimeSpanTest, ComponentsCarryTheSign)
{
    const CTimeSpan span(1, 2, 3, 4);
    EXPECT_EQ(93784, span.GetTotalSeconds());
    EXPECT_EQ("1 02:03:04 %", span.Format("%D %H:%M:%S %%"));
    const CTimeSpan negative(0, -3, -30, 0);
    EXPECT_EQ(-3, negative.GetHours());
    EXPECT_EQ(-30, negative.GetMinutes());
    EXPECT_EQ(-210, negative.GetTotalMinutes());
    EXPECT_EQ(CTimeSpan(-12600), negative);
    EXPECT_EQ(CTimeSpan(0, 0, 0, 1), ATL::CTime(61) - ATL::CTime(60));
}
