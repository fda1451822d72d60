#include "../MessageTableIds.h"

#include "MessageTableCatalog.h"

DWORD CppUtil::Platform::GetMessageTableIds(HMODULE module, std::vector<DWORD>& ids)
{
    return CMessageTableCatalog::Instance().GetIds(module, ids);
}
