/// @file
/// Calls a delegate once, some time after it was triggered, on the thread that made the timer.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Kernel/CWnd.h"
#include "Platform/Types/CString.h"
#include "StaleTickFilter.h"

#include <boost/function.hpp>

namespace CppUtil
{
namespace Thread
{

/// A hidden window on the constructing thread, which must run a message loop: the delegate is
/// called from there. Triggering again before the call restarts the countdown, so a burst of
/// triggers ends in one call after the last of them.
class CPPUTIL_API COneShotTimer : public CWnd
{
public:
    static constexpr int k_iTimerEventId = 10;
    /// Destruction from another thread travels as this message, since only the owning thread may
    /// destroy the window.
    static constexpr Platform::UINT WM_DESTROY_ONE_SHOT_TIMER = Platform::k_uiWmUser + 100;

    /// The window is named "COneShotTimer", with " (sName)" when a name is given. Both raise a
    /// CQlException when the window cannot be made.
    explicit COneShotTimer(const CString& sName);
    COneShotTimer(const boost::function<void()>& fnDelegate, const CString& sName);
    /// Safe from any thread while the owning thread runs its message loop, which then does the
    /// destruction while this waits.
    virtual ~COneShotTimer();

    void SetDelegate(const boost::function<void()>& fnDelegate);
    /// Arms the timer, or re-arms it with the new delay when it is already running. On the owning
    /// thread only. Raises a CQlException when the system refuses the timer.
    void Trigger(unsigned long ulMilliseconds);

protected:
    /// Disarms the timer without a call.
    void StopTimer();
    /// Destroys the window on its own thread, waiting for that thread when called from another.
    void Destroy();

    Platform::LRESULT WindowProc(Platform::UINT message, Platform::WPARAM wParam,
                                 Platform::LPARAM lParam) override;

private:
    void CreateTimerWindow(const CString& sName, unsigned int uLine);
    void OnTimer(Platform::UINT_PTR nIDEvent) override;
    Platform::LRESULT OnDestroyOneShot(Platform::WPARAM wParam, Platform::LPARAM lParam);

    boost::function<void()> m_fnDelegate;
    Platform::UINT_PTR m_uTimerId;
    CStaleTickFilter m_oStaleTicks;
};

} // namespace Thread
} // namespace CppUtil
