#include "FreshThreadTest.h"
#include "LogRecorder.h"
#include "Thrown.h"

#include <cpputil/CppUtil.Thread.MessageLoop.h>
#include <cpputil/CppUtil.Thread.OneShotTimer.h>
#include <cpputil/Platform/Kernel/CWinThread.h>
#include <cpputil/Platform/Kernel/WinMessages.h>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using CppUtil::Thread::PumpMessages;
using CppUtil::Thread::RunMessageLoop;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST_ON_FRESH_THREAD(MessageLoopTest, QuitEndsTheLoopsAfterThePostedMessagesAndPumpingAfterItsTime)
{
    CRecorderWnd window;
    std::vector<WPARAM> handled;
    window.m_fnHandler = [&](UINT, WPARAM wParam, LPARAM) -> LRESULT
    {
        handled.push_back(wParam);
        return 0;
    };
    // Messages posted after the quit was asked for are still handled before it.
    CppUtil::Thread::PostQuitMessage(7);
    window.PostMessage(WM_USER, 1);
    window.PostMessage(WM_USER, 2);
    EXPECT_EQ(7, RunMessageLoop());
    EXPECT_EQ((std::vector<WPARAM>{1, 2}), handled);

    // A quit posted to a window ends the loop just the same, in its turn.
    window.PostMessage(WM_USER, 3);
    window.PostMessage(WM_QUIT, 4);
    window.PostMessage(WM_USER, 5);
    EXPECT_EQ(4, RunMessageLoop());
    EXPECT_EQ((std::vector<WPARAM>{1, 2, 3}), handled);
    CppUtil::Thread::PostQuitMessage(0);
    EXPECT_EQ(0, RunMessageLoop());
    EXPECT_EQ((std::vector<WPARAM>{1, 2, 3, 5}), handled);

    // PumpMessages runs for its time or until a quit.
    const HWND hWnd = window.m_hWnd;
    window.m_fnHandler = [](UINT, WPARAM wParam, LPARAM) -> LRESULT
    {
        CppUtil::Thread::PostQuitMessage(static_cast<int>(wParam));
        return 0;
    };

    window.SetTimer(1, 20, nullptr);
    steady_clock::time_point start = steady_clock::now();
    PumpMessages(300);
    EXPECT_GE(steady_clock::now() - start, milliseconds(300));
    EXPECT_FALSE(window.m_oTimers.empty());
    window.KillTimer(1);

    std::thread poster(
        [hWnd]
        {
            Sleep(100);
            PostMessage(hWnd, WM_USER, 5, 0);
        });
    start = steady_clock::now();
    PumpMessages(60000);
    poster.join();
    EXPECT_LT(steady_clock::now() - start, milliseconds(30000));
    // The quit is left for the enclosing loop.
    EXPECT_EQ(5, RunMessageLoop());
}

TEST_ON_FRESH_THREAD(MessageLoopTest, HandlerExceptionLeavesTheLoopOfTheWindowsThread)
{
    CRecorderWnd window;
    const HWND hWnd = window.m_hWnd;
    window.m_fnHandler = [](UINT message, WPARAM, LPARAM) -> LRESULT
    {
        if (message == WM_USER)
            throw std::runtime_error("handler failed");
        return 1;
    };

    window.PostMessage(WM_USER);
    EXPECT_EQ("handler failed", Thrown<std::runtime_error>([] { RunMessageLoop(); }));
    EXPECT_THROW(window.SendMessage(WM_USER), std::runtime_error);
    // The window and the loop carry on afterwards.
    EXPECT_EQ(1, window.SendMessage(WM_USER + 1));

    // Sent from another thread: the sender is released, the owner's loop gets the
    // exception.
    LRESULT result = -1;
    std::thread sender([&] { result = SendMessage(hWnd, WM_USER, 0, 0); });
    EXPECT_THROW(RunMessageLoop(), std::runtime_error);
    sender.join();
    EXPECT_EQ(0, result);

    CppUtil::Thread::PostQuitMessage(2);
    EXPECT_EQ(2, RunMessageLoop());
}

