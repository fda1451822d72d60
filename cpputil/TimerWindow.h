/// @file
/// Calls a delegate periodically on the user-interface thread.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Kernel/CWnd.h"
#include "StaleTickFilter.h"

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

namespace CppUtil
{
namespace Thread
{

/// A hidden window that always lives on the user-interface thread, whichever thread makes or
/// releases it, so that its delegate runs there. With no caller hooked into CGuiThreadCaller, the
/// calling thread stands in for the user-interface thread.
class CPPUTIL_API CTimerWindow : public CWnd
{
public:
    static constexpr int k_iTimerEvent = 1;

    /// Made on the user-interface thread, stopped. Waits for that thread's message loop when
    /// called from another thread. When the window cannot be made, the CQlException is raised on
    /// the user-interface thread: here when that is the calling thread, otherwise from its message
    /// loop, and the caller gets an empty pointer.
    static boost::shared_ptr<CTimerWindow> Create(boost::function<void()> fnDelegate,
                                                  int iInterval);
    /// Destroys the window on the user-interface thread, waiting for its message loop when
    /// released on another thread.
    virtual ~CTimerWindow();

    /// Both on the user-interface thread only. Starting a running timer changes nothing, so its
    /// rhythm is kept. Raises a CQlException when the system refuses the timer.
    void StartTimer();
    void StopTimer();

private:
    CTimerWindow(boost::function<void()> fnDelegate, int iInterval);
    static void OnCreate(boost::shared_ptr<CTimerWindow>& poResult,
                         boost::function<void()> fnDelegate, int iInterval);
    Platform::LRESULT WindowProc(Platform::UINT message, Platform::WPARAM wParam,
                                 Platform::LPARAM lParam) override;
    void OnTimer(Platform::UINT_PTR nIDEvent) override;

    boost::function<void()> m_fnDelegate;
    int m_iInterval;
    Platform::UINT_PTR m_uTimerId;
    CStaleTickFilter m_oStaleTicks;
};

} // namespace Thread
} // namespace CppUtil
