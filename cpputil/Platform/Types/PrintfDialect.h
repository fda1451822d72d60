/// @file
/// Format directives that Windows' C runtime reads otherwise than the C library at hand.
#pragma once

#include <cstdarg>
#include <string>

namespace CppUtil
{
namespace Platform
{

/// The format with the Microsoft size prefixes and %p rewritten into this C library's terms, in
/// rewritten; NULL when it prints as it stands, which is nearly always and always on Windows.
const char* WithStandardSizes(const char* fmt, std::string& rewritten);

/// Windows' runtimes print an octal zero with the '#' flag and a precision of 0 as nothing, where
/// C prints "0". The format (already in this C library's terms) with '#' taken from each such
/// directive whose value in args is zero, in rewritten; NULL when it has none.
const char* WithWindowsOctalZero(const char* fmt, va_list args, std::string& rewritten);

} // namespace Platform
} // namespace CppUtil
