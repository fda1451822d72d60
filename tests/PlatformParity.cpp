// Drives the platform layer's stand-ins with thousands of inputs and prints one line per input,
// "section|input|answer", so that the two backends can be compared line by line:
//   PlatformParity            formatting, free-form dates, message texts, system error texts,
//                             registry values and local time in the zone TZ names
//   PlatformParity zone       local time alone (CTest runs it once for each further zone)
//   ... --check EXPECTED [DIFFERENCES]
// checks the lines against PlatformParity.expected, written by the Win32 backend; on POSIX the
// DIFFERENCES file (PlatformParity.posix) names the lines that must differ here, with a reason.
// The hand-picked inputs are read from PlatformParity.inputs beside this file.
// To write the expected file again, run the Win32 program under Wine with TZ set as CTest sets it
// (see tests/CMakeLists.txt) and without --check, and concatenate the runs.
#include <cpputil/CppUtil.DateTime.h>
#include <cpputil/Platform/Registry/CRegKey.h>
#include <cpputil/Platform/Time/COleDateTime.h>
#include <cpputil/Platform/Time/CTime.h>
#include <cpputil/Platform/Types/CString.h>

#include "RegistrySandbox.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace
{

// Line breaks, tabs, '|' and bytes outside printable ASCII are escaped so that one input or
// answer stays on one line.
std::string Escape(const std::string& text)
{
    std::string out;
    for (unsigned char c : text)
    {
        char hex[8];
        if (c == '\r')
            out += "\\r";
        else if (c == '\n')
            out += "\\n";
        else if (c == '\t')
            out += "\\t";
        else if (c == '\\')
            out += "\\\\";
        else if (c < 0x20 || c >= 0x7F || c == '|')
        {
            std::snprintf(hex, sizeof hex, "\\x%02X", c);
            out += hex;
        }
        else
            out += static_cast<char>(c);
    }
    return out;
}

// The reverse of Escape.
std::string Unescape(const std::string& text)
{
    std::string out;
    for (size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] != '\\' || i + 1 == text.size())
            out += text[i];
        else if (text[++i] == 'x')
        {
            out += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        }
        else
            out += text[i] == 'n' ? '\n' : text[i] == 'r' ? '\r' : text[i] == 't' ? '\t' : text[i];
    }
    return out;
}

// The hand-picked inputs by kind: one a line, escaped as in the output, below a "[kind]" line.
using TInputs = std::map<std::string, std::vector<std::string>>;

TInputs ReadInputs()
{
    TInputs inputs;
    std::ifstream file(CPPUTIL_PARITY_INPUTS);
    std::vector<std::string>* kind = nullptr;
    for (std::string line; std::getline(file, line);)
    {
        if (!line.empty() && line[0] == '[' && line.back() == ']')
            kind = &inputs[line.substr(1, line.size() - 2)];
        else if (kind && (line.empty() || line[0] != '#'))
            kind->push_back(Unescape(line));
    }
    return inputs;
}

class CLines
{
public:
    void Add(const std::string& section, const std::string& input, const std::string& answer)
    {
        // A generated input that repeats a hand-picked one is run once.
        const std::string key = section + "|" + Escape(input);
        if (!m_oAnswers.emplace(key, Escape(answer)).second)
            return;
        m_oOrder.push_back(key);
        m_oSections.insert(section);
    }

    void Print() const
    {
        for (const std::string& key : m_oOrder)
            std::printf("%s|%s\n", key.c_str(), m_oAnswers.at(key).c_str());
    }

