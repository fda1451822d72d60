/// @file
/// Which system and compiler the library is built with: the one place that asks. Shared code reads
/// the answers below; what differs by platform lives in the Win32/ and Posix/ folder of its area,
/// one file per platform, which CMake picks.
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

/// The printf archetype must match the runtime vsnprintf actually used, or %lld/%zu checks lie.
/// Elsewhere than on MinGW the compiler knows only the C library's printf, which rejects the
/// Microsoft size prefixes (%I64d) that CString::Format reads there too: no check is declared.
/// MinGW's C standard I/O header names the archetype, by the time the macro is used.
#if defined(__GNUC__) && defined(__MINGW32__)
#define CPPUTIL_CSTRING_PRINTF(fmtIndex, firstArg)                                                 \
    __attribute__((format(__MINGW_PRINTF_FORMAT, fmtIndex, firstArg)))
#else
#define CPPUTIL_CSTRING_PRINTF(fmtIndex, firstArg)
#endif
