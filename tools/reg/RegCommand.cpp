#include "RegCommand.h"

#include "../ReadFile.h"

#include <cpputil/Platform/Registry/Posix/FileRegistry.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <istream>
#include <map>
#include <ostream>
#include <sstream>

using CppUtil::Platform::CFileRegistry;
using CppUtil::Platform::CRegFile;
using CppUtil::Platform::SRegSection;
using CppUtil::Platform::SRegValue;

namespace CppUtil
{
namespace Tools
{
namespace
{

const char k_szSuccess[] = "The operation completed successfully.";
const char k_szNotFound[] =
    "ERROR: The system was unable to find the specified registry key or value.";

struct SFailure
{
    std::string m_sMessage;
};

[[noreturn]] void Fail(const std::string& message)
{
    throw SFailure{message};
}

[[noreturn]] void Syntax(const std::string& verb, const std::string& detail)
{
    Fail("ERROR: Invalid syntax. " + detail + "\nType \"cpputil-reg " + verb + " /?\" for usage.");
}

std::string Upper(std::string text)
{
    for (char& ch : text)
        if (ch >= 'a' && ch <= 'z')
            ch = static_cast<char>(ch - 'a' + 'A');
    return text;
}

bool IsSwitch(const std::string& argument, const char* name)
{
    return (argument.size() >= 2 && (argument[0] == '/' || argument[0] == '-')) &&
           Upper(argument.substr(1)) == name;
}

std::string StatusText(long status)
{
    switch (status)
    {
    case ERROR_FILE_NOT_FOUND:
        return k_szNotFound;
    case ERROR_ACCESS_DENIED:
        return "ERROR: Access is denied.";
    case ERROR_INVALID_PARAMETER:
        return "ERROR: The parameter is incorrect.";
    default:
        return "ERROR: " + std::string(std::strerror(static_cast<int>(status)));
    }
}

// A key named on the command line: its hive, its path below it and its full display name.
struct SKeyName
{
    HKEY m_hHive;
    std::string m_sPath;
    std::string m_sFullName;
};

SKeyName ParseKeyName(const std::string& verb, const std::string& text)
{
    const std::size_t slash = text.find('\\');
    const HKEY hive = CFileRegistry::HiveByName(text.substr(0, slash));
    if (!hive)
        Syntax(verb, "The root key must be HKLM or HKCU (HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER).");
    SKeyName key{hive, slash == std::string::npos ? std::string() : text.substr(slash + 1), ""};
    while (!key.m_sPath.empty() && key.m_sPath.back() == '\\')
        key.m_sPath.pop_back();
    key.m_sFullName = CFileRegistry::HiveName(hive);
    if (!key.m_sPath.empty())
        key.m_sFullName += "\\" + key.m_sPath;
    return key;
}

bool Confirm(std::istream& in, std::ostream& out, const std::string& question)
{
    out << question << " (Yes/No)? " << std::flush;
    std::string answer;
    std::getline(in, answer);
    return !answer.empty() && (answer[0] == 'y' || answer[0] == 'Y');
}

const std::map<std::string, DWORD>& Types()
{
    static const std::map<std::string, DWORD> s_oTypes = {
        {"REG_NONE", REG_NONE},     {"REG_SZ", REG_SZ},       {"REG_EXPAND_SZ", REG_EXPAND_SZ},
        {"REG_BINARY", REG_BINARY}, {"REG_DWORD", REG_DWORD}, {"REG_MULTI_SZ", REG_MULTI_SZ},
        {"REG_QWORD", REG_QWORD},
    };
    return s_oTypes;
}

std::string TypeName(DWORD type)
{
    for (const auto& entry : Types())
        if (entry.second == type)
            return entry.first;
    char text[32];
    std::snprintf(text, sizeof text, "REG_0x%x", static_cast<unsigned int>(type));
    return text;
}

unsigned long long Number(const std::string& text, unsigned long long limit, const char* type)
{
    errno = 0;
    char* end = nullptr;
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const unsigned long long number = std::strtoull(text.c_str(), &end, hex ? 16 : 10);
    if (text.empty() || text[0] == '-' || !end || *end != '\0' || errno == ERANGE || number > limit)
        Fail(std::string("ERROR: Invalid value for ") + type + ": \"" + text + "\".");
    return number;
}

std::vector<unsigned char> Data(DWORD type, const std::string& data, char separator)
{
    std::vector<unsigned char> bytes;
    switch (type)
    {
    case REG_DWORD:
    case REG_QWORD:
    {
        const unsigned long long number = Number(data, type == REG_DWORD ? 0xFFFFFFFFull : ~0ull,
                                                 type == REG_DWORD ? "REG_DWORD" : "REG_QWORD");
        for (unsigned int i = 0; i < (type == REG_DWORD ? 4u : 8u); ++i)
            bytes.push_back(static_cast<unsigned char>(number >> (8 * i)));
        return bytes;
    }
    case REG_BINARY:
    case REG_NONE:
        if (data.size() % 2 != 0)
            Fail("ERROR: Invalid value for REG_BINARY: an even number of hexadecimal digits is "
                 "needed.");
        for (std::size_t i = 0; i < data.size(); i += 2)
        {
            const std::string pair = data.substr(i, 2);
            if (pair.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
                Fail("ERROR: Invalid value for REG_BINARY: \"" + data + "\".");
            bytes.push_back(static_cast<unsigned char>(std::strtoul(pair.c_str(), nullptr, 16)));
        }
        return bytes;
    case REG_MULTI_SZ:
    {
        // Without /s the texts are separated by the two characters \0, as with reg.exe.
        std::string text = data;
        std::string list;
        std::size_t start = 0;
        while (start <= text.size() && !text.empty())
        {
            std::size_t end;
            std::size_t skip;
            if (separator)
            {
                end = text.find(separator, start);
                skip = 1;
            }
            else
            {
                end = text.find("\\0", start);
                skip = 2;
            }
            if (end == std::string::npos)
                end = text.size();
            const std::string piece = text.substr(start, end - start);
            if (piece.empty() && end != text.size())
                Fail("ERROR: Invalid value for REG_MULTI_SZ: empty texts cannot be stored.");
            if (!piece.empty())
            {
                list += piece;
                list += '\0';
            }
            start = end + skip;
        }
        list += '\0';
        bytes.assign(list.begin(), list.end());
        return bytes;
    }
    default:
        bytes.assign(data.begin(), data.end());
        bytes.push_back(0);
        return bytes;
    }
}

std::string Show(const SRegValue& value)
{
    std::ostringstream text;
    const std::vector<unsigned char>& data = value.m_oData;
    if ((value.m_dwType == REG_DWORD && data.size() == 4) ||
        (value.m_dwType == REG_QWORD && data.size() == 8))
    {
        unsigned long long number = 0;
        for (std::size_t i = data.size(); i-- > 0;)
            number = (number << 8) | data[i];
        text << "0x" << std::hex << number;
    }
    else if (value.m_dwType == REG_SZ || value.m_dwType == REG_EXPAND_SZ)
        text << std::string(data.begin(), data.end()).c_str();
    else if (value.m_dwType == REG_MULTI_SZ)
    {
        std::string joined;
        for (std::size_t i = 0; i < data.size() && data[i] != 0;)
        {
            const std::string piece(reinterpret_cast<const char*>(&data[i]));
            joined += (joined.empty() ? "" : "\\0") + piece;
            i += piece.size() + 1;
        }
        text << joined;
    }
    else
    {
        char digits[4];
        for (unsigned char byte : data)
        {
            std::snprintf(digits, sizeof digits, "%02X", byte);
            text << digits;
        }
    }
    return text.str();
}

void ShowValue(std::ostream& out, const SRegValue& value)
{
    out << "    " << (value.m_sName.empty() ? "(Default)" : value.m_sName) << "    "
        << TypeName(value.m_dwType) << "    " << Show(value) << "\n";
}

std::string FindFolder(const SKeyName& key)
{
    std::string folder;
    const long status =
        CFileRegistry::FindKey(CFileRegistry::HiveFolder(key.m_hHive), key.m_sPath, false, folder);
    if (status != ERROR_SUCCESS)
        Fail(StatusText(status));
    return folder;
}

void QueryTree(std::ostream& out, const std::string& folder, const std::string& name, bool recurse)
{
    out << "\n" << name << "\n";
    for (const SRegValue& value : CFileRegistry::ReadValues(folder))
        ShowValue(out, value);
    for (const std::string& child : CFileRegistry::SubKeys(folder))
    {
        std::string childFolder;
        if (CFileRegistry::FindKey(folder, child, false, childFolder) != ERROR_SUCCESS)
            continue;
        if (recurse)
            QueryTree(out, childFolder, name + "\\" + child, true);
        else
            out << name << "\\" << child << "\n";
    }
}

int Query(const std::vector<std::string>& args, std::ostream& out)
{
    if (args.size() < 2)
        Syntax("query", "A key name is needed.");
    const SKeyName key = ParseKeyName("query", args[1]);
    bool recurse = false;
    bool single = false;
    std::string valueName;
    for (std::size_t i = 2; i < args.size(); ++i)
    {
        if (IsSwitch(args[i], "V") && i + 1 < args.size() && !single)
        {
            valueName = args[++i];
            single = true;
        }
        else if (IsSwitch(args[i], "VE") && !single)
            single = true;
        else if (IsSwitch(args[i], "S"))
            recurse = true;
        else
            Syntax("query", "Unexpected \"" + args[i] + "\".");
    }
    const std::string folder = FindFolder(key);
    if (!single)
    {
        QueryTree(out, folder, key.m_sFullName, recurse);
        out << "\n";
        return 0;
    }
    std::vector<SRegValue> values = CFileRegistry::ReadValues(folder);
    const SRegValue* value = CFileRegistry::FindValue(values, valueName);
    if (!value)
        Fail(k_szNotFound);
    out << "\n" << key.m_sFullName << "\n";
    ShowValue(out, *value);
    out << "\n";
    return 0;
}

long Open(const SKeyName& key, std::string& folder)
{
    return CFileRegistry::FindKey(CFileRegistry::HiveFolder(key.m_hHive), key.m_sPath, true,
                                  folder);
}

int Add(const std::vector<std::string>& args, std::istream& in, std::ostream& out)
{
    if (args.size() < 2)
        Syntax("add", "A key name is needed.");
    const SKeyName key = ParseKeyName("add", args[1]);
    bool named = false;
    bool force = false;
    bool hasData = false;
    std::string valueName;
    std::string data;
    std::string typeName = "REG_SZ";
    char separator = '\0';
    for (std::size_t i = 2; i < args.size(); ++i)
    {
        const bool more = i + 1 < args.size();
        if (IsSwitch(args[i], "V") && more && !named)
        {
            valueName = args[++i];
            named = true;
        }
        else if (IsSwitch(args[i], "VE") && !named)
            named = true;
        else if (IsSwitch(args[i], "T") && more)
            typeName = Upper(args[++i]);
        else if (IsSwitch(args[i], "D") && more)
        {
            data = args[++i];
            hasData = true;
        }
        else if (IsSwitch(args[i], "S") && more && args[i + 1].size() == 1)
            separator = args[++i][0];
        else if (IsSwitch(args[i], "F"))
            force = true;
        else
            Syntax("add", "Unexpected \"" + args[i] + "\".");
    }
    const auto type = Types().find(typeName);
    if (type == Types().end())
        Syntax("add", "Unknown type \"" + typeName + "\".");
    if (!named && hasData)
        Syntax("add", "/d needs /v or /ve.");
    std::vector<unsigned char> bytes;
    if (named)
        bytes = Data(type->second, data, separator);

    std::string folder;
    const long opened = Open(key, folder);
    if (opened != ERROR_SUCCESS)
        Fail(StatusText(opened));
    if (!named)
    {
        out << k_szSuccess << "\n";
        return 0;
    }
    bool cancelled = false;
    const long status = CFileRegistry::UpdateValues(
        folder, key.m_sFullName,
        [&](std::vector<SRegValue>& values)
        {
            SRegValue* existing = CFileRegistry::FindValue(values, valueName);
            if (existing && !force &&
                !Confirm(in, out,
                         "Value " + (valueName.empty() ? std::string("(Default)") : valueName) +
                             " exists, overwrite"))
            {
                cancelled = true;
                return false;
            }
            if (existing)
            {
                existing->m_dwType = type->second;
                existing->m_oData = bytes;
            }
            else
                values.push_back(SRegValue{valueName, type->second, bytes, false});
            return true;
        });
    if (cancelled)
    {
        out << "The operation was cancelled by the user.\n";
        return 1;
    }
    if (status != ERROR_SUCCESS)
        Fail(StatusText(status));
    out << k_szSuccess << "\n";
    return 0;
}

int Delete(const std::vector<std::string>& args, std::istream& in, std::ostream& out)
{
    if (args.size() < 2)
        Syntax("delete", "A key name is needed.");
    const SKeyName key = ParseKeyName("delete", args[1]);
    enum EWhat
    {
        Key,
        Value,
        AllValues
    } what = Key;
    bool force = false;
    std::string valueName;
    for (std::size_t i = 2; i < args.size(); ++i)
    {
        if (IsSwitch(args[i], "V") && i + 1 < args.size() && what == Key)
        {
            valueName = args[++i];
            what = Value;
        }
        else if (IsSwitch(args[i], "VE") && what == Key)
            what = Value;
        else if (IsSwitch(args[i], "VA") && what == Key)
            what = AllValues;
        else if (IsSwitch(args[i], "F"))
            force = true;
        else
            Syntax("delete", "Unexpected \"" + args[i] + "\".");
    }
    if (what == Key && key.m_sPath.empty())
        Fail("ERROR: A whole hive cannot be deleted.");
    const std::string folder = FindFolder(key);
    const std::string question =
        what == Key
            ? "Permanently delete the registry key " + key.m_sFullName
            : (what == AllValues ? "Delete all values under the registry key " + key.m_sFullName
                                 : "Delete the registry value " +
                                       (valueName.empty() ? std::string("(Default)") : valueName));
    if (!force && !Confirm(in, out, question))
    {
        out << "The operation was cancelled by the user.\n";
        return 1;
    }
    long status = ERROR_SUCCESS;
    if (what == Key)
        status = CFileRegistry::DeleteTree(folder);
    else
    {
        bool found = what == AllValues;
        status =
            CFileRegistry::UpdateValues(folder, key.m_sFullName,
                                        [&](std::vector<SRegValue>& values)
                                        {
                                            if (what == AllValues)
                                            {
                                                values.clear();
                                                return true;
                                            }
                                            for (auto it = values.begin(); it != values.end(); ++it)
                                            {
                                                if (CFileRegistry::SameName(it->m_sName, valueName))
                                                {
                                                    values.erase(it);
                                                    found = true;
                                                    return true;
                                                }
                                            }
                                            return false;
                                        });
        if (status == ERROR_SUCCESS && !found)
            status = ERROR_FILE_NOT_FOUND;
    }
    if (status != ERROR_SUCCESS)
        Fail(StatusText(status));
    out << k_szSuccess << "\n";
    return 0;
}

int Import(const std::vector<std::string>& args, std::ostream& out)
{
    if (args.size() != 2)
        Syntax("import", "One file name is needed.");
    std::string bytes;
    if (!ReadFile(args[1], bytes))
        Fail("ERROR: Could not open " + args[1] + ": " + std::strerror(errno));
    std::vector<SRegSection> sections;
    if (!CRegFile::Parse(bytes, sections))
        Fail("ERROR: " + args[1] + " is not a registry file.");
    // Every key is checked before the first one is changed.
    std::vector<SKeyName> keys;
    for (const SRegSection& section : sections)
    {
        const std::size_t slash = section.m_sKey.find('\\');
        if (section.m_sKey.empty() || !CFileRegistry::HiveByName(section.m_sKey.substr(0, slash)))
            Fail("ERROR: Cannot import [" + section.m_sKey +
                 "]: only HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER are kept here.");
        keys.push_back(ParseKeyName("import", section.m_sKey));
    }
    for (std::size_t i = 0; i < sections.size(); ++i)
    {
        const SRegSection& section = sections[i];
        std::string folder;
        if (section.m_bDelete)
        {
            if (CFileRegistry::FindKey(CFileRegistry::HiveFolder(keys[i].m_hHive), keys[i].m_sPath,
                                       false, folder) == ERROR_SUCCESS &&
                !keys[i].m_sPath.empty())
            {
                const long status = CFileRegistry::DeleteTree(folder);
                if (status != ERROR_SUCCESS)
                    Fail(StatusText(status));
            }
            continue;
        }
        long status = Open(keys[i], folder);
        if (status == ERROR_SUCCESS && !section.m_oValues.empty())
            status = CFileRegistry::UpdateValues(
                folder, keys[i].m_sFullName,
                [&section](std::vector<SRegValue>& values)
                {
                    for (const SRegValue& value : section.m_oValues)
                    {
                        SRegValue* existing = CFileRegistry::FindValue(values, value.m_sName);
                        if (value.m_bDelete)
                        {
                            if (existing)
                                values.erase(values.begin() + (existing - values.data()));
                        }
                        else if (existing)
                            *existing = value;
                        else
                            values.push_back(value);
                    }
                    return true;
                });
        if (status != ERROR_SUCCESS)
            Fail(StatusText(status));
    }
    out << k_szSuccess << "\n";
    return 0;
}

void Collect(const std::string& folder, const std::string& name, std::vector<SRegSection>& sections)
{
    sections.push_back(SRegSection{name, false, CFileRegistry::ReadValues(folder)});
    for (const std::string& child : CFileRegistry::SubKeys(folder))
    {
        std::string childFolder;
        if (CFileRegistry::FindKey(folder, child, false, childFolder) == ERROR_SUCCESS)
            Collect(childFolder, name + "\\" + child, sections);
    }
}

int Export(const std::vector<std::string>& args, std::istream& in, std::ostream& out)
{
    if (args.size() < 3)
        Syntax("export", "A key name and a file name are needed.");
    const SKeyName key = ParseKeyName("export", args[1]);
    bool overwrite = false;
    for (std::size_t i = 3; i < args.size(); ++i)
    {
        if (IsSwitch(args[i], "Y"))
            overwrite = true;
        else
            Syntax("export", "Unexpected \"" + args[i] + "\".");
    }
    const std::string folder = FindFolder(key);
    if (!overwrite && std::ifstream(args[2]).good() &&
        !Confirm(in, out, "File " + args[2] + " already exists. Overwrite"))
    {
        out << "The operation was cancelled by the user.\n";
        return 1;
    }
    std::vector<SRegSection> sections;
    Collect(folder, key.m_sFullName, sections);
    std::ofstream file(args[2], std::ios::binary | std::ios::trunc);
    file << CRegFile::ToUtf16(CRegFile::Write(sections));
    file.close();
    if (file.fail())
        Fail("ERROR: Could not write " + args[2] + ".");
    out << k_szSuccess << "\n";
    return 0;
}

const char k_szUsage[] =
    "cpputil-reg: the settings registry of this machine.\n"
    "\n"
    "  cpputil-reg query  KeyName [/v ValueName | /ve] [/s]\n"
    "  cpputil-reg add    KeyName [/v ValueName | /ve] [/t Type] [/s Separator] [/d Data] [/f]\n"
    "  cpputil-reg delete KeyName [/v ValueName | /ve | /va] [/f]\n"
    "  cpputil-reg import FileName\n"
    "  cpputil-reg export KeyName FileName [/y]\n"
    "\n"
    "  KeyName   HKLM\\SubKey or HKCU\\SubKey (HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER)\n"
    "  Type      REG_SZ (default), REG_MULTI_SZ, REG_EXPAND_SZ, REG_DWORD, REG_QWORD,\n"
    "            REG_BINARY, REG_NONE\n"
    "  /ve       the key's default value   /va  every value of the key\n"
    "  /s        query: the whole tree; add: the separator of REG_MULTI_SZ texts (default \\0)\n"
    "  /f /y     no confirmation\n"
    "\n"
    "The registry lives under $CPPUTIL_REGISTRY_ROOT when it is set; otherwise HKLM is\n"
    "/var/lib/cpputil/registry/HKEY_LOCAL_MACHINE and HKCU is\n"
    "${XDG_CONFIG_HOME:-$HOME/.config}/cpputil/registry/HKEY_CURRENT_USER.\n";

} // namespace

int RunRegCommand(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
                  std::ostream& err)
{
    try
    {
        if (args.empty())
            Syntax("", "An operation is needed.");
        const std::string verb = Upper(args[0]);
        if (verb == "/?" || verb == "-?" || verb == "/H" || verb == "--HELP" ||
            (args.size() == 2 && (args[1] == "/?" || args[1] == "-?")))
        {
            out << k_szUsage;
            return 0;
        }
        if (verb == "QUERY")
            return Query(args, out);
        if (verb == "ADD")
            return Add(args, in, out);
        if (verb == "DELETE")
            return Delete(args, in, out);
        if (verb == "IMPORT")
            return Import(args, out);
        if (verb == "EXPORT")
            return Export(args, in, out);
        Syntax("", "Unknown operation \"" + args[0] + "\".");
    }
    catch (const SFailure& failure)
    {
        err << failure.m_sMessage << "\n";
        return 1;
    }
}

} // namespace Tools
} // namespace CppUtil
