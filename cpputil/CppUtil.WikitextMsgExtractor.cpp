#include "CppUtil.WikitextMsgExtractor.h"

#include "CppUtil.CompiledMsg.h"
#include "CppUtil.Exception.Globals.h"
#include "CppUtil.Exception.QlException.h"
#include "CppUtil.Messages.h"
#include "CppUtil.Text.WikitextTable.h"
#include "Platform/Kernel/SystemError.h"
#include "Platform/Kernel/TempFolder.h"
#include "Platform/MessageTable/MessageTableIds.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

namespace CppUtil
{
namespace
{

const Exception::CSourceFile k_oSource("CppUtil.WikitextMsgExtractor");
const char k_szLibraryModule[] = "cpputil";

[[noreturn]] void Throw(const CString& message, const char* function, unsigned int line)
{
    k_oSource.Throw(line, CString("CppUtil::CWikitextMsgExtractor::") + function, message);
}

} // namespace

const CString CWikitextMsgExtractor::k_sLibraryFileName("cpputil.messages.wiki");

CString CWikitextMsgExtractor::ListMessages(const CString& module,
                                            const std::map<unsigned long, CString>& symbolicNames)
{
    HMODULE handle = GetModuleHandleA(module.IsEmpty() ? nullptr : module.GetString());
    std::vector<DWORD> ids;
    const DWORD error =
        handle ? Platform::GetMessageTableIds(handle, ids) : static_cast<DWORD>(GetLastError());
    if (error != ERROR_SUCCESS)
    {
        CString message;
        message.Format("Could not list the message table of module %s: %s",
                       module.IsEmpty() ? "host" : module.GetString(),
                       Platform::GetSystemErrorText(error).GetString());
        Throw(message, "ListMessages", 48);
    }
    Text::CWikitextTable table;
    for (DWORD id : ids)
    {
        const auto name = symbolicNames.find(id);
        table.AddMessage(id, name == symbolicNames.end() ? std::string() : name->second.Str(),
                         CCompiledMsgBase(id, module, CString()).LoadCStr().Str());
    }
    return CString(table.Str());
}

CString CWikitextMsgExtractor::ListLibraryMessages()
{
    static const struct
    {
        unsigned long m_ulId;
        const char* m_szName;
    } k_aNames[] = {
#include "CppUtil.MessageNames.inc"
    };
    std::map<unsigned long, CString> names;
    for (const auto& name : k_aNames)
        names[name.m_ulId] = name.m_szName;
    return ListMessages(k_szLibraryModule, names);
}

void CWikitextMsgExtractor::WriteToFile(const CString& path, const CString& wikitext)
{
    errno = 0;
    std::ofstream file(path.GetString(), std::ios::binary | std::ios::trunc);
    if (file.is_open())
    {
        file.write(wikitext.GetString(), wikitext.GetLength());
        file.close();
    }
    if (!file.is_open() && file.good())
        return;
    const int error = errno;
    CString message;
    message.Format("Could not write the message list to %s: %s", path.GetString(),
                   error ? std::strerror(error) : "the file could not be written");
    Throw(message, "WriteToFile", 90);
}

CString CWikitextMsgExtractor::WriteLibraryMessages()
{
    // The folder stays a narrow path in the ANSI code page, as the file is opened with one.
    CString folder = Exception::g_sCurrentJobLogDir;
    if (folder.IsEmpty())
    {
        const std::string failure = Platform::GetTempFolder(folder);
        if (!failure.empty())
            Throw("There is no temporary folder to write the message list to: " + CString(failure),
                  "WriteLibraryMessages", 103);
    }
    const char separator = static_cast<char>(std::filesystem::path::preferred_separator);
    const char last = folder.IsEmpty() ? separator : folder[folder.GetLength() - 1];
    if (last != separator && last != '/')
        folder += separator;
    const CString path = folder + k_sLibraryFileName;
    WriteToFile(path, ListLibraryMessages());
    return path;
}

} // namespace CppUtil
