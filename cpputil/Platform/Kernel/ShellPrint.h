/// @file
/// Handing a saved document to the system's printing.
#pragma once

#include <string>

namespace CppUtil
{
namespace Platform
{

/// Prints the file the way the desktop would: the shell's "print" verb on Windows, the "lp"
/// command found on PATH (or the system's default path while PATH is unset) elsewhere. Returns
/// an empty text once the job is handed over, otherwise why it could not be (no print command,
/// or the command failed). On Windows the verb returns once the printing program has started, so
/// a failure of that program is not seen here; lp is waited for.
std::string PrintFile(const std::string& path);

} // namespace Platform
} // namespace CppUtil
