// Waitable handles, events, threads and critical sections of windows.h for POSIX systems. Handles
// are process-local: names, inheritance and security attributes have no meaning here.
#pragma once

#include "../../Types/Posix/WinTypes.h"

#include <cstddef>

#ifndef WINAPI
#define WINAPI
#endif

#define INFINITE 0xFFFFFFFF
#define WAIT_OBJECT_0 0x00000000L
#define WAIT_ABANDONED_0 0x00000080L
#define WAIT_TIMEOUT 0x00000102L
#define WAIT_FAILED 0xFFFFFFFF
#define MAXIMUM_WAIT_OBJECTS 64
#define STILL_ACTIVE 0x00000103L
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))

#define CREATE_SUSPENDED 0x00000004
#define STACK_SIZE_PARAM_IS_A_RESERVATION 0x00010000

#define THREAD_PRIORITY_IDLE (-15)
#define THREAD_PRIORITY_LOWEST (-2)
#define THREAD_PRIORITY_BELOW_NORMAL (-1)
#define THREAD_PRIORITY_NORMAL 0
#define THREAD_PRIORITY_ABOVE_NORMAL 1
#define THREAD_PRIORITY_HIGHEST 2
#define THREAD_PRIORITY_TIME_CRITICAL 15

namespace CppUtil
{
namespace Platform
{

typedef std::size_t SIZE_T;
typedef DWORD(WINAPI* LPTHREAD_START_ROUTINE)(LPVOID parameter);

// Named events are not supported: a name fails with ERROR_NOT_SUPPORTED.
HANDLE CreateEvent(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState,
                   LPCSTR name);
BOOL SetEvent(HANDLE event);
BOOL ResetEvent(HANDLE event);

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);
DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds);
BOOL CloseHandle(HANDLE handle);

// The handle is signalled when the thread has ended. CREATE_SUSPENDED is not supported: a
// running thread cannot be stopped from outside on POSIX.
HANDLE CreateThread(LPSECURITY_ATTRIBUTES attributes, SIZE_T stackSize,
                    LPTHREAD_START_ROUTINE startAddress, LPVOID parameter, DWORD creationFlags,
                    LPDWORD threadId);
BOOL GetExitCodeThread(HANDLE thread, LPDWORD exitCode);
// Accepted and ignored: ordinary users cannot raise a thread's priority on Linux, and the
// library's threads all run at normal priority.
BOOL SetThreadPriority(HANDLE thread, int priority);

// Recursive, like Win32's.
void InitializeCriticalSection(LPCRITICAL_SECTION section);
void DeleteCriticalSection(LPCRITICAL_SECTION section);
void EnterCriticalSection(LPCRITICAL_SECTION section);
void LeaveCriticalSection(LPCRITICAL_SECTION section);
BOOL TryEnterCriticalSection(LPCRITICAL_SECTION section);

} // namespace Platform
} // namespace CppUtil
