#include "RecorderWnd.h"

#include <cpputil/CppUtil.Exception.QlException.h>
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

using CppUtil::Exception::CQlException;
using CppUtil::Thread::CGuiThreadCaller;
using CppUtil::Thread::CInterThreadCaller;
using CppUtil::Thread::RunMessageLoop;

namespace
{

// Unhooks even when a test fails half-way, so that the next test can hook.
class CHook
{
public:
    explicit CHook(CInterThreadCaller& caller) { CGuiThreadCaller::Hook(caller); }
    ~CHook() { CGuiThreadCaller::Unhook(); }
};

void ExpectAssertion(const std::function<void()>& call, const char* expression,
                     const char* function, unsigned int line)
{
    try
    {
        call();
        ADD_FAILURE() << "no exception for " << expression;
    }
    catch (const CQlException& exception)
    {
        EXPECT_STREQ(expression, exception.what());
        EXPECT_STREQ(function, exception.GetFunction());
        EXPECT_STREQ("GuiThreadCaller", exception.GetFile());
        EXPECT_EQ(line, exception.GetLine());
    }
}

} // namespace

TEST(GuiThreadCallerTest, UnhookedCallsRunAtOnceOnTheCallingThread)
{
    OnFreshThread(
        []
        {
            std::vector<DWORD> threads;
            const std::function<void()> record = [&threads]
            { threads.push_back(GetCurrentThreadId()); };
            // Nothing pumps this thread's queue: a call that were only queued would never run.
            CGuiThreadCaller::Invoke(record);
            CGuiThreadCaller::BeginInvoke(record);
            CGuiThreadCaller::Fire(record);
            EXPECT_EQ(std::vector<DWORD>(3, GetCurrentThreadId()), threads);
            EXPECT_THROW(CGuiThreadCaller::Fire([] { throw std::runtime_error("inline call"); }),
                         std::runtime_error);
        });
}

TEST(GuiThreadCallerTest, HookingTwiceOrUnhookingNothingRaisesTheAssertion)
{
    ExpectAssertion([] { CGuiThreadCaller::Unhook(); }, "NULL != s_poCaller",
                    "CppUtil::Thread::CGuiThreadCaller::Unhook", 81);
    OnFreshThread(
        []
        {
            CInterThreadCaller caller;
            CHook hook(caller);
            {
                CInterThreadCaller other(false, "refused");
                ExpectAssertion([&other] { CGuiThreadCaller::Hook(other); }, "NULL == s_poCaller",
                                "CppUtil::Thread::CGuiThreadCaller::Hook", 64);
            }
            // The refused caller is gone; the first one still takes the calls.
            bool ran = false;
            CGuiThreadCaller::Fire([&ran] { ran = true; });
            EXPECT_FALSE(ran);
            CppUtil::Thread::PumpMessages(0);
            EXPECT_TRUE(ran);
        });
}

TEST(GuiThreadCallerTest, HookedCallsRunOnTheUserInterfaceThread)
{
    OnFreshThread(
        []
        {
            CInterThreadCaller caller(false, "user interface");
            CHook hook(caller);
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
        });
}

TEST(GuiThreadCallerTest, FailedCallInvokedByAWorkerSurfacesOnTheUserInterfaceThread)
{
    OnFreshThread(
        []
        {
            CInterThreadCaller caller;
            CHook hook(caller);
            std::atomic<bool> returned(false);
            std::thread worker(
                [&returned]
                {
                    CGuiThreadCaller::Invoke([]
                                             { throw std::runtime_error("invoked call failed"); });
                    returned = true;
                });
            try
            {
                RunMessageLoop();
                ADD_FAILURE() << "the loop ended without the exception";
            }
            catch (const std::runtime_error& exception)
            {
                EXPECT_STREQ("invoked call failed", exception.what());
            }
            worker.join();
            EXPECT_TRUE(returned);
        });
}
