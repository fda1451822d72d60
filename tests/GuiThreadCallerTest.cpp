#include "FreshThreadTest.h"
#include "Thrown.h"
#include "UiThreadStandIn.h"

#include <cpputil/CppUtil.Thread.MessageLoop.h>
#include <cpputil/GuiThreadCaller.h>
#include <cpputil/InterThreadCaller.h>
#include <cpputil/Platform/Kernel/WinMessages.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using CppUtil::Thread::CGuiThreadCaller;
using CppUtil::Thread::CInterThreadCaller;
using CppUtil::Thread::RunMessageLoop;

TEST_ON_FRESH_THREAD(GuiThreadCallerTest, UnhookedCallsRunAtOnceAndHookingTwiceIsRefused)
{
    std::vector<DWORD> threads;
    const std::function<void()> record = [&threads] { threads.push_back(GetCurrentThreadId()); };
    // Nothing pumps this thread's queue: a call that were only queued would never run.
    CGuiThreadCaller::Invoke(record);
    CGuiThreadCaller::BeginInvoke(record);
    CGuiThreadCaller::Fire(record);
    EXPECT_EQ(std::vector<DWORD>(3, GetCurrentThreadId()), threads);
    EXPECT_THROW(CGuiThreadCaller::Fire([] { throw std::runtime_error("inline call"); }),
                 std::runtime_error);

    EXPECT_EQ("NULL != s_poCaller",
              ThrownAt([] { CGuiThreadCaller::Unhook(); },
                       "CppUtil::Thread::CGuiThreadCaller::Unhook", "GuiThreadCaller", 81));
    CUiThreadStandIn standIn;
    {
        CInterThreadCaller other(false, "refused");
        EXPECT_EQ("NULL == s_poCaller",
                  ThrownAt([&other] { CGuiThreadCaller::Hook(other); },
                           "CppUtil::Thread::CGuiThreadCaller::Hook", "GuiThreadCaller", 64));
    }
    // The refused caller is gone; the first one still takes the calls.
    bool ran = false;
    CGuiThreadCaller::Fire([&ran] { ran = true; });
    EXPECT_FALSE(ran);
    CppUtil::Thread::PumpMessages(0);
    EXPECT_TRUE(ran);
}

TEST_ON_FRESH_THREAD(GuiThreadCallerTest, HookedCallsRunOnTheUserInterfaceThread)
{
    CUiThreadStandIn standIn;
    const DWORD ui = GetCurrentThreadId();
    std::vector<std::string> log; // touched on this thread only

    CGuiThreadCaller::Fire([&log] { log.push_back("fired"); });
    CGuiThreadCaller::BeginInvoke([&log] { log.push_back("begun"); });
    CGuiThreadCaller::Invoke([&log] { log.push_back("invoked"); });
    EXPECT_EQ((std::vector<std::string>{"begun", "invoked"}), log);
    EXPECT_THROW(CGuiThreadCaller::Invoke([] { throw std::runtime_error("own thread"); }),
                 std::runtime_error);

    // This thread is not looking at its queue: a worker's asynchronous calls must not
    // wait for it.
    std::thread(
        [&log]
        {
            CGuiThreadCaller::BeginInvoke([&log] { log.push_back("begun by worker"); });
            CGuiThreadCaller::Fire([&log] { log.push_back("fired by worker"); });
        })
        .join();
    EXPECT_EQ(2u, log.size());

    DWORD ranOn = 0;
    std::thread worker(
        [&]
        {
            CGuiThreadCaller::Invoke(
                [&]
                {
                    ranOn = GetCurrentThreadId();
                    log.push_back("invoked by worker");
                });
            EXPECT_EQ(ui, ranOn);
            CGuiThreadCaller::BeginInvoke([] { CppUtil::Thread::PostQuitMessage(5); });
        });
    EXPECT_EQ(5, RunMessageLoop());
    worker.join();
    EXPECT_EQ((std::vector<std::string>{"begun", "invoked", "fired", "begun by worker",
                                        "fired by worker", "invoked by worker"}),
              log);
}

TEST_ON_FRESH_THREAD(GuiThreadCallerTest,
                     FailedCallInvokedByAWorkerSurfacesOnTheUserInterfaceThread)
{
    CUiThreadStandIn standIn;
    std::atomic<bool> returned(false);
    std::thread worker(
        [&returned]
        {
            CGuiThreadCaller::Invoke([] { throw std::runtime_error("invoked call failed"); });
            returned = true;
        });
    EXPECT_EQ("invoked call failed", Thrown<std::runtime_error>([] { RunMessageLoop(); }));
    worker.join();
    EXPECT_TRUE(returned);
}
