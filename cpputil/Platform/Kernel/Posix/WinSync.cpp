#include "WinSync.h"

#include "HandleTable.h"
#include "MessageQueue.h"

#include <algorithm>
#include <future>
#include <limits.h>
#include <memory>
#include <unistd.h>

using CppUtil::Platform::Posix::CDeferredWake;
using CppUtil::Platform::Posix::CHandleTable;
using CppUtil::Platform::Posix::CMessageQueue;
using CppUtil::Platform::Posix::SWaitable;

namespace CppUtil
{
namespace Platform
{

namespace
{

// As Win32's critical section, a contended one is retried for a while before the thread sleeps:
// such locks are mostly held for a few instructions, far shorter than a sleep and a wake-up. The
// budget is counted in processor pauses, about 5 to 10 microseconds in all. Not on one processor,
// where the holder cannot run while the other thread spins.
int CriticalSectionSpins()
{
    static const int s_iSpins = ::sysconf(_SC_NPROCESSORS_ONLN) > 1 ? 200 : 0;
    return s_iSpins;
}

// Tells the processor that this is a spin loop, sparing the other hardware thread and the bus.
void PauseProcessor()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    __asm__ __volatile__("yield");
#endif
}

struct SThreadStart
{
    LPTHREAD_START_ROUTINE m_pfnStart;
    LPVOID m_pParameter;
    std::shared_ptr<SWaitable> m_poThread;
    std::promise<DWORD> m_oThreadId;
};

void* RunThread(void* parameter)
{
    std::unique_ptr<SThreadStart> start(static_cast<SThreadStart*>(parameter));
    start->m_oThreadId.set_value(::GetCurrentThreadId());
    const DWORD exitCode = start->m_pfnStart(start->m_pParameter);
    // The handle is signalled only when the thread's windows are gone, as on Win32.
    CMessageQueue::EndCurrent();
    CHandleTable& table = CHandleTable::Instance();
    CDeferredWake wake;
    std::lock_guard<std::mutex> lock(table.Mutex());
    start->m_poThread->m_dwExitCode = exitCode;
    table.Signal(*start->m_poThread, wake);
    return nullptr;
}

std::shared_ptr<SWaitable> FindEvent(HANDLE event)
{
    std::shared_ptr<SWaitable> object = CHandleTable::Instance().FindObject(event);
    if (!object || object->m_bThread)
    {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return std::shared_ptr<SWaitable>();
    }
    return object;
}

} // namespace

HANDLE CreateEvent(LPSECURITY_ATTRIBUTES, BOOL manualReset, BOOL initialState, LPCSTR name)
{
    if (name && *name)
    {
        ::SetLastError(ERROR_NOT_SUPPORTED);
        return nullptr;
    }
    std::shared_ptr<SWaitable> event = std::make_shared<SWaitable>();
    event->m_bManualReset = manualReset != FALSE;
    event->m_bSignaled = initialState != FALSE;
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    return table.AddObject(event);
}

BOOL SetEvent(HANDLE event)
{
    CHandleTable& table = CHandleTable::Instance();
    CDeferredWake wake;
    std::lock_guard<std::mutex> lock(table.Mutex());
    std::shared_ptr<SWaitable> object = FindEvent(event);
    if (!object)
        return FALSE;
    table.Signal(*object, wake);
    return TRUE;
}

BOOL ResetEvent(HANDLE event)
{
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    std::shared_ptr<SWaitable> object = FindEvent(event);
    if (!object)
        return FALSE;
    object->m_bSignaled = false;
    return TRUE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds)
{
    return CHandleTable::Instance().Wait(1, &handle, false, milliseconds, nullptr, 0);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds)
{
    return CHandleTable::Instance().Wait(count, handles, waitAll != FALSE, milliseconds, nullptr,
                                         0);
}

BOOL CloseHandle(HANDLE handle)
{
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    if (table.RemoveObject(handle))
        return TRUE;
    ::SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

HANDLE CreateThread(LPSECURITY_ATTRIBUTES, SIZE_T stackSize, LPTHREAD_START_ROUTINE startAddress,
                    LPVOID parameter, DWORD creationFlags, LPDWORD threadId)
{
    if (!startAddress || (creationFlags & ~static_cast<DWORD>(STACK_SIZE_PARAM_IS_A_RESERVATION)))
    {
        ::SetLastError((creationFlags & CREATE_SUSPENDED) ? ERROR_NOT_SUPPORTED
                                                          : ERROR_INVALID_PARAMETER);
        return nullptr;
    }

    std::shared_ptr<SWaitable> thread = std::make_shared<SWaitable>();
    thread->m_bThread = true;
    thread->m_bManualReset = true;
    std::unique_ptr<SThreadStart> start(new SThreadStart{startAddress, parameter, thread, {}});
    std::future<DWORD> id = start->m_oThreadId.get_future();

    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    if (stackSize != 0)
    {
        const SIZE_T page = static_cast<SIZE_T>(::sysconf(_SC_PAGESIZE));
        const SIZE_T size = std::max<SIZE_T>(stackSize, PTHREAD_STACK_MIN);
        ::pthread_attr_setstacksize(&attributes, (size + page - 1) / page * page);
    }
    pthread_t handle;
    const int error = ::pthread_create(&handle, &attributes, &RunThread, start.get());
    ::pthread_attr_destroy(&attributes);
    if (error != 0)
    {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    start.release();

    // The kernel's thread id exists only once the thread runs; Win32 reports it at once.
    const DWORD newThreadId = id.get();
    if (threadId)
        *threadId = newThreadId;
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    return table.AddObject(thread);
}

BOOL GetExitCodeThread(HANDLE thread, LPDWORD exitCode)
{
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    std::shared_ptr<SWaitable> object = table.FindObject(thread);
    if (!object || !object->m_bThread || !exitCode)
    {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    *exitCode = object->m_dwExitCode;
    return TRUE;
}

BOOL SetThreadPriority(HANDLE thread, int)
{
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    std::shared_ptr<SWaitable> object = table.FindObject(thread);
    if (!object || !object->m_bThread)
    {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    return TRUE;
}

void InitializeCriticalSection(LPCRITICAL_SECTION section)
{
    pthread_mutexattr_t attributes;
    ::pthread_mutexattr_init(&attributes);
    ::pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    ::pthread_mutex_init(&section->Mutex, &attributes);
    ::pthread_mutexattr_destroy(&attributes);
}

void DeleteCriticalSection(LPCRITICAL_SECTION section)
{
    ::pthread_mutex_destroy(&section->Mutex);
}

void EnterCriticalSection(LPCRITICAL_SECTION section)
{
    // Retries back off, so that waiting threads do not keep taking the lock's cache line from its
    // holder.
    int pauses = 1;
    for (int spin = CriticalSectionSpins(); spin > 0; spin -= pauses)
    {
        if (::pthread_mutex_trylock(&section->Mutex) == 0)
            return;
        for (int pause = 0; pause < pauses; ++pause)
            PauseProcessor();
        pauses = std::min(pauses * 2, 16);
    }
    ::pthread_mutex_lock(&section->Mutex);
}

void LeaveCriticalSection(LPCRITICAL_SECTION section)
{
    ::pthread_mutex_unlock(&section->Mutex);
}

BOOL TryEnterCriticalSection(LPCRITICAL_SECTION section)
{
    return ::pthread_mutex_trylock(&section->Mutex) == 0 ? TRUE : FALSE;
}

} // namespace Platform
} // namespace CppUtil
