// Export macro for the CppUtil shared library.
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
