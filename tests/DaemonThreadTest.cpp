#include "LogRecorder.h"
#include "Thrown.h"
#include "UiThreadStandIn.h"

#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/CppUtil.Thread.OneShotTimer.h>
#include <cpputil/DaemonThread.h>
#include <cpputil/Platform/Kernel/CEvent.h>
#include <cpputil/Platform/Kernel/WinMessages.h>

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

using namespace CppUtil::Text;
using CppUtil::Exception::CQlException;
using CppUtil::Thread::CDaemonThread;
using CppUtil::Thread::CGuiThreadCaller;

namespace
{

// A library exception of its own type, which must survive the trip between threads.
class CDiskFull : public CQlException
{
public:
    CDiskFull() : CQlException("Disk full.", "Writer::Flush", "Writer", 7) {}
    CQlException* Clone() const override { return new CDiskFull(*this); }
    [[noreturn]] void Rethrow() const override { throw *this; }
};

class CWorker : public CDaemonThread
{
public:
    explicit CWorker(COutput& output, const CString& name = "Writer") : CDaemonThread(output)
    {
        SetThreadName(name);
    }
    // The hooks belong to this class, so the worker is stopped while it is still whole.
    ~CWorker() noexcept(false) override { Stop(); }

    using CDaemonThread::Proxy;
    using CDaemonThread::SetShutdownTimeout;

    std::function<void()> m_oOnStart;
    std::function<void()> m_oOnStop;
    std::atomic<int> m_iUncaught{0};
    std::atomic<int> m_iStops{0};
    DWORD m_dwStartThread = 0;
    HWND m_hProxyWnd = nullptr;

protected:
    void OnThreadStart() override
    {
        m_dwStartThread = GetCurrentThreadId();
        m_hProxyWnd = Proxy().GetSafeHwnd();
        if (m_oOnStart)
            m_oOnStart();
    }
    void OnThreadStop() override
    {
        ++m_iStops;
        if (m_oOnStop)
            m_oOnStop();
    }
    void OnUncaughtException() override { ++m_iUncaught; }
};

// Its hooks use its members, so its destructor waits for a hook that Stop gave up on.
class CPatientWorker : public CWorker
{
public:
    using CWorker::CWorker;
    ~CPatientWorker() override { Shutdown(); }
};

// Leaves the whole shut-down to the base class.
class CBareWorker : public CDaemonThread
{
public:
    explicit CBareWorker(COutput& output) : CDaemonThread(output) { SetThreadName("Bare"); }
    using CDaemonThread::Proxy;
};

template <class Predicate>
bool WaitFor(Predicate done)
{
    for (int i = 0; i < 6000 && !done(); ++i) // up to 30 s
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return done();
}

// A hang cannot be failed and left behind: the process ends, as no later test could run.
void ExitUnless(bool done, const char* what)
{
    if (done)
        return;
    std::fprintf(stderr, "Hangs: %s\n", what);
    std::fflush(stderr);
    std::_Exit(3);
}

// A worker whose flag is set once its destruction is complete, wherever its last reference goes.
std::shared_ptr<CPatientWorker> FlaggedWorker(COutput& output,
                                              const std::shared_ptr<std::atomic<bool>>& destroyed)
{
    return std::shared_ptr<CPatientWorker>(new CPatientWorker(output),
                                           [destroyed](CPatientWorker* worker)
                                           {
                                               delete worker;
                                               *destroyed = true;
                                           });
}

// Lets a hanging worker go once its owner is well into its destruction.
std::thread ReleaseLater(const std::shared_ptr<CEvent>& release)
{
    return std::thread(
        [release]
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            release->SetEvent();
        });
}

class DaemonThreadTest : public ::testing::Test, protected SRecordedOutput
{
protected:
    // The one line logged since the recorder held that many.
    std::string OnlyLogLine(size_t since = 0)
    {
        const std::vector<std::string> texts = m_oRecorder.Texts();
        EXPECT_EQ(since + 1, texts.size());
        return texts.size() > since ? texts.back() : std::string();
    }
};

} // namespace

