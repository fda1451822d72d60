#include "RecorderWnd.h"

#include <cpputil/CppUtil.Thread.MessageLoop.h>

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

using CppUtil::Thread::PumpMessages;
using CppUtil::Thread::RunMessageLoop;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(MessageLoopTest, QuitEndsTheLoopWithItsCodeAfterThePostedMessages)
{
    OnFreshThread(
        []
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
        });
}

TEST(MessageLoopTest, PumpMessagesRunsForItsTimeOrUntilQuit)
{
    OnFreshThread(
        []
        {
            CRecorderWnd window;
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
        });
}

TEST(MessageLoopTest, HandlerExceptionLeavesTheLoopOfTheWindowsThread)
{
    OnFreshThread(
        []
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
            try
            {
                RunMessageLoop();
                ADD_FAILURE() << "the loop swallowed the exception";
            }
            catch (const std::runtime_error& e)
            {
                EXPECT_STREQ("handler failed", e.what());
            }
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
        });
}
