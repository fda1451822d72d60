#include "FreshThreadTest.h"
#include "Thrown.h"
#include "TimerProbe.h"

#include <cpputil/CppUtil.Thread.OneShotTimer.h>
#include <cpputil/Platform/Kernel/WinMessages.h>

#include <gtest/gtest.h>

#include <thread>

using CppUtil::Thread::COneShotTimer;
using CppUtil::Thread::PumpMessages;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace
{

// Lets the tests disarm and destroy a timer as a subclass would.
class CTestTimer : public COneShotTimer
{
public:
    using COneShotTimer::COneShotTimer;
    using COneShotTimer::Destroy;
    using COneShotTimer::StopTimer;
};

} // namespace

TEST_ON_FRESH_THREAD(OneShotTimerTest, FiresOnceAfterItsLatestDelayOnTheOwningThread)
{
    COneShotTimer timer("OneShotTimerTest once");
    EXPECT_EQ(timer.m_hWnd, FindWindow(nullptr, "COneShotTimer (OneShotTimerTest once)"));
    {
        COneShotTimer unnamed("");
        EXPECT_EQ(unnamed.m_hWnd, FindWindow(nullptr, "COneShotTimer"));
    }
    // Without a delegate it goes off quietly.
    timer.Trigger(10);
    EXPECT_NO_THROW(PumpMessages(200));

    // Triggering again restarts the countdown; it fires once.
    STimerProbe probe;
    timer.SetDelegate(probe.Delegate());
    timer.Trigger(400);
    PumpMessages(100);
    ASSERT_EQ(0, probe.m_iCount.load());
    const steady_clock::time_point retriggered = steady_clock::now();
    timer.Trigger(400);
    PumpMessages(1500);
    ASSERT_EQ(1, probe.m_iCount.load());
    EXPECT_GE(probe.m_oTimes[0] - retriggered, milliseconds(350));
    EXPECT_TRUE(probe.AllOn(GetCurrentThreadId()));
    // The new delay replaces the old one, also when it is shorter.
    timer.Trigger(60000);
    timer.Trigger(50);
    EXPECT_TRUE(PumpUntil([&] { return probe.m_iCount == 2; }, 10000));

    // The timer is off while its delegate runs, so the delegate can arm it again.
    int rearmed = 0;
    timer.SetDelegate(
        [&]
        {
            if (++rearmed < 3)
                timer.Trigger(20);
        });
    timer.Trigger(20);
    EXPECT_TRUE(PumpUntil([&] { return rearmed == 3; }, 10000));
    PumpMessages(200);
    EXPECT_EQ(3, rearmed);
}

TEST_ON_FRESH_THREAD(OneShotTimerTest, StoppedOrDestroyedBeforeItFiresNeverCallsFromAnyThread)
{
    STimerProbe probe;
    CTestTimer timer(probe.Delegate(), "");
    const HWND hWnd = timer.m_hWnd;
    timer.Trigger(50);
    timer.StopTimer();
    timer.StopTimer();
    // Other timers of the window are none of the delegate's business.
    ASSERT_NE(0u, SetTimer(hWnd, 11, 10, nullptr));
    PumpMessages(300);
    EXPECT_TRUE(KillTimer(hWnd, 11));
    EXPECT_EQ(0, probe.m_iCount.load());

    // Stopping leaves the timer usable.
    timer.Trigger(50);
    EXPECT_TRUE(PumpUntil([&] { return probe.m_iCount == 1; }, 10000));

    timer.Trigger(50);
    timer.Destroy();
    EXPECT_FALSE(IsWindow(hWnd));
    EXPECT_EQ(nullptr, timer.m_hWnd);

    HWND dropped = nullptr;
    {
        COneShotTimer scoped(probe.Delegate(), "");
        dropped = scoped.m_hWnd;
        scoped.Trigger(50);
    }
    EXPECT_FALSE(IsWindow(dropped));

    // The private message another thread's destruction travels as.
    COneShotTimer sent(probe.Delegate(), "");
    sent.Trigger(50);
    EXPECT_EQ(0, SendMessage(sent.m_hWnd, WM_USER + 100, 0, 0));
    EXPECT_EQ(nullptr, sent.m_hWnd);
    PumpMessages(300);
    EXPECT_EQ(1, probe.m_iCount.load());

    // Deleted from another thread, it is destroyed by its owner's loop.
    COneShotTimer* foreign = new COneShotTimer(probe.Delegate(), "");
    const HWND foreignWnd = foreign->m_hWnd;
    foreign->Trigger(60000);
    std::atomic<bool> deleted(false);
    bool goneWhenDeleteReturned = false;
    std::thread destroyer(
        [&]
        {
            delete foreign;
            goneWhenDeleteReturned = !IsWindow(foreignWnd);
            deleted = true;
        });
    const bool served = PumpUntil([&] { return deleted.load(); }, 30000);
    destroyer.join();
    ASSERT_TRUE(served);
    // Only the owning thread can destroy a window, and the deleting thread waited for it.
    EXPECT_TRUE(goneWhenDeleteReturned);
    EXPECT_EQ(1, probe.m_iCount.load());
}

TEST_ON_FRESH_THREAD(OneShotTimerTest, TickPostedBeforeStopOrRetriggerIsIgnoredAndRefusalRaises)
{
    STimerProbe probe;
    CTestTimer timer(probe.Delegate(), "");
    // Ticks already on their way when the timer is stopped or triggered again, posted as a tick
    // in flight arrives: neither calls the delegate nor brings the latest Trigger forward.
    timer.Trigger(1000);
    timer.PostMessage(WM_TIMER, COneShotTimer::k_iTimerEventId);
    timer.StopTimer();
    timer.Trigger(1000);
    timer.PostMessage(WM_TIMER, COneShotTimer::k_iTimerEventId);
    const steady_clock::time_point rearmed = steady_clock::now();
    timer.Trigger(300);
    PumpMessages(150);
    EXPECT_EQ(0, probe.m_iCount.load());
    ASSERT_TRUE(PumpUntil([&] { return probe.m_iCount == 1; }, 30000));
    EXPECT_GE(probe.m_oTimes[0] - rearmed, milliseconds(290));
    PumpMessages(200);
    EXPECT_EQ(1, probe.m_iCount.load());

    // A refused timer raises with its place. The handle's window is gone, as a timer left behind
    // by its thread would hold.
    CTestTimer refused("");
    const HWND stale = refused.m_hWnd;
    refused.Destroy();
    refused.m_hWnd = stale;
    const std::string text =
        ThrownAt([&refused] { refused.Trigger(10); }, "CppUtil::Thread::COneShotTimer::Trigger",
                 "CppUtil.Thread.OneShotTimer", 61);
    // The system's text: Windows blames the window handle, Wine the handle.
    EXPECT_TRUE(text == "Invalid window handle." || text == "Invalid handle.") << text;
    refused.m_hWnd = nullptr;
}