TEST_F(DaemonThreadTest, WorkRunsOnTheWorkerThroughItsProxy)
{
    CWorker worker(m_oOut);
    EXPECT_THROW(worker.Proxy(), CQlException);
    worker.Start();
    const DWORD worker1 = worker.m_dwStartThread;
    worker.Start();
    DWORD ranOn = 0;
    worker.Proxy().PostAndWait([&] { ranOn = GetCurrentThreadId(); });
    EXPECT_EQ(worker1, ranOn);
    EXPECT_NE(GetCurrentThreadId(), worker1);
    worker.Stop();
    worker.Stop();
    EXPECT_EQ(1, worker.m_iStops.load());
    EXPECT_FALSE(IsWindow(worker.m_hProxyWnd));
    EXPECT_THROW(worker.Proxy(), CQlException);

    // A second life gets a fresh thread and window.
    worker.Start();
    worker.Proxy().PostAndWait([&] { ranOn = GetCurrentThreadId(); });
    EXPECT_EQ(worker.m_dwStartThread, ranOn);
    EXPECT_TRUE(IsWindow(worker.m_hProxyWnd));

    // A loop that ends on its own leaves a window that refuses calls, not a freed one.
    worker.Proxy().Post([] { PostQuitMessage(0); });
    ASSERT_TRUE(WaitFor([&] { return !IsWindow(worker.m_hProxyWnd); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // the thread lets go of it
    EXPECT_THROW(worker.Proxy().Post([] {}), CQlException);
    worker.Stop();
    EXPECT_TRUE(m_oRecorder.Lines().empty());
}

TEST_F(DaemonThreadTest, HandlerAndOnThreadStopExceptionsReachStopWithTheirType)
{
    CWorker worker(m_oOut);
    worker.Start();
    std::atomic<bool> after(false);
    // Once the first call has failed, Proxy() itself re-throws; both go through one reference.
    CppUtil::Thread::CProxyWindow& proxy = worker.Proxy();
    proxy.Post([] { CDiskFull().Rethrow(); });
    proxy.Post([&] { after = true; });
    ASSERT_TRUE(WaitFor([&] { return after.load(); }));
    EXPECT_EQ(1, worker.m_iUncaught.load());

    // The worker is asked to end before the exception is thrown.
    EXPECT_THROW(worker.Stop(), CDiskFull);
    EXPECT_FALSE(IsWindow(worker.m_hProxyWnd));
    EXPECT_EQ(1, worker.m_iStops.load());
    worker.Stop();
    EXPECT_EQ("The following exception has been caught: Disk full.\nInternal Software Details: "
              "Thread: [Writer] Caught: [Function: Writer::Flush, File: Writer, Line: 7].",
              OnlyLogLine());

    // A throwing OnThreadStop still releases the window, and Stop returns.
    worker.m_oOnStop = [] { throw CDiskFull(); };
    worker.Start();
    EXPECT_THROW(worker.Stop(), CDiskFull);
    EXPECT_FALSE(IsWindow(worker.m_hProxyWnd));
    worker.Stop();

    worker.Start();
    EXPECT_TRUE(IsWindow(worker.m_hProxyWnd));
    EXPECT_THROW(worker.Stop(), CDiskFull);
}

TEST_F(DaemonThreadTest, StartReportsWhatOnThreadStartThrowsAndLogsIt)
{
    struct SCase
    {
        const char* m_szName;
        std::function<void()> m_oThrow;
        const char* m_szMessage;
        const char* m_szLog;
    };
    const SCase cases[] = {
        {"Writer", [] { throw CDiskFull(); }, "Disk full.",
         "The following exception has been caught: Disk full.\nInternal Software Details: "
         "Thread: [Writer] Caught: [Function: Writer::Flush, File: Writer, Line: 7]."},
        {"Writer", [] { throw std::out_of_range("Slot 9 out of range."); }, "Slot 9 out of range.",
         "The following exception has been caught: Slot 9 out of range.\nInternal Software "
         "Details: Thread: [Writer] Caught: [Not Reported]."},
        {"", [] { throw 42; }, "Unknown Exception",
         "The following exception has been caught: Unknown Exception\nInternal Software Details: "
         "Thread: [Unknown] Caught: [Not Reported]."},
    };
    for (const SCase& c : cases)
    {
        SCOPED_TRACE(c.m_szMessage);
        const size_t logged = m_oRecorder.Lines().size();
        CWorker worker(m_oOut, c.m_szName);
        worker.m_oOnStart = c.m_oThrow;
        bool typed = false;
        try
        {
            worker.Start();
            ADD_FAILURE() << "Start did not throw";
        }
        catch (const CQlException& e)
        {
            typed = dynamic_cast<const CDiskFull*>(&e) != nullptr;
            EXPECT_STREQ(c.m_szMessage, e.what());
        }
        EXPECT_EQ(std::string(c.m_szMessage) == "Disk full.", typed);
        EXPECT_EQ(c.m_szLog, OnlyLogLine(logged));

        // The worker runs its loop all the same.
        DWORD ranOn = 0;
        worker.Proxy().PostAndWait([&] { ranOn = GetCurrentThreadId(); });
        EXPECT_EQ(worker.m_dwStartThread, ranOn);
        worker.Stop();
    }
}

TEST_F(DaemonThreadTest, StopAbandonsABusyWorkerAndDestructionWaitsForItsCall)
{
    // Outlive the test: the abandoned worker touches them after the owner is gone.
    auto busy = std::make_shared<std::atomic<bool>>(false);
    auto release = std::make_shared<CEvent>(FALSE, TRUE);
    auto done = std::make_shared<std::atomic<bool>>(false);
    auto queuedRan = std::make_shared<std::atomic<bool>>(false);

    std::unique_ptr<CPatientWorker> worker(new CPatientWorker(m_oOut));
    worker->SetShutdownTimeout(300);
    worker->Start();
    CPatientWorker* const self = worker.get();
    CppUtil::Thread::CProxyWindow& proxy = worker->Proxy();
    proxy.Post(
        [busy, release, done, self]
        {
            *busy = true;
            release->Lock(INFINITE);
            // Freed memory, had the owner not waited.
            self->m_hProxyWnd = nullptr;
            *done = true;
            throw std::runtime_error("Late failure.");
        });
    proxy.Post([queuedRan] { *queuedRan = true; });
    std::atomic<bool> waiterPosting(false);
    std::atomic<bool> waiterDropped(false);
    std::thread waiter(
        [&proxy, &waiterPosting, &waiterDropped]
        {
            try
            {
                waiterPosting = true;
                proxy.PostAndWait([] {});
            }
            catch (const CQlException&)
            {
                waiterDropped = true;
            }
        });
    ASSERT_TRUE(WaitFor([&] { return busy->load() && waiterPosting.load(); }));

    const auto before = std::chrono::steady_clock::now();
    worker->Stop();
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(250));
    EXPECT_FALSE(done->load());
    EXPECT_EQ(0, worker->m_iStops.load());
    // A second worker would run the owner's code beside the first.
    EXPECT_THROW(worker->Start(), CQlException);

    std::thread releaser = ReleaseLater(release);
    worker.reset();
    EXPECT_TRUE(done->load());
    releaser.join();
    waiter.join();
    EXPECT_TRUE(waiterDropped.load());

    // What the call threw is logged, although nobody is left to receive it; the call queued
    // behind it never runs.
    const std::string late = "The following exception was thrown on a thread its owner had given "
                             "up: Late failure.\nInternal Software Details: Thread: [Writer] "
                             "Caught: [Not Reported].";
    EXPECT_TRUE(WaitFor([&] { return m_oRecorder.Texts() == std::vector<std::string>{late}; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_FALSE(queuedRan->load());
}

TEST_F(DaemonThreadTest, StopGivesUpOnAHookInTimeAndDestructionWaitsForIt)
{
    CUiThreadStandIn ui;
    const DWORD uiThread = GetCurrentThreadId();
    auto returned = std::make_shared<std::atomic<int>>(0);
    auto release = std::make_shared<CEvent>(FALSE, TRUE);
    std::atomic<DWORD> invokedOn(0);
    const std::function<void()> hooks[] = {
        // Hangs well beyond the time-out, until it is let go.
        [release] { release->Lock(10000); },
        // Marshals onto the thread that sits in Stop and later destroys the worker.
        [&invokedOn]
        { CGuiThreadCaller::Invoke([&invokedOn] { invokedOn = GetCurrentThreadId(); }); },
    };
    for (const std::function<void()>& hook : hooks)
    {
        std::unique_ptr<CPatientWorker> worker(new CPatientWorker(m_oOut));
        worker->SetShutdownTimeout(200);
        // The member is used again once the hook returns: freed memory if nobody waited.
        CPatientWorker* const self = worker.get();
        worker->m_oOnStop = [hook, returned, self]
        {
            hook();
            ++*returned;
            self->m_hProxyWnd = nullptr;
        };
        worker->Start();
        const int before = returned->load();
        const auto started = std::chrono::steady_clock::now();
        worker->Stop();
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(3));
        EXPECT_EQ(before, returned->load());
        EXPECT_THROW(worker->Start(), CQlException);

        std::thread releaser = ReleaseLater(release);
        worker.reset();
        releaser.join();
        EXPECT_EQ(before + 1, returned->load());
    }
    EXPECT_EQ(uiThread, invokedOn.load());
    EXPECT_TRUE(m_oRecorder.Lines().empty());
}

TEST_F(DaemonThreadTest, DestroyingAWorkerWithAPendingExceptionStopsItAndLogsIt)
{
    HWND window = nullptr;
    {
        CBareWorker bare(m_oOut);
        bare.Start();
        CppUtil::Thread::CProxyWindow& proxy = bare.Proxy();
        window = proxy.GetSafeHwnd();
        proxy.Post([] { throw CDiskFull(); });
        // Destruction may not begin while the worker is inside one of the hooks.
        std::atomic<bool> idle(false);
        proxy.Post([&] { idle = true; });
        ASSERT_TRUE(WaitFor([&] { return idle.load(); }));
    }
    EXPECT_FALSE(IsWindow(window));
    ASSERT_EQ(2u, m_oRecorder.Texts().size());
    EXPECT_THAT(m_oRecorder.Texts()[1], ::testing::AllOf(::testing::HasSubstr("Disk full."),
                                                         ::testing::HasSubstr("[Bare]")));

    // A subclass that stops in its destructor while an exception is pending still has its
    // OnThreadStop run, and throws what that hook threw; the base class then finds nothing left to
    // throw. unique_ptr would terminate: its reset may not throw.
    CWorker* owned = new CWorker(m_oOut);
    owned->m_oOnStop = [] { throw std::runtime_error("Stop failed."); };
    owned->Start();
    window = owned->m_hProxyWnd;
    owned->Proxy().Post([] { throw CDiskFull(); });
    ASSERT_TRUE(WaitFor([&] { return m_oRecorder.Lines().size() == 3; }));
    EXPECT_THROW(delete owned, CQlException);
    EXPECT_FALSE(IsWindow(window));
    ASSERT_EQ(4u, m_oRecorder.Texts().size());
    EXPECT_THAT(m_oRecorder.Texts()[3], ::testing::HasSubstr("Stop failed."));
}

TEST_F(DaemonThreadTest, StopDropsACallThatOwnsAnotherWorkerWithoutHanging)
{
    auto busy = std::make_shared<std::atomic<bool>>(false);
    auto release = std::make_shared<CEvent>(FALSE, TRUE);
    CPatientWorker worker(m_oOut);
    worker.SetShutdownTimeout(100);
    worker.Start();
    auto other = std::make_shared<CBareWorker>(m_oOut);
    other->Start();
    worker.Proxy().Post(
        [busy, release]
        {
            *busy = true;
            release->Lock(INFINITE);
        });
    // The dropped call holds the last reference: dropping it destroys the other worker.
    worker.Proxy().Post([other] {});
    other.reset();
    ASSERT_TRUE(WaitFor([&] { return busy->load(); }));
    std::atomic<bool> stopped(false);
    std::thread stopper(
        [&]
        {
            worker.Stop();
            stopped = true;
        });
    ExitUnless(WaitFor([&] { return stopped.load(); }), "Stop dropping a call that owns a worker");
    stopper.join();
    release->SetEvent();
}

// A call holds the owner's last reference, so that the worker is destroyed on its own thread:
// once while it runs, and once after Stop gave up on it.
TEST_F(DaemonThreadTest, AWorkerWhoseOwnCallLetsGoOfItLastDoesNotWaitForItself)
{
    for (bool givenUp : {false, true})
    {
        auto destroyed = std::make_shared<std::atomic<bool>>(false);
        std::shared_ptr<CPatientWorker> worker = FlaggedWorker(m_oOut, destroyed);
        // Unless given up, longer than WaitFor: a destruction that waited for its own thread would
        // not be done.
        worker->SetShutdownTimeout(givenUp ? 100 : 60000);
        worker->Start();
        auto busy = std::make_shared<std::atomic<bool>>(false);
        auto go = std::make_shared<CEvent>(FALSE, TRUE);
        worker->Proxy().Post(
            [worker, busy, go]
            {
                *busy = true;
                go->Lock(10000);
            });
        ASSERT_TRUE(WaitFor([&] { return busy->load(); }));
        if (givenUp)
            worker->Stop();
        worker.reset();
        go->SetEvent();
        ExitUnless(WaitFor([&] { return destroyed->load(); }),
                   givenUp ? "a given-up worker waiting for itself"
                           : "a worker destroyed on its own thread");
        EXPECT_TRUE(givenUp || m_oRecorder.Lines().empty());
    }
}

TEST_F(DaemonThreadTest, DestructionWaitsForATimerCallOfAGivenUpWorker)
{
    auto entered = std::make_shared<std::atomic<bool>>(false);
    auto returned = std::make_shared<std::atomic<bool>>(false);
    auto release = std::make_shared<CEvent>(FALSE, TRUE);
    // Made on the worker and used by its call, as a subclass's member would be; it outlives the
    // worker's destruction here as such a member outlives the subclass's Shutdown().
    std::unique_ptr<CppUtil::Thread::COneShotTimer> timer;
    std::unique_ptr<CPatientWorker> worker(new CPatientWorker(m_oOut));
    worker->SetShutdownTimeout(100);
    CPatientWorker* const self = worker.get();
    worker->m_oOnStart = [&timer, self, entered, returned, release]
    {
        timer.reset(new CppUtil::Thread::COneShotTimer(
            [self, entered, returned, release]
            {
                *entered = true;
                release->Lock(INFINITE);
                // Freed memory, had the owner not waited.
                self->m_hProxyWnd = nullptr;
                *returned = true;
            },
            "Tick"));
        timer->Trigger(1);
    };
    worker->Start();
    ASSERT_TRUE(WaitFor([&] { return entered->load(); }));
    std::thread releaser = ReleaseLater(release);
    worker.reset();
    EXPECT_TRUE(returned->load());
    releaser.join();
}

TEST_F(DaemonThreadTest, StopOnTheWorkersOwnThreadIsRefusedWithoutTouchingAnything)
{
    // Whether Stop, called on the worker, was refused with the expected text.
    const auto refused = [](CWorker* self)
    {
        return Thrown<CQlException>([self] { self->Stop(); })
                   .find("cannot be stopped from its own thread") != std::string::npos;
    };
    std::atomic<int> refusals(0);
    {
        CWorker worker(m_oOut);
        CWorker* const self = &worker;
        // From OnThreadStart while Start waits, and from OnThreadStop while a Stop elsewhere
        // waits for the worker to end.
        worker.m_oOnStart = [&] { refusals += refused(self); };
        worker.m_oOnStop = [&] { refusals += refused(self); };
        worker.Start();
        EXPECT_EQ(1, refusals.load());
        // From a call: the worker goes on and keeps its owner.
        worker.Proxy().PostAndWait([&] { refusals += refused(self); });
        EXPECT_EQ(2, refusals.load());
        worker.Proxy().PostAndWait([] {});
        worker.Stop();
        EXPECT_EQ(3, refusals.load());
        EXPECT_EQ(1, worker.m_iStops.load());
    }
    // A call refused so whose owner's last reference goes with the call queued behind it (Stop's
    // caller holds none of its own): the owner is destroyed on its worker, and nothing freed is
    // read (AddressSanitizer).
    auto destroyed = std::make_shared<std::atomic<bool>>(false);
    std::shared_ptr<CPatientWorker> held = FlaggedWorker(m_oOut, destroyed);
    held->Start();
    CPatientWorker* const self = held.get();
    auto go = std::make_shared<CEvent>(FALSE, TRUE);
    auto wasRefused = std::make_shared<std::atomic<bool>>(false);
    self->Proxy().Post(
        [self, go, wasRefused, refused]
        {
            go->Lock(10000);
            *wasRefused = refused(self);
        });
    self->Proxy().Post([held] {});
    held.reset();
    go->SetEvent();
    ExitUnless(WaitFor([&] { return destroyed->load(); }), "a worker refused to stop itself");
    EXPECT_TRUE(wasRefused->load());
    EXPECT_TRUE(m_oRecorder.Lines().empty());
}
