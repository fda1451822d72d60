/// @file
/// The module the library's code lives in, which its window classes are registered for.
#pragma once

#include "../Types/WinTypes.h"

namespace CppUtil
{
namespace Platform
{

/// The library's own module on Windows; NULL, the executable, where windows know no modules.
HINSTANCE LibraryInstance();

} // namespace Platform
} // namespace CppUtil
