// A message text file (.mc) read into memory, and the two files the POSIX build makes of it: the
// header with the symbolic names and the C++ source that registers the table at load time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace CppUtil
{
namespace Tools
{

class CMcFile
{
public:
    // A name declared in SeverityNames, FacilityNames or LanguageNames. m_sSymbol is the optional
    // name after the colon: a macro for severities and facilities, the binary file for languages.
    struct SName
    {
        std::string m_sName;
        std::uint32_t m_uValue;
        std::string m_sSymbol;
    };

    struct SText
    {
        std::uint32_t m_uLanguageId;
        std::string m_sText;
    };

    struct SMessage
    {
        std::uint32_t m_uId; // severity, customer bit, facility and code, as mc builds it
        std::string m_sSymbolicName;
        std::string m_sTypedef; // the MessageIdTypedef in force, the cast in the header
        unsigned int m_uOutputBase;
        unsigned int m_uLine;
        std::vector<std::string> m_oComments; // the ';' lines that came before it
        std::vector<SText> m_oTexts;
    };

    // With the customer bit, every id gets bit 29 set, as mc's -c option does.
    explicit CMcFile(bool customer = false) : m_bCustomer(customer) {}

    // Reads the whole file. On failure the error text and its line are kept and the messages
    // read so far must not be used.
    bool Parse(const std::string& text);

    const std::string& GetError() const { return m_sError; }
    unsigned int GetErrorLine() const { return m_uErrorLine; }

    const std::vector<SMessage>& GetMessages() const { return m_oMessages; }
    const std::vector<SName>& GetSeverities() const { return m_oSeverities; }
    const std::vector<SName>& GetFacilities() const { return m_oFacilities; }
    const std::vector<SName>& GetLanguages() const { return m_oLanguages; }

    std::string MakeHeader(const std::string& sourceName) const;
    // An executable's table is also the one GetModuleHandleA(NULL) finds.
    std::string MakeSource(const std::string& sourceName, const std::string& module,
                           bool executable) const;

private:
    enum class ETokenKind
    {
        End,
        Name,
        Number,
        Punctuation
    };

    struct SToken
    {
        ETokenKind m_eKind;
        std::string m_sText;
        std::uint32_t m_uValue;
        unsigned int m_uLine;
    };

    bool Fail(unsigned int line, const std::string& error);
    void SkipBlanksAndComments();
    bool NextToken(SToken& token);
    bool Expect(const char* punctuation, const SToken& after);
    bool ParseNameList(std::vector<SName>& names, std::uint32_t maxValue, bool symbolRequired);
    bool ParseMessage(const SToken& keyword);
    bool ParseText(const SToken& language, SMessage& message);
    bool ReadLine(std::string& line);
    const SName* Find(const std::vector<SName>& names, const std::string& name) const;

    bool m_bCustomer;
    std::string m_sInput;
    size_t m_uPos = 0;
    unsigned int m_uLine = 1;
    std::string m_sError;
    unsigned int m_uErrorLine = 0;

    std::string m_sTypedef;
    unsigned int m_uOutputBase = 16;
    std::uint32_t m_uLastCode = 0;
    std::vector<std::string> m_oPendingComments;
    std::vector<std::string> m_oTrailingComments;
    std::vector<SName> m_oSeverities;
    std::vector<SName> m_oFacilities;
    std::vector<SName> m_oLanguages;
    std::vector<SMessage> m_oMessages;
};

} // namespace Tools
} // namespace CppUtil
