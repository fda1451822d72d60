#include "FreshThreadTest.h"
#include "Thrown.h"
#include "TimerProbe.h"
#include "UiThreadStandIn.h"

#include <cpputil/GuiThreadCaller.h>
#include <cpputil/Platform/Kernel/WinMessages.h>
#include <cpputil/TimerWindow.h>

#include <gtest/gtest.h>

#include <thread>

using CppUtil::Thread::CGuiThreadCaller;
using CppUtil::Thread::CTimerWindow;
using CppUtil::Thread::PumpMessages;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST_ON_FRESH_THREAD(TimerWindowTest, TicksOnlyBetweenStartAndStop)
{
    // Nothing hooked: the calling thread stands in for the user-interface thread.
    STimerProbe ticks;
    boost::shared_ptr<CTimerWindow> window = CTimerWindow::Create(ticks.Delegate(), 50);
    ASSERT_TRUE(window);
    const HWND hWnd = window->m_hWnd;
    EXPECT_EQ(GetCurrentThreadId(), GetWindowThreadProcessId(hWnd, nullptr));
    EXPECT_EQ(hWnd, FindWindow(nullptr, "CppUtil::Thread::CTimerWindow"));

    // Made stopped; other timers on the window do not tick the delegate.
    ASSERT_NE(0u, SetTimer(hWnd, 2, 10, nullptr));
    PumpMessages(300);
    EXPECT_TRUE(KillTimer(hWnd, 2));
    EXPECT_EQ(0, ticks.m_iCount.load());

    window->StartTimer();
    PumpMessages(1000);
    EXPECT_GE(ticks.m_iCount.load(), 3);
    EXPECT_LE(ticks.m_iCount.load(), 30);
    EXPECT_TRUE(ticks.AllOn(GetCurrentThreadId()));

    window->StopTimer();
    window->StopTimer();
    const int stoppedAt = ticks.m_iCount.load();
    PumpMessages(300);
    EXPECT_EQ(stoppedAt, ticks.m_iCount.load());

    window->StartTimer();
    EXPECT_TRUE(PumpUntil([&] { return ticks.m_iCount.load() > stoppedAt; }, 10000));

    // A tick on its way when the timer stops, posted as a tick in flight arrives, is not the
    // next timer's.
    PostMessage(hWnd, WM_TIMER, CTimerWindow::k_iTimerEvent, 0);
    window->StopTimer();
    const steady_clock::time_point restarted = steady_clock::now();
    window->StartTimer();
    const int restartedAt = ticks.m_iCount.load();
    ASSERT_TRUE(PumpUntil([&] { return ticks.m_iCount.load() > restartedAt; }, 10000));
    EXPECT_GE(ticks.m_oTimes[restartedAt] - restarted, milliseconds(40));

    window.reset();
    EXPECT_FALSE(IsWindow(hWnd));
}

TEST_ON_FRESH_THREAD(TimerWindowTest, StartingAgainKeepsTheRunningTimerAndRefusalRaises)
{
    STimerProbe ticks;
    boost::shared_ptr<CTimerWindow> window = CTimerWindow::Create(ticks.Delegate(), 1000);
    ASSERT_TRUE(window);
    window->StartTimer();
    PumpMessages(500);
    ASSERT_EQ(0, ticks.m_iCount.load());
    const steady_clock::time_point again = steady_clock::now();
    window->StartTimer();

    // A restarted timer could not tick before a full period after the second start.
    EXPECT_TRUE(PumpUntil([&] { return ticks.m_iCount.load() > 0; }, 10000));
    ASSERT_FALSE(ticks.m_oTimes.empty());
    EXPECT_LT(ticks.m_oTimes[0] - again, milliseconds(900));

    // A refused timer raises with its place.
    boost::shared_ptr<CTimerWindow> refused = CTimerWindow::Create(boost::function<void()>(), 10);
    ASSERT_TRUE(refused);
    // A handle whose window is gone, as a window left behind by its thread would hold.
    const HWND stale = refused->m_hWnd;
    EXPECT_TRUE(refused->DestroyWindow());
    refused->m_hWnd = stale;
    // The refused timer is not remembered, so a second start tries again.
    for (int attempt = 0; attempt < 2; ++attempt)
    {
        const std::string text =
            ThrownAt([&refused] { refused->StartTimer(); },
                     "CppUtil::Thread::CTimerWindow::StartTimer", "TimerWindow", 59);
        // The system's text: Windows blames the window handle, Wine the handle.
        EXPECT_TRUE(text == "Invalid window handle." || text == "Invalid handle.") << text;
    }
    refused->m_hWnd = nullptr;
}

TEST(TimerWindowTest, LivesOnTheUserInterfaceThread)
{
    CUiThreadStandIn gui;
    const DWORD dwGuiThread = GetCurrentThreadId();
    STimerProbe ticks;
    HWND hWnd = nullptr;
    DWORD dwWindowThread = 0;
    bool goneWhenReleased = false;
    std::atomic<bool> finished(false);

    std::thread worker(
        [&]
        {
            boost::shared_ptr<CTimerWindow> window = CTimerWindow::Create(ticks.Delegate(), 30);
            if (window)
            {
                hWnd = window->m_hWnd;
                dwWindowThread = GetWindowThreadProcessId(hWnd, nullptr);
                CGuiThreadCaller::Invoke([&] { window->StartTimer(); });
                const steady_clock::time_point deadline = steady_clock::now() + milliseconds(10000);
                while (ticks.m_iCount.load() < 3 && steady_clock::now() < deadline)
                    std::this_thread::sleep_for(milliseconds(10));
                CGuiThreadCaller::Invoke([&] { window->StopTimer(); });
                // The last reference goes on this thread; the window must still die on its own.
                window.reset();
                goneWhenReleased = !IsWindow(hWnd);
            }
            finished = true;
        });
    const bool served = PumpUntil([&] { return finished.load(); }, 60000);
    worker.join();
    ASSERT_TRUE(served);

    ASSERT_NE(nullptr, hWnd);
    EXPECT_EQ(dwGuiThread, dwWindowThread);
    EXPECT_GE(ticks.m_iCount.load(), 3);
    EXPECT_TRUE(ticks.AllOn(dwGuiThread));
    EXPECT_TRUE(goneWhenReleased);
}
