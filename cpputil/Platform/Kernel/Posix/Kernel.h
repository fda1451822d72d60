// Process-wide state behind the POSIX Win32 names: handles, windows, window classes and the
// threads' message queues, all under one lock. One lock keeps a wait for handles and queue input
// (MsgWaitForMultipleObjects) free of lost wake-ups; message traffic is far too light for it to
// be contended.
#pragma once

#include "WinMessages.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace CppUtil
{
namespace Platform
{
namespace Posix
{

class CMessageQueue;

typedef std::chrono::steady_clock TClock;

// A sleeping thread's condition. Shared, so that it can be notified after the kernel's lock is
// released even if the sleeper has already woken for another reason and left.
typedef std::shared_ptr<std::condition_variable> TWaker;

// Collects the conditions to notify and notifies them when it goes. Declared before the lock is
// taken, it notifies after the lock is released, so that a woken thread does not at once block on
// the lock its waker still holds: a thread hand-off then costs one wake-up instead of two.
class CDeferredWake
{
public:
    CDeferredWake() = default;
    CDeferredWake(const CDeferredWake&) = delete;
    CDeferredWake& operator=(const CDeferredWake&) = delete;
    ~CDeferredWake()
    {
        for (const TWaker& waker : m_oWakers)
            waker->notify_all();
    }

    void Add(const TWaker& waker) { m_oWakers.push_back(waker); }

private:
    std::vector<TWaker> m_oWakers;
};

// An event, or a thread: a manual-reset event that is set when the thread ends.
struct SWaitable
{
    bool m_bThread = false;
    bool m_bManualReset = false;
    bool m_bSignaled = false;
    DWORD m_dwExitCode = STILL_ACTIVE;
    // Everyone blocked on this object; each is notified when it is signalled.
    std::vector<TWaker> m_oWaiters;
};

struct SWindow
{
    std::shared_ptr<CMessageQueue> m_poQueue;
    WNDPROC m_pfnProc = nullptr;
    LONG_PTR m_lUserData = 0;
    std::string m_sClass;
    std::string m_sName;
    bool m_bMessageOnly = false;
    bool m_bDestroying = false;
};

class CKernel
{
public:
    static CKernel& Instance();

    std::mutex& Mutex() { return m_oMutex; }

    // The members below expect Mutex() to be held.

    HANDLE AddObject(const std::shared_ptr<SWaitable>& object);
    std::shared_ptr<SWaitable> FindObject(HANDLE handle) const;
    bool RemoveObject(HANDLE handle);
    void Signal(SWaitable& object, CDeferredWake& wake);

    HWND AddWindow(SWindow&& window);
    SWindow* Window(HWND handle);
    // The same, failing the way Win32 calls on a window do: null with ERROR_INVALID_WINDOW_HANDLE.
    SWindow* WindowOrFail(HWND handle);
    void RemoveWindow(HWND handle);
    // The newest window that FindWindow may report whose class and name match; null matches all.
    HWND FindWindowByName(const char* className, const char* windowName) const;
    std::vector<HWND> WindowsOf(const CMessageQueue* queue) const;

    bool AddClass(const char* name, WNDPROC proc);
    WNDPROC FindClass(const char* name) const;

    void AddQueue(DWORD threadId, const std::shared_ptr<CMessageQueue>& queue);
    void RemoveQueue(DWORD threadId, const CMessageQueue* queue);
    std::shared_ptr<CMessageQueue> FindQueue(DWORD threadId) const;

    // Takes Mutex() itself. With a queue, its input selected by wakeMask also ends the wait,
    // returning WAIT_OBJECT_0 + count.
    DWORD Wait(DWORD count, const HANDLE* handles, bool waitAll, DWORD milliseconds,
               CMessageQueue* queue, DWORD wakeMask);

private:
    CKernel() = default;

    std::uintptr_t NextHandle();

    std::mutex m_oMutex;
    std::uintptr_t m_uLastHandle = 0;
    std::unordered_map<HANDLE, std::shared_ptr<SWaitable>> m_oObjects;
    std::unordered_map<HWND, SWindow> m_oWindows;
    std::unordered_map<std::string, WNDPROC> m_oClasses;
    std::unordered_map<DWORD, std::shared_ptr<CMessageQueue>> m_oQueues;
};

} // namespace Posix
} // namespace Platform
} // namespace CppUtil
