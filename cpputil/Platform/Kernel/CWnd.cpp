#include "CWnd.h"
#include "WinMessages.h"

#include "Runtime.h"

#include "../../CppUtil.Exception.QlException.h"
#include "../../CppUtil.Text.Output.h"

#include <cstdio>
#include <exception>
#include <mutex>
#include <set>
#include <string>
#include <system_error>

namespace
{

// Plain pointers only: thread-local objects with destructors break the runtime in MinGW DLLs.
// The object whose window this thread is creating; the window's first message attaches it.
thread_local CWnd* t_poCreating = nullptr;
// The innermost call of this thread through which handlers run; it takes their exceptions.
thread_local CWnd::CHandlerCall* t_poHandlerCall = nullptr;

// Marks a window whose object was deleted by another thread: its messages go to the default
// procedure, never to the dead object, and it never takes a new object.
const LONG_PTR k_lDetached = -1;

} // namespace

// The window procedure of every class AfxRegisterWndClass registers.
class CWndRouter
{
public:
    static LRESULT CALLBACK WindowProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam);

private:
    static void Park(std::exception_ptr exception);
};

LPCSTR AfxRegisterWndClass(UINT nClassStyle, HCURSOR hCursor, HBRUSH hbrBackground, HICON hIcon)
{
    static std::mutex s_oMutex;
    static std::set<std::string> s_oNames;

    const HINSTANCE instance = CppUtil::Platform::LibraryInstance();
    char name[128];
    std::snprintf(name, sizeof name, "CppUtil:%p:%x:%p:%p:%p", static_cast<void*>(instance),
                  nClassStyle, static_cast<void*>(hCursor), static_cast<void*>(hbrBackground),
                  static_cast<void*>(hIcon));

    std::lock_guard<std::mutex> lock(s_oMutex);
    std::set<std::string>::const_iterator known = s_oNames.find(name);
    if (known != s_oNames.end())
        return known->c_str();

    WNDCLASS windowClass = {};
    windowClass.style = nClassStyle;
    windowClass.lpfnWndProc = &CWndRouter::WindowProc;
    windowClass.hInstance = instance;
    windowClass.hIcon = hIcon;
    windowClass.hCursor = hCursor;
    windowClass.hbrBackground = hbrBackground;
    windowClass.lpszClassName = name;
    if (!::RegisterClass(&windowClass) && ::GetLastError() != ERROR_CLASS_ALREADY_EXISTS)
    {
        throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(),
                                "AfxRegisterWndClass");
    }
    return s_oNames.insert(name).first->c_str();
}

CWnd::CWnd() : m_hWnd(nullptr) {}

CWnd::~CWnd()
{
    // Only the owning thread can destroy the window; whatever happens, the window must never
    // call into this object again.
    if (m_hWnd && !::DestroyWindow(m_hWnd) && m_hWnd)
    {
        ::SetWindowLongPtr(m_hWnd, GWLP_USERDATA, k_lDetached);
        m_hWnd = nullptr;
    }
}

BOOL CWnd::CreateEx(DWORD dwExStyle, LPCSTR lpszClassName, LPCSTR lpszWindowName, DWORD dwStyle,
                    int x, int y, int nWidth, int nHeight, HWND hWndParent, HMENU nIDorHMenu,
                    LPVOID lpParam)
{
    if (m_hWnd)
    {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    CHandlerCall call;
    CWnd* const outer = t_poCreating;
    t_poCreating = this;
    const HWND hWnd =
        ::CreateWindowEx(dwExStyle, lpszClassName, lpszWindowName, dwStyle, x, y, nWidth, nHeight,
                         hWndParent, nIDorHMenu, CppUtil::Platform::LibraryInstance(), lpParam);
    t_poCreating = outer;

    // A handler that failed during creation fails the creation.
    if (call.Failed())
    {
        if (hWnd && m_hWnd == hWnd)
            ::DestroyWindow(hWnd);
        call.Rethrow();
    }
    if (hWnd && m_hWnd != hWnd)
    {
        // A class that does not route to CWnd objects: this object would never hear of it.
        ::DestroyWindow(hWnd);
        ::SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
        return FALSE;
    }
    return hWnd ? TRUE : FALSE;
}

BOOL CWnd::DestroyWindow()
{
    if (!m_hWnd)
    {
        ::SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return FALSE;
    }
    CHandlerCall call;
    const BOOL destroyed = ::DestroyWindow(m_hWnd);
    call.Rethrow();
    return destroyed;
}

BOOL CWnd::PostMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    return ::PostMessage(m_hWnd, message, wParam, lParam);
}

