#include "ProxyWindow.h"

#include "CppUtil.Exception.QlException.h"
#include "Platform/Kernel/CEvent.h"
#include "Platform/Kernel/SystemError.h"
#include "Platform/Kernel/WinMessages.h"

#include <boost/bind/bind.hpp>

#include <memory>
#include <mutex>
#include <set>

namespace CppUtil
{
namespace Thread
{

namespace
{

const Exception::CSourceFile k_oSource("ProxyWindow");
const char* const k_szWindowName = "CppUtil::CProxyWindow Message Sink";
// How often a waiter looks whether the window is still there: a thread that ends takes its
// windows along without a word to anyone waiting.
const DWORD k_dwWindowCheckMs = 100;
// The lParam of a sent call, which stays its sender's; a queued call has 0.
const LPARAM k_lSent = 1;
const char* const k_szDestroyed = "the window was destroyed before the call's turn";
const char* const k_szThreadEnded = "the window's thread ended before the call's turn";

[[noreturn]] void ThrowLastError(unsigned int line, const char* function)
{
    const DWORD error = ::GetLastError(); // before the function's text is allocated
    k_oSource.Throw(line, function, Platform::GetSystemErrorText(error));
}

} // namespace

// One queued call; the message's wParam points at it. Whoever takes it out of the pending set
// owns it.
struct CProxyWindow::SCall
{
    TDelegate m_fnCall;
    SWaiter* m_poWaiter;
};

// Lives on the waiting caller's stack; the caller leaves only once its call is out of the
// pending set and, when someone else took it, the event has been set.
struct CProxyWindow::SWaiter
{
    CEvent m_oDone;
    // Why the call never ran; null when it ran.
    const char* m_szDropped = nullptr;
};

struct CProxyWindow::SPending
{
    explicit SPending(const CString& windowName) : m_sWindowName(windowName) {}

    // Takes the waiter's call out, when nobody has taken it yet.
    bool Withdraw(SWaiter& waiter, const char* reason)
    {
        std::lock_guard<std::mutex> lock(m_oMutex);
        for (std::set<SCall*>::iterator call = m_oCalls.begin(); call != m_oCalls.end(); ++call)
        {
            if ((*call)->m_poWaiter == &waiter)
            {
                delete *call;
                m_oCalls.erase(call);
                waiter.m_szDropped = reason;
                return true;
            }
        }
        return false;
    }

    const CString m_sWindowName;
    std::mutex m_oMutex;
    std::set<SCall*> m_oCalls;
    // Why no call is taken any more; null while the window takes calls.
    const char* m_szClosed = nullptr;
};

CProxyWindow::CProxyWindow(bool executePendingOnDestroy, const CString& name)
    : m_dwCreatorThreadId(::GetCurrentThreadId()),
      m_bExecutePendingOnDestroy(executePendingOnDestroy),
      m_poPending(std::make_shared<SPending>(name.IsEmpty() ? CString(k_szWindowName)
                                                            : k_szWindowName + (" (" + name + ")")))
{
    if (!CreateEx(0, AfxRegisterWndClass(0, nullptr, nullptr, nullptr), m_poPending->m_sWindowName,
                  0, 0, 0, 0, 0, nullptr, nullptr, nullptr))
        ThrowLastError(95, "CppUtil::Thread::CProxyWindow::CProxyWindow");
}

CProxyWindow::~CProxyWindow()
{
    if (m_hWnd && IsCreatedOnCurrentThread())
    {
        TearDown();
    }
    else if (m_hWnd && !::IsWindow(m_hWnd))
    {
        // The window went with its thread; that thread will never answer. Forgetting the handle
        // keeps the base class away from whatever window may come to carry it next.
        m_hWnd = nullptr;
    }
    else if (m_hWnd)
    {
        SWaiter tearDown;
        const std::shared_ptr<SPending> pending = m_poPending;
        if (Queue(boost::bind(&CProxyWindow::TearDown, this), &tearDown))
            Await(tearDown, m_hWnd, pending);
    }
    // What is still queued now went with the window's thread and can never run.
    Release(k_szThreadEnded);
}

bool CProxyWindow::IsCreatedOnCurrentThread() const
{
    return ::GetCurrentThreadId() == m_dwCreatorThreadId;
}

void CProxyWindow::Post(const TDelegate& call)
{
    if (!Queue(call, nullptr))
        ThrowLastError(129, "CppUtil::Thread::CProxyWindow::Post");
}

void CProxyWindow::Send(const TDelegate& call)
{
    SCall sent{call, nullptr};
    SendMessage(WM_USER, reinterpret_cast<WPARAM>(&sent), k_lSent);
}

void CProxyWindow::PostAndWait(const TDelegate& call)
{
    // Once released, the waiter must not touch this object: its destruction may have been what
    // released it.
    const std::shared_ptr<SPending> pending = m_poPending;
    const HWND hWnd = m_hWnd;
    SWaiter waiter;
    if (!Queue(call, &waiter))
        ThrowLastError(146, "CppUtil::Thread::CProxyWindow::PostAndWait");
    if (!Await(waiter, hWnd, pending))
        k_oSource.Throw(151, "CppUtil::Thread::CProxyWindow::PostAndWait",
                        "The call queued for the window \"" + pending->m_sWindowName +
                            "\" was dropped: " + waiter.m_szDropped + ".");
}

void CProxyWindow::Close()
{
    if (m_hWnd)
        TearDown();
}

bool CProxyWindow::IsQueuedCall(LPARAM lParam)
{
    return lParam != k_lSent;
}

LRESULT CProxyWindow::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_USER)
        return OnExecute(wParam, lParam);
    if (message == WM_DESTROY)
        Release(k_szDestroyed);
    return CWnd::WindowProc(message, wParam, lParam);
}

