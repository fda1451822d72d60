// The free-form forms of the OLE parser in US English: numeric dates month first ("4/8/2019") or
// year first ("2019-04-08"), dates with month names ("April 8, 2019", "8 Apr 2019"), an optional
// week day name, and times "12:34", "12:34:56" (or "12.34.56") with an optional AM or PM, before
// or after the date. A date alone is midnight; a time alone is on 1899-12-30, day 0 of OLE
// dates. Where the readings of three numbers are tried in turn, the order is the system parser's.
#include "../OleDateParser.h"

#include "../CivilTime.h"

#include <cctype>
#include <cstring>
#include <string>
#include <vector>

namespace CppUtil
{
namespace Platform
{

namespace
{

struct SToken
{
    enum EKind
    {
        Number,
        Word,
        Colon
    } m_eKind;
    long m_lValue;
    int m_iDigits;
    std::string m_sWord;
};

const char* const k_aszMonths[] = {"january",   "february", "march",    "april",
                                   "may",       "june",     "july",     "august",
                                   "september", "october",  "november", "december"};
const char* const k_aszDays[] = {"sunday",   "monday", "tuesday", "wednesday",
                                 "thursday", "friday", "saturday"};

// A name in full or its first three letters, as the locale lists them.
bool IsAbbreviation(const std::string& word, const char* name)
{
    return word == name || (word.size() == 3 && word.compare(0, 3, name, 3) == 0);
}

int MonthOf(const std::string& word)
{
    for (int i = 0; i < 12; ++i)
    {
        if (IsAbbreviation(word, k_aszMonths[i]))
            return i + 1;
    }
    return 0;
}

bool IsDayName(const std::string& word)
{
    for (const char* day : k_aszDays)
    {
        if (IsAbbreviation(word, day))
            return true;
    }
    return false;
}

// 0 for a word that is neither AM nor PM, 1 for AM, 2 for PM. A lone "a" or "p" is neither.
int MeridiemOf(const SToken& token)
{
    if (token.m_sWord == "am")
        return 1;
    if (token.m_sWord == "pm")
        return 2;
    return 0;
}

bool IsAlnum(char ch)
{
    return std::isalnum(static_cast<unsigned char>(ch)) != 0;
}

// Blanks separate freely. '-' joins the two fields it stands between, with nothing around it;
// '/' and ',' stand between fields, blanks allowed, and ',' may also lead. ':' and '.' separate
// the fields of a time, where a doubled one counts once.
bool Tokenize(const char* text, std::vector<SToken>& tokens)
{
    // A '/' or ',' waiting for the field it separates from the one before.
    bool separatorPending = false;
    for (const char* p = text; *p;)
    {
        const unsigned char c = static_cast<unsigned char>(*p);
        if (std::isdigit(c))
        {
            SToken token = {SToken::Number, 0, 0, std::string()};
            for (; std::isdigit(static_cast<unsigned char>(*p)); ++p)
            {
                // Leading zeros count for nothing ("007" is read as "7" is); nine digits after
                // them already overflow every field.
                if ((token.m_lValue != 0 || *p != '0') && ++token.m_iDigits > 9)
                    return false;
                token.m_lValue = token.m_lValue * 10 + (*p - '0');
            }
            tokens.push_back(token);
            separatorPending = false;
        }
        else if (std::isalpha(c))
        {
            SToken token = {SToken::Word, 0, 0, std::string()};
            for (; std::isalpha(static_cast<unsigned char>(*p)); ++p)
                token.m_sWord += static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
            tokens.push_back(token);
            separatorPending = false;
        }
        else if (c == ':' || c == '.')
        {
            if (separatorPending)
                return false;
            if (tokens.empty() || tokens.back().m_eKind != SToken::Colon)
                tokens.push_back({SToken::Colon, 0, 0, std::string()});
            ++p;
        }
        else if (c == '-')
        {
            if (p == text || !IsAlnum(p[-1]) || !IsAlnum(p[1]))
                return false;
            ++p;
        }
        else if (c == '/' || c == ',')
        {
            if (separatorPending || (c == '/' && tokens.empty()))
                return false;
            separatorPending = true;
            ++p;
        }
        else if (std::isspace(c))
        {
            ++p;
        }
        else
        {
            return false;
        }
    }
    return !separatorPending;
}

bool IsLeapYear(long year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

bool IsValidDate(long year, long month, long day)
{
    static const int k_aiDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 100 || year > 9999 || month < 1 || month > 12 || day < 1)
        return false;
    return day <= k_aiDays[month - 1] + (month == 2 && IsLeapYear(year) ? 1 : 0);
}

// Two-digit years fall in 1950..2049, the system's default window.
long FullYear(const SToken& token)
{
    if (token.m_iDigits > 2)
        return token.m_lValue;
    return token.m_lValue < 50 ? 2000 + token.m_lValue : 1900 + token.m_lValue;
}

long CurrentYear()
{
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    return now.wYear;
}

// A number that can only be a year.
bool IsYear(const SToken& token)
{
    return token.m_iDigits > 2 || token.m_lValue > 31;
}

bool Accept(long year, long month, long day, long date[3])
{
    if (!IsValidDate(year, month, day))
        return false;
    date[0] = year;
    date[1] = month;
    date[2] = day;
    return true;
}

// Month first, and day first when that is the only reading that makes a date.
bool MonthDay(long month, long day, long year, long date[3])
{
    return Accept(year, month, day, date) || Accept(year, day, month, date);
}

// numbersBeforeMonth counts the numbers that come before the month name.
bool ResolveDate(const std::vector<SToken>& numbers, int month, size_t numbersBeforeMonth,
                 long date[3])
{
    if (month != 0)
    {
        if (numbers.size() == 2)
        {
            // Between two short numbers the name follows the year and comes before the day
            // ("4-Mar-21" is 2004-03-21) where that makes a date.
            if (numbersBeforeMonth == 1 && !IsYear(numbers[0]) && !IsYear(numbers[1]) &&
                Accept(FullYear(numbers[0]), month, numbers[1].m_lValue, date))
                return true;
            // Both before the name: the year, then the day ("1 3 Mar" is 2001-03-03); both after
            // it: the day, then the year ("Mar 2021 1" is refused). Neither has another reading.
            const bool yearFirst =
                numbersBeforeMonth == 2 ||
                (numbersBeforeMonth == 1 && IsYear(numbers[0]) && !IsYear(numbers[1]));
            const SToken& day = yearFirst ? numbers[1] : numbers[0];
            const SToken& year = yearFirst ? numbers[0] : numbers[1];
            date[0] = FullYear(year);
            date[1] = month;
            date[2] = day.m_lValue;
        }
        else if (numbers.size() == 1)
        {
            const bool year = IsYear(numbers[0]);
            date[0] = year ? FullYear(numbers[0]) : CurrentYear();
            date[1] = month;
            date[2] = year ? 1 : numbers[0].m_lValue;
        }
        else
        {
            return false;
        }
        return IsValidDate(date[0], date[1], date[2]);
    }
    if (numbers.size() == 3)
    {
        if (IsYear(numbers[0]))
        {
            date[0] = FullYear(numbers[0]);
            date[1] = numbers[1].m_lValue;
            date[2] = numbers[2].m_lValue;
            return IsValidDate(date[0], date[1], date[2]);
        }
        // Month, day, year; else year, month, day; else day, month, year; else year, day, month.
        return Accept(FullYear(numbers[2]), numbers[0].m_lValue, numbers[1].m_lValue, date) ||
               Accept(FullYear(numbers[0]), numbers[1].m_lValue, numbers[2].m_lValue, date) ||
               Accept(FullYear(numbers[2]), numbers[1].m_lValue, numbers[0].m_lValue, date) ||
               Accept(FullYear(numbers[0]), numbers[2].m_lValue, numbers[1].m_lValue, date);
    }
    if (numbers.size() == 2)
    {
        // Month and year ("4/2019" or "2019/4") name the month's first day.
        if (IsYear(numbers[1]) || IsYear(numbers[0]))
        {
            const bool yearFirst = IsYear(numbers[0]);
            date[0] = FullYear(numbers[yearFirst ? 0 : 1]);
            date[1] = numbers[yearFirst ? 1 : 0].m_lValue;
            date[2] = 1;
            return IsValidDate(date[0], date[1], date[2]);
        }
        // Two numbers that are no month and day are a year and a month ("30 2", "2 30").
        return MonthDay(numbers[0].m_lValue, numbers[1].m_lValue, CurrentYear(), date) ||
               Accept(FullYear(numbers[0]), numbers[1].m_lValue, 1, date) ||
               Accept(FullYear(numbers[1]), numbers[0].m_lValue, 1, date);
    }
    return false;
}

} // namespace

bool ParseOleDate(const char* text, DWORD, LCID, DATE& result)
{
    std::vector<SToken> tokens;
    if (!Tokenize(text, tokens))
        return false;

    bool hasTime = false;
    bool dateBeforeTime = false;
    size_t numbersBeforeMonth = 0;
    long time[3] = {0, 0, 0};
    int meridiem = 0;
    int month = 0;
    std::vector<SToken> numbers;
    for (size_t i = 0; i < tokens.size(); ++i)
    {
        const SToken& token = tokens[i];
        const bool timeFollows = i + 2 < tokens.size() && tokens[i + 1].m_eKind == SToken::Colon &&
                                 tokens[i + 2].m_eKind == SToken::Number;
        const bool meridiemFollows = i + 1 < tokens.size() &&
                                     tokens[i + 1].m_eKind == SToken::Word &&
                                     MeridiemOf(tokens[i + 1]) != 0;
        if (token.m_eKind == SToken::Number && (timeFollows || meridiemFollows))
        {
            if (hasTime)
                return false;
            dateBeforeTime = !numbers.empty() || month != 0;
            hasTime = true;
            time[0] = token.m_lValue;
            size_t next = i + 1;
            for (int field = 1;
                 field < 3 && next + 1 < tokens.size() && tokens[next].m_eKind == SToken::Colon &&
                 tokens[next + 1].m_eKind == SToken::Number;
                 ++field, next += 2)
                time[field] = tokens[next + 1].m_lValue;
            if (next < tokens.size() && tokens[next].m_eKind == SToken::Word &&
                MeridiemOf(tokens[next]) != 0)
                meridiem = MeridiemOf(tokens[next++]);
            i = next - 1;
        }
        else if (token.m_eKind == SToken::Number)
        {
            // The date stands on one side of the time ("Mar 4 17:06:07 2021" is refused).
            if (hasTime && dateBeforeTime)
                return false;
            numbers.push_back(token);
        }
        else if (token.m_eKind == SToken::Word && MonthOf(token.m_sWord) != 0 && month == 0)
        {
            if (hasTime && dateBeforeTime)
                return false;
            month = MonthOf(token.m_sWord);
            numbersBeforeMonth = numbers.size();
        }
        else if (token.m_eKind != SToken::Word || !IsDayName(token.m_sWord))
        {
            return false;
        }
    }

    // 12 AM is midnight, 12 PM noon; an hour past 12 stands as it is, whatever follows it.
    if (meridiem == 1 && time[0] == 12)
        time[0] = 0;
    else if (meridiem == 2 && time[0] < 12)
        time[0] += 12;
    if (time[0] > 23 || time[1] > 59 || time[2] > 59)
        return false;

    long days = 0;
    if (month != 0 || !numbers.empty())
    {
        long date[3];
        if (!ResolveDate(numbers, month, numbersBeforeMonth, date))
            return false;
        days = static_cast<long>(DaysFromCivil(date[0], date[1], date[2]) -
                                 DaysFromCivil(1899, 12, 30));
    }
    else if (!hasTime)
    {
        return false;
    }
    const double fraction = (time[0] * 3600 + time[1] * 60 + time[2]) / 86400.0;
    // Before day 0 the fraction still counts forward from midnight.
    result = days < 0 ? days - fraction : days + fraction;
    return true;
}

} // namespace Platform
} // namespace CppUtil
