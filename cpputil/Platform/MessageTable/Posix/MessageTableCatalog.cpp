#include "MessageTableCatalog.h"
#include "../../Types/Posix/WinTypes.h"

#include <algorithm>

namespace CppUtil
{
namespace Platform
{

namespace
{

const DWORD k_dwEnglishUs = 0x409;
const DWORD k_dwUserDefault = 0x400;
const DWORD k_dwSystemDefault = 0x800;

bool EndsWith(const std::string& text, const char* suffix)
{
    const std::string tail(suffix);
    return text.size() > tail.size() &&
           text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// Windows compares module names without regard to case and adds ".dll" when a name has no
// extension; here a table is found under its name with or without either extension.
std::string Key(const char* name)
{
    std::string key(name ? name : "");
    for (char& ch : key)
    {
        if (ch >= 'A' && ch <= 'Z')
            ch = static_cast<char>(ch - 'A' + 'a');
    }
    if (EndsWith(key, ".dll") || EndsWith(key, ".exe"))
        key.resize(key.size() - 4);
    return key;
}

HMODULE ToHandle(const void* table)
{
    return reinterpret_cast<HMODULE>(const_cast<void*>(table));
}

} // namespace

CMessageTableCatalog::CMessageTableCatalog() : m_oExecutable{std::string(), nullptr, 0} {}

CMessageTableCatalog& CMessageTableCatalog::Instance()
{
    static CMessageTableCatalog* s_poInstance = new CMessageTableCatalog;
    return *s_poInstance;
}

HMODULE CMessageTableCatalog::Register(const char* name, bool executable, const SMessage* messages,
                                       size_t count)
{
    std::lock_guard<std::mutex> lock(m_oMutex);
    if (executable)
    {
        m_oExecutable = STable{Key(name), messages, count};
        return ToHandle(&m_oExecutable);
    }
    m_oTables.push_back(STable{Key(name), messages, count});
    return ToHandle(&m_oTables.back());
}

void CMessageTableCatalog::Unregister(HMODULE module)
{
    std::lock_guard<std::mutex> lock(m_oMutex);
    if (module == ToHandle(&m_oExecutable))
    {
        m_oExecutable = STable{std::string(), nullptr, 0};
        return;
    }
    m_oTables.remove_if([module](const STable& table) { return ToHandle(&table) == module; });
}

HMODULE CMessageTableCatalog::Find(const char* name) const
{
    std::lock_guard<std::mutex> lock(m_oMutex);
    if (!name)
        return ToHandle(&m_oExecutable);
    const std::string key = Key(name);
    if (key.empty())
        return nullptr;
    if (key == m_oExecutable.m_sKey)
        return ToHandle(&m_oExecutable);
    for (const STable& table : m_oTables)
    {
        if (table.m_sKey == key)
            return ToHandle(&table);
    }
    return nullptr;
}

const CMessageTableCatalog::STable* CMessageTableCatalog::FindTable(HMODULE module) const
{
    if (!module || module == ToHandle(&m_oExecutable))
        return &m_oExecutable;
    for (const STable& table : m_oTables)
    {
        if (ToHandle(&table) == module)
            return &table;
    }
    return nullptr;
}

DWORD CMessageTableCatalog::FindMessages(HMODULE module, const STable*& table) const
{
    table = FindTable(module);
    // Windows answers the same for a module without any message table.
    if (!table || !table->m_poMessages)
        return ERROR_RESOURCE_DATA_NOT_FOUND;
    return ERROR_SUCCESS;
}

DWORD CMessageTableCatalog::Lookup(HMODULE module, DWORD id, DWORD languageId,
                                   std::string& text) const
{
    std::lock_guard<std::mutex> lock(m_oMutex);
    const STable* table = nullptr;
    if (const DWORD error = FindMessages(module, table))
        return error;

    // As on Windows, where each language is a resource of its own: a language the module has
    // no text in at all is not found, whatever the id.
    const SMessage* begin = table->m_poMessages;
    const SMessage* end = begin + table->m_uCount;
    const bool anyLanguage =
        languageId == 0 || languageId == k_dwUserDefault || languageId == k_dwSystemDefault;
    if (!anyLanguage && std::none_of(begin, end,
                                     [languageId](const SMessage& message)
                                     { return message.m_dwLanguageId == languageId; }))
        return ERROR_RESOURCE_LANG_NOT_FOUND;

    const SMessage* first = std::lower_bound(begin, end, id,
                                             [](const SMessage& message, DWORD value)
                                             { return message.m_dwId < value; });
    const SMessage* last = std::upper_bound(first, end, id,
                                            [](DWORD value, const SMessage& message)
                                            { return value < message.m_dwId; });
    const SMessage* found = nullptr;
    if (anyLanguage)
    {
        // A neutral text first, then US English, then any.
        for (DWORD preferred : {DWORD(0), k_dwEnglishUs})
        {
            for (const SMessage* message = first; !found && message != last; ++message)
            {
                if (message->m_dwLanguageId == preferred)
                    found = message;
            }
        }
        if (!found && first != last)
            found = first;
    }
    else
    {
        for (const SMessage* message = first; !found && message != last; ++message)
        {
            if (message->m_dwLanguageId == languageId)
                found = message;
        }
    }
    if (!found)
        return ERROR_MR_MID_NOT_FOUND;
    text = found->m_szText;
    return ERROR_SUCCESS;
}

DWORD CMessageTableCatalog::GetIds(HMODULE module, std::vector<DWORD>& ids) const
{
    ids.clear();
    std::lock_guard<std::mutex> lock(m_oMutex);
    const STable* table = nullptr;
    if (const DWORD error = FindMessages(module, table))
        return error;
    // Sorted by id already; a text in several languages is one id.
    for (size_t i = 0; i < table->m_uCount; ++i)
    {
        if (ids.empty() || ids.back() != table->m_poMessages[i].m_dwId)
            ids.push_back(table->m_poMessages[i].m_dwId);
    }
    return ERROR_SUCCESS;
}

} // namespace Platform
} // namespace CppUtil
