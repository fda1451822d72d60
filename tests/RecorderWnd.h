// A hidden window that remembers what reached it and lets a test answer its messages.
#pragma once

#include <cpputil/Platform/Kernel/CWnd.h>
#include <cpputil/Platform/Kernel/WinMessages.h>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>
#include <vector>

class CRecorderWnd : public CWnd
{
public:
    typedef std::function<LRESULT(UINT message, WPARAM wParam, LPARAM lParam)> THandler;

    explicit CRecorderWnd(const char* name = "CppUtil test window")
    {
        EXPECT_TRUE(CreateEx(0, AfxRegisterWndClass(0), name, 0, 0, 0, 0, 0, nullptr, nullptr));
    }

    // Touched only on the window's own thread, like the window itself.
    THandler m_fnHandler; // answers WM_USER and above
    std::vector<UINT> m_oMessages;
    std::vector<UINT_PTR> m_oTimers;
    std::vector<std::chrono::steady_clock::time_point> m_oTimerTimes;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        m_oMessages.push_back(message);
        if (message >= WM_USER && m_fnHandler)
            return m_fnHandler(message, wParam, lParam);
        return CWnd::WindowProc(message, wParam, lParam);
    }

    void OnTimer(UINT_PTR nIDEvent) override
    {
        m_oTimers.push_back(nIDEvent);
        m_oTimerTimes.push_back(std::chrono::steady_clock::now());
    }
};

// Runs a test on a thread of its own, so that its message queue starts empty whatever an earlier
// test left in the queue of the main thread.
inline void OnFreshThread(const std::function<void()>& body)
{
    std::thread(body).join();
}
