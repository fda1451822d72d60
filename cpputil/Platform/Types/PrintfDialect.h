/// @file
/// Format directives that Windows' C runtime reads otherwise than the C library at hand.
#pragma once

#include <string>

namespace CppUtil
{
namespace Platform
{

/// The format with the Microsoft size prefixes and %p rewritten into this C library's terms, in
/// rewritten; NULL when it prints as it stands, which is nearly always and always on Windows.
const char* WithStandardSizes(const char* fmt, std::string& rewritten);

} // namespace Platform
} // namespace CppUtil
