/// @file
/// The library's narrow texts in Unicode terms. Internal to the library (and its message compiler).
#pragma once

namespace CppUtil
{
namespace Text
{

/// The Unicode code point of a byte of the ANSI code page windows-1252, which the library's pages
/// declare. The five bytes that code page leaves unassigned keep their own value, as Windows maps
/// them.
unsigned int AnsiCodePoint(unsigned char byte);

} // namespace Text
} // namespace CppUtil
