/// @file
/// The system's description of an error code.
#pragma once

#include "../Types/CString.h"
#include "../Types/WinTypes.h"

namespace CppUtil
{
namespace Platform
{

/// The text FormatMessageA gives for a system error code, without the line break Windows ends it
/// with; "Error N." when the system has none.
CString GetSystemErrorText(DWORD error);

} // namespace Platform
} // namespace CppUtil
