#include "FreshThreadTest.h"
#include "LogRecorder.h"
#include "Thrown.h"

#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/CppUtil.Thread.MessageLoop.h>
#include <cpputil/Platform/Kernel/CEvent.h>
#include <cpputil/Platform/Kernel/WinMessages.h>
#include <cpputil/ProxyWindow.h>

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

using CppUtil::Exception::CQlException;
using CppUtil::Thread::CProxyWindow;
using CppUtil::Thread::PumpMessages;
using CppUtil::Thread::RunMessageLoop;

namespace
{

// Blocks until a call is queued for the window, so that the test knows a waiter is waiting.
void AwaitQueuedCall(HWND window)
{
    MSG message;
    while (!PeekMessage(&message, window, WM_USER, WM_USER, PM_NOREMOVE))
        Sleep(1);
}

// Takes what is queued for the thread up to a quit, which must be there, so that a lost quit
// fails the test instead of leaving a loop waiting.
void ExpectPendingQuit(int exitCode)
{
    MSG message = {};
    while (PeekMessage(&message, nullptr, 0, 0, PM_REMOVE) && message.message != WM_QUIT)
        message = {};
    EXPECT_EQ(static_cast<UINT>(WM_QUIT), message.message);
    EXPECT_EQ(exitCode, static_cast<int>(message.wParam));
}

// Waits on another thread for a call queued to the window, which must fail; the text of the
// exception the caller got.
std::future<std::string> WaitForCall(CProxyWindow& window, const CProxyWindow::TDelegate& call)
{
    return std::async(std::launch::async, [&window, call]
                      { return Thrown<CQlException>([&] { window.PostAndWait(call); }); });
}

} // namespace

TEST_ON_FRESH_THREAD(ProxyWindowTest, CallsFromSeveralThreadsRunOnTheCreatorInPostOrder)
{
    const int k_iSenders = 4;
    const int k_iEach = 200;
    CProxyWindow window(false, "");
    const DWORD creator = GetCurrentThreadId();
    std::vector<int> next(k_iSenders, 0);
    int received = 0;
    bool inOrder = true;
    bool onCreator = true;
    auto record = [&](int sender, int sequence)
    {
        inOrder = inOrder && sequence == next[sender];
        next[sender] = sequence + 1;
        onCreator = onCreator && GetCurrentThreadId() == creator;
        if (++received == k_iSenders * k_iEach)
            CppUtil::Thread::PostQuitMessage(0);
    };

    std::vector<std::thread> senders;
    for (int i = 0; i < k_iSenders; ++i)
    {
        senders.emplace_back(
            [&, i]
            {
                for (int j = 0; j < k_iEach; ++j)
                {
                    // The last sender waits for each of its calls.
                    if (i + 1 < k_iSenders)
                    {
                        window.Post([&record, i, j] { record(i, j); });
                        continue;
                    }
                    window.PostAndWait([&record, i, j] { record(i, j); });
                    EXPECT_EQ(j + 1, next[i]);
                }
            });
    }
    EXPECT_EQ(0, RunMessageLoop());
    for (std::thread& sender : senders)
        sender.join();
    EXPECT_TRUE(inOrder);
    EXPECT_TRUE(onCreator);
}

