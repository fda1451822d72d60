#include "CppUtil.Settings.XmlIArchive.h"

#include "CppUtil.Exception.QlException.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <typeindex>
#include <vector>

namespace CppUtil
{
namespace Settings
{
namespace
{

using boost::property_tree::ptree;

const Exception::CSourceFile k_oSource("CppUtil.Settings.XmlIArchive");
const char* const k_szRoot = "boost_serialization";
const char* const k_szSignature = "serialization::archive";
const char* const k_szAttributes = "<xmlattr>";
/// The XML reader recurses once per level, on whatever stack the caller has.
const std::size_t k_uMaxNesting = 100;
/// A value quoted in an error text is cut here.
const std::size_t k_uMaxQuoted = 40;

[[noreturn]] void Throw(unsigned int line, const CString& message, const char* function)
{
    k_oSource.Throw(line, function, message);
}

/// The deepest element nesting in text, never less than the XML reader will reach. Comments,
/// CDATA, processing instructions and declarations are skipped as the reader skips them, and a
/// tag ends at the first '>' outside quotes; anything the reader would refuse may only count
/// too deep.
std::size_t DeepestNesting(const std::string& text)
{
    std::size_t depth = 0;
    std::size_t deepest = 0;
    std::size_t i = 0;
    const auto skipPast = [&text, &i](const char* end)
    {
        const std::size_t found = text.find(end, i);
        i = found == std::string::npos ? text.size() : found + std::char_traits<char>::length(end);
    };
    while ((i = text.find('<', i)) != std::string::npos)
    {
        const char next = i + 1 < text.size() ? text[i + 1] : '\0';
        if (text.compare(i, 4, "<!--") == 0)
            skipPast("-->");
        else if (text.compare(i, 9, "<![CDATA[") == 0)
            skipPast("]]>");
        else if (next == '?')
            skipPast("?>");
        else if (next == '!')
            skipPast(">");
        else if (next == '/')
        {
            depth -= depth > 0 ? 1 : 0;
            ++i;
        }
        else
        {
            deepest = std::max(deepest, ++depth);
            char quote = '\0';
            for (++i; i < text.size(); ++i)
            {
                const char c = text[i];
                if (quote != '\0')
                    quote = c == quote ? '\0' : quote;
                else if (c == '"' || c == '\'')
                    quote = c;
                else if (c == '>')
                {
                    depth -= text[i - 1] == '/' ? 1 : 0;
                    break;
                }
            }
        }
    }
    return deepest;
}

bool IsElement(const ptree::value_type& child)
{
    return child.first.empty() || child.first[0] != '<';
}

CString Quoted(const std::string& text)
{
    if (text.size() <= k_uMaxQuoted)
        return "\"" + CString(text) + "\"";
    return "\"" + CString(text.substr(0, k_uMaxQuoted)) + "...\"";
}

/// Surrounding blanks are allowed around a number, as in a document edited by hand.
std::string Trimmed(const std::string& text)
{
    const char* const blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return std::string();
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// The whole text is one number of type T, within T's range.
template <class T>
bool Parse(const std::string& text, T& value)
{
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, value);
    return result.ec == std::errc() && result.ptr == end;
}

} // namespace

struct CXmlIArchive::SDocument
{
    struct SLevel
    {
        const ptree* m_poElement;
        std::string m_sPath;
        /// Per child of m_poElement: whether it has been read.
        std::vector<bool> m_oRead;
    };

    CString m_sFileName;
    ptree m_oTree;
    std::vector<SLevel> m_oLevels;
    /// Per class: the version its first element in the document gave.
    std::map<std::type_index, unsigned int> m_oClassVersions;

    void Push(const ptree& element, const std::string& path)
    {
        m_oLevels.push_back(SLevel{&element, path, std::vector<bool>(element.size(), false)});
    }

    std::string PathOf(const char* name) const
    {
        const std::string& parent = m_oLevels.back().m_sPath;
        return parent.empty() ? std::string(name) : parent + "/" + name;
    }

    [[noreturn]] void Fail(unsigned int line, const std::string& path, const CString& problem,
                           const char* function) const
    {
        Throw(line,
              "The settings file \"" + m_sFileName + "\", element \"" + CString(path) +
                  "\": " + problem,
              function);
    }

    /// The first child element of that name not read yet, now marked read.
    const ptree& Take(const char* name, const char* function)
    {
        SLevel& level = m_oLevels.back();
        std::size_t index = 0;
        for (const ptree::value_type& child : *level.m_poElement)
        {
            if (!level.m_oRead[index] && child.first == name)
            {
                level.m_oRead[index] = true;
                return child.second;
            }
            ++index;
        }
        Throw(176,
              "The settings file \"" + m_sFileName + "\" has no element \"" +
                  CString(PathOf(name)) + "\".",
              function);
    }

