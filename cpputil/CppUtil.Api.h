/// @file
/// Export macro for the CppUtil shared library.
#pragma once

#if defined(_WIN32)
#if defined(CPPUTIL_BUILDING)
#define CPPUTIL_API __declspec(dllexport)
#else
#define CPPUTIL_API __declspec(dllimport)
#endif
#else
#define CPPUTIL_API __attribute__((visibility("default")))
#endif

/// The C exports: C linkage for C++ callers, plain declarations for C ones.
#if defined(__cplusplus)
#define CPPUTIL_C_API extern "C" CPPUTIL_API
#else
#define CPPUTIL_C_API CPPUTIL_API
#endif
