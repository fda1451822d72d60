// cpputil-mc: the message compiler of the POSIX build. It turns a .mc file into the header with
// the symbolic names and a C++ source that registers the table under the module's name.
//
//   cpputil-mc [--customer] --module NAME [--executable] --header OUT.h --source OUT.cpp IN.mc
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
                 "--source OUT.cpp IN.mc\n";
    return 2;
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
    for (int i = 1; i < argc; ++i)
    {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--customer")
            customer = true;
        else if (arg == "--executable")
            executable = true;
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
    if (module.empty() || header.empty() || source.empty() || input.empty())
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
    const std::string name = BaseName(input);
    if (!WriteFileIfChanged(header, file.MakeHeader(name)) ||
        !WriteFileIfChanged(source, file.MakeSource(name, module, executable)))
    {
        std::cerr << "cpputil-mc: error: cannot write " << header << " and " << source << "\n";
        return 1;
    }
    return 0;
}