LRESULT CProxyWindow::OnExecute(WPARAM wParam, LPARAM lParam)
{
    SCall* const delivered = reinterpret_cast<SCall*>(wParam);
    if (lParam == k_lSent)
    {
        delivered->m_fnCall();
        return 0;
    }
    {
        std::lock_guard<std::mutex> lock(m_poPending->m_oMutex);
        if (m_poPending->m_oCalls.erase(delivered) == 0)
            return 0;
    }
    std::unique_ptr<SCall> call(delivered);
    SWaiter* const waiter = call->m_poWaiter;
    // The copy goes before the waiter is released, so that the waiter finds whatever the call
    // held already let go. The waiter learns nothing of a failure: the exception belongs to this
    // thread, whose message loop receives it from the platform layer.
    try
    {
        call->m_fnCall();
    }
    catch (...)
    {
        call.reset();
        if (waiter)
            waiter->m_oDone.SetEvent();
        throw;
    }
    call.reset();
    if (waiter)
        waiter->m_oDone.SetEvent();
    return 0;
}

bool CProxyWindow::Queue(const TDelegate& call, SWaiter* waiter)
{
    std::unique_ptr<SCall> queued(new SCall{call, waiter});
    {
        std::lock_guard<std::mutex> lock(m_poPending->m_oMutex);
        if (m_poPending->m_szClosed)
        {
            ::SetLastError(ERROR_INVALID_WINDOW_HANDLE);
            return false;
        }
        m_poPending->m_oCalls.insert(queued.get());
    }
    if (PostMessage(WM_USER, reinterpret_cast<WPARAM>(queued.get()), 0))
    {
        queued.release();
        return true;
    }
    const DWORD error = ::GetLastError();
    std::lock_guard<std::mutex> lock(m_poPending->m_oMutex);
    // Released meanwhile along with the window: dropped like any queued call.
    if (m_poPending->m_oCalls.erase(queued.get()) == 0)
    {
        queued.release();
        return true;
    }
    ::SetLastError(error);
    return false;
}

bool CProxyWindow::Await(SWaiter& waiter, HWND hWnd, const std::shared_ptr<SPending>& pending)
{
    while (!waiter.m_oDone.Lock(k_dwWindowCheckMs))
    {
        if (::IsWindow(hWnd))
            continue;
        // Gone without a destruction of ours: its thread ended. A call that someone took is
        // still answered.
        if (!pending->Withdraw(waiter, k_szThreadEnded))
            waiter.m_oDone.Lock(INFINITE);
        break;
    }
    return waiter.m_szDropped == nullptr;
}

void CProxyWindow::Release(const char* reason)
{
    std::set<SCall*> calls;
    {
        std::lock_guard<std::mutex> lock(m_poPending->m_oMutex);
        if (!m_poPending->m_szClosed)
            m_poPending->m_szClosed = reason;
        calls.swap(m_poPending->m_oCalls);
    }
    for (SCall* call : calls)
    {
        SWaiter* const waiter = call->m_poWaiter;
        delete call;
        if (waiter)
        {
            waiter->m_szDropped = reason;
            waiter->m_oDone.SetEvent();
        }
    }
}

void CProxyWindow::TearDown()
{
    if (!IsCreatedOnCurrentThread())
        k_oSource.Throw(127, "CppUtil::Thread::CProxyWindow::TearDown",
                        "IsCreatedOnCurrentThread()");

    // A pending quit passes any message filter. It is not ours: the thread's loop gets it back
    // once the window is gone.
    bool quit = false;
    WPARAM exitCode = 0;
    MSG message;
    while (::PeekMessage(&message, m_hWnd, WM_USER, WM_USER, PM_REMOVE))
    {
        if (message.message != WM_USER)
        {
            if (message.message == WM_QUIT && !quit)
            {
                quit = true;
                exitCode = message.wParam;
            }
            continue;
        }
        // Through the window procedure, as the loop would have run it: a waiter is released, and
        // an exception goes to the call this thread has open, or to the log, instead of leaving
        // a destructor. Calls not run here are dropped, and their waiters told, as the window
        // goes.
        if (m_bExecutePendingOnDestroy)
            ::SendMessage(m_hWnd, WM_USER, message.wParam, message.lParam);
    }
    // Not CWnd::DestroyWindow, which would rethrow a call's exception here, in a destructor.
    ::DestroyWindow(m_hWnd);
    if (quit)
        ::PostQuitMessage(static_cast<int>(exitCode));
}

} // namespace Thread
} // namespace CppUtil
