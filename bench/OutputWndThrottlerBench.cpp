// Text for the output window from two producer threads, through COutput::AddText and its
// throttler, against the plainest way to do the same: a mutex-guarded append whose list a
// consumer thread swaps out every 50 ms. Only the producers are timed; every line is then waited
// for and counted, and a run that loses one fails.
#include "RatioReporter.h"

#include <cpputil/CppUtil.Text.Output.h>
#include <cpputil/CppUtil.Thread.MessageLoop.h>
#include <cpputil/GuiThreadCaller.h>
#include <cpputil/InterThreadCaller.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace
{

const int k_iProducers = 2;
const int k_iLinesPerProducer = 200000;
const std::size_t k_uLinesPerRun = static_cast<std::size_t>(k_iProducers) * k_iLinesPerProducer;
const char* const k_szLine = "Device 1234 programmed and verified";
const auto k_oDeliveryLimit = std::chrono::seconds(30);

// Runs the producers at once and returns the seconds until the last one is done.
template <class TAdd>
double TimeProducers(const TAdd& add)
{
    std::vector<std::thread> producers;
    const auto start = std::chrono::steady_clock::now();
    for (int producer = 0; producer < k_iProducers; ++producer)
        producers.emplace_back(
            [&add]
            {
                for (int line = 0; line < k_iLinesPerProducer; ++line)
                    add(k_szLine);
            });
    for (std::thread& producer : producers)
        producer.join();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Waits until the count reaches the target; false when it does not in time.
bool WaitFor(const std::atomic<std::size_t>& count, std::size_t target)
{
    const auto deadline = std::chrono::steady_clock::now() + k_oDeliveryLimit;
    while (count.load() < target)
    {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return count.load() == target;
}

// The host's user-interface thread, with its caller hooked and its loop running, and the
// output-window writer counting what reaches it.
class CUiThread
{
public:
    CUiThread()
    {
        std::promise<void> hooked;
        std::future<void> ready = hooked.get_future();
        CppUtil::Text::COutput::SetWriteOutputWndDelegate(
            [this](CppUtil::Text::COutput&, const CString&, unsigned int) { ++m_uWritten; });
        m_oThread = std::thread(
            [this, &hooked]
            {
                CppUtil::Thread::CInterThreadCaller caller;
                CppUtil::Thread::CGuiThreadCaller::Hook(caller);
                hooked.set_value();
                while (!m_bQuit.load())
                    CppUtil::Thread::PumpMessages(10);
                CppUtil::Thread::CGuiThreadCaller::Unhook();
            });
        ready.get();
    }

    ~CUiThread()
    {
        m_bQuit = true;
        m_oThread.join();
        CppUtil::Text::COutput::SetWriteOutputWndDelegate(
            CppUtil::Text::COutput::TWriteOutputWndDelegate());
    }

    std::atomic<std::size_t> m_uWritten{0};

private:
    std::atomic<bool> m_bQuit{false};
    std::thread m_oThread;
};

void ThrottlerAddText(benchmark::State& state)
{
    CUiThread ui;
    std::size_t expected = 0;
    {
        CppUtil::Text::COutput out(nullptr);
        // The throttler's start is not part of a line's cost.
        out.AddText(k_szLine);
        ++expected;
        for (auto _ : state)
        {
            state.SetIterationTime(TimeProducers([&out](const char* text) { out.AddText(text); }));
            expected += k_uLinesPerRun;
            if (!WaitFor(ui.m_uWritten, expected))
            {
                state.SkipWithError("lines were lost");
                break;
            }
        }
    }
    state.counters["lost"] = static_cast<double>(expected - ui.m_uWritten.load());
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * k_uLinesPerRun));
}
BENCHMARK(ThrottlerAddText)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);

// The same hand-over without the library: append under a mutex, swap the list every 50 ms.
class CMutexSwap
{
public:
    CMutexSwap()
        : m_oConsumer(
              [this]
              {
                  std::vector<std::string> batch;
                  while (!m_bQuit.load())
                  {
                      std::this_thread::sleep_for(std::chrono::milliseconds(50));
                      {
                          std::lock_guard<std::mutex> lock(m_oMutex);
                          batch.swap(m_oPending);
                      }
                      for (const std::string& text : batch)
                          m_fnWriter(text);
                      batch.clear();
                  }
              })
    {
    }

    ~CMutexSwap()
    {
        m_bQuit = true;
        m_oConsumer.join();
    }

    void Add(const std::string& text)
    {
        std::lock_guard<std::mutex> lock(m_oMutex);
        m_oPending.push_back(text);
    }

    std::atomic<std::size_t> m_uWritten{0};

private:
    // Like the output-window writer, the consumer hands each line on by itself.
    std::function<void(const std::string&)> m_fnWriter = [this](const std::string&)
    { ++m_uWritten; };
    std::mutex m_oMutex;
    std::vector<std::string> m_oPending;
    std::atomic<bool> m_bQuit{false};
    std::thread m_oConsumer;
};

void MutexSwapAppend(benchmark::State& state)
{
    CMutexSwap swap;
    std::size_t expected = 0;
    for (auto _ : state)
    {
        state.SetIterationTime(TimeProducers([&swap](const char* text) { swap.Add(text); }));
        expected += k_uLinesPerRun;
        if (!WaitFor(swap.m_uWritten, expected))
        {
            state.SkipWithError("lines were lost");
            break;
        }
    }
    state.counters["lost"] = static_cast<double>(expected - swap.m_uWritten.load());
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * k_uLinesPerRun));
}
BENCHMARK(MutexSwapAppend)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    return RunWithRatios(argc, argv, {{"ThrottlerAddText", "MutexSwapAppend"}});
}
