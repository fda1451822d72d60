#include "ProxyWindow.h"

#include "CppUtil.Exception.QlException.h"
#include "Platform/CEvent.h"
#include "Platform/SystemError.h"
#include "Platform/WinMessages.h"

#include <boost/bind/bind.hpp>

#include <memory>

namespace CppUtil
{
namespace Thread
{

namespace
{

const char* const k_szSource = "ProxyWindow";
const char* const k_szWindowName = "CppUtil::CProxyWindow Message Sink";
// The line this check has always been reported with, which failure reports are matched by.
const unsigned int k_uTearDownAssertLine = 127;

[[noreturn]] void ThrowLastError(const char* function, unsigned int line)
{
    Exception::ThrowQlException(Platform::GetSystemErrorText(::GetLastError()), function,
                                k_szSource, line);
}

} // namespace

CProxyWindow::CProxyWindow(bool executePendingOnDestroy, const CString& name)
    : m_dwCreatorThreadId(::GetCurrentThreadId()),
      m_bExecutePendingOnDestroy(executePendingOnDestroy)
{
    CString windowName = k_szWindowName;
    if (!name.IsEmpty())
        windowName += " (" + name + ")";
    if (!CreateEx(0, AfxRegisterWndClass(0, nullptr, nullptr, nullptr), windowName, 0, 0, 0, 0, 0,
                  nullptr, nullptr, nullptr))
        ThrowLastError("CppUtil::Thread::CProxyWindow::CProxyWindow", __LINE__);
}

CProxyWindow::~CProxyWindow()
{
    if (!m_hWnd)
        return;
    if (IsCreatedOnCurrentThread())
    {
        TearDown();
        return;
    }
    // The window went with its thread; that thread will never answer. Forgetting the handle
    // keeps the base class away from whatever window may come to carry it next.
    if (!::IsWindow(m_hWnd))
    {
        m_hWnd = nullptr;
        return;
    }
    CEvent done;
    if (Queue(boost::bind(&CProxyWindow::TearDown, this), &done))
        done.Lock(INFINITE);
}

bool CProxyWindow::IsCreatedOnCurrentThread() const
{
    return ::GetCurrentThreadId() == m_dwCreatorThreadId;
}

void CProxyWindow::Post(const TDelegate& call)
{
    if (!Queue(call, nullptr))
        ThrowLastError("CppUtil::Thread::CProxyWindow::Post", __LINE__);
}

void CProxyWindow::Send(const TDelegate& call)
{
    SendMessage(WM_USER, reinterpret_cast<WPARAM>(new TDelegate(call)), 0);
}

void CProxyWindow::PostAndWait(const TDelegate& call)
{
    CEvent done;
    if (!Queue(call, &done))
        ThrowLastError("CppUtil::Thread::CProxyWindow::PostAndWait", __LINE__);
    done.Lock(INFINITE);
}

LRESULT CProxyWindow::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_USER)
        return OnExecute(wParam, lParam);
    return CWnd::WindowProc(message, wParam, lParam);
}

LRESULT CProxyWindow::OnExecute(WPARAM wParam, LPARAM lParam)
{
    std::unique_ptr<TDelegate> call(reinterpret_cast<TDelegate*>(wParam));
    CEvent* const done = reinterpret_cast<CEvent*>(lParam);
    // The copy goes before the waiter is released, so that the waiter finds whatever the call
    // held already let go. The waiter learns nothing of a failure: the exception belongs to this
    // thread, whose message loop receives it from the platform layer.
    try
    {
        (*call)();
    }
    catch (...)
    {
        call.reset();
        if (done)
            done->SetEvent();
        throw;
    }
    call.reset();
    if (done)
        done->SetEvent();
    return 0;
}

bool CProxyWindow::Queue(const TDelegate& call, CEvent* done)
{
    TDelegate* const copy = new TDelegate(call);
    if (PostMessage(WM_USER, reinterpret_cast<WPARAM>(copy), reinterpret_cast<LPARAM>(done)))
        return true;
    const DWORD error = ::GetLastError();
    delete copy;
    ::SetLastError(error);
    return false;
}

void CProxyWindow::TearDown()
{
    if (!IsCreatedOnCurrentThread())
        Exception::ThrowQlException("IsCreatedOnCurrentThread()",
                                    "CppUtil::Thread::CProxyWindow::TearDown", k_szSource,
                                    k_uTearDownAssertLine);

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
        if (m_bExecutePendingOnDestroy)
        {
            // Through the window procedure, as the loop would have run it: a waiter is released
            // and an exception is held for this thread's next loop instead of leaving a
            // destructor.
            ::SendMessage(m_hWnd, WM_USER, message.wParam, message.lParam);
        }
        else
        {
            delete reinterpret_cast<TDelegate*>(message.wParam);
            // The call will never run; its waiter would otherwise wait for ever.
            if (message.lParam)
                reinterpret_cast<CEvent*>(message.lParam)->SetEvent();
        }
    }
    // Not CWnd::DestroyWindow, which would rethrow a call's exception here, in a destructor.
    ::DestroyWindow(m_hWnd);
    if (quit)
        ::PostQuitMessage(static_cast<int>(exitCode));
}

} // namespace Thread
} // namespace CppUtil