    // The number of lines that differ from the expected file, with the listed differences applied.
    int Check(const char* expectedPath, const char* differencesPath) const
    {
        std::map<std::string, std::string> expected;
        if (!Read(expectedPath, expected, nullptr))
            return 1;
        std::map<std::string, std::string> reasons;
        if (differencesPath && !Read(differencesPath, expected, &reasons))
            return 1;
        int failures = 0;
        size_t listed = 0;
        for (const auto& reason : reasons)
            listed += m_oSections.count(reason.first.substr(0, reason.first.find('|')));
        for (const auto& line : expected)
        {
            if (!m_oSections.count(line.first.substr(0, line.first.find('|'))))
                continue;
            const auto found = m_oAnswers.find(line.first);
            if (found == m_oAnswers.end())
            {
                std::printf("not run: %s\n", line.first.c_str());
                ++failures;
            }
            else if (found->second != line.second)
            {
                std::printf("differs: %s\n  this backend: %s\n  expected:     %s\n",
                            line.first.c_str(), found->second.c_str(), line.second.c_str());
                ++failures;
            }
        }
        for (const std::string& key : m_oOrder)
        {
            if (!expected.count(key))
            {
                std::printf("not expected: %s|%s\n", key.c_str(), m_oAnswers.at(key).c_str());
                ++failures;
            }
        }
        std::printf("%zu inputs, %zu listed differences, %d failures\n", m_oOrder.size(), listed,
                    failures);
        return failures;
    }

private:
    // Lines "section|input|answer"; with reasons, "section|input|answer|reason" that replace the
    // expected answer.
    static bool Read(const char* path, std::map<std::string, std::string>& lines,
                     std::map<std::string, std::string>* reasons)
    {
        std::ifstream file(path);
        if (!file)
        {
            std::printf("cannot read %s\n", path);
            return false;
        }
        std::string line;
        while (std::getline(file, line))
        {
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            if (line.empty() || line[0] == '#')
                continue;
            const size_t second = line.find('|', line.find('|') + 1);
            const size_t end = reasons ? line.find('|', second + 1) : line.size();
            if (second == std::string::npos || end == std::string::npos)
            {
                std::printf("bad line in %s: %s\n", path, line.c_str());
                return false;
            }
            const std::string key = line.substr(0, second);
            lines[key] = line.substr(second + 1, end - second - 1);
            if (reasons)
                (*reasons)[key] = line.substr(end + 1);
        }
        return true;
    }

    std::map<std::string, std::string> m_oAnswers;
    std::vector<std::string> m_oOrder;
    std::set<std::string> m_oSections;
};

// --- CString::Format: every flag, width, precision and size prefix on the integer conversions,
// and the floating-point, character and string conversions.

CString Formatted(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    CString text;
    text.FormatV(format, args);
    va_end(args);
    return text;
}

void AddFormats(CLines& lines)
{
    const char* const flags[] = {"", "-", "+", " #", "0", "-+0"};
    const char* const widths[] = {"", "7"};
    const char* const precisions[] = {"", ".0", ".3"};
    const char* const sizes[] = {"", "h", "hh", "l", "ll", "I", "I32", "I64"};
    const std::int64_t values[] = {0,          -1,           42,     -123456789012LL,
                                   4294967295, 2147483648LL, -32769, 0x7FFFFFFFFFFFFFFFLL,
                                   255,        -128};
    unsigned int next = 0;
    for (const char* flag : flags)
        for (const char* width : widths)
            for (const char* precision : precisions)
                for (const char* size : sizes)
                    for (const char conversion : std::string("duoxX"))
                    {
                        const std::string format =
                            std::string("[%") + flag + width + precision + size + conversion + "]";
                        const std::int64_t value =
                            values[next++ % (sizeof values / sizeof *values)];
                        const std::string size_(size);
                        CString text;
                        // Each size reads its argument as Windows passes it.
                        if (size_ == "ll" || size_ == "I64")
                            text = Formatted(format.c_str(), static_cast<long long>(value));
                        else if (size_ == "I")
                            text = Formatted(format.c_str(), static_cast<std::intptr_t>(value));
                        else if (size_ == "l")
                            text = Formatted(format.c_str(), static_cast<long>(value));
                        else
                            text = Formatted(format.c_str(), static_cast<int>(value));
                        lines.Add("format", format + " " + std::to_string(value), text.GetString());
                    }

    const double reals[] = {0.0, -1.5, 1e10, 123.456, 1e-5, 2.5, -0.0, 1e300};
    const double infinity = std::numeric_limits<double>::infinity();
    for (const char* flag : flags)
        for (const char* width : widths)
            for (const char* precision : precisions)
                for (const char conversion : std::string("eEfgG"))
                {
                    const std::string format =
                        std::string("[%") + flag + width + precision + conversion + "]";
                    const double value = reals[next++ % (sizeof reals / sizeof *reals)];
                    char input[64];
                    std::snprintf(input, sizeof input, " %.17g", value);
                    lines.Add("format", format + input,
                              Formatted(format.c_str(), value).GetString());
                }
    // One line for a format and the text of the value it is given.
    const auto add = [&lines](const std::string& format, const char* input, auto value)
    { lines.Add("format", format + input, Formatted(format.c_str(), value).GetString()); };
    for (const char* format : {"[%f]", "[%e]", "[%g]", "[%10.2f]", "[%-+8G]"})
    {
        add(format, " inf", infinity);
        add(format, " -inf", -infinity);
    }
    for (const char* format : {"[%s]", "[%10s]", "[%-10s]", "[%.2s]", "[%10.3s]", "[%s%%]"})
        add(format, " abcdef", "abcdef");
    for (const char* format : {"[%c]", "[%5c]", "[%-5c]", "[%hc]"})
        add(format, " x", 'x');

    // Size prefixes where they mean nothing, cut short, doubled or misspelt, and pointers.
    void* const pointer = reinterpret_cast<void*>(0x1234);
    for (const std::string size : {"I64", "I32", "I"})
    {
        add("[%" + size + "c]", " x", 'x');
        add("[%" + size + "s]", " abc", "abc");
        add("[%" + size + "e]", " 1.5", 1.5);
        add("[%" + size + "p]", " 0x1234", pointer);
        add("abc%" + size, "", 5);
        add("abc%5" + size, "", 5);
    }
    for (const char* format : {"[%hI64d]", "[%lI64d]", "[%I64hd]", "[%I64ld]", "[%hI32d]",
                               "[%lI32d]", "[%I6d]", "[%I3d]", "[%I6]", "[%I640d]", "[%Id]"})
        add(format, " 5", static_cast<long long>(5));
    for (const char* format : {"[%p]", "[%20p]", "[%-20p]", "[%020p]", "[%.3p]", "[%#p]"})
        add(format, " 0x1234", pointer);
    add("[%p]", " 0xFEDCBA9876543210", reinterpret_cast<void*>(0xFEDCBA9876543210ull));

    // An octal zero with '#' and no digits of precision, among other directives.
    for (const char* format :
         {"[%#.0o]", "[%#.o]", "[%#5.0o]", "[%-#5.0o]", "[%#.0ho]", "[%#.00o]"})
    {
        add(format, " 0", 0);
        add(format, " 8", 8);
    }
    add("[%#.0ho]", " 65536", 65536);
    add("[%#.0I64o]", " 0", 0LL);
    add("[%#.0llo]", " 0", 0LL);
    lines.Add("format", "[%#.*o] 0 0", Formatted("[%#.*o]", 0, 0).GetString());
    lines.Add("format", "[%#.*o] 1 0", Formatted("[%#.*o]", 1, 0).GetString());
    lines.Add("format", "[%s %.1f %#.0o %#.0o %c] x 2.5 0 9 y",
              Formatted("[%s %.1f %#.0o %#.0o %c]", "x", 2.5, 0, 9, 'y').GetString());
}

