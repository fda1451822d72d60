/// @file
/// A hidden window whose messages reach a virtual handler, with the part of MFC's CWnd the
/// library's window classes are written against.
#pragma once

#include "../../CppUtil.Api.h"
#include "../Types/ApiTypes.h"

#include <exception>

/// Registers (once) a window class whose windows are CWnd objects and returns its name, which
/// stays valid for the life of the process.
CPPUTIL_API CppUtil::Platform::LPCSTR AfxRegisterWndClass(
    CppUtil::Platform::UINT nClassStyle, CppUtil::Platform::HCURSOR hCursor = nullptr,
    CppUtil::Platform::HBRUSH hbrBackground = nullptr, CppUtil::Platform::HICON hIcon = nullptr);

class CPPUTIL_API CWnd
{
public:
    CWnd();
    /// Destroys the window when the owning thread deletes the object. From another thread the
    /// window cannot be destroyed; it is cut loose from the object instead and lives on, unused,
    /// until its thread ends.
    virtual ~CWnd();
    CWnd(const CWnd&) = delete;
    CWnd& operator=(const CWnd&) = delete;

    CppUtil::Platform::HWND GetSafeHwnd() const { return m_hWnd; }
    operator CppUtil::Platform::HWND() const { return m_hWnd; }

    /// The class must come from AfxRegisterWndClass, whose window procedure routes the window's
    /// messages to WindowProc. The window belongs to the calling thread.
    virtual CppUtil::Platform::BOOL
    CreateEx(CppUtil::Platform::DWORD dwExStyle, CppUtil::Platform::LPCSTR lpszClassName,
             CppUtil::Platform::LPCSTR lpszWindowName, CppUtil::Platform::DWORD dwStyle, int x,
             int y, int nWidth, int nHeight, CppUtil::Platform::HWND hWndParent,
             CppUtil::Platform::HMENU nIDorHMenu, CppUtil::Platform::LPVOID lpParam = nullptr);
    virtual CppUtil::Platform::BOOL DestroyWindow();

    CppUtil::Platform::BOOL PostMessage(CppUtil::Platform::UINT message,
                                        CppUtil::Platform::WPARAM wParam = 0,
                                        CppUtil::Platform::LPARAM lParam = 0);
    /// On the window's own thread, rethrows here what the handler threw, since it cannot travel
    /// through the system's own frames. Sent from another thread, the handler's exception stays
    /// on the window's thread and leaves its message loop.
    CppUtil::Platform::LRESULT SendMessage(CppUtil::Platform::UINT message,
                                           CppUtil::Platform::WPARAM wParam = 0,
                                           CppUtil::Platform::LPARAM lParam = 0);
    CppUtil::Platform::UINT_PTR SetTimer(CppUtil::Platform::UINT_PTR nIDEvent,
                                         CppUtil::Platform::UINT nElapse,
                                         CppUtil::Platform::TIMERPROC lpfnTimer);
    CppUtil::Platform::BOOL KillTimer(CppUtil::Platform::UINT_PTR nIDEvent);

    /// One call on this thread through which window handlers may run (a send, a destruction, one
    /// turn of a message loop). An exception a handler throws cannot cross the system's frames;
    /// it is held by the innermost call open on the handler's thread and reaches that call's
    /// caller through Rethrow, and no other call. What no call can take (a second exception of
    /// the same call, one left untaken, one thrown with no call open) is logged through the
    /// output hub instead of being lost.
    class CPPUTIL_API CHandlerCall
    {
    public:
        /// With bWakesLoop, the call waits in GetMessage, which a failure ends at once.
        explicit CHandlerCall(bool bWakesLoop = false);
        ~CHandlerCall();
        CHandlerCall(const CHandlerCall&) = delete;
        CHandlerCall& operator=(const CHandlerCall&) = delete;

        bool Failed() const { return static_cast<bool>(m_oException); }
        /// Throws the first exception a handler threw during this call, if any.
        void Rethrow();

        /// Logs an exception that has no caller left to reach.
        static void Drop(const std::exception_ptr& exception);

    private:
        friend class CWndRouter;

        std::exception_ptr m_oException;
        CHandlerCall* m_poOuter;
        bool m_bWakesLoop;
    };

    CppUtil::Platform::HWND m_hWnd;

protected:
    /// Every message of the window. The default sends WM_TIMER to OnTimer and the rest to
    /// DefWindowProc.
    virtual CppUtil::Platform::LRESULT WindowProc(CppUtil::Platform::UINT message,
                                                  CppUtil::Platform::WPARAM wParam,
                                                  CppUtil::Platform::LPARAM lParam);
    virtual void OnTimer(CppUtil::Platform::UINT_PTR nIDEvent);
    /// Runs after the window's last message, when m_hWnd is already null; the object may delete
    /// itself here.
    virtual void PostNcDestroy();
    CppUtil::Platform::LRESULT DefWindowProc(CppUtil::Platform::UINT message,
                                             CppUtil::Platform::WPARAM wParam,
                                             CppUtil::Platform::LPARAM lParam);

private:
    /// Routes the system's window procedure to the objects; lives in the implementation.
    friend class CWndRouter;
};
