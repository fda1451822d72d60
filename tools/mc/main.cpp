// cpputil-mc: the message compiler of the POSIX build. It turns a .mc file into the header with
// the symbolic names and a C++ source that registers the table under the module's name, or
// prints the messages as the wiki table that CWikitextMsgExtractor lists from a compiled table.
//
//   cpputil-mc [--customer] --module NAME [--executable] --header OUT.h --source OUT.cpp IN.mc
//   cpputil-mc [--customer] --wiki IN.mc
#include "../../cpputil/CppUtil.Text.WikitextTable.h"
#include "../../cpputil/Platform/MessageTable/Posix/MessageFormatter.h"
#include "../ReadFile.h"
#include "McFile.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

using CppUtil::Tools::ReadFile;

namespace
{

// An unchanged file keeps its time stamp, so its dependants are not compiled again.
bool WriteFileIfChanged(const std::string& path, const std::string& text)
{
    std::string old;
    if (ReadFile(path, old) && old == text)
        return true;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    return !out.fail();
}

std::string BaseName(const std::string& path)
{
    const size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

int Usage()
{
    std::cerr << "usage: cpputil-mc [--customer] --module NAME [--executable] --header OUT.h "
                 "--source OUT.cpp IN.mc\n"
                 "       cpputil-mc [--customer] --wiki IN.mc\n";
    return 2;
}

// Each message in the language FormatMessageA picks by default (neutral, then US English, then
// the first), its escapes applied as FormatMessageA applies them while inserts are ignored.
std::string Wikitext(const CppUtil::Tools::CMcFile& file)
{
    CppUtil::Text::CWikitextTable table;
    for (const CppUtil::Tools::CMcFile::SMessage& message : file.GetMessages())
    {
        const CppUtil::Tools::CMcFile::SText* chosen = &message.m_oTexts.front();
        for (std::uint32_t preferred : {0x409u, 0u})
        {
            for (const CppUtil::Tools::CMcFile::SText& text : message.m_oTexts)
            {
                if (text.m_uLanguageId == preferred)
                    chosen = &text;
            }
        }
        std::string text;
        CppUtil::Platform::CMessageFormatter(FORMAT_MESSAGE_IGNORE_INSERTS, nullptr)
            .Format(chosen->m_sText.c_str(), text);
        table.AddMessage(message.m_uId, message.m_sSymbolicName, text);
    }
    return table.Str();
}

} // namespace

int main(int argc, char** argv)
{
    std::string module;
    std::string header;
    std::string source;
    std::string input;
    bool executable = false;
    bool customer = false;
    bool wiki = false;
    for (int i = 1; i < argc; ++i)
    {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--customer")
            customer = true;
        else if (arg == "--executable")
            executable = true;
        else if (arg == "--wiki")
            wiki = true;
        else if (arg == "--module" && hasValue)
            module = argv[++i];
        else if (arg == "--header" && hasValue)
            header = argv[++i];
        else if (arg == "--source" && hasValue)
            source = argv[++i];
        else if (!arg.empty() && arg[0] != '-' && input.empty())
            input = arg;
        else
            return Usage();
    }
    const bool compile = !module.empty() && !header.empty() && !source.empty();
    if (input.empty() || compile == wiki ||
        (wiki && (executable || !module.empty() || !header.empty() || !source.empty())))
        return Usage();

    std::string text;
    if (!ReadFile(input, text))
    {
        std::cerr << input << ": error: cannot read the file: " << std::strerror(errno) << "\n";
        return 1;
    }
    CppUtil::Tools::CMcFile file(customer);
    if (!file.Parse(text))
    {
        // The form compilers use, so editors and build logs link it to the line.
        std::cerr << input << ":" << file.GetErrorLine() << ": error: " << file.GetError() << "\n";
        return 1;
    }
    if (wiki)
    {
        std::cout << Wikitext(file);
        return std::cout.flush() ? 0 : 1;
    }
    const std::string name = BaseName(input);
    if (!WriteFileIfChanged(header, file.MakeHeader(name)) ||
        !WriteFileIfChanged(source, file.MakeSource(name, module, executable)))
    {
        std::cerr << "cpputil-mc: error: cannot write " << header << " and " << source << "\n";
        return 1;
    }
    return 0;
}
