#include "FreshThreadTest.h"

#include <cpputil/CppUtil.Thread.MessageLoop.h>
#include <cpputil/Platform/Kernel/WinMessages.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <utility>
#include <vector>

using CppUtil::Thread::PumpMessages;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using ::testing::Contains;

namespace
{

// What PeekMessage hands out now, without waiting and without dispatching.
std::vector<std::pair<UINT, WPARAM>> DrainQueue()
{
    std::vector<std::pair<UINT, WPARAM>> messages;
    MSG message;
    while (PeekMessage(&message, nullptr, 0, 0, PM_REMOVE))
        messages.emplace_back(message.message, message.wParam);
    return messages;
}

} // namespace

TEST_ON_FRESH_THREAD(WndTest, WindowLivesUntilDestroyed)
{
    const char* const name = "CppUtil WndTest lifetime";
    CRecorderWnd window(name);
    const HWND hWnd = window.GetSafeHwnd();
    ASSERT_NE(nullptr, hWnd);
    EXPECT_TRUE(IsWindow(hWnd));
    EXPECT_THAT(window.m_oMessages, Contains(static_cast<UINT>(WM_CREATE)));
    EXPECT_EQ(hWnd, FindWindow(nullptr, name));
    EXPECT_EQ(GetCurrentThreadId(), GetWindowThreadProcessId(hWnd, nullptr));

    // A message still queued when its window dies goes with it.
    EXPECT_TRUE(window.PostMessage(WM_USER + 1));
    EXPECT_TRUE(window.DestroyWindow());
    EXPECT_EQ(nullptr, window.m_hWnd);
    EXPECT_THAT(window.m_oMessages,
                ::testing::AllOf(Contains(static_cast<UINT>(WM_DESTROY)),
                                 ::testing::Not(Contains(static_cast<UINT>(WM_USER + 1)))));
    EXPECT_EQ(static_cast<UINT>(WM_NCDESTROY), window.m_oMessages.back());
    EXPECT_TRUE(DrainQueue().empty());

    EXPECT_FALSE(IsWindow(hWnd));
    EXPECT_EQ(nullptr, FindWindow(nullptr, name));
    SetLastError(0);
    EXPECT_FALSE(PostMessage(hWnd, WM_USER, 0, 0));
    EXPECT_EQ(1400u, GetLastError()); // ERROR_INVALID_WINDOW_HANDLE
    SetLastError(0);
    EXPECT_EQ(0, SendMessage(hWnd, WM_USER, 0, 0));
    EXPECT_EQ(1400u, GetLastError());

    HWND deleted = nullptr;
    {
        CRecorderWnd scoped;
        deleted = scoped.m_hWnd;
        EXPECT_TRUE(IsWindow(deleted));
    }
    EXPECT_FALSE(IsWindow(deleted));
}

TEST_ON_FRESH_THREAD(WndTest, ForeignThreadCannotDestroyButCutsTheWindowLoose)
{
    CRecorderWnd* window = new CRecorderWnd;
    const HWND hWnd = window->m_hWnd;
    std::thread(
        [hWnd]
        {
            SetLastError(0);
            EXPECT_FALSE(DestroyWindow(hWnd));
            EXPECT_EQ(5u, GetLastError()); // ERROR_ACCESS_DENIED
        })
        .join();
    EXPECT_TRUE(IsWindow(hWnd));

    // Deleted elsewhere, the object leaves its window behind, never to be called again.
    std::thread([window] { delete window; }).join();
    EXPECT_TRUE(IsWindow(hWnd));
    EXPECT_TRUE(PostMessage(hWnd, WM_USER, 0, 0));
    EXPECT_EQ(0, SendMessage(hWnd, WM_USER, 0, 0));
    PumpMessages(0);
    EXPECT_TRUE(DestroyWindow(hWnd));
}

TEST(WndTest, SendsRunOnTheOwnerAndThreadsSendingToEachOtherDoNotDeadlock)
{
    std::promise<HWND> windows[2];
    std::shared_future<HWND> published[2] = {windows[0].get_future().share(),
                                             windows[1].get_future().share()};
    std::atomic<int> finished(0);
    auto run = [&](int self)
    {
        CRecorderWnd window;
        HWND peer = nullptr;
        const DWORD owner = GetCurrentThreadId();
        window.m_fnHandler = [&peer, owner](UINT message, WPARAM wParam, LPARAM) -> LRESULT
        {
            EXPECT_EQ(owner, GetCurrentThreadId()); // a send runs on the window's thread
            // Calls back into the sender, which is blocked in its own SendMessage.
            if (message == WM_USER + 1)
                return SendMessage(peer, WM_USER, wParam, 0) + 1;
            return static_cast<LRESULT>(wParam) + 1000;
        };
        // On the owner's thread a send is a plain call: no loop runs, yet it is answered.
        EXPECT_EQ(1005, window.SendMessage(WM_USER, 5));
        windows[self].set_value(window.m_hWnd);
        peer = published[1 - self].get();
        for (int i = 0; i < 200; ++i)
        {
            EXPECT_EQ(i + 1000, SendMessage(peer, WM_USER, i, 0));
            EXPECT_EQ(i + 1001, SendMessage(peer, WM_USER + 1, i, 0));
        }
        // The peer may still be sending to this window.
        ++finished;
        while (finished < 2)
            PumpMessages(5);
    };
    std::thread first(run, 0);
    std::thread second(run, 1);
    first.join();
    second.join();
}

