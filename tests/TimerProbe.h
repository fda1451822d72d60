// What the timer tests watch: when and on which thread a delegate ran, and a message loop that
// runs until it has.
#pragma once

#include <cpputil/CppUtil.Thread.MessageLoop.h>
#include <cpputil/Platform/Types/WinTypes.h>

#include <boost/function.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <vector>

// Written on the timer's thread; only the count may be read elsewhere meanwhile.
struct STimerProbe
{
    std::atomic<int> m_iCount{0};
    std::vector<std::chrono::steady_clock::time_point> m_oTimes;
    std::vector<DWORD> m_oThreads;

    boost::function<void()> Delegate()
    {
        return [this]
        {
            m_oTimes.push_back(std::chrono::steady_clock::now());
            m_oThreads.push_back(GetCurrentThreadId());
            ++m_iCount;
        };
    }
    bool AllOn(DWORD dwThread) const
    {
        return std::all_of(m_oThreads.begin(), m_oThreads.end(),
                           [dwThread](DWORD ran) { return ran == dwThread; });
    }
};

// Serves this thread's messages until the condition holds or the time is up; true if it held.
inline bool PumpUntil(const std::function<bool()>& done, unsigned int uMilliseconds)
{
    const std::chrono::steady_clock::time_point deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(uMilliseconds);
    while (!done())
    {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        CppUtil::Thread::PumpMessages(10);
    }
    return true;
}
