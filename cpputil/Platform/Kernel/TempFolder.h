/// @file
/// The folder for temporary files, as the system names it.
#pragma once

#include "../Types/CString.h"

#include <string>

namespace CppUtil
{
namespace Platform
{

/// Sets folder to the temporary folder in the ANSI code page, as the library's narrow paths are
/// (Windows: GetTempPathA; elsewhere TMPDIR and its kin, else /tmp). Returns an empty text, or
/// why there is none.
std::string GetTempFolder(CString& folder);

} // namespace Platform
} // namespace CppUtil
