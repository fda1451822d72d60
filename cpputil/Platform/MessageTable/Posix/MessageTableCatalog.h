// The message tables of the loaded modules on POSIX systems: what GetModuleHandleA finds and
// FormatMessageA(FORMAT_MESSAGE_FROM_HMODULE) reads. Each executable or shared library built
// with cpputil_add_message_table registers its table here while it is loaded.
#pragma once

#include "../../../CppUtil.Api.h"
#include "../../Types/ApiTypes.h"

#include <cstddef>
#include <list>
#include <mutex>
#include <string>
#include <vector>

namespace CppUtil
{
namespace Platform
{

class CPPUTIL_API CMessageTableCatalog
{
public:
    // One message in one language. A table is sorted by id, then by language.
    struct SMessage
    {
        DWORD m_dwId;
        DWORD m_dwLanguageId;
        const char* m_szText;
    };

    // Never destroyed, so modules can unregister from their own static destructors whatever
    // the order in which the process tears them down.
    static CMessageTableCatalog& Instance();

    // The messages are not copied: they live in the registering module until it unregisters.
    // An executable's table is the one GetModuleHandleA(NULL) finds.
    HMODULE Register(const char* name, bool executable, const SMessage* messages, size_t count);
    void Unregister(HMODULE module);

    // NULL is the executable, which has a handle even without a table, as on Windows.
    HMODULE Find(const char* name) const;
    // ERROR_SUCCESS with the message's text, or the error FormatMessageA reports. Language 0
    // (or the user's or system's default) prefers a neutral text, then US English, then any.
    DWORD Lookup(HMODULE module, DWORD id, DWORD languageId, std::string& text) const;
    // ERROR_SUCCESS with every id of the table, in any language, ascending; otherwise the error
    // Windows gives for a module without a table.
    DWORD GetIds(HMODULE module, std::vector<DWORD>& ids) const;

    CMessageTableCatalog(const CMessageTableCatalog&) = delete;
    CMessageTableCatalog& operator=(const CMessageTableCatalog&) = delete;

private:
    struct STable
    {
        std::string m_sKey; // the name as GetModuleHandleA compares it
        const SMessage* m_poMessages;
        size_t m_uCount;
    };

    CMessageTableCatalog();
    const STable* FindTable(HMODULE module) const;
    // ERROR_SUCCESS with the module's table, or the error for a module without one.
    DWORD FindMessages(HMODULE module, const STable*& table) const;

    mutable std::mutex m_oMutex;
    STable m_oExecutable;
    std::list<STable> m_oTables; // a handle is the address of its entry, so entries never move
};

} // namespace Platform
} // namespace CppUtil
