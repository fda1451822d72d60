// Win32 value types, exception records and error-code functions for POSIX systems. The names and
// layouts follow windows.h so that the library's classes compile unchanged on both platforms.
#pragma once

#include "../../../CppUtil.Api.h"

#include <cstdint>

typedef std::uint32_t DWORD;
typedef std::int32_t LONG;
typedef std::uint32_t ULONG;
typedef std::int32_t BOOL;
typedef unsigned char BYTE;
typedef std::uint16_t WORD;
typedef unsigned int UINT;
typedef std::int64_t LONGLONG;
typedef std::uint64_t ULONGLONG;
typedef std::int64_t __int64;
typedef std::uintptr_t UINT_PTR;
typedef std::uintptr_t ULONG_PTR;
typedef std::intptr_t LONG_PTR;
typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;
typedef void* PVOID;
typedef void* HANDLE;
typedef const char* LPCSTR;
typedef char* LPSTR;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

union LARGE_INTEGER
{
    struct
    {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
};

#define EXCEPTION_MAXIMUM_PARAMETERS 15

struct _EXCEPTION_RECORD
{
    DWORD ExceptionCode;
    DWORD ExceptionFlags;
    _EXCEPTION_RECORD* ExceptionRecord;
    PVOID ExceptionAddress;
    DWORD NumberParameters;
    ULONG_PTR ExceptionInformation[EXCEPTION_MAXIMUM_PARAMETERS];
};
typedef _EXCEPTION_RECORD EXCEPTION_RECORD;
typedef _EXCEPTION_RECORD* PEXCEPTION_RECORD;

// Processor state is not captured on POSIX; the record keeps the member for layout fidelity.
struct _CONTEXT;
typedef _CONTEXT* PCONTEXT;

struct _EXCEPTION_POINTERS
{
    PEXCEPTION_RECORD ExceptionRecord;
    PCONTEXT ContextRecord;
};
typedef _EXCEPTION_POINTERS EXCEPTION_POINTERS;

#define ERROR_SUCCESS 0L

// The calling thread's last error. On POSIX the codes are errno values, or the Win32 codes of
// WinError.h where the layer itself fails the way Windows does.
CPPUTIL_API DWORD GetLastError();
CPPUTIL_API void SetLastError(DWORD code);
CPPUTIL_API DWORD GetCurrentThreadId();
CPPUTIL_API void Sleep(DWORD milliseconds);

// Built on the types above.
#include "../../Kernel/Posix/WinError.h"
#include "../../MessageTable/Posix/WinBase.h"
#include "../../Time/Posix/WinTime.h"