LRESULT CWnd::SendMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    // Waiting for another thread, this thread handles what others send it meanwhile; those
    // handlers belong to whatever call of this thread is already open, not to this one.
    if (::GetWindowThreadProcessId(m_hWnd, nullptr) != ::GetCurrentThreadId())
        return ::SendMessage(m_hWnd, message, wParam, lParam);
    CHandlerCall call;
    const LRESULT result = ::SendMessage(m_hWnd, message, wParam, lParam);
    call.Rethrow();
    return result;
}

UINT_PTR CWnd::SetTimer(UINT_PTR nIDEvent, UINT nElapse, TIMERPROC lpfnTimer)
{
    return ::SetTimer(m_hWnd, nIDEvent, nElapse, lpfnTimer);
}

BOOL CWnd::KillTimer(UINT_PTR nIDEvent)
{
    return ::KillTimer(m_hWnd, nIDEvent);
}

CWnd::CHandlerCall::CHandlerCall(bool bWakesLoop)
    : m_poOuter(t_poHandlerCall), m_bWakesLoop(bWakesLoop)
{
    t_poHandlerCall = this;
}

CWnd::CHandlerCall::~CHandlerCall()
{
    t_poHandlerCall = m_poOuter;
    if (m_oException)
        Drop(m_oException);
}

void CWnd::CHandlerCall::Rethrow()
{
    if (!m_oException)
        return;
    std::exception_ptr exception;
    exception.swap(m_oException);
    std::rethrow_exception(exception);
}

void CWnd::CHandlerCall::Drop(const std::exception_ptr& exception)
{
    CString text("Unknown Exception");
    CString details;
    try
    {
        std::rethrow_exception(exception);
    }
    catch (const CppUtil::Exception::CQlException& e)
    {
        text = e.what();
        details = e.GetDetails();
    }
    catch (const std::exception& e)
    {
        text = e.what();
    }
    catch (...)
    {
    }
    try
    {
        // An output without a manager reaches every live one.
        CppUtil::Text::COutput(nullptr).LogF("A window handler's exception reached no caller and "
                                             "is dropped: %s\nThread: [%lu] Details: [%s].",
                                             0u) %
            text % static_cast<unsigned long>(::GetCurrentThreadId()) % details;
    }
    catch (...)
    {
        // Called from destructors: nothing may leave.
    }
}

LRESULT CWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_TIMER)
    {
        OnTimer(static_cast<UINT_PTR>(wParam));
        return 0;
    }
    return DefWindowProc(message, wParam, lParam);
}

void CWnd::OnTimer(UINT_PTR nIDEvent)
{
    DefWindowProc(WM_TIMER, nIDEvent, 0);
}

void CWnd::PostNcDestroy() {}

LRESULT CWnd::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    return ::DefWindowProc(m_hWnd, message, wParam, lParam);
}

LRESULT CALLBACK CWndRouter::WindowProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam)
{
    const LONG_PTR attached = ::GetWindowLongPtr(hWnd, GWLP_USERDATA);
    CWnd* wnd = attached == k_lDetached ? nullptr : reinterpret_cast<CWnd*>(attached);
    if (!wnd && attached != k_lDetached && t_poCreating)
    {
        wnd = t_poCreating;
        t_poCreating = nullptr;
        wnd->m_hWnd = hWnd;
        ::SetWindowLongPtr(hWnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(wnd));
    }
    if (!wnd)
        return ::DefWindowProc(hWnd, message, wParam, lParam);

    // Nothing may unwind through the system's frames between here and the message loop.
    LRESULT result = 0;
    try
    {
        result = wnd->WindowProc(message, wParam, lParam);
    }
    catch (...)
    {
        Park(std::current_exception());
    }
    if (message == WM_NCDESTROY)
    {
        ::SetWindowLongPtr(hWnd, GWLP_USERDATA, 0);
        wnd->m_hWnd = nullptr;
        try
        {
            wnd->PostNcDestroy();
        }
        catch (...)
        {
            Park(std::current_exception());
        }
    }
    return result;
}

void CWndRouter::Park(std::exception_ptr exception)
{
    CWnd::CHandlerCall* const call = t_poHandlerCall;
    // The first exception of a call is the one its caller gets; any other is logged.
    if (!call || call->m_oException)
    {
        CWnd::CHandlerCall::Drop(exception);
        return;
    }
    call->m_oException = exception;
    // A message sent from another thread is handled inside GetMessage, which would keep waiting;
    // an empty thread message makes it return, so that the loop rethrows now.
    if (call->m_bWakesLoop)
        ::PostThreadMessage(::GetCurrentThreadId(), WM_NULL, 0, 0);
}
