// A call from a worker to the user-interface thread and back through CGuiThreadCaller::Invoke,
// against the same round trip through a bare mutex and condition variable and through Boost.Asio.
//
// Built with CPPUTIL_BENCH_STANDALONE, the program times the same loops with std::chrono and
// needs no Google Benchmark, which the Win32 cross build does not have.

// Asio first: on Win32 it needs winsock2.h ahead of the windows.h the library's headers bring.
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include <cpputil/CppUtil.Thread.MessageLoop.h>
#include <cpputil/GuiThreadCaller.h>
#include <cpputil/InterThreadCaller.h>

#include <condition_variable>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

#if defined(CPPUTIL_BENCH_STANDALONE)
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>
#else
#include "RatioReporter.h"
#endif

namespace
{

// Each fixture owns one thread that stays up for the whole measurement, so that only the round
// trip is timed, never the thread's start or end. The call itself only bumps a counter: what is
// measured is the way there and back.

class CGuiThreadFixture
{
public:
    CGuiThreadFixture()
    {
        std::promise<void> hooked;
        std::future<void> ready = hooked.get_future();
        m_oThread = std::thread(
            [&hooked]
            {
                CppUtil::Thread::CInterThreadCaller caller;
                CppUtil::Thread::CGuiThreadCaller::Hook(caller);
                hooked.set_value();
                CppUtil::Thread::RunMessageLoop();
            });
        // Hook takes no lock; the future orders it before the first call from here.
        ready.get();
    }

    ~CGuiThreadFixture()
    {
        // Unhooked from within the loop, while this thread is the only caller and is waiting.
        CppUtil::Thread::CGuiThreadCaller::Invoke(
            []
            {
                CppUtil::Thread::CGuiThreadCaller::Unhook();
                CppUtil::Thread::PostQuitMessage(0);
            });
        m_oThread.join();
    }

    void RoundTrip()
    {
        CppUtil::Thread::CGuiThreadCaller::Invoke([this] { ++m_uCalls; });
    }

    unsigned long Calls() const { return m_uCalls; }

private:
    std::thread m_oThread;
    unsigned long m_uCalls = 0;
};

// The least a hand-off can do: one slot, one lock, a wake-up each way.
class CHandOffFixture
{
public:
    CHandOffFixture() : m_oThread([this] { Consume(); }) {}

    ~CHandOffFixture()
    {
        {
            std::lock_guard<std::mutex> lock(m_oMutex);
            m_bStop = true;
        }
        m_oRequest.notify_one();
        m_oThread.join();
    }

    void RoundTrip()
    {
        std::unique_lock<std::mutex> lock(m_oMutex);
        m_oCall = [this] { ++m_uCalls; };
        m_bDone = false;
        // Woken outside the lock, so that the consumer does not wake only to block on it.
        lock.unlock();
        m_oRequest.notify_one();
        lock.lock();
        m_oReply.wait(lock, [this] { return m_bDone; });
    }

    unsigned long Calls() const { return m_uCalls; }

private:
    void Consume()
    {
        std::unique_lock<std::mutex> lock(m_oMutex);
        for (;;)
        {
            m_oRequest.wait(lock, [this] { return m_bStop || m_oCall; });
            if (!m_oCall)
                return;
            std::function<void()> call = std::move(m_oCall);
            m_oCall = nullptr;
            lock.unlock();
            call();
            lock.lock();
            m_bDone = true;
            lock.unlock();
            m_oReply.notify_one();
            lock.lock();
        }
    }

    std::mutex m_oMutex;
    std::condition_variable m_oRequest;
    std::condition_variable m_oReply;
    std::function<void()> m_oCall;
    bool m_bDone = false;
    bool m_bStop = false;
    unsigned long m_uCalls = 0;
    std::thread m_oThread;
};

class CAsioFixture
{
public:
    CAsioFixture()
        : m_oWork(boost::asio::make_work_guard(m_oContext)), m_oThread([this] { m_oContext.run(); })
    {
    }

    ~CAsioFixture()
    {
        m_oWork.reset();
        m_oThread.join();
    }

    void RoundTrip()
    {
        std::promise<void> done;
        std::future<void> reply = done.get_future();
        boost::asio::post(m_oContext,
                          [this, &done]
                          {
                              ++m_uCalls;
                              done.set_value();
                          });
        reply.get();
    }

    unsigned long Calls() const { return m_uCalls; }

private:
    boost::asio::io_context m_oContext;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_oWork;
    unsigned long m_uCalls = 0;
    std::thread m_oThread;
};

#if defined(CPPUTIL_BENCH_STANDALONE)

// The median of a few runs of the round trip, in nanoseconds per call.
template <class TFixture>
double MeasureRoundTrip(unsigned long iterations, int runs)
{
    TFixture fixture;
    for (unsigned long i = 0; i < iterations / 10; ++i)
        fixture.RoundTrip();
    std::vector<double> times;
    for (int run = 0; run < runs; ++run)
    {
        const auto start = std::chrono::steady_clock::now();
        for (unsigned long i = 0; i < iterations; ++i)
            fixture.RoundTrip();
        const std::chrono::duration<double, std::nano> elapsed =
            std::chrono::steady_clock::now() - start;
        times.push_back(elapsed.count() / static_cast<double>(iterations));
    }
    std::sort(times.begin(), times.end());
    if (fixture.Calls() == 0)
        std::abort();
    return times[times.size() / 2];
}

#else

template <class TFixture>
void MeasureRoundTrip(benchmark::State& state)
{
    TFixture fixture;
    for (auto _ : state)
        fixture.RoundTrip();
    unsigned long calls = fixture.Calls();
    benchmark::DoNotOptimize(calls);
}

void GuiThreadInvoke(benchmark::State& state)
{
    MeasureRoundTrip<CGuiThreadFixture>(state);
}
BENCHMARK(GuiThreadInvoke)->UseRealTime();

void MutexHandOff(benchmark::State& state)
{
    MeasureRoundTrip<CHandOffFixture>(state);
}
BENCHMARK(MutexHandOff)->UseRealTime();

void AsioPost(benchmark::State& state)
{
    MeasureRoundTrip<CAsioFixture>(state);
}
BENCHMARK(AsioPost)->UseRealTime();

#endif

} // namespace

#if defined(CPPUTIL_BENCH_STANDALONE)

int main(int argc, char** argv)
{
    const unsigned long iterations = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 20000;
    const int runs = 5;
    const double invoke = MeasureRoundTrip<CGuiThreadFixture>(iterations, runs);
    const double handOff = MeasureRoundTrip<CHandOffFixture>(iterations, runs);
    const double asio = MeasureRoundTrip<CAsioFixture>(iterations, runs);
    std::printf("Median of %d runs of %lu round trips, ns per round trip:\n", runs, iterations);
    std::printf("  GuiThreadInvoke %10.0f\n  MutexHandOff    %10.0f\n  AsioPost        %10.0f\n",
                invoke, handOff, asio);
    std::printf("\nRatios (lower is faster):\n");
    std::printf("  GuiThreadInvoke / MutexHandOff = %.2f\n", invoke / handOff);
    std::printf("  AsioPost        / MutexHandOff = %.2f\n", asio / handOff);
    return 0;
}

#else

int main(int argc, char** argv)
{
    return RunWithRatios(argc, argv,
                         {{"GuiThreadInvoke", "MutexHandOff"}, {"AsioPost", "MutexHandOff"}});
}

#endif