TEST_ON_FRESH_THREAD(WndTest, TimerRepeatsUntilKilledAndSameIdReplacesIt)
{
    CRecorderWnd window;
    EXPECT_EQ(7u, window.SetTimer(7, 20, nullptr));
    PumpMessages(500);
    EXPECT_THAT(window.m_oTimers,
                ::testing::AllOf(::testing::SizeIs(::testing::Ge(3u)), ::testing::Each(7u)));

    // The same id restarts the timer with the new period; the old timer's tick, fallen due
    // while the thread was busy, goes with it.
    window.m_oTimers.clear();
    window.m_oTimerTimes.clear();
    Sleep(100);
    const steady_clock::time_point replaced = steady_clock::now();
    EXPECT_EQ(7u, window.SetTimer(7, 300, nullptr));
    PumpMessages(700);
    ASSERT_FALSE(window.m_oTimerTimes.empty());
    EXPECT_LE(window.m_oTimerTimes.size(), 3u);
    EXPECT_GE(window.m_oTimerTimes.front() - replaced, milliseconds(200));

    EXPECT_TRUE(window.KillTimer(7));
    EXPECT_FALSE(window.KillTimer(7));
    window.m_oTimers.clear();
    PumpMessages(400);
    EXPECT_TRUE(window.m_oTimers.empty());
}

TEST_ON_FRESH_THREAD(WndTest, BusyThreadGetsOneTimerMessagePerTimerAfterItsPosts)
{
    CRecorderWnd window;
    window.SetTimer(1, 200, nullptr);
    window.SetTimer(2, 200, nullptr);
    // Several periods pass while the thread does not look at its queue.
    Sleep(700);
    window.PostMessage(WM_USER, 10);
    window.PostMessage(WM_USER, 11);
    const std::vector<std::pair<UINT, WPARAM>> messages = DrainQueue();
    using ::testing::Pair;
    const UINT user = WM_USER, timer = WM_TIMER;
    ASSERT_THAT(messages,
                ::testing::ElementsAre(Pair(user, 10u), Pair(user, 11u), Pair(timer, ::testing::_),
                                       Pair(timer, ::testing::_)));
    EXPECT_EQ(3u, messages[2].second + messages[3].second);

    // Killing a timer takes its pending WM_TIMER with it, also one that fell due while the
    // thread was busy.
    window.KillTimer(1);
    window.KillTimer(2);
    window.SetTimer(3, 100, nullptr);
    Sleep(300);
    window.KillTimer(3);
    EXPECT_TRUE(DrainQueue().empty());

    // WM_TIMER carries the moment it is taken, not the one its timer fell due.
    window.SetTimer(4, 20, nullptr);
    Sleep(200);
    window.PostMessage(WM_USER);
    MSG posted = {}, tick = {};
    ASSERT_TRUE(PeekMessage(&posted, nullptr, WM_USER, WM_USER, PM_REMOVE));
    ASSERT_TRUE(PeekMessage(&tick, nullptr, WM_TIMER, WM_TIMER, PM_REMOVE));
    window.KillTimer(4);
    EXPECT_GE(static_cast<int>(tick.time - posted.time), 0);
}

TEST_ON_FRESH_THREAD(WndTest, TimersAndQuitAnswerAsWin32)
{
    CRecorderWnd window;
    const HWND hWnd = window.m_hWnd;
    // Another thread of the process may set and kill the window's timers; the ticks come
    // to the window's own thread.
    std::thread([hWnd] { EXPECT_EQ(5u, SetTimer(hWnd, 5, 20, nullptr)); }).join();
    PumpMessages(300);
    EXPECT_FALSE(window.m_oTimers.empty());
    std::thread([hWnd] { EXPECT_TRUE(KillTimer(hWnd, 5)); }).join();
    window.m_oTimers.clear();
    PumpMessages(200);
    EXPECT_TRUE(window.m_oTimers.empty());

    // The quit PostQuitMessage asks for passes a window filter; a WM_QUIT posted to the
    // thread is a thread message, which a window filter never takes.
    MSG message = {};
    PostThreadMessage(GetCurrentThreadId(), WM_QUIT, 3, 0);
    EXPECT_FALSE(PeekMessage(&message, hWnd, 0, 0, PM_REMOVE));
    EXPECT_TRUE(PeekMessage(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(static_cast<UINT>(WM_QUIT), message.message);
    PostQuitMessage(4);
    ASSERT_TRUE(PeekMessage(&message, hWnd, WM_USER, WM_USER, PM_REMOVE));
    EXPECT_EQ(static_cast<UINT>(WM_QUIT), message.message);
    EXPECT_EQ(4u, message.wParam);
}
