#include "../MessageTableIds.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>

namespace
{

const LPCSTR k_szMessageTableType = MAKEINTRESOURCEA(11); // RT_MESSAGETABLE

struct SSearch
{
    std::vector<DWORD>* m_poIds;
    bool m_bDamaged;
};

// Each language is a resource of its own; its blocks give ranges of ids.
BOOL CALLBACK AddLanguage(HMODULE module, LPCSTR type, LPCSTR name, WORD language, LONG_PTR param)
{
    SSearch& search = *reinterpret_cast<SSearch*>(param);
    HRSRC resource = ::FindResourceExA(module, type, name, language);
    HGLOBAL loaded = resource ? ::LoadResource(module, resource) : nullptr;
    const BYTE* data = loaded ? static_cast<const BYTE*>(::LockResource(loaded)) : nullptr;
    const DWORD size = resource ? ::SizeofResource(module, resource) : 0;
    if (!data || size < sizeof(DWORD))
    {
        search.m_bDamaged = true;
        return TRUE;
    }
    const DWORD blocks = reinterpret_cast<const MESSAGE_RESOURCE_DATA*>(data)->NumberOfBlocks;
    if (blocks > (size - sizeof(DWORD)) / sizeof(MESSAGE_RESOURCE_BLOCK))
    {
        search.m_bDamaged = true;
        return TRUE;
    }
    const MESSAGE_RESOURCE_BLOCK* block =
        reinterpret_cast<const MESSAGE_RESOURCE_DATA*>(data)->Blocks;
    for (DWORD i = 0; i < blocks; ++i)
    {
        // Each id of a block has an entry of at least 4 bytes, so a range wider than the
        // resource is damage, not a table.
        if (block[i].HighId < block[i].LowId || block[i].HighId - block[i].LowId >= size / 4)
        {
            search.m_bDamaged = true;
            return TRUE;
        }
        for (std::uint64_t id = block[i].LowId; id <= block[i].HighId; ++id)
            search.m_poIds->push_back(static_cast<DWORD>(id));
    }
    return TRUE;
}

} // namespace

DWORD CppUtil::Platform::GetMessageTableIds(HMODULE module, std::vector<DWORD>& ids)
{
    ids.clear();
    SSearch search{&ids, false};
    if (!::EnumResourceLanguagesA(module, k_szMessageTableType, MAKEINTRESOURCEA(1), AddLanguage,
                                  reinterpret_cast<LONG_PTR>(&search)))
        return ::GetLastError();
    if (search.m_bDamaged)
        return ERROR_RESOURCE_DATA_NOT_FOUND;
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    return ERROR_SUCCESS;
}