namespace
{

// Waits until a message sent from another thread is pending, without handling it.
void AwaitSentMessage()
{
    MsgWaitForMultipleObjectsEx(0, nullptr, 30000, QS_SENDMESSAGE, MWMO_INPUTAVAILABLE);
}

} // namespace

TEST(MessageLoopTest, HandlerExceptionReachesOnlyTheCallThatCausedItAndTheRestIsLogged)
{
    SRecordedOutput log;
    CLogRecorder& recorder = log.m_oRecorder;
    OnFreshThread(
        [&]
        {
            CRecorderWnd failing;
            CRecorderWnd other;
            const HWND failingWnd = failing.m_hWnd;
            failing.m_fnHandler = [](UINT message, WPARAM, LPARAM) -> LRESULT
            {
                if (message == WM_USER)
                    throw std::runtime_error("dispatched by the host's loop");
                throw std::runtime_error("inner send failed");
            };

            // A loop of the host's own has no way to receive a handler's failure.
            failing.PostMessage(WM_USER);
            MSG message;
            ASSERT_TRUE(PeekMessage(&message, failingWnd, WM_USER, WM_USER, PM_REMOVE));
            DispatchMessage(&message);
            EXPECT_EQ(1, recorder.Count("dispatched by the host's loop"));
            // It belongs to no later call, and above all not to a destructor.
            EXPECT_NO_THROW(other.SendMessage(WM_USER));
            failing.PostMessage(WM_USER);
            ASSERT_TRUE(PeekMessage(&message, failingWnd, WM_USER, WM_USER, PM_REMOVE));
            DispatchMessage(&message);
            {
                CppUtil::Thread::COneShotTimer timer("");
                timer.Trigger(60000);
            }

            // One call, two failures: the caller gets the first, the log the second.
            other.m_fnHandler = [failingWnd](UINT, WPARAM, LPARAM) -> LRESULT
            {
                // The system swallows the inner failure; the outer one follows it.
                SendMessage(failingWnd, WM_USER + 1, 0, 0);
                throw std::runtime_error("outer handler failed");
            };
            EXPECT_EQ("inner send failed",
                      Thrown<std::runtime_error>([&other] { other.SendMessage(WM_USER); }));
            EXPECT_EQ(1, recorder.Count("outer handler failed"));
        });
}

TEST(MessageLoopTest, MessageTakenWithAFailureIsStillHandledAndAQuitIsKept)
{
    const std::function<int()> loops[] = {[] { return RunMessageLoop(); },
                                          []
                                          {
                                              CWinThread thread;
                                              return thread.Run();
                                          }};
    for (const std::function<int()>& loop : loops)
    {
        OnFreshThread(
            [&loop]
            {
                CRecorderWnd window;
                const HWND hWnd = window.m_hWnd;
                int handled = 0;
                window.m_fnHandler = [&handled](UINT message, WPARAM, LPARAM) -> LRESULT
                {
                    if (message == WM_USER)
                        throw std::runtime_error("sent call failed");
                    ++handled;
                    return 0;
                };
                // The loop meets the failing sent message first, inside GetMessage, and takes the
                // posted one right after.
                window.PostMessage(WM_USER + 1);
                std::thread sender([hWnd] { SendMessage(hWnd, WM_USER, 0, 0); });
                AwaitSentMessage();
                EXPECT_THROW(loop(), std::runtime_error);
                sender.join();
                EXPECT_EQ(1, handled);

                // A quit posted as a message, alone in the queue, comes out of GetMessage before
                // the failure leaves.
                MSG message;
                while (PeekMessage(&message, nullptr, 0, 0, PM_REMOVE))
                    ;
                PostThreadMessage(GetCurrentThreadId(), WM_QUIT, 6, 0);
                sender = std::thread([hWnd] { SendMessage(hWnd, WM_USER, 0, 0); });
                AwaitSentMessage();
                EXPECT_THROW(loop(), std::runtime_error);
                sender.join();
                ASSERT_TRUE(PeekMessage(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
                EXPECT_EQ(6, static_cast<int>(message.wParam));
            });
    }
}
