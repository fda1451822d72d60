/// @file
/// Export macro for the CppUtil shared library.
#pragma once

#include "Platform/Detect.h"

#if defined(CPPUTIL_BUILDING)
#define CPPUTIL_API CPPUTIL_EXPORT
#else
#define CPPUTIL_API CPPUTIL_IMPORT
#endif

/// The C exports: C linkage for C++ callers, plain declarations for C ones.
#if defined(__cplusplus)
#define CPPUTIL_C_API extern "C" CPPUTIL_API
#else
#define CPPUTIL_C_API CPPUTIL_API
#endif
