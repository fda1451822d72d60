/// @file
/// The one place that asks which system and compiler the library is built with; what differs
/// by platform lives in a file of its own in an area's Win32/ or Posix/, which CMake picks.
#pragma once

#if defined(_WIN32)
#define CPPUTIL_WINDOWS 1
#define CPPUTIL_EXPORT __declspec(dllexport)
#define CPPUTIL_IMPORT __declspec(dllimport)
#else
#define CPPUTIL_WINDOWS 0
#define CPPUTIL_EXPORT __attribute__((visibility("default")))
#define CPPUTIL_IMPORT __attribute__((visibility("default")))
#endif

/// Only Microsoft's compiler has structured-exception translators and its own warning numbers.
#if defined(_MSC_VER)
#define CPPUTIL_COMPILER_MSVC 1
/// An exported class's private standard-library members never cross the DLL boundary (C4251).
#define CPPUTIL_EXPORTED_MEMBERS_BEGIN __pragma(warning(push)) __pragma(warning(disable : 4251))
#define CPPUTIL_EXPORTED_MEMBERS_END __pragma(warning(pop))
#else
#define CPPUTIL_COMPILER_MSVC 0
#define CPPUTIL_EXPORTED_MEMBERS_BEGIN
#define CPPUTIL_EXPORTED_MEMBERS_END
#endif

/// The printf archetype of the runtime's vsnprintf, named by MinGW's <cstdio>. Elsewhere the
/// compiler knows only the C library's printf, which rejects the Microsoft size prefixes (%I64d)
/// that CString::Format reads too: no check is declared.
#if defined(__GNUC__) && defined(__MINGW32__)
#define CPPUTIL_CSTRING_PRINTF(fmtIndex, firstArg)                                                 \
    __attribute__((format(__MINGW_PRINTF_FORMAT, fmtIndex, firstArg)))
#else
#define CPPUTIL_CSTRING_PRINTF(fmtIndex, firstArg)
#endif
