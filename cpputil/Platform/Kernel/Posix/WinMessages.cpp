#include "WinMessages.h"

#include "HandleTable.h"
#include "MessageQueue.h"

#include <cstdint>
#include <unistd.h>

using CppUtil::Platform::Posix::CDeferredWake;
using CppUtil::Platform::Posix::CHandleTable;
using CppUtil::Platform::Posix::CMessageQueue;
using CppUtil::Platform::Posix::SWindow;

namespace CppUtil
{
namespace Platform
{

namespace
{

// Class names may be atoms on Win32; here only real names exist.
bool IsName(LPCSTR name)
{
    return reinterpret_cast<std::uintptr_t>(name) > 0xFFFF;
}

// Takes the window out of the tables when its destruction ends, also when a handler throws, so
// that a failed destruction never leaves a half-dead window behind.
class CWindowRemoval
{
public:
    explicit CWindowRemoval(HWND window) : m_hWnd(window) {}
    ~CWindowRemoval()
    {
        CHandleTable& table = CHandleTable::Instance();
        std::lock_guard<std::mutex> lock(table.Mutex());
        if (SWindow* window = table.Window(m_hWnd))
        {
            std::shared_ptr<CMessageQueue> queue = window->m_poQueue;
            table.RemoveWindow(m_hWnd);
            queue->ForgetWindow(m_hWnd);
        }
    }
    CWindowRemoval(const CWindowRemoval&) = delete;
    CWindowRemoval& operator=(const CWindowRemoval&) = delete;

private:
    HWND m_hWnd;
};

// The owner's destruction, once the window is marked as being destroyed.
void FinishDestruction(HWND window, WNDPROC proc)
{
    CWindowRemoval removal(window);
    proc(window, WM_DESTROY, 0, 0);
    proc(window, WM_NCDESTROY, 0, 0);
}

} // namespace

ATOM RegisterClass(const WNDCLASS* windowClass)
{
    if (!windowClass || !windowClass->lpfnWndProc || !IsName(windowClass->lpszClassName))
    {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    if (!table.AddClass(windowClass->lpszClassName, windowClass->lpfnWndProc))
    {
        ::SetLastError(ERROR_CLASS_ALREADY_EXISTS);
        return 0;
    }
    // Win32's class atoms lie in this range; nothing here looks classes up by atom.
    return 0xC000;
}

HWND CreateWindowEx(DWORD exStyle, LPCSTR className, LPCSTR windowName, DWORD style, int x, int y,
                    int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                    LPVOID parameter)
{
    const std::shared_ptr<CMessageQueue>& queue = CMessageQueue::Current();
    CHandleTable& table = CHandleTable::Instance();
    WNDPROC proc = nullptr;
    HWND window = nullptr;
    {
        std::lock_guard<std::mutex> lock(table.Mutex());
        if (IsName(className))
            proc = table.FindClass(className);
        if (!proc)
        {
            ::SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
            return nullptr;
        }
        SWindow entry;
        entry.m_poQueue = queue;
        entry.m_pfnProc = proc;
        entry.m_sClass = className;
        entry.m_sName = windowName ? windowName : "";
        entry.m_bMessageOnly = parent == HWND_MESSAGE;
        window = table.AddWindow(std::move(entry));
    }

    CREATESTRUCT create = {
        parameter,  instance,  menu,   parent, height, width, y, x, static_cast<LONG>(style),
        windowName, className, exStyle};
    bool created = false;
    try
    {
        created = proc(window, WM_NCCREATE, 0, reinterpret_cast<LPARAM>(&create)) != FALSE &&
                  proc(window, WM_CREATE, 0, reinterpret_cast<LPARAM>(&create)) != -1;
    }
    catch (...)
    {
        CWindowRemoval removal(window);
        throw;
    }
    if (!created)
    {
        // A window that refused to be created is destroyed, as Win32 does.
        ::DestroyWindow(window);
        return nullptr;
    }
    return window;
}

BOOL DestroyWindow(HWND window)
{
    CHandleTable& table = CHandleTable::Instance();
    WNDPROC proc = nullptr;
    {
        std::lock_guard<std::mutex> lock(table.Mutex());
        SWindow* entry = table.WindowOrFail(window);
        if (!entry)
            return FALSE;
        if (entry->m_poQueue.get() != CMessageQueue::CurrentIfAny())
        {
            ::SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        }
        // A handler that destroys its window again during its destruction changes nothing.
        if (entry->m_bDestroying)
            return TRUE;
        entry->m_bDestroying = true;
        proc = entry->m_pfnProc;
    }
    FinishDestruction(window, proc);
    return TRUE;
}

BOOL IsWindow(HWND window)
{
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    if (table.Window(window))
        return TRUE;
    ::SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
}

HWND FindWindow(LPCSTR className, LPCSTR windowName)
{
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    return table.FindWindowByName(IsName(className) ? className : nullptr, windowName);
}

DWORD GetWindowThreadProcessId(HWND window, LPDWORD processId)
{
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    const SWindow* entry = table.WindowOrFail(window);
    if (!entry)
        return 0;
    if (processId)
        *processId = static_cast<DWORD>(::getpid());
    return entry->m_poQueue->ThreadId();
}

LONG_PTR GetWindowLongPtr(HWND window, int index)
{
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    const SWindow* entry = table.WindowOrFail(window);
    if (!entry)
        return 0;
    if (index != GWLP_USERDATA)
    {
        ::SetLastError(ERROR_INVALID_INDEX);
        return 0;
    }
    return entry->m_lUserData;
}

LONG_PTR SetWindowLongPtr(HWND window, int index, LONG_PTR value)
{
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    SWindow* entry = table.WindowOrFail(window);
    if (!entry)
        return 0;
    if (index != GWLP_USERDATA)
    {
        ::SetLastError(ERROR_INVALID_INDEX);
        return 0;
    }
    const LONG_PTR previous = entry->m_lUserData;
    entry->m_lUserData = value;
    return previous;
}

LRESULT DefWindowProc(HWND window, UINT message, WPARAM, LPARAM)
{
    switch (message)
    {
    case WM_NCCREATE:
        return TRUE;
    case WM_CLOSE:
        ::DestroyWindow(window);
        return 0;
    default:
        return 0;
    }
}

BOOL PostMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    // A null window makes a thread message for the caller, as on Win32.
    if (!window)
        return ::PostThreadMessage(::GetCurrentThreadId(), message, wParam, lParam);
    CHandleTable& table = CHandleTable::Instance();
    CDeferredWake wake;
    std::lock_guard<std::mutex> lock(table.Mutex());
    const SWindow* entry = table.WindowOrFail(window);
    if (!entry)
        return FALSE;
    entry->m_poQueue->Post({window, message, wParam, lParam, CMessageQueue::Now()}, wake);
    return TRUE;
}

BOOL PostThreadMessage(DWORD threadId, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (threadId == ::GetCurrentThreadId())
        CMessageQueue::Current();
    CHandleTable& table = CHandleTable::Instance();
    CDeferredWake wake;
    std::lock_guard<std::mutex> lock(table.Mutex());
    // Like Win32, a thread that has no queue yet cannot receive.
    std::shared_ptr<CMessageQueue> queue = table.FindQueue(threadId);
    if (!queue)
    {
        ::SetLastError(ERROR_INVALID_THREAD_ID);
        return FALSE;
    }
    queue->Post({nullptr, message, wParam, lParam, CMessageQueue::Now()}, wake);
    return TRUE;
}

LRESULT SendMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    return CMessageQueue::Send(window, message, wParam, lParam);
}

void PostQuitMessage(int exitCode)
{
    CMessageQueue& queue = *CMessageQueue::Current();
    std::lock_guard<std::mutex> lock(CHandleTable::Instance().Mutex());
    queue.SetQuit(exitCode);
}

namespace
{

// A window filter must name a live window, unless it is null or -1 (thread messages only).
bool IsValidFilter(HWND window)
{
    if (!window || window == reinterpret_cast<HWND>(static_cast<LONG_PTR>(-1)))
        return true;
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    return table.Window(window) != nullptr;
}

} // namespace

BOOL GetMessage(LPMSG message, HWND window, UINT filterMin, UINT filterMax)
{
    if (!message)
    {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return -1;
    }
    if (!IsValidFilter(window))
    {
        ::SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return -1;
    }
    CMessageQueue::Current()->Retrieve(*message, window, filterMin, filterMax, true, true);
    return message->message == WM_QUIT ? FALSE : TRUE;
}

BOOL PeekMessage(LPMSG message, HWND window, UINT filterMin, UINT filterMax, UINT removeMessage)
{
    if (!message)
    {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    if (!IsValidFilter(window))
    {
        ::SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return FALSE;
    }
    return CMessageQueue::Current()->Retrieve(*message, window, filterMin, filterMax,
                                              (removeMessage & PM_REMOVE) != 0, false)
               ? TRUE
               : FALSE;
}

BOOL TranslateMessage(const MSG*)
{
    // There is no keyboard to translate.
    return FALSE;
}

LRESULT DispatchMessage(const MSG* message)
{
    if (!message || !message->hwnd)
        return 0;
    if (message->message == WM_TIMER && message->lParam != 0)
    {
        TIMERPROC proc = reinterpret_cast<TIMERPROC>(message->lParam);
        proc(message->hwnd, WM_TIMER, message->wParam, CMessageQueue::Now());
        return 0;
    }
    WNDPROC proc = nullptr;
    {
        CHandleTable& table = CHandleTable::Instance();
        std::lock_guard<std::mutex> lock(table.Mutex());
        const SWindow* entry = table.WindowOrFail(message->hwnd);
        if (!entry)
            return 0;
        proc = entry->m_pfnProc;
    }
    return proc(message->hwnd, message->message, message->wParam, message->lParam);
}

UINT_PTR SetTimer(HWND window, UINT_PTR idEvent, UINT elapse, TIMERPROC timerFunc)
{
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    const SWindow* entry = table.WindowOrFail(window);
    if (!entry)
        return 0;
    // The timer belongs to the window's thread, whichever thread sets it.
    return entry->m_poQueue->SetTimer(window, idEvent, elapse, timerFunc);
}

BOOL KillTimer(HWND window, UINT_PTR idEvent)
{
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    const SWindow* entry = table.WindowOrFail(window);
    if (!entry)
        return FALSE;
    if (!entry->m_poQueue->KillTimer(window, idEvent))
    {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    return TRUE;
}

DWORD MsgWaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll,
                                DWORD milliseconds, DWORD wakeMask)
{
    return ::MsgWaitForMultipleObjectsEx(count, handles, milliseconds, wakeMask,
                                         waitAll ? MWMO_WAITALL : 0);
}

DWORD MsgWaitForMultipleObjectsEx(DWORD count, const HANDLE* handles, DWORD milliseconds,
                                  DWORD wakeMask, DWORD flags)
{
    CMessageQueue* queue = CMessageQueue::Current().get();
    return CHandleTable::Instance().Wait(count, handles, (flags & MWMO_WAITALL) != 0, milliseconds,
                                         queue, wakeMask);
}

} // namespace Platform
} // namespace CppUtil
