// A strict reader for the XML the chart views write: it refuses what an XML parser would
// (crossed tags, unquoted or repeated attributes, unknown entities, stray '<', bytes outside
// ASCII, content after the root) and keeps elements, attributes and text.
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
    std::string m_sText; // the text directly inside, entities resolved
    std::vector<std::unique_ptr<SElement>> m_oChildren;

    std::string Attr(const std::string& name) const
    {
        auto found = m_oAttributes.find(name);
        return found == m_oAttributes.end() ? std::string() : found->second;
    }
    bool HasClass(const std::string& name) const
    {
        return (" " + Attr("class") + " ").find(" " + name + " ") != std::string::npos;
    }
    // Every element below with the class, in document order.
    std::vector<const SElement*> ByClass(const std::string& name) const
    {
        std::vector<const SElement*> found;
        for (const auto& child : m_oChildren)
        {
            if (child->HasClass(name))
                found.push_back(child.get());
            const std::vector<const SElement*> below = child->ByClass(name);
            found.insert(found.end(), below.begin(), below.end());
        }
        return found;
    }
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
        std::unique_ptr<SElement> root = probe.Element();
        probe.Check(probe.m_uAt == text.size(), "content after the root element");
        return root;
    }

private:
    explicit CMarkupProbe(const std::string& text) : m_sText(text) {}
    void Check(bool ok, const std::string& what) const
    {
        if (!ok)
            throw std::runtime_error(what + " at offset " + std::to_string(m_uAt));
    }
    char Peek() const { return m_uAt < m_sText.size() ? m_sText[m_uAt] : '\0'; }
    void Expect(char ch)
    {
        Check(Peek() == ch, std::string("'") + ch + "' expected");
        ++m_uAt;
    }
    std::string Name()
    {
        const std::size_t start = m_uAt;
        while (std::isalnum(static_cast<unsigned char>(Peek())) || Peek() == '-' || Peek() == ':')
            ++m_uAt;
        Check(m_uAt != start, "name expected");
        return m_sText.substr(start, m_uAt - start);
    }
    // Characters up to the stop character, entities resolved (references below 256 as a byte).
    std::string Chars(char stop)
    {
        static const std::map<std::string, char> named = {
            {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
        std::string text;
        for (unsigned char ch; (ch = static_cast<unsigned char>(Peek())) != stop;)
        {
            Check(ch != '\0' && ch != '<' && ch < 0x80 && (ch >= 0x20 || std::isspace(ch)),
                  "bad character");
            if (ch != '&')
            {
                text += static_cast<char>(ch);
                ++m_uAt;
                continue;
            }
            const std::size_t end = m_sText.find(';', m_uAt);
            const std::string entity =
                end == std::string::npos ? "" : m_sText.substr(m_uAt + 1, end - m_uAt - 1);
            const bool numeric = entity.size() > 1 && entity.size() < 8 && entity[0] == '#';
            const unsigned long code = numeric ? std::stoul(entity.substr(1)) : 0;
            Check(named.count(entity) || (code > 0 && code <= 0x10FFFF), "bad entity");
            text += named.count(entity) ? named.at(entity) : code < 256 ? char(code) : '?';
            m_uAt = end + 1;
        }
        return text;
    }
    std::unique_ptr<SElement> Element()
    {
        Expect('<');
        auto element = std::make_unique<SElement>();
        element->m_sName = Name();
        for (; Peek() != '>'; ++m_uAt)
        {
            while (std::isspace(static_cast<unsigned char>(Peek())))
                ++m_uAt;
            if (Peek() == '/' && ++m_uAt)
            {
                Expect('>');
                return element;
            }
            if (Peek() == '>')
                break;
            const std::string name = Name();
            Expect('=');
            const char quote = Peek();
            Check(quote == '"' || quote == '\'', "quoted value expected");
            ++m_uAt;
            Check(element->m_oAttributes.emplace(name, Chars(quote)).second,
                  "repeated attribute " + name);
        }
        for (++m_uAt;;)
        {
            element->m_sText += Chars('<');
            if (m_sText.compare(m_uAt, 2, "</") != 0)
            {
                element->m_oChildren.push_back(Element());
                continue;
            }
            m_uAt += 2;
            Check(Name() == element->m_sName, "crossed tags in <" + element->m_sName + ">");
            Expect('>');
            return element;
        }
    }

    const std::string& m_sText;
    std::size_t m_uAt = 0;
};