// --- COleDateTime::ParseDateTime: the hand-picked texts, then dates in many written forms with
// times of many forms, before and after.

std::string CurrentYear()
{
    return ATL::CTime::GetCurrentTime().FormatGmt("%Y").GetString();
}

std::string ParsedDate(const std::string& text)
{
    COleDateTime value;
    if (!value.ParseDateTime(text.c_str(), 0, 0x409))
        return "refused";
    SYSTEMTIME fields;
    if (!value.GetAsSystemTime(fields))
    {
        char raw[64];
        std::snprintf(raw, sizeof raw, "outside %.6f", value.m_dt);
        return raw;
    }
    char answer[64];
    std::snprintf(answer, sizeof answer, "%04d-%02d-%02d %02d:%02d:%02d", fields.wYear,
                  fields.wMonth, fields.wDay, fields.wHour, fields.wMinute, fields.wSecond);
    // A date without a year is in the current one, which the expected file cannot know.
    std::string result(answer);
    if (result.compare(0, 4, CurrentYear()) == 0)
        result.replace(0, 4, "this");
    return result;
}

// The hand-picked texts are those whose answers Windows is known for, and the families where the
// two parsers parted.
void AddDates(CLines& lines, const TInputs& inputs)
{
    for (const std::string& text : inputs.at("date"))
        lines.Add("date", text, ParsedDate(text));

    struct SDate
    {
        int m_iYear, m_iMonth, m_iDay;
    };
    // Days that can and cannot be read as months, both centuries of two-digit years, and dates
    // that do not exist.
    const SDate dates[] = {{2021, 3, 4}, {2004, 3, 21}, {1999, 12, 31},
                           {2030, 2, 1}, {2021, 2, 30}, {2012, 6, 31}};
    const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const char* const fullMonths[] = {"January",   "February", "March",    "April",
                                      "May",       "June",     "July",     "August",
                                      "September", "October",  "November", "December"};
    const char* const times[] = {"",         "5:06", "17:06:07", "5:06 AM",   "5:06 PM",
                                 "12:00 PM", "5 PM", "5.06 PM",  "5:06:07 pm"};
    for (const SDate& date : dates)
        for (int digits : {2, 4})
        {
            char year[8];
            std::snprintf(year, sizeof year, "%0*d", digits,
                          date.m_iYear % (digits == 2 ? 100 : 10000));
            const int m = date.m_iMonth, d = date.m_iDay;
            const std::string month = months[m - 1], full = fullMonths[m - 1];
            const std::string y(year), mm = std::to_string(m), dd = std::to_string(d);
            const std::string forms[] = {
                mm + "/" + dd + "/" + y,    mm + "-" + dd + "-" + y,
                dd + "-" + month + "-" + y, month + " " + dd + ", " + y,
                dd + " " + full + " " + y,  y + "-" + mm + "-" + dd,
                y + "/" + mm + "/" + dd,    mm + "." + dd + "." + y,
                mm + " " + dd + " " + y,    "Sun, " + month + " " + dd + " " + y};
            for (const std::string& form : forms)
                for (const char* time : times)
                {
                    const std::string t(time);
                    lines.Add("date", t.empty() ? form : form + " " + t,
                              ParsedDate(t.empty() ? form : form + " " + t));
                    if (!t.empty())
                        lines.Add("date", t + " " + form, ParsedDate(t + " " + form));
                }
        }

    // Two numbers and a month name in every order, with every separator: which number is the
    // year and which the day, and when neither reading makes a date.
    const char* const numbers[] = {"1", "3", "4", "13", "25", "31", "99", "00", "2021"};
    const char* const separators[] = {" ", "/", "-", ", ", "  ", "."};
    for (const char* first : numbers)
        for (const char* second : numbers)
            for (const char* month : {"Mar", "December"})
                for (const char* separator : separators)
                    for (const char* between : {" ", "/", "-"})
                    {
                        const std::string a(first), b(second), m(month), s(separator);
                        for (const std::string& text :
                             {a + between + b + s + m, a + between + m + s + b,
                              m + between + a + s + b})
                            lines.Add("date", text, ParsedDate(text));
                    }
}

