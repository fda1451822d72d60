/// @file
/// The ids a module's message table holds.
#pragma once

#include "../Types/WinTypes.h"

#include <vector>

namespace CppUtil
{
namespace Platform
{

/// Every id of the module's message table, in any of its languages, ascending. Returns
/// ERROR_SUCCESS, or the error the system gives for a module without a table.
DWORD GetMessageTableIds(HMODULE module, std::vector<DWORD>& ids);

} // namespace Platform
} // namespace CppUtil