    /// The text of a child element that holds a value rather than elements.
    const std::string& Text(const char* name, const char* function)
    {
        const ptree& element = Take(name, function);
        if (std::any_of(element.begin(), element.end(), IsElement))
            Fail(187, PathOf(name), "it holds elements, not a value.", function);
        return element.data();
    }
};

CXmlIArchive::CXmlIArchive(const CString& fileName) : m_poDocument(new SDocument)
{
    const char* const function = "CppUtil::Settings::CXmlIArchive::CXmlIArchive";
    SDocument& document = *m_poDocument;
    document.m_sFileName = fileName;
    const char* const path = fileName;
    std::ifstream file(path, std::ios::binary);
    // POSIX opens a folder as a file; Windows does not.
    if (!file || std::filesystem::is_directory(path))
        Throw(201, "Cannot open the settings file \"" + fileName + "\".", function);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (DeepestNesting(text) > k_uMaxNesting)
        Throw(204, "The settings file \"" + fileName + "\" nests elements more than 100 deep.",
              function);
    try
    {
        std::istringstream stream(text);
        boost::property_tree::read_xml(stream, document.m_oTree);
    }
    catch (const boost::property_tree::xml_parser_error& error)
    {
        CString problem;
        problem.Format("%s (line %lu)", error.message().c_str(), error.line());
        Throw(215,
              "The settings file \"" + fileName + "\" is not well-formed XML: " + problem + ".",
              function);
    }
    const auto root = document.m_oTree.find(k_szRoot);
    const ptree& tree = document.m_oTree;
    if (std::count_if(tree.begin(), tree.end(), IsElement) != 1 || root == tree.not_found() ||
        root->second.get(std::string(k_szAttributes) + ".signature", "") != k_szSignature)
        Throw(223,
              "The settings file \"" + fileName +
                  "\" is not a serialization archive: its root is "
                  "not a boost_serialization element with signature \"serialization::archive\".",
              function);
    document.Push(root->second, std::string());
}

CXmlIArchive::~CXmlIArchive() = default;

const CString& CXmlIArchive::GetFileName() const
{
    return m_poDocument->m_sFileName;
}

void CXmlIArchive::ThrowError(const CString& problem) const
{
    const SDocument& document = *m_poDocument;
    const std::string& path = document.m_oLevels.back().m_sPath;
    if (path.empty())
        Throw(243, "The settings file \"" + document.m_sFileName + "\": " + problem,
              "CppUtil::Settings::CXmlIArchive::ThrowError");
    document.Fail(245, path, problem, "CppUtil::Settings::CXmlIArchive::ThrowError");
}

void CXmlIArchive::LoadValue(const char* name, bool& value)
{
    const char* const function = "CppUtil::Settings::CXmlIArchive::LoadValue";
    const std::string text = Trimmed(m_poDocument->Text(name, function));
    if (text != "0" && text != "1")
        m_poDocument->Fail(253, m_poDocument->PathOf(name),
                           Quoted(text) + " is not a truth value (0 or 1).", function);
    value = text == "1";
}

void CXmlIArchive::LoadValue(const char* name, float& value)
{
    const char* const function = "CppUtil::Settings::CXmlIArchive::LoadValue";
    const std::string text = Trimmed(m_poDocument->Text(name, function));
    if (!Parse(text, value))
        m_poDocument->Fail(263, m_poDocument->PathOf(name),
                           Quoted(text) + " is not a number within the range of a float.",
                           function);
}

void CXmlIArchive::LoadValue(const char* name, double& value)
{
    const char* const function = "CppUtil::Settings::CXmlIArchive::LoadValue";
    const std::string text = Trimmed(m_poDocument->Text(name, function));
    if (!Parse(text, value))
        m_poDocument->Fail(273, m_poDocument->PathOf(name),
                           Quoted(text) + " is not a number within the range of a double.",
                           function);
}

void CXmlIArchive::LoadValue(const char* name, std::string& value)
{
    value = m_poDocument->Text(name, "CppUtil::Settings::CXmlIArchive::LoadValue");
}

void CXmlIArchive::LoadValue(const char* name, CString& value)
{
    value = m_poDocument->Text(name, "CppUtil::Settings::CXmlIArchive::LoadValue");
}

void CXmlIArchive::LoadSigned(const char* name, long long& value, long long min, long long max)
{
    const char* const function = "CppUtil::Settings::CXmlIArchive::LoadSigned";
    const std::string text = Trimmed(m_poDocument->Text(name, function));
    if (!Parse(text, value) || value < min || value > max)
    {
        m_poDocument->Fail(294, m_poDocument->PathOf(name),
                           Quoted(text) + " is not a whole number from " +
                               std::to_string(min).c_str() + " to " + std::to_string(max).c_str() +
                               ".",
                           function);
    }
}

void CXmlIArchive::LoadUnsigned(const char* name, unsigned long long& value, unsigned long long max)
{
    const char* const function = "CppUtil::Settings::CXmlIArchive::LoadUnsigned";
    const std::string text = Trimmed(m_poDocument->Text(name, function));
    if (!Parse(text, value) || value > max)
    {
        m_poDocument->Fail(308, m_poDocument->PathOf(name),
                           Quoted(text) + " is not a whole number from 0 to " +
                               std::to_string(max).c_str() + ".",
                           function);
    }
}

unsigned int CXmlIArchive::EnterObject(const char* name, const std::type_info& type,
                                       unsigned int newest)
{
    const char* const function = "CppUtil::Settings::CXmlIArchive::EnterObject";
    SDocument& document = *m_poDocument;
    const std::string path = document.PathOf(name);
    const ptree& element = document.Take(name, function);
    const auto known = document.m_oClassVersions.find(type);
    unsigned int version = known == document.m_oClassVersions.end() ? 0 : known->second;
    if (const boost::optional<const ptree&> attribute =
            element.get_child_optional(std::string(k_szAttributes) + ".version"))
    {
        if (!Parse(attribute->data(), version))
            document.Fail(328, path,
                          "its class version " + Quoted(attribute->data()) + " is not a number.",
                          function);
        document.m_oClassVersions[type] = version;
    }
    if (version > newest)
    {
        CString problem;
        problem.Format("its class version %u is newer than %u, the newest this program reads.",
                       version, newest);
        document.Fail(338, path, problem, function);
    }
    document.Push(element, path);
    return version;
}

void CXmlIArchive::LeaveObject()
{
    m_poDocument->m_oLevels.pop_back();
}

} // namespace Settings
} // namespace CppUtil