// --- FormatMessageA from a string: line widths, inserts and escapes.

std::string Message(const char* text, DWORD flags, const DWORD_PTR* arguments)
{
    char* buffer = nullptr;
    const DWORD length =
        ::FormatMessageA(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ALLOCATE_BUFFER |
                             FORMAT_MESSAGE_ARGUMENT_ARRAY | flags,
                         text, 0, 0, reinterpret_cast<LPSTR>(&buffer), 0,
                         reinterpret_cast<va_list*>(const_cast<DWORD_PTR*>(arguments)));
    if (length == 0)
        return "fails " + std::to_string(::GetLastError());
    const std::string result(buffer, length);
    ::LocalFree(buffer);
    return result;
}

// The same through a va_list, with the numbers 101 to 112 as int arguments.
std::string MessageOfNumbers(const char* text, ...)
{
    va_list arguments;
    va_start(arguments, text);
    char* buffer = nullptr;
    const DWORD length =
        ::FormatMessageA(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ALLOCATE_BUFFER, text, 0, 0,
                         reinterpret_cast<LPSTR>(&buffer), 0, &arguments);
    va_end(arguments);
    if (length == 0)
        return "fails " + std::to_string(::GetLastError());
    const std::string result(buffer, length);
    ::LocalFree(buffer);
    return result;
}

void AddMessages(CLines& lines, const TInputs& inputs)
{
    const DWORD_PTR arguments[] = {reinterpret_cast<DWORD_PTR>("alpha beta  gamma"),
                                   42,
                                   reinterpret_cast<DWORD_PTR>("x"),
                                   7,
                                   3,
                                   reinterpret_cast<DWORD_PTR>("delta"),
                                   reinterpret_cast<DWORD_PTR>("a\r\nb\tc  d"),
                                   reinterpret_cast<DWORD_PTR>("\t\t"),
                                   reinterpret_cast<DWORD_PTR>("4294967295"),
                                   reinterpret_cast<DWORD_PTR>("one\rtwo three\nfour")};
    const unsigned int widths[] = {0,  1,  2,  3,  4,  5,  6,  7,   9,   10,
                                   11, 16, 20, 33, 40, 79, 80, 253, 254, 255};
    for (const std::string& text : inputs.at("message"))
        for (unsigned int width : widths)
            for (DWORD ignore : {DWORD(0), DWORD(FORMAT_MESSAGE_IGNORE_INSERTS)})
                lines.Add("message", std::to_string(width) + (ignore ? " ignore " : " ") + text,
                          Message(text.c_str(), width | ignore, arguments));

    for (const std::string& text : inputs.at("message insert"))
        lines.Add("message", "0 " + text, Message(text.c_str(), 0, arguments));

    // Which argument a '*' width or precision and the value after it take.
    DWORD_PTR numbers[12];
    for (DWORD_PTR i = 0; i < 12; ++i)
        numbers[i] = 101 + i;
    for (const std::string& text : inputs.at("message star"))
    {
        lines.Add("message", "numbers " + text, Message(text.c_str(), 0, numbers));
        lines.Add("message", "va_list " + text,
                  MessageOfNumbers(text.c_str(), 101, 102, 103, 104, 105, 106, 107, 108, 109, 110,
                                   111, 112));
    }
}

