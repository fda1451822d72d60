// A strict reader for the XML the chart views write: it refuses what an XML parser would
// (unbalanced or crossed tags, unquoted or repeated attributes, unknown entities, stray '<' or
// '&', text outside the root) and keeps elements, attributes and text for the tests to look at.
#pragma once

#include <cctype>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

struct SElement
{
    std::string m_sName;
    std::map<std::string, std::string> m_oAttributes;
    std::string m_sText; // all text directly inside, entities resolved
    std::vector<std::unique_ptr<SElement>> m_oChildren;

    std::string Attr(const std::string& name) const
    {
        auto found = m_oAttributes.find(name);
        return found == m_oAttributes.end() ? std::string() : found->second;
    }
    bool HasClass(const std::string& name) const
    {
        const std::string classes = " " + Attr("class") + " ";
        return classes.find(" " + name + " ") != std::string::npos;
    }
    // Every element below (depth first, in document order) with the class.
    void FindByClass(const std::string& name, std::vector<const SElement*>& found) const
    {
        for (const auto& child : m_oChildren)
        {
            if (child->HasClass(name))
                found.push_back(child.get());
            child->FindByClass(name, found);
        }
    }
    std::vector<const SElement*> ByClass(const std::string& name) const
    {
        std::vector<const SElement*> found;
        FindByClass(name, found);
        return found;
    }
    // All text below, in document order.
    std::string AllText() const
    {
        std::string text = m_sText;
        for (const auto& child : m_oChildren)
            text += child->AllText();
        return text;
    }
};

class CMarkupProbe
{
public:
    // Throws std::runtime_error, naming the offset, when the text is not well-formed.
    static std::unique_ptr<SElement> Parse(const std::string& text)
    {
        CMarkupProbe probe(text);
        probe.SkipMisc();
        std::unique_ptr<SElement> root = probe.Element();
        probe.SkipMisc();
        if (probe.m_uAt != text.size())
            probe.Fail("content after the root element");
        return root;
    }

private:
    explicit CMarkupProbe(const std::string& text) : m_sText(text), m_uAt(0) {}

    [[noreturn]] void Fail(const std::string& what) const
    {
        throw std::runtime_error(what + " at offset " + std::to_string(m_uAt));
    }
    bool At(const char* s) const { return m_sText.compare(m_uAt, std::string(s).size(), s) == 0; }
    void SkipSpace()
    {
        while (m_uAt < m_sText.size() && std::isspace(static_cast<unsigned char>(m_sText[m_uAt])))
            ++m_uAt;
    }
    void SkipPast(const char* end)
    {
        const std::size_t found = m_sText.find(end, m_uAt);
        if (found == std::string::npos)
            Fail(std::string("missing ") + end);
        m_uAt = found + std::string(end).size();
    }
    void SkipMisc()
    {
        for (;;)
        {
            SkipSpace();
            if (At("<?"))
                SkipPast("?>");
            else if (At("<!--"))
                SkipPast("-->");
            else if (At("<!"))
                SkipPast(">");
            else
                return;
        }
    }
    std::string Name()
    {
        const std::size_t start = m_uAt;
        while (m_uAt < m_sText.size() &&
               (std::isalnum(static_cast<unsigned char>(m_sText[m_uAt])) ||
                std::string("_-:.").find(m_sText[m_uAt]) != std::string::npos))
            ++m_uAt;
        if (m_uAt == start)
            Fail("name expected");
        return m_sText.substr(start, m_uAt - start);
    }
    std::string Entity()
    {
        const std::size_t end = m_sText.find(';', m_uAt);
        if (end == std::string::npos || end - m_uAt > 10)
            Fail("bad entity");
        const std::string name = m_sText.substr(m_uAt + 1, end - m_uAt - 1);
        m_uAt = end + 1;
        static const std::map<std::string, std::string> named = {
            {"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"apos", "'"}};
        if (named.count(name))
            return named.at(name);
        if (name.size() > 1 && name[0] == '#')
        {
            const bool hex = name[1] == 'x';
            const unsigned long code = std::stoul(name.substr(hex ? 2 : 1), nullptr, hex ? 16 : 10);
            if (code == 0 || code > 0x10FFFF)
                Fail("bad character reference");
            // Enough for the tests: code points below 256 as one byte.
            return code < 256 ? std::string(1, static_cast<char>(code)) : std::string("?");
        }
        Fail("unknown entity " + name);
    }
    std::string Chars(char stop)
    {
        std::string text;
        while (m_uAt < m_sText.size() && m_sText[m_uAt] != stop)
        {
            const char ch = m_sText[m_uAt];
            if (ch == '&')
                text += Entity();
            else if (ch == '<' && stop != '<')
                Fail("'<' in attribute value");
            else if (static_cast<unsigned char>(ch) < 0x20 && ch != '\t' && ch != '\n' &&
                     ch != '\r')
                Fail("control character");
            else if (static_cast<unsigned char>(ch) >= 0x80)
                Fail("byte outside ASCII");
            else
                text += m_sText[m_uAt++];
        }
        return text;
    }
    std::unique_ptr<SElement> Element()
    {
        if (!At("<"))
            Fail("'<' expected");
        ++m_uAt;
        auto element = std::make_unique<SElement>();
        element->m_sName = Name();
        for (;;)
        {
            SkipSpace();
            if (At("/>"))
            {
                m_uAt += 2;
                return element;
            }
            if (At(">"))
            {
                ++m_uAt;
                break;
            }
            const std::string name = Name();
            SkipSpace();
            if (!At("="))
                Fail("'=' expected");
            ++m_uAt;
            SkipSpace();
            if (!At("\"") && !At("'"))
                Fail("quoted value expected");
            const char quote = m_sText[m_uAt++];
            const std::string value = Chars(quote);
            if (m_uAt >= m_sText.size())
                Fail("unterminated value");
            ++m_uAt;
            if (!element->m_oAttributes.emplace(name, value).second)
                Fail("repeated attribute " + name);
        }
        for (;;)
        {
            element->m_sText += Chars('<');
            if (m_uAt >= m_sText.size())
                Fail("unclosed <" + element->m_sName + ">");
            if (At("</"))
            {
                m_uAt += 2;
                if (Name() != element->m_sName)
                    Fail("crossed tags in <" + element->m_sName + ">");
                SkipSpace();
                if (!At(">"))
                    Fail("'>' expected");
                ++m_uAt;
                return element;
            }
            if (At("<!--"))
                SkipPast("-->");
            else
                element->m_oChildren.push_back(Element());
        }
    }

    const std::string& m_sText;
    std::size_t m_uAt;
};
