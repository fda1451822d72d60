/// @file
/// Export macro for the CppUtil shared library.
#pragma once

#include "Platform/Detect.h"

#if defined(CPPUTIL_BUILDING)
#define CPPUTIL_API CPPUTIL_EXPORT
#else
#define CPPUTIL_API CPPUTIL_IMPORT
#endif

/// The platform layer's functions that the tests call: exported from the Windows DLL, which the
/// tests link; hidden on POSIX, where the tests link the library's objects themselves.
#if CPPUTIL_WINDOWS
#define CPPUTIL_INTERNAL_API CPPUTIL_API
#else
#define CPPUTIL_INTERNAL_API
#endif

/// The C exports: C linkage for C++ callers, plain declarations for C ones.
#if defined(__cplusplus)
#define CPPUTIL_C_API extern "C" CPPUTIL_API
#else
#define CPPUTIL_C_API CPPUTIL_API
#endif
