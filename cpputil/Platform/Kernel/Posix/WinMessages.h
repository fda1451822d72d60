// Windows, messages and timers of windows.h for POSIX systems. There is no desktop: a window is a
// mailbox owned by the thread that created it, each thread has one message queue, and the
// functions keep Win32's contracts for the hidden windows the library uses. Windows and threads
// are process-local; the narrow (A) functions are the only ones and carry the neutral names.
#pragma once

#include "../../Types/Posix/WinTypes.h"
#include "WinSync.h"

#ifndef CALLBACK
#define CALLBACK
#endif

namespace CppUtil
{
namespace Platform
{

typedef WORD ATOM;
typedef LRESULT(CALLBACK* WNDPROC)(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

struct tagWNDCLASSA
{
    UINT style;
    WNDPROC lpfnWndProc;
    int cbClsExtra;
    int cbWndExtra;
    HINSTANCE hInstance;
    HICON hIcon;
    HCURSOR hCursor;
    HBRUSH hbrBackground;
    LPCSTR lpszMenuName;
    LPCSTR lpszClassName;
};
typedef tagWNDCLASSA WNDCLASS;

struct tagCREATESTRUCTA
{
    LPVOID lpCreateParams;
    HINSTANCE hInstance;
    HMENU hMenu;
    HWND hwndParent;
    int cy;
    int cx;
    int y;
    int x;
    LONG style;
    LPCSTR lpszName;
    LPCSTR lpszClass;
    DWORD dwExStyle;
};
typedef tagCREATESTRUCTA CREATESTRUCT;

} // namespace Platform
} // namespace CppUtil

#define WM_NULL 0x0000
#define WM_CREATE 0x0001
#define WM_DESTROY 0x0002
#define WM_CLOSE 0x0010
#define WM_QUIT 0x0012
#define WM_NCCREATE 0x0081
#define WM_NCDESTROY 0x0082
#define WM_TIMER 0x0113
#define WM_USER 0x0400
#define WM_APP 0x8000

#define PM_NOREMOVE 0x0000
#define PM_REMOVE 0x0001
#define PM_NOYIELD 0x0002

#define QS_KEY 0x0001
#define QS_MOUSEMOVE 0x0002
#define QS_MOUSEBUTTON 0x0004
#define QS_POSTMESSAGE 0x0008
#define QS_TIMER 0x0010
#define QS_PAINT 0x0020
#define QS_SENDMESSAGE 0x0040
#define QS_HOTKEY 0x0080
#define QS_ALLPOSTMESSAGE 0x0100
#define QS_RAWINPUT 0x0400
#define QS_MOUSE (QS_MOUSEMOVE | QS_MOUSEBUTTON)
#define QS_INPUT (QS_MOUSE | QS_KEY | QS_RAWINPUT)
#define QS_ALLEVENTS (QS_INPUT | QS_POSTMESSAGE | QS_TIMER | QS_PAINT | QS_HOTKEY)
#define QS_ALLINPUT (QS_INPUT | QS_POSTMESSAGE | QS_TIMER | QS_PAINT | QS_HOTKEY | QS_SENDMESSAGE)

#define MWMO_WAITALL 0x0001
#define MWMO_ALERTABLE 0x0002
#define MWMO_INPUTAVAILABLE 0x0004

#define HWND_MESSAGE (reinterpret_cast<HWND>(static_cast<LONG_PTR>(-3)))
#define GWLP_USERDATA (-21)
#define USER_TIMER_MINIMUM 0x0000000A
#define USER_TIMER_MAXIMUM 0x7FFFFFFF

// Class names match without regard to case; classes are never unregistered.
namespace CppUtil
{
namespace Platform
{

ATOM RegisterClass(const WNDCLASS* windowClass);
// Sends WM_NCCREATE and WM_CREATE, then returns the window, owned by the calling thread. Every
// window is hidden; a parent other than HWND_MESSAGE is ignored, and HWND_MESSAGE only hides the
// window from FindWindow.
HWND CreateWindowEx(DWORD exStyle, LPCSTR className, LPCSTR windowName, DWORD style, int x, int y,
                    int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                    LPVOID parameter);
// Only the owning thread may destroy a window; it receives WM_DESTROY and WM_NCDESTROY, and its
// timers and queued messages go with it. A thread's windows die with the thread, unannounced.
BOOL DestroyWindow(HWND window);
BOOL IsWindow(HWND window);
// Searches this process's windows only.
HWND FindWindow(LPCSTR className, LPCSTR windowName);
DWORD GetWindowThreadProcessId(HWND window, LPDWORD processId);
// Only GWLP_USERDATA is kept.
LONG_PTR GetWindowLongPtr(HWND window, int index);
LONG_PTR SetWindowLongPtr(HWND window, int index, LONG_PTR value);
LRESULT DefWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

BOOL PostMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
BOOL PostThreadMessage(DWORD threadId, UINT message, WPARAM wParam, LPARAM lParam);
LRESULT SendMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
void PostQuitMessage(int exitCode);
BOOL GetMessage(LPMSG message, HWND window, UINT filterMin, UINT filterMax);
BOOL PeekMessage(LPMSG message, HWND window, UINT filterMin, UINT filterMax, UINT removeMessage);
BOOL TranslateMessage(const MSG* message);
LRESULT DispatchMessage(const MSG* message);

// Window timers only: a null window fails with ERROR_INVALID_WINDOW_HANDLE.
UINT_PTR SetTimer(HWND window, UINT_PTR idEvent, UINT elapse, TIMERPROC timerFunc);
BOOL KillTimer(HWND window, UINT_PTR idEvent);

// Any input in the queue counts, as with MWMO_INPUTAVAILABLE on Win32 (which without that flag
// wakes only for input that arrived since the thread last looked at its queue).
DWORD MsgWaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll,
                                DWORD milliseconds, DWORD wakeMask);
DWORD MsgWaitForMultipleObjectsEx(DWORD count, const HANDLE* handles, DWORD milliseconds,
                                  DWORD wakeMask, DWORD flags);

} // namespace Platform
} // namespace CppUtil
