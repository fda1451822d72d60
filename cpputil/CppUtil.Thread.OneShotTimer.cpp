#include "CppUtil.Thread.OneShotTimer.h"
#include "Platform/Kernel/WinMessages.h"

#include "CppUtil.Exception.QlException.h"
#include "Platform/Kernel/SystemError.h"
#include "Platform/Types/WinTypes.h"

namespace CppUtil
{
namespace Thread
{

namespace
{

const Exception::CSourceFile k_oSource("CppUtil.Thread.OneShotTimer");

} // namespace

COneShotTimer::COneShotTimer(const CString& sName) : m_uTimerId(0)
{
    CreateTimerWindow(sName, 24);
}

COneShotTimer::COneShotTimer(const boost::function<void()>& fnDelegate, const CString& sName)
    : m_fnDelegate(fnDelegate), m_uTimerId(0)
{
    CreateTimerWindow(sName, 35);
}

COneShotTimer::~COneShotTimer()
{
    if (::IsWindow(m_hWnd))
        Destroy();
}

void COneShotTimer::SetDelegate(const boost::function<void()>& fnDelegate)
{
    m_fnDelegate = fnDelegate;
}

void COneShotTimer::Trigger(unsigned long ulMilliseconds)
{
    // Not stopped first: the same id on the same window replaces the running timer, which is
    // what postpones the call.
    const bool bRunning = m_uTimerId != 0;
    m_uTimerId = SetTimer(k_iTimerEventId, static_cast<UINT>(ulMilliseconds), nullptr);
    if (bRunning)
        m_oStaleTicks.Ended(*this);
    if (m_uTimerId == 0)
        k_oSource.Throw(61, "CppUtil::Thread::COneShotTimer::Trigger",
                        Platform::GetSystemErrorText(::GetLastError()));
}

void COneShotTimer::StopTimer()
{
    if (m_uTimerId == 0)
        return;
    KillTimer(m_uTimerId);
    m_uTimerId = 0;
    m_oStaleTicks.Ended(*this);
}

void COneShotTimer::Destroy()
{
    SendMessage(WM_DESTROY_ONE_SHOT_TIMER, 0, 0);
}

LRESULT COneShotTimer::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_DESTROY_ONE_SHOT_TIMER)
        return OnDestroyOneShot(wParam, lParam);
    if (m_oStaleTicks.TakeMark(message))
        return 0;
    return CWnd::WindowProc(message, wParam, lParam);
}

void COneShotTimer::CreateTimerWindow(const CString& sName, unsigned int uLine)
{
    CString windowName("COneShotTimer");
    if (!sName.IsEmpty())
        windowName += " (" + sName + ")";
    if (!CreateEx(0, AfxRegisterWndClass(0, nullptr, nullptr, nullptr), windowName, 0, 0, 0, 0, 0,
                  nullptr, nullptr, nullptr))
    {
        k_oSource.Throw(uLine, "CppUtil::Thread::COneShotTimer::COneShotTimer",
                        Platform::GetSystemErrorText(::GetLastError()));
    }
}

void COneShotTimer::OnTimer(UINT_PTR nIDEvent)
{
    if (nIDEvent != static_cast<UINT_PTR>(k_iTimerEventId))
    {
        CWnd::OnTimer(nIDEvent);
        return;
    }
    // A tick posted before StopTimer or before the latest Trigger is not the armed timer's.
    if (m_uTimerId == 0 || m_oStaleTicks.IsStale())
        return;
    // Off before the call, so that the delegate may trigger again.
    StopTimer();
    if (m_fnDelegate)
        m_fnDelegate();
}

LRESULT COneShotTimer::OnDestroyOneShot(WPARAM, LPARAM)
{
    StopTimer();
    DestroyWindow();
    return 0;
}

} // namespace Thread
} // namespace CppUtil
