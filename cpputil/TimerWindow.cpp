#include "TimerWindow.h"
#include "Platform/Kernel/WinMessages.h"

#include "CppUtil.Exception.QlException.h"
#include "GuiThreadCaller.h"
#include "Platform/Kernel/SystemError.h"
#include "Platform/Types/WinTypes.h"

#include <boost/bind/bind.hpp>
#include <boost/ref.hpp>

namespace CppUtil
{
namespace Thread
{

namespace
{

const Exception::CSourceFile k_oSource("TimerWindow");

} // namespace

boost::shared_ptr<CTimerWindow> CTimerWindow::Create(boost::function<void()> fnDelegate,
                                                     int iInterval)
{
    boost::shared_ptr<CTimerWindow> poResult;
    CGuiThreadCaller::Invoke(
        boost::bind(&CTimerWindow::OnCreate, boost::ref(poResult), fnDelegate, iInterval));
    return poResult;
}

CTimerWindow::~CTimerWindow()
{
    // Neither a handler's failure nor a user-interface thread that is gone may leave a
    // destructor.
    try
    {
        if (::IsWindow(m_hWnd))
            CGuiThreadCaller::Invoke(boost::bind(&CWnd::DestroyWindow, this));
    }
    catch (...)
    {
        CHandlerCall::Drop(std::current_exception());
    }
}

void CTimerWindow::StartTimer()
{
    if (m_uTimerId != 0)
        return;
    m_uTimerId = SetTimer(k_iTimerEvent, static_cast<UINT>(m_iInterval), nullptr);
    if (m_uTimerId == 0)
        k_oSource.Throw(59, "CppUtil::Thread::CTimerWindow::StartTimer",
                        Platform::GetSystemErrorText(::GetLastError()));
}

void CTimerWindow::StopTimer()
{
    if (m_uTimerId == 0)
        return;
    KillTimer(m_uTimerId);
    m_uTimerId = 0;
    m_oStaleTicks.Ended(*this);
}

CTimerWindow::CTimerWindow(boost::function<void()> fnDelegate, int iInterval)
    : m_fnDelegate(fnDelegate), m_iInterval(iInterval), m_uTimerId(0)
{
    if (!CreateEx(0, AfxRegisterWndClass(0, nullptr, nullptr, nullptr),
                  "CppUtil::Thread::CTimerWindow", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr))
    {
        k_oSource.Throw(43, "CppUtil::Thread::CTimerWindow::CTimerWindow",
                        Platform::GetSystemErrorText(::GetLastError()));
    }
}

void CTimerWindow::OnCreate(boost::shared_ptr<CTimerWindow>& poResult,
                            boost::function<void()> fnDelegate, int iInterval)
{
    poResult.reset(new CTimerWindow(fnDelegate, iInterval));
}

LRESULT CTimerWindow::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    if (m_oStaleTicks.TakeMark(message))
        return 0;
    return CWnd::WindowProc(message, wParam, lParam);
}

void CTimerWindow::OnTimer(UINT_PTR nIDEvent)
{
    CWnd::OnTimer(nIDEvent);
    // A tick posted before StopTimer still arrives, also after the timer has started again.
    if (nIDEvent == static_cast<UINT_PTR>(k_iTimerEvent) && m_uTimerId != 0 &&
        !m_oStaleTicks.IsStale() && m_fnDelegate)
    {
        m_fnDelegate();
    }
}

} // namespace Thread
} // namespace CppUtil
