#include "McFile.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace CppUtil
{
namespace Tools
{

namespace
{

const std::uint32_t k_uMaxCode = 0xFFFF;
const std::uint32_t k_uMaxSeverity = 0x3;
const std::uint32_t k_uMaxFacility = 0xFFF;
const std::uint32_t k_uMaxLanguage = 0xFFFF;
const std::uint32_t k_uCustomerBit = 0x20000000;

bool IsNameStart(char ch)
{
    return (ch >= 'A' && ch <= 'Z') || (ch >= 'a' && ch <= 'z') || ch == '_';
}

bool IsNameChar(char ch)
{
    return IsNameStart(ch) || (ch >= '0' && ch <= '9');
}

bool IsBlank(char ch)
{
    return ch == ' ' || ch == '\t' || ch == '\r' || ch == '\v' || ch == '\f';
}

std::string Hex(std::uint32_t value)
{
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "0x%X", static_cast<unsigned int>(value));
    return buffer;
}

// Parses "123" or "0x1F"; anything else, or a value past 32 bits, is not a number.
bool ToNumber(const std::string& text, std::uint32_t& value)
{
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    std::uint64_t result = 0;
    for (size_t i = hex ? 2 : 0; i < text.size(); ++i)
    {
        const char ch = text[i];
        unsigned int digit;
        if (ch >= '0' && ch <= '9')
            digit = static_cast<unsigned int>(ch - '0');
        else if (hex && ch >= 'a' && ch <= 'f')
            digit = static_cast<unsigned int>(ch - 'a' + 10);
        else if (hex && ch >= 'A' && ch <= 'F')
            digit = static_cast<unsigned int>(ch - 'A' + 10);
        else
            return false;
        result = result * (hex ? 16 : 10) + digit;
        if (result > 0xFFFFFFFFu)
            return false;
    }
    value = static_cast<std::uint32_t>(result);
    return true;
}

// A C++ string literal for any bytes. Line breaks in the text start a new literal, so the
// generated table reads like the .mc it came from.
std::string Literal(const std::string& text, const char* indent)
{
    std::string out = "\"";
    for (size_t i = 0; i < text.size(); ++i)
    {
        const unsigned char ch = static_cast<unsigned char>(text[i]);
        switch (ch)
        {
        case '\\':
            out += "\\\\";
            break;
        case '"':
            out += "\\\"";
            break;
        case '?': // never part of a trigraph, whatever language level the host compiles with
            out += "\\?";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\n':
            out += "\\n";
            if (i + 1 < text.size())
            {
                out += "\"\n";
                out += indent;
                out += "\"";
            }
            break;
        default:
            if (ch >= 0x20 && ch < 0x7F)
            {
                out += static_cast<char>(ch);
            }
            else
            {
                // Three octal digits always, so a following digit cannot join the escape.
                char escape[8];
                std::snprintf(escape, sizeof escape, "\\%03o", ch);
                out += escape;
            }
        }
    }
    return out + "\"";
}

std::string IdText(const CMcFile::SMessage& message)
{
    const std::string& typedefName = message.m_sTypedef;
    char value[32];
    if (message.m_uOutputBase == 10)
        std::snprintf(value, sizeof value, "%uL", static_cast<unsigned int>(message.m_uId));
    else
        std::snprintf(value, sizeof value, "0x%08XL", static_cast<unsigned int>(message.m_uId));
    return typedefName.empty() ? std::string(value) : "((" + typedefName + ")" + value + ")";
}

} // namespace

bool CMcFile::Fail(unsigned int line, const std::string& error)
{
    if (m_sError.empty())
    {
        m_sError = error;
        m_uErrorLine = line;
    }
    return false;
}

void CMcFile::SkipBlanksAndComments()
{
    bool lineStart = m_uPos == 0 || m_sInput[m_uPos - 1] == '\n';
    while (m_uPos < m_sInput.size())
    {
        const char ch = m_sInput[m_uPos];
        if (ch == '\n')
        {
            ++m_uPos;
            ++m_uLine;
            lineStart = true;
        }
        else if (IsBlank(ch))
        {
            ++m_uPos;
        }
        else if (ch == ';' && lineStart)
        {
            // A comment line goes to the header as it is, without its ';'.
            const size_t end = std::min(m_sInput.find('\n', m_uPos), m_sInput.size());
            std::string comment = m_sInput.substr(m_uPos + 1, end - m_uPos - 1);
            if (!comment.empty() && comment.back() == '\r')
                comment.pop_back();
            m_oPendingComments.push_back(comment);
            m_uPos = end;
        }
        else
        {
            return;
        }
    }
}

bool CMcFile::NextToken(SToken& token)
{
    SkipBlanksAndComments();
    token.m_uLine = m_uLine;
    token.m_uValue = 0;
    token.m_sText.clear();
    if (m_uPos >= m_sInput.size())
    {
        token.m_eKind = ETokenKind::End;
        return true;
    }
    const char ch = m_sInput[m_uPos];
    if (IsNameStart(ch) || (ch >= '0' && ch <= '9'))
    {
        const size_t start = m_uPos;
        while (m_uPos < m_sInput.size() && IsNameChar(m_sInput[m_uPos]))
            ++m_uPos;
        token.m_sText = m_sInput.substr(start, m_uPos - start);
        if (IsNameStart(ch))
        {
            token.m_eKind = ETokenKind::Name;
            return true;
        }
        token.m_eKind = ETokenKind::Number;
        if (!ToNumber(token.m_sText, token.m_uValue))
            return Fail(token.m_uLine, "'" + token.m_sText + "' is not a number");
        return true;
    }
    if (ch != '\0' && std::strchr("=():+", ch))
    {
        ++m_uPos;
        token.m_eKind = ETokenKind::Punctuation;
        token.m_sText = std::string(1, ch);
        return true;
    }
    if (ch == ';')
        return Fail(m_uLine, "';' starts a comment only at the beginning of a line");
    char text[64];
    if (ch > 0x20 && ch < 0x7F)
        std::snprintf(text, sizeof text, "unexpected character '%c'", ch);
    else
        std::snprintf(text, sizeof text, "unexpected character 0x%02X",
                      static_cast<unsigned int>(static_cast<unsigned char>(ch)));
    return Fail(m_uLine, text);
}

bool CMcFile::Expect(const char* punctuation, const SToken& after)
{
    SToken token;
    if (!NextToken(token))
        return false;
    if (token.m_eKind != ETokenKind::Punctuation || token.m_sText != punctuation)
        return Fail(token.m_uLine,
                    "expected '" + std::string(punctuation) + "' after '" + after.m_sText + "'");
    return true;
}

const CMcFile::SName* CMcFile::Find(const std::vector<SName>& names, const std::string& name) const
{
    for (const SName& entry : names)
    {
        if (entry.m_sName == name)
            return &entry;
    }
    return nullptr;
}

bool CMcFile::ParseNameList(std::vector<SName>& names, std::uint32_t maxValue, bool symbolRequired)
{
    SToken token;
    for (;;)
    {
        if (!NextToken(token))
            return false;
        if (token.m_eKind == ETokenKind::Punctuation && token.m_sText == ")")
            return true;
        if (token.m_eKind != ETokenKind::Name)
            return Fail(token.m_uLine, token.m_eKind == ETokenKind::End
                                           ? "missing ')' at the end of the file"
                                           : "expected a name or ')' in the list");
        SName entry{token.m_sText, 0, std::string()};
        if (!Expect("=", token))
            return false;
        SToken value;
        if (!NextToken(value))
            return false;
        if (value.m_eKind != ETokenKind::Number)
            return Fail(value.m_uLine, "expected a number for '" + entry.m_sName + "'");
        if (value.m_uValue > maxValue)
            return Fail(value.m_uLine,
                        "the value of '" + entry.m_sName + "' is larger than " + Hex(maxValue));
        entry.m_uValue = value.m_uValue;

        // The symbol after ':' is optional except for languages, whose binary file it names.
        const size_t pos = m_uPos;
        const unsigned int line = m_uLine;
        const size_t comments = m_oPendingComments.size();
        SToken colon;
        if (!NextToken(colon))
            return false;
        if (colon.m_eKind == ETokenKind::Punctuation && colon.m_sText == ":")
        {
            SToken symbol;
            if (!NextToken(symbol))
                return false;
            if (symbol.m_eKind != ETokenKind::Name)
                return Fail(symbol.m_uLine, "expected a name after ':'");
            entry.m_sSymbol = symbol.m_sText;
        }
        else
        {
            if (symbolRequired)
                return Fail(colon.m_uLine, "expected ':' and a file name after the value of '" +
                                               entry.m_sName + "'");
            m_uPos = pos;
            m_uLine = line;
            m_oPendingComments.resize(comments);
        }

        // A name declared again takes its new value, as for mc's built-in names.
        auto existing =
            std::find_if(names.begin(), names.end(),
                         [&](const SName& name) { return name.m_sName == entry.m_sName; });
        if (existing != names.end())
            *existing = entry;
        else
            names.push_back(entry);
    }
}

bool CMcFile::ReadLine(std::string& line)
{
    if (m_uPos >= m_sInput.size())
        return false;
    const size_t end = std::min(m_sInput.find('\n', m_uPos), m_sInput.size());
    line = m_sInput.substr(m_uPos, end - m_uPos);
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    m_uPos = end;
    if (m_uPos < m_sInput.size())
    {
        ++m_uPos;
        ++m_uLine;
    }
    return true;
}

bool CMcFile::ParseText(const SToken& keyword, SMessage& message)
{
    if (!Expect("=", keyword))
        return false;
    SToken name;
    if (!NextToken(name))
        return false;
    if (name.m_eKind != ETokenKind::Name)
        return Fail(name.m_uLine, "expected a language name after 'Language='");
    const SName* language = Find(m_oLanguages, name.m_sText);
    if (!language)
        return Fail(name.m_uLine, "undeclared language '" + name.m_sText + "'");
    for (const SText& text : message.m_oTexts)
    {
        if (text.m_uLanguageId == language->m_uValue)
            return Fail(name.m_uLine, "the message already has a text in " + name.m_sText);
    }

    // The text starts on the next line: only blanks may follow the language name.
    while (m_uPos < m_sInput.size() && IsBlank(m_sInput[m_uPos]))
        ++m_uPos;
    if (m_uPos < m_sInput.size() && m_sInput[m_uPos] != '\n')
        return Fail(m_uLine, "the message text must start on the line after 'Language=" +
                                 name.m_sText + "'");
    if (m_uPos < m_sInput.size())
    {
        ++m_uPos;
        ++m_uLine;
    }

    // Each line ends with CR LF in the table, as the Microsoft compiler stores it.
    std::string text;
    std::string line;
    for (;;)
    {
        const unsigned int lineNumber = m_uLine;
        if (!ReadLine(line))
            return Fail(keyword.m_uLine,
                        "the message text has no line holding a single '.' to end it");
        if (line == ".")
        {
            if (text.empty())
                return Fail(lineNumber, "the message text is empty");
            break;
        }
        if (line.find('\0') != std::string::npos)
            return Fail(lineNumber, "NUL character in the message text");
        text += line;
        text += "\r\n";
    }
    message.m_oTexts.push_back(SText{language->m_uValue, text});
    return true;
}

bool CMcFile::ParseMessage(const SToken& keyword)
{
    SMessage message;
    message.m_uLine = keyword.m_uLine;
    message.m_uOutputBase = m_uOutputBase;
    message.m_sTypedef = m_sTypedef;
    message.m_oComments.swap(m_oPendingComments);
    if (!Expect("=", keyword))
        return false;

    // The id is optional and on the same line: absent it follows the previous message's,
    // "+n" counts from there.
    while (m_uPos < m_sInput.size() && (m_sInput[m_uPos] == ' ' || m_sInput[m_uPos] == '\t'))
        ++m_uPos;
    std::uint64_t code = m_uLastCode + 1;
    const char next = m_uPos < m_sInput.size() ? m_sInput[m_uPos] : '\n';
    if (next == '+' || (next >= '0' && next <= '9'))
    {
        SToken token;
        const bool relative = next == '+';
        if (relative && !NextToken(token))
            return false;
        if (!NextToken(token))
            return false;
        if (token.m_eKind != ETokenKind::Number)
            return Fail(token.m_uLine, "expected a number after 'MessageId=+'");
        code = relative ? m_uLastCode + std::uint64_t(token.m_uValue) : token.m_uValue;
    }
    if (code > k_uMaxCode)
        return Fail(keyword.m_uLine, "the message id is larger than " + Hex(k_uMaxCode));

    std::uint32_t severity = 0;
    std::uint32_t facility = 0;
    bool haveSeverity = false;
    bool haveFacility = false;
    bool haveSymbol = false;
    for (;;)
    {
        const size_t pos = m_uPos;
        const unsigned int line = m_uLine;
        const size_t comments = m_oPendingComments.size();
        SToken token;
        if (!NextToken(token))
            return false;
        const std::string& word = token.m_sText;
        const bool attribute = token.m_eKind == ETokenKind::Name &&
                               (word == "Severity" || word == "Facility" || word == "SymbolicName");
        if (attribute && !message.m_oTexts.empty())
            return Fail(token.m_uLine, "'" + word + "' after the message text: a new message " +
                                           "starts with 'MessageId='");
        if (token.m_eKind == ETokenKind::Name && word == "Language")
        {
            if (!ParseText(token, message))
                return false;
            continue;
        }
        if (!attribute)
        {
            if (message.m_oTexts.empty())
                return Fail(token.m_eKind == ETokenKind::End ? keyword.m_uLine : token.m_uLine,
                            token.m_eKind == ETokenKind::End
                                ? std::string("the message has no 'Language=' text")
                                : "'" + word + "' where the message expects 'Severity', " +
                                      "'Facility', 'SymbolicName' or 'Language'");
            // The message is complete; the token belongs to whatever follows.
            m_uPos = pos;
            m_uLine = line;
            m_oPendingComments.resize(comments);
            break;
        }
        bool& seen =
            word == "Severity" ? haveSeverity : (word == "Facility" ? haveFacility : haveSymbol);
        if (seen)
            return Fail(token.m_uLine, "'" + word + "' is given twice in the message");
        seen = true;
        if (!Expect("=", token))
            return false;
        SToken value;
        if (!NextToken(value))
            return false;
        if (value.m_eKind != ETokenKind::Name)
            return Fail(value.m_uLine, "expected a name after '" + word + "='");
        if (word == "SymbolicName")
        {
            message.m_sSymbolicName = value.m_sText;
            continue;
        }
        const SName* entry =
            Find(word == "Severity" ? m_oSeverities : m_oFacilities, value.m_sText);
        if (!entry)
            return Fail(value.m_uLine,
                        "undeclared " + std::string(word == "Severity" ? "severity" : "facility") +
                            " '" + value.m_sText + "'");
        (word == "Severity" ? severity : facility) = entry->m_uValue;
    }

    message.m_uId = (severity << 30) | (m_bCustomer ? k_uCustomerBit : 0) | (facility << 16) |
                    static_cast<std::uint32_t>(code);
    for (const SMessage& other : m_oMessages)
    {
        if (other.m_uId == message.m_uId)
            return Fail(keyword.m_uLine, "message id " + Hex(message.m_uId) +
                                             " is already used on line " +
                                             std::to_string(other.m_uLine));
        if (!message.m_sSymbolicName.empty() && other.m_sSymbolicName == message.m_sSymbolicName)
            return Fail(keyword.m_uLine, "symbolic name '" + message.m_sSymbolicName +
                                             "' is already used on line " +
                                             std::to_string(other.m_uLine));
    }
    m_uLastCode = static_cast<std::uint32_t>(code);
    m_oMessages.push_back(message);
    return true;
}

bool CMcFile::Parse(const std::string& text)
{
    m_sInput = text;
    m_uPos = 0;
    m_uLine = 1;
    m_sError.clear();
    m_uErrorLine = 0;
    m_sTypedef.clear();
    m_uOutputBase = 16;
    m_uLastCode = 0;
    m_oPendingComments.clear();
    m_oTrailingComments.clear();
    m_oMessages.clear();
    // mc's built-in names; the file adds to them or gives them new values.
    m_oSeverities = {
        {"Success", 0x0, ""}, {"Informational", 0x1, ""}, {"Warning", 0x2, ""}, {"Error", 0x3, ""}};
    m_oFacilities = {{"System", 0x0FF, ""}, {"Application", 0xFFF, ""}};
    m_oLanguages = {{"English", 0x409, "MSG00001"}};

    for (;;)
    {
        SToken token;
        if (!NextToken(token))
            return false;
        if (token.m_eKind == ETokenKind::End)
            break;
        const std::string& word = token.m_sText;
        if (token.m_eKind != ETokenKind::Name)
            return Fail(token.m_uLine, "expected a keyword such as 'MessageId'");
        if (word == "MessageId")
        {
            if (!ParseMessage(token))
                return false;
            continue;
        }
        const bool list =
            word == "SeverityNames" || word == "FacilityNames" || word == "LanguageNames";
        if (!list && word != "MessageIdTypedef" && word != "OutputBase")
            return Fail(token.m_uLine, "unknown keyword '" + word + "'");
        if (!Expect("=", token))
            return false;
        if (list)
        {
            if (!Expect("(", token))
                return false;
            const bool ok =
                word == "SeverityNames"   ? ParseNameList(m_oSeverities, k_uMaxSeverity, false)
                : word == "FacilityNames" ? ParseNameList(m_oFacilities, k_uMaxFacility, false)
                                          : ParseNameList(m_oLanguages, k_uMaxLanguage, true);
            if (!ok)
                return false;
            continue;
        }
        SToken value;
        if (!NextToken(value))
            return false;
        if (word == "MessageIdTypedef")
        {
            if (value.m_eKind != ETokenKind::Name)
                return Fail(value.m_uLine, "expected a type name after 'MessageIdTypedef='");
            m_sTypedef = value.m_sText;
            continue;
        }
        if (value.m_eKind != ETokenKind::Number || (value.m_uValue != 10 && value.m_uValue != 16))
            return Fail(value.m_uLine, "'OutputBase=' takes 10 or 16");
        m_uOutputBase = value.m_uValue;
    }
    if (m_oMessages.empty())
        return Fail(m_uLine, "the file defines no message");
    m_oTrailingComments.swap(m_oPendingComments);
    return true;
}

std::string CMcFile::MakeHeader(const std::string& sourceName) const
{
    std::string out;
    out += "// Generated by cpputil-mc from " + sourceName + ". Do not edit.\n";
    out += "//\n"
           "// Message ids are 32-bit values laid out as follows:\n"
           "//\n"
           "//   3 3 2 2 2 2 2 2 2 2 2 2 1 1 1 1 1 1 1 1 1 1\n"
           "//   1 0 9 8 7 6 5 4 3 2 1 0 9 8 7 6 5 4 3 2 1 0 9 8 7 6 5 4 3 2 1 0\n"
           "//  +---+-+-+-----------------------+-------------------------------+\n"
           "//  |Sev|C|R|     Facility          |               Code            |\n"
           "//  +---+-+-+-----------------------+-------------------------------+\n"
           "//\n"
           "//  Sev: severity, C: customer bit, R: reserved, Code: the facility's status code\n"
           "//\n";
    for (const std::vector<SName>* names : {&m_oSeverities, &m_oFacilities})
    {
        for (const SName& name : *names)
        {
            if (!name.m_sSymbol.empty())
                out += "#define " + name.m_sSymbol + " " + Hex(name.m_uValue) + "\n";
        }
    }
    for (const SMessage& message : m_oMessages)
    {
        for (const std::string& comment : message.m_oComments)
            out += comment + "\n";
        if (message.m_sSymbolicName.empty())
            continue;
        std::string define = "#define " + message.m_sSymbolicName;
        if (define.size() < 40)
            define.resize(40, ' ');
        out += "//\n// MessageId: " + message.m_sSymbolicName + "\n//\n" + define + " " +
               IdText(message) + "\n\n";
    }
    for (const std::string& comment : m_oTrailingComments)
        out += comment + "\n";
    return out;
}

std::string CMcFile::MakeSource(const std::string& sourceName, const std::string& module,
                                bool executable) const
{
    struct SEntry
    {
        std::uint32_t m_uId;
        std::uint32_t m_uLanguageId;
        const std::string* m_psText;
    };
    std::vector<SEntry> entries;
    for (const SMessage& message : m_oMessages)
    {
        for (const SText& text : message.m_oTexts)
            entries.push_back(SEntry{message.m_uId, text.m_uLanguageId, &text.m_sText});
    }
    // The registry finds messages by binary search.
    std::sort(entries.begin(), entries.end(),
              [](const SEntry& a, const SEntry& b) {
                  return a.m_uId != b.m_uId ? a.m_uId < b.m_uId : a.m_uLanguageId < b.m_uLanguageId;
              });

    std::string out;
    out += "// Generated by cpputil-mc from " + sourceName + ": the message table of module " +
           module + ". Do not edit.\n";
    out += "#include <cpputil/Platform/MessageTable/Posix/MessageTableCatalog.h>\n\n"
           "namespace\n{\n\n"
           "using CppUtil::Platform::CMessageTableCatalog;\n\n"
           "const CMessageTableCatalog::SMessage k_aoMessages[] = {\n";
    for (const SEntry& entry : entries)
    {
        char head[64];
        std::snprintf(head, sizeof head, "    {0x%08Xu, 0x%04Xu,\n",
                      static_cast<unsigned int>(entry.m_uId),
                      static_cast<unsigned int>(entry.m_uLanguageId));
        out += head;
        out += "     " + Literal(*entry.m_psText, "     ") + "},\n";
    }
    out += "};\n\n"
           "// Registered while the module is loaded, so a plug-in's table goes when it is "
           "unloaded.\n"
           "class CRegistration\n{\npublic:\n"
           "    CRegistration()\n"
           "        : m_hModule(CMessageTableCatalog::Instance().Register(\n"
           "              " +
           Literal(module, "") + ", " + (executable ? "true" : "false") +
           ", k_aoMessages, sizeof k_aoMessages / sizeof k_aoMessages[0]))\n"
           "    {\n    }\n"
           "    ~CRegistration() { CMessageTableCatalog::Instance().Unregister(m_hModule); }\n"
           "    CRegistration(const CRegistration&) = delete;\n"
           "    CRegistration& operator=(const CRegistration&) = delete;\n\n"
           "private:\n"
           "    CppUtil::Platform::HMODULE m_hModule;\n"
           "};\n\n"
           "const CRegistration s_oRegistration;\n\n"
           "} // namespace\n";
    return out;
}

} // namespace Tools
} // namespace CppUtil