// --- FormatMessageA from the system's table: every Win32 code the library sets or meets, and
// codes the system has no text for.

void AddSystemErrors(CLines& lines)
{
    // The kernel's and Winsock's families whole: a code either has a text of its own or fails.
    std::vector<DWORD> codes;
    for (DWORD code = 0; code <= 2000; ++code)
        codes.push_back(code);
    for (DWORD code = 10000; code <= 11100; ++code)
        codes.push_back(code);
    // No text: the system's answer is a failure, never another code's text.
    for (DWORD code : {15999u, 16384u, 40000u, 0x20000001u, 0x7FFFFFFFu, 0xFFFFFFFFu})
        codes.push_back(code);
    for (DWORD code : codes)
    {
        char* buffer = nullptr;
        const DWORD length =
            ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS |
                                 FORMAT_MESSAGE_ALLOCATE_BUFFER,
                             nullptr, code, MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US),
                             reinterpret_cast<LPSTR>(&buffer), 0, nullptr);
        // The wording is each system's own (Wine's is shorter than Windows'); whether there is
        // a text, and its form, are the same.
        std::string answer = "fails " + std::to_string(::GetLastError());
        if (length)
            answer = length > 2 && std::string(buffer + length - 2) == "\r\n"
                         ? "text"
                         : "text without its line break";
        if (buffer)
            ::LocalFree(buffer);
        lines.Add("system error", std::to_string(code), answer);
    }
}

// --- The registry through the calls both backends offer, under a key of the test's own: names
// and data in the ANSI code page's upper half, letter case, the default value, backslashes, names
// at and beyond the length limits, texts with and without their NULs, lists of odd shapes, numbers
// of the wrong size, buffers too small, and what is missing.

std::string Bytes(const void* data, size_t size)
{
    const char* text = static_cast<const char*>(data);
    if (size <= 64)
        return std::string(text, size);
    // Long data by its size and a checksum (FNV-1a).
    std::uint32_t hash = 2166136261u;
    for (size_t i = 0; i < size; ++i)
        hash = (hash ^ static_cast<unsigned char>(text[i])) * 16777619u;
    char digest[48];
    std::snprintf(digest, sizeof digest, "%zu bytes %08X", size, static_cast<unsigned>(hash));
    return digest;
}

// The answers of a series of calls on one key, in the order the calls were made.
class CRegistryProbe
{
public:
    explicit CRegistryProbe(HKEY key) : m_hKey(key) {}

    void Note(const std::string& text) { m_sLog += (m_sLog.empty() ? "" : "; ") + text; }

    // The answers so far, and a fresh start.
    std::string Take()
    {
        std::string log;
        log.swap(m_sLog);
        return log;
    }

    // The byte after the data is a NUL as in any C string, or another byte that the call must
    // not take in.
    void Set(const char* name, DWORD type, const std::string& data, char after = '\0')
    {
        const std::string buffer = data + after;
        Note("set " + std::to_string(::RegSetValueExA(m_hKey, name, 0, type,
                                                      reinterpret_cast<const BYTE*>(buffer.data()),
                                                      static_cast<DWORD>(data.size()))));
    }

    // The buffer is filled with 0xCC first, so that the answer shows whether a NUL was written
    // after the data.
    void Query(const char* name, DWORD capacity = 0x20000)
    {
        std::vector<char> buffer(capacity + 1, '\xCC');
        DWORD type = 0xDEAD;
        DWORD size = capacity;
        const LSTATUS status = ::RegQueryValueExA(m_hKey, name, nullptr, &type,
                                                  reinterpret_cast<LPBYTE>(buffer.data()), &size);
        std::string answer = "query " + std::to_string(status) + " type " + std::to_string(type) +
                             " size " + std::to_string(size);
        if (status == ERROR_SUCCESS)
        {
            answer += " data " + Bytes(buffer.data(), size);
            if (size < capacity)
                answer += " then " + std::to_string(static_cast<unsigned char>(buffer[size]));
        }
        Note(answer);
    }

    // The size alone, without a buffer.
    void Size(const char* name)
    {
        DWORD size = 0xDEAD;
        const LSTATUS status = ::RegQueryValueExA(m_hKey, name, nullptr, nullptr, nullptr, &size);
        Note("size " + std::to_string(status) + " " + std::to_string(size));
    }

    void Delete(const char* name)
    {
        Note("delete " + std::to_string(::RegDeleteValueA(m_hKey, name)));
    }

