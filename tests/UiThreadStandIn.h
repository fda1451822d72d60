// Lets a test's thread stand in for the host's user-interface thread, so that text queued for the
// output window reaches the writer once the test pumps messages.
#pragma once

#include "TimerProbe.h"

#include <cpputil/GuiThreadCaller.h>
#include <cpputil/InterThreadCaller.h>

#include <chrono>
#include <functional>

class CUiThreadStandIn
{
public:
    CUiThreadStandIn() { CppUtil::Thread::CGuiThreadCaller::Hook(m_oCaller); }
    ~CUiThreadStandIn() { CppUtil::Thread::CGuiThreadCaller::Unhook(); }
    CUiThreadStandIn(const CUiThreadStandIn&) = delete;
    CUiThreadStandIn& operator=(const CUiThreadStandIn&) = delete;

    // Pumps this thread's messages until done() holds, for at most the time given; returns done().
    static bool PumpUntil(const std::function<bool()>& done,
                          std::chrono::seconds limit = std::chrono::seconds(30))
    {
        return ::PumpUntil(done, static_cast<unsigned int>(limit.count() * 1000));
    }

private:
    CppUtil::Thread::CInterThreadCaller m_oCaller;
};
