#include "CppUtil.Thread.MessageLoop.h"

#include "Platform/Kernel/CWnd.h"
#include "Platform/Kernel/WinMessages.h"

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
        CWnd::CHandlerCall call(true);
        const BOOL result = ::GetMessage(&message, nullptr, 0, 0);
        if (result == 0)
        {
            // The failure leaves first; the quit stays queued for the next loop.
            if (call.Failed())
                ::PostQuitMessage(static_cast<int>(message.wParam));
            call.Rethrow();
            return static_cast<int>(message.wParam);
        }
        // -1 cannot happen without a window filter; ending beats spinning if it ever does.
        if (result == -1)
        {
            call.Rethrow();
            return -1;
        }
        // Taken already: handled before a failure leaves, or it would be lost.
        ::TranslateMessage(&message);
        ::DispatchMessage(&message);
        call.Rethrow();
    }
}

void PumpMessages(unsigned int milliseconds)
{
    typedef std::chrono::steady_clock TClock;
    const TClock::time_point deadline = TClock::now() + std::chrono::milliseconds(milliseconds);
    for (;;)
    {
        // The deadline is checked after every message, so that a flood cannot hold the caller.
        for (;;)
        {
            CWnd::CHandlerCall call;
            MSG message;
            if (!::PeekMessage(&message, nullptr, 0, 0, PM_REMOVE))
            {
                call.Rethrow();
                break;
            }
            // The quit is put back for the caller's loop; a message already taken is handled
            // before a failure leaves.
            if (message.message == WM_QUIT)
            {
                ::PostQuitMessage(static_cast<int>(message.wParam));
                call.Rethrow();
                return;
            }
            ::TranslateMessage(&message);
            ::DispatchMessage(&message);
            call.Rethrow();
            if (TClock::now() >= deadline)
                return;
        }
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