    // The value through each of CRegKey's typed queries.
    void Typed(const CppUtil::Platform::CRegKey& key, const char* name)
    {
        char text[64];
        std::memset(text, 0xCC, sizeof text);
        ULONG chars = sizeof text;
        LONG status = key.QueryStringValue(name, text, &chars);
        Note("string " + std::to_string(status) + " " + std::to_string(chars) +
             (status == ERROR_SUCCESS ? " " + std::string(text) : ""));
        std::memset(text, 0xCC, sizeof text);
        chars = sizeof text;
        status = key.QueryMultiStringValue(name, text, &chars);
        Note("list " + std::to_string(status) + " " + std::to_string(chars) +
             (status == ERROR_SUCCESS ? " " + std::string(text, chars) : ""));
        DWORD number = 0;
        Note("dword " + std::to_string(key.QueryDWORDValue(name, number)));
        ULONGLONG wide = 0;
        Note("qword " + std::to_string(key.QueryQWORDValue(name, wide)));
        chars = sizeof text;
        status = key.QueryBinaryValue(name, text, &chars);
        Note("binary " + std::to_string(status) + " " + std::to_string(chars));
    }

    // Creates the sub-key, then opens it again.
    void CreateAndOpen(const char* sub)
    {
        HKEY child = nullptr;
        DWORD disposition = 0;
        const LSTATUS created = ::RegCreateKeyExA(m_hKey, sub, 0, nullptr, 0, KEY_ALL_ACCESS,
                                                  nullptr, &child, &disposition);
        Note("create " + std::to_string(created) +
             (created == ERROR_SUCCESS ? " disposition " + std::to_string(disposition) : ""));
        if (created == ERROR_SUCCESS)
            ::RegCloseKey(child);
        Open(sub);
    }

    void Open(const char* sub)
    {
        HKEY child = nullptr;
        Note("open " + std::to_string(::RegOpenKeyExA(m_hKey, sub, 0, KEY_READ, &child)) +
             (child ? " handle" : ""));
        if (child)
            ::RegCloseKey(child);
    }

private:
    HKEY m_hKey;
    std::string m_sLog;
};

