#include "RecorderWnd.h"

#include <cpputil/CppUtil.Thread.MessageLoop.h>
#include <cpputil/Platform/CEvent.h>
#include <cpputil/ProxyWindow.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

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

} // namespace

TEST(ProxyWindowTest, CallsFromSeveralThreadsRunOnTheCreatorInPostOrder)
{
    OnFreshThread(
        []
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
        });
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

TEST(ProxyWindowTest, TearDownDropsOrRunsTheQueuedCallsAndReleasesTheirWaiters)
{
    OnFreshThread(
        []
        {
            const std::shared_ptr<int> held = std::make_shared<int>(0);
            int runs = 0;
            std::atomic<bool> waiterReturned(false);
            std::unique_ptr<CProxyWindow> window(new CProxyWindow(false, ""));
            const HWND hWnd = *window;
            std::thread waiter(
                [&, target = window.get()]
                {
                    target->PostAndWait([&runs, held] { ++runs; });
                    waiterReturned = true;
                });
            AwaitQueuedCall(hWnd);
            window->Post([&runs, held] { ++runs; });
            // The tear-down meets the quit among the calls; it must neither take it for a call
            // nor swallow it.
            CppUtil::Thread::PostQuitMessage(9);
            window.reset();
            waiter.join();
            EXPECT_TRUE(waiterReturned);
            EXPECT_FALSE(IsWindow(hWnd));
            EXPECT_EQ(0, runs);
            EXPECT_EQ(1, held.use_count());
            ExpectPendingQuit(9);

            std::vector<int> order;
            window.reset(new CProxyWindow(true, ""));
            waiter = std::thread([&order, target = window.get()]
                                 { target->PostAndWait([&order] { order.push_back(1); }); });
            AwaitQueuedCall(*window);
            window->Post([] { throw std::runtime_error("queued call failed"); });
            window->Post([&order] { order.push_back(2); });
            CppUtil::Thread::PostQuitMessage(4);
            window.reset();
            waiter.join();
            EXPECT_EQ((std::vector<int>{1, 2}), order);
            // The failed call is reported by the thread's next loop, the quit after it.
            EXPECT_THROW(PumpMessages(0), std::runtime_error);
            ExpectPendingQuit(4);
        });
}
