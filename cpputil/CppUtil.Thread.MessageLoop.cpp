#include "CppUtil.Thread.MessageLoop.h"

#include "Platform/CWnd.h"
#include "Platform/WinMessages.h"

#include <algorithm>
#include <chrono>

namespace CppUtil
{
namespace Thread
{

int RunMessageLoop()
{
    MSG message = {};
    for (;;)
    {
        const BOOL result = ::GetMessage(&message, nullptr, 0, 0);
        CWnd::RethrowHandlerException();
        if (result == 0)
            return static_cast<int>(message.wParam);
        // -1 cannot happen without a window filter; ending beats spinning if it ever does.
        if (result == -1)
            return -1;
        ::TranslateMessage(&message);
        ::DispatchMessage(&message);
        CWnd::RethrowHandlerException();
    }
}

void PumpMessages(unsigned int milliseconds)
{
    typedef std::chrono::steady_clock TClock;
    const TClock::time_point deadline = TClock::now() + std::chrono::milliseconds(milliseconds);
    for (;;)
    {
        MSG message;
        // The deadline is checked after every message, so that a flood cannot hold the caller.
        while (::PeekMessage(&message, nullptr, 0, 0, PM_REMOVE))
        {
            CWnd::RethrowHandlerException();
            if (message.message == WM_QUIT)
            {
                ::PostQuitMessage(static_cast<int>(message.wParam));
                return;
            }
            ::TranslateMessage(&message);
            ::DispatchMessage(&message);
            CWnd::RethrowHandlerException();
            if (TClock::now() >= deadline)
                return;
        }
        CWnd::RethrowHandlerException();
        const TClock::time_point now = TClock::now();
        if (now >= deadline)
            return;
        // Rounded up, so that the wait does not end just short of the deadline and spin; kept
        // below INFINITE, which would never end.
        const long long remaining =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now).count() + 1;
        const DWORD wait = static_cast<DWORD>(std::min<long long>(remaining, INFINITE - 1));
        // Any input will do, not only what arrived since the queue was last looked at.
        ::MsgWaitForMultipleObjectsEx(0, nullptr, wait, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    }
}

void PostQuitMessage(int exitCode)
{
    ::PostQuitMessage(exitCode);
}

} // namespace Thread
} // namespace CppUtil