void AddRegistry(CLines& lines, const TInputs& inputs)
{
    const std::string section = "registry";
    const CRegistrySandbox sandbox;
    const CString path = sandbox.KeyPath("Parity");
    CppUtil::Platform::CRegKey key;
    LONG status = key.Create(HKEY_CURRENT_USER, path, nullptr, REG_OPTION_NON_VOLATILE,
                             KEY_ALL_ACCESS, nullptr, nullptr);
    lines.Add(section, "create the key", std::to_string(status));
    if (status != ERROR_SUCCESS)
        return;
    CRegistryProbe probe(key);

    // Names and texts in the upper half of the ANSI code page, looked up in the other letter case.
    for (const std::string& pair : inputs.at("value name and its other case"))
    {
        const std::string name = pair.substr(0, pair.find(' '));
        probe.Set(name.c_str(), REG_SZ, "v\x80\x8A\x9A\xC4\xE4\xFF " + name + '\0');
        probe.Query(name.c_str());
        probe.Query(pair.substr(name.size() + 1).c_str());
        lines.Add(section, "name " + name, probe.Take());
    }
    // A second write in the other case replaces the value.
    probe.Set("A\x9A", REG_DWORD, std::string("\x01\x02\x03\x04", 4));
    probe.Query("a\x8A");
    probe.Delete("a\x8A");
    probe.Query("A\x9A");
    lines.Add(section, "name A\x9A written again, deleted as a\x8A", probe.Take());

    // The default value: a null name and an empty one are the same.
    probe.Query(nullptr);
    probe.Set(nullptr, REG_SZ, std::string("d\0", 2));
    probe.Query("");
    probe.Set("", REG_SZ, std::string("e\0", 2));
    probe.Query(nullptr);
    probe.Delete(nullptr);
    probe.Query("");
    probe.Delete("");
    lines.Add(section, "default value", probe.Take());

    for (const std::string& text : inputs.at("value name"))
    {
        const char* const name = text.c_str();
        probe.Set(name, REG_SZ, std::string("x\0", 2));
        probe.Query(name);
        probe.Delete(name);
        probe.Query(name);
        lines.Add(section, "name " + text, probe.Take());
    }

    // Value names at and beyond the limit.
    for (size_t length : {255, 256, 16382, 16383, 16384, 16385, 20000})
    {
        const std::string name(length, 'n');
        probe.Set(name.c_str(), REG_DWORD, std::string(4, '\x07'));
        probe.Query(name.c_str());
        probe.Delete(name.c_str());
        lines.Add(section, "value name of " + std::to_string(length), probe.Take());
    }
    // Key names at and beyond the limit, as one level and below another.
    for (size_t length : {254, 255, 256, 512})
    {
        const std::string name(length, 'k');
        probe.CreateAndOpen(name.c_str());
        lines.Add(section, "key name of " + std::to_string(length), probe.Take());
        probe.CreateAndOpen(("level\\" + name).c_str());
        lines.Add(section, "key name of " + std::to_string(length) + " below another",
                  probe.Take());
    }

    // Key paths of odd shapes, and key names in both cases of the upper half.
    for (const std::string& sub : inputs.at("key name"))
    {
        probe.Open(sub.c_str());
        probe.CreateAndOpen(sub.c_str());
        lines.Add(section, "key " + sub, probe.Take());
    }
    probe.Open(nullptr);
    lines.Add(section, "key null", probe.Take());

    // Texts with and without their NULs, and with NULs inside; then through CRegKey.
    for (DWORD type : {DWORD(REG_SZ), DWORD(REG_EXPAND_SZ), DWORD(REG_MULTI_SZ), DWORD(REG_BINARY)})
        for (const std::string& text : inputs.at("value data"))
        {
            probe.Set("text", type, text);
            probe.Query("text");
            probe.Size("text");
            probe.Typed(key, "text");
            lines.Add(section, "type " + std::to_string(type) + " " + text, probe.Take());
            probe.Set("text", type, text, 'X');
            probe.Query("text");
            probe.Typed(key, "text");
            lines.Add(section, "type " + std::to_string(type) + " " + text + " before X",
                      probe.Take());
        }

    // Numbers of every size from none to nine bytes.
    for (DWORD type : {DWORD(REG_DWORD), DWORD(REG_QWORD), DWORD(REG_NONE), DWORD(5), DWORD(42)})
        for (size_t size = 0; size <= 9; ++size)
        {
            probe.Set("number", type, std::string("\x11\x22\x33\x44\x55\x66\x77\x88\x99", size));
            probe.Query("number");
            probe.Typed(key, "number");
            lines.Add(section, "type " + std::to_string(type) + " of " + std::to_string(size),
                      probe.Take());
        }

    // Binary data: none, and large.
    for (size_t size : {size_t(0), size_t(1), size_t(4096), size_t(65535), size_t(100000)})
    {
        std::string data(size, '\0');
        for (size_t i = 0; i < size; ++i)
            data[i] = static_cast<char>(i * 7 + i / 251);
        probe.Set("blob", REG_BINARY, data);
        probe.Query("blob");
        probe.Size("blob");
        lines.Add(section, "binary of " + std::to_string(size), probe.Take());
    }

    // Buffers too small, exact, and one byte larger, for each kind of data.
    for (const std::string& value : inputs.at("value type and data"))
    {
        const std::string data = value.substr(value.find(' ') + 1);
        probe.Set("small", static_cast<DWORD>(std::stoul(value)), data);
        for (DWORD capacity = 0; capacity <= data.size() + 1; ++capacity)
            probe.Query("small", capacity);
        lines.Add(section, "buffer for type " + value, probe.Take());
    }
    DWORD size = 4;
    DWORD type = 0;
    probe.Set("small", REG_SZ, std::string("hello\0", 6));
    probe.Note(std::to_string(::RegQueryValueExA(key, "small", nullptr, &type,
                                                 reinterpret_cast<LPBYTE>(&size), nullptr)));
    lines.Add(section, "data without its size", probe.Take());
    probe.Note(std::to_string(::RegSetValueExA(key, "small", 0, REG_BINARY, nullptr, 4)));
    probe.Query("small");
    probe.Note(std::to_string(::RegSetValueExA(key, "small", 0, REG_BINARY, nullptr, 0)));
    probe.Query("small");
    lines.Add(section, "size without data", probe.Take());

    // What is missing, and what the handle may not do.
    probe.Query("absent");
    probe.Size("absent");
    probe.Typed(key, "absent");
    probe.Delete("absent");
    lines.Add(section, "missing value", probe.Take());
    probe.Open("absent");
    probe.Open("absent\\deeper");
    lines.Add(section, "missing key", probe.Take());

    CppUtil::Platform::CRegKey reader;
    CppUtil::Platform::CRegKey writer;
    lines.Add(section, "open to read",
              std::to_string(reader.Open(HKEY_CURRENT_USER, path, KEY_READ)));
    lines.Add(section, "open to write",
              std::to_string(writer.Open(HKEY_CURRENT_USER, path, KEY_SET_VALUE)));
    CRegistryProbe readOnly(reader);
    readOnly.Set("ro", REG_DWORD, std::string(4, '\0'));
    readOnly.Delete("small");
    readOnly.Query("small");
    lines.Add(section, "read-only handle", readOnly.Take());
    CRegistryProbe writeOnly(writer);
    writeOnly.Query("small");
    writeOnly.Set("wo", REG_DWORD, std::string(4, '\0'));
    writeOnly.Delete("wo");
    lines.Add(section, "write-only handle", writeOnly.Take());
}