TEST(ProxyWindowTest, NamedAfterItsOwnerSendRunsAtOnceAndForeignDeleteWaitsForTheCreator)
{
    OnFreshThread(
        []
        {
            CProxyWindow plain(false, "");
            CProxyWindow named(true, "Programmer 3");
            EXPECT_EQ(plain.GetSafeHwnd(),
                      FindWindow(nullptr, "CppUtil::CProxyWindow Message Sink"));
            EXPECT_EQ(named.GetSafeHwnd(),
                      FindWindow(nullptr, "CppUtil::CProxyWindow Message Sink (Programmer 3)"));
            EXPECT_EQ(GetCurrentThreadId(), GetWindowThreadProcessId(named, nullptr));
            EXPECT_TRUE(named.IsCreatedOnCurrentThread());
            std::thread([&named] { EXPECT_FALSE(named.IsCreatedOnCurrentThread()); }).join();

            // On its own thread a send is a plain call, failure included.
            bool ran = false;
            plain.Send([&ran] { ran = true; });
            EXPECT_TRUE(ran);
            EXPECT_THROW(plain.Send([] { throw std::runtime_error("sent call failed"); }),
                         std::runtime_error);
            EXPECT_NO_THROW(PumpMessages(0));

            // Deleted from another thread, it is torn down by its creator's loop.
            CProxyWindow* window = new CProxyWindow(false, "foreign");
            const HWND hWnd = *window;
            int runs = 0;
            window->Post([&runs] { ++runs; });
            std::atomic<bool> deleted(false);
            std::thread destroyer(
                [&]
                {
                    delete window;
                    deleted = true;
                });
            while (!deleted)
                PumpMessages(10);
            destroyer.join();
            // A window merely cut loose from its object would still be there.
            EXPECT_FALSE(IsWindow(hWnd));
            EXPECT_EQ(nullptr, FindWindow(nullptr, "CppUtil::CProxyWindow Message Sink (foreign)"));
            EXPECT_EQ(1, runs);
        });

    // A creator that has ended cannot tear its window down; nothing waits for it.
    CProxyWindow* orphan = nullptr;
    std::thread([&orphan] { orphan = new CProxyWindow(true, "orphan"); }).join();
    delete orphan;
}

TEST_ON_FRESH_THREAD(ProxyWindowTest, TearDownDropsOrRunsTheQueuedCallsAndReleasesTheirWaiters)
{
    const std::shared_ptr<int> held = std::make_shared<int>(0);
    int runs = 0;
    std::unique_ptr<CProxyWindow> window(new CProxyWindow(false, "dropping"));
    const HWND hWnd = *window;
    std::future<std::string> waiter = WaitForCall(*window, [&runs, held] { ++runs; });
    AwaitQueuedCall(hWnd);
    window->Post([&runs, held] { ++runs; });
    // The tear-down meets the quit among the calls; it must neither take it for a call
    // nor swallow it.
    CppUtil::Thread::PostQuitMessage(9);
    window.reset();
    // The waiter learns that its call never ran, and of which window.
    EXPECT_EQ("The call queued for the window \"CppUtil::CProxyWindow Message Sink "
              "(dropping)\" was dropped: the window was destroyed before the call's turn.",
              waiter.get());
    EXPECT_FALSE(IsWindow(hWnd));
    EXPECT_EQ(0, runs);
    EXPECT_EQ(1, held.use_count());
    ExpectPendingQuit(9);

    std::vector<int> order;
    window.reset(new CProxyWindow(true, ""));
    std::thread runner([&order, target = window.get()]
                       { target->PostAndWait([&order] { order.push_back(1); }); });
    AwaitQueuedCall(*window);
    window->Post([] { throw std::runtime_error("queued call failed"); });
    window->Post([&order] { order.push_back(2); });
    CppUtil::Thread::PostQuitMessage(4);
    SRecordedOutput log;
    window.reset();
    runner.join();
    EXPECT_EQ((std::vector<int>{1, 2}), order);
    // The failed call has no caller to reach from a destructor: it is logged, and no later
    // loop of the thread takes it for its own.
    EXPECT_THAT(log.m_oRecorder.Texts(),
                ::testing::ElementsAre(::testing::HasSubstr("queued call failed")));
    EXPECT_NO_THROW(PumpMessages(0));
    ExpectPendingQuit(4);
}

TEST(ProxyWindowTest, WaiterIsReleasedWhenTheWindowsThreadEnds)
{
    std::promise<CProxyWindow*> created;
    std::thread owner(
        [&created]
        {
            CProxyWindow* const window = new CProxyWindow(false, "ended");
            created.set_value(window);
            // Ends as soon as a call is queued, without serving it; the window goes with the
            // thread while its object lives on.
            AwaitQueuedCall(*window);
        });
    const std::unique_ptr<CProxyWindow> window(created.get_future().get());
    int runs = 0;
    std::future<std::string> waiter = WaitForCall(*window, [&runs] { ++runs; });
    owner.join();
    ASSERT_EQ(std::future_status::ready, waiter.wait_for(std::chrono::seconds(30)))
        << "the waiter still waits for a thread that has ended";
    EXPECT_EQ("The call queued for the window \"CppUtil::CProxyWindow Message Sink (ended)\" was "
              "dropped: the window's thread ended before the call's turn.",
              waiter.get());
    EXPECT_EQ(0, runs);
}
