#include "../MessageTableIds.h"

#include "MessageTableRegistry.h"

DWORD CppUtil::Platform::GetMessageTableIds(HMODULE module, std::vector<DWORD>& ids)
{
    return CMessageTableRegistry::Instance().GetIds(module, ids);
}