// --- Local time in the zone TZ names: local clock fields to moments around the daylight-saving
// changes of both hemispheres' rules (the repeated and the skipped hour), and moments back to
// local clock fields.

std::string ZoneName()
{
    const char* tz = std::getenv("TZ");
    return tz && *tz ? tz + (tz[0] == ':') : "UTC";
}

void AddLocalTimes(CLines& lines, const TInputs& inputs)
{
    const std::string section = "local time " + ZoneName();
    // The first, second and last Sundays of the months where the zones change (the rules of
    // Europe, North America and South Australia).
    for (int year : {2005, 2019, 2030})
        for (int month : {3, 4, 10, 11})
            for (int day = 1; day <= 31; ++day)
            {
                const ATL::CTime noon(year, month, day, 12, 0, 0);
                if (noon.GetDay() != day || noon.GetDayOfWeek() != 1 ||
                    (day > 14 && day + 7 <= 31 &&
                     ATL::CTime(year, month, day + 7, 12, 0, 0).GetMonth() == month))
                    continue;
                char input[64];
                for (int minutes : {0, 1, 30, 60, 90, 120, 121, 150, 180, 210, 1439})
                {
                    const ATL::CTime local(year, month, day, minutes / 60, minutes % 60, 0);
                    std::snprintf(input, sizeof input, "%04d-%02d-%02d %02d:%02d", year, month, day,
                                  minutes / 60, minutes % 60);
                    lines.Add(section, std::string("from ") + input,
                              local.FormatGmt("%Y-%m-%d %H:%M:%S UTC").GetString());
                }
                // Every third hour of the day in UTC, from the evening before.
                const __int64 midnight = noon.GetTime() - noon.GetTime() % 86400;
                for (__int64 t = midnight - 3 * 3600; t <= midnight + 24 * 3600; t += 3 * 3600)
                {
                    const ATL::CTime moment(t);
                    lines.Add(section,
                              std::string("to ") +
                                  moment.FormatGmt("%Y-%m-%d %H:%M UTC").GetString(),
                              moment.Format("%Y-%m-%d %H:%M:%S").GetString());
                }
            }

    // The legacy reader at the ends of the range, and before the zones' modern rules.
    for (const std::string& text : inputs.at("legacy date"))
    {
        CppUtil::CDateTime legacy;
        lines.Add(section, "legacy " + text,
                  legacy.SetLegacy(text.c_str()) ? std::string(legacy.ToString(true).GetString()) +
                                                       " = " + legacy.ToString(false).GetString()
                                                 : std::string("refused"));
    }
    for (std::int64_t t :
         {std::int64_t(32535215999), std::int64_t(32535244799), std::int64_t(910692730085)})
        lines.Add(section, "ctime " + std::to_string(t),
                  ATL::CTime(t).Format("%Y-%m-%d %H:%M:%S").GetString());

    // The stamp's zone suffix reads back in every zone, in winter and in summer, the minutes of a
    // part-hour zone west of UTC with their own sign ("-03-30"); other forms are refused.
    for (std::int64_t t : {std::int64_t(1610712000), std::int64_t(1626350400)})
    {
        const CppUtil::CDateTime printed{ATL::CTime(t)};
        const CString stamp = printed.ToString(false);
        CppUtil::CDateTime read;
        lines.Add(section, std::string("round trip ") + stamp.GetString(),
                  !read.Set(stamp, false)                         ? "refused"
                  : read.GetAsSeconds() == printed.GetAsSeconds() ? "same moment"
                                                                  : "another moment");
    }
    CppUtil::CDateTime value;
    for (const std::string& text : inputs.at("stamp"))
        lines.Add(section, "set " + text,
                  value.Set(text.c_str(), false) ? std::string(value.ToString(true).GetString())
                                                 : std::string("refused"));
}

} // namespace

int main(int argc, char** argv)
{
    const TInputs inputs = ReadInputs();
    if (inputs.empty())
    {
        std::printf("cannot read %s\n", CPPUTIL_PARITY_INPUTS);
        return 1;
    }
    CLines lines;
    int next = 1;
    if (next < argc && std::strcmp(argv[next], "zone") == 0)
        ++next;
    else
    {
        AddFormats(lines);
        AddDates(lines, inputs);
        AddMessages(lines, inputs);
        AddSystemErrors(lines);
        AddRegistry(lines, inputs);
    }
    AddLocalTimes(lines, inputs);
    if (next + 1 < argc && std::strcmp(argv[next], "--check") == 0)
        return lines.Check(argv[next + 1], next + 2 < argc ? argv[next + 2] : nullptr) ? 1 : 0;
    lines.Print();
    return 0;
}
