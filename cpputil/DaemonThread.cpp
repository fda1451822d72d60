#include "DaemonThread.h"

#include "CppUtil.Exception.QlException.h"
#include "DaemonWinThread.h"
#include "Platform/ComApartment.h"
#include "Platform/SystemError.h"
#include "Platform/WinMessages.h"
#include "SeTranslate.h"

namespace CppUtil
{
namespace Thread
{

namespace
{

const std::uint32_t k_uDefaultShutdownTimeout = 5000;

// Deletes the thread object unless the owner abandoned it to its still running thread, which
// then deletes itself.
struct SThreadDeleter
{
    bool m_bOwned = true;
    void operator()(CDaemonWinThread* thread) const
    {
        if (m_bOwned)
            delete thread;
    }
};

// Debuggers learn thread names from a structured exception that only a debugger may see; this
// build leaves them unnamed.
void NameThreadForDebugger(const CString&) {}

} // namespace

CDaemonThread::CDaemonThread(Text::COutput& output)
    : CExceptionTunnel(output), m_sThreadName("CDaemonThread"),
      m_uShutdownTimeout(k_uDefaultShutdownTimeout), m_oStartedEvent(FALSE, FALSE),
      m_bComApartment(false)
{
}

CDaemonThread::~CDaemonThread() noexcept(false)
{
    Stop();
}

void CDaemonThread::Start()
{
    if (m_poThread)
        return;
    CDaemonWinThread* const thread = new CDaemonWinThread;
    // The owner's shared pointer holds the object, never the thread itself.
    thread->m_bAutoDelete = FALSE;
    thread->m_poOwner = this;
    if (!AfxBeginThread(thread, THREAD_PRIORITY_NORMAL, 0, CREATE_SUSPENDED))
    {
        const CString error = Platform::GetSystemErrorText(::GetLastError());
        delete thread;
        Exception::ThrowQlException("Could not start the thread " + m_sThreadName + ": " + error,
                                    "CppUtil::Thread::CDaemonThread::Start", "DaemonThread", 0);
    }
    m_poThread.reset(thread, SThreadDeleter());
    thread->ResumeThread();
    m_oStartedEvent.Lock(INFINITE);
    RethrowPendingException();
}

void CDaemonThread::Stop()
{
    if (!m_poThread)
        return;
    QuitWorker();
    HANDLE handle = m_poThread->m_hThread;
    ::MsgWaitForMultipleObjects(1, &handle, FALSE, m_uShutdownTimeout, 0);
    boost::shared_ptr<CDaemonWinThread> thread;
    thread.swap(m_poThread);
    if (thread->Abandon(m_poProxyWnd))
        boost::get_deleter<SThreadDeleter>(thread)->m_bOwned = false;
    thread.reset();
    RethrowPendingException();
}

void CDaemonThread::QuitWorker()
{
    RethrowPendingException();
    // Without a window (its creation failed) the thread's own queue still ends the loop.
    if (m_poProxyWnd)
        m_poProxyWnd->PostMessage(WM_QUIT, 0, 0);
    else
        m_poThread->PostThreadMessage(WM_QUIT, 0, 0);
}

void CDaemonThread::SetThreadName(const CString& name)
{
    m_sThreadName = name;
}

CString CDaemonThread::GetThreadName() const
{
    return m_sThreadName;
}

void CDaemonThread::SetShutdownTimeout(unsigned int milliseconds)
{
    m_uShutdownTimeout = milliseconds;
}

CProxyWindow& CDaemonThread::Proxy()
{
    RethrowPendingException();
    return *m_poProxyWnd;
}

void CDaemonThread::OnThreadStart() {}

void CDaemonThread::OnThreadStop() {}

void CDaemonThread::OnUncaughtException() {}

void CDaemonThread::OnInitInstance()
{
    try
    {
        Exception::InstallStructuredExceptionTranslator();
        NameThreadForDebugger(m_sThreadName);
        m_poProxyWnd.reset(new CProxyWindow(false, m_sThreadName));
        m_bComApartment = Platform::EnterSingleThreadedApartment();
        OnThreadStart();
    }
    catch (...)
    {
        CaptureCurrentException(GetThreadName());
    }
    m_oStartedEvent.SetEvent();
}

void CDaemonThread::OnExitInstance()
{
    try
    {
        OnThreadStop();
    }
    catch (...)
    {
        CaptureCurrentException(GetThreadName());
    }
    // A failing hook must neither leave the apartment open nor keep the window: it can only be
    // torn down here, on its own thread.
    try
    {
        if (m_bComApartment)
            Platform::LeaveComApartment();
        m_bComApartment = false;
        m_poProxyWnd.reset();
    }
    catch (...)
    {
        CaptureCurrentException(GetThreadName());
    }
}

} // namespace Thread
} // namespace CppUtil
