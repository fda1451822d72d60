#include "DaemonThread.h"

#include "CppUtil.Exception.QlException.h"
#include "DaemonWinThread.h"
#include "Platform/Kernel/SystemError.h"
#include "Platform/Kernel/WinMessages.h"

namespace CppUtil
{
namespace Thread
{

namespace
{

const Exception::CSourceFile k_oSource("DaemonThread");
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

} // namespace

CDaemonThread::CDaemonThread(Text::COutput& output)
    : CExceptionTunnel(output), m_sThreadName("CDaemonThread"),
      m_uShutdownTimeout(k_uDefaultShutdownTimeout), m_oStartedEvent(FALSE, FALSE),
      m_iAbandonedHooks(0)
{
}

CDaemonThread::~CDaemonThread() noexcept(false)
{
    Shutdown();
}

void CDaemonThread::Start()
{
    if (m_poThread)
        return;
    // Refused rather than waited for: the worker given up may be waiting for this very thread, and
    // serving its calls from inside Start would run them at a moment nobody expects. Until it is
    // out, a new worker would run this object's hooks beside it.
    if (CDaemonWinThread::HasAbandonedHooks(*this))
        k_oSource.Throw(56, "CppUtil::Thread::CDaemonThread::Start",
                        "Could not start the thread " + m_sThreadName +
                            ": the worker given up on before is still running one of its calls.");
    CDaemonWinThread* const thread = new CDaemonWinThread;
    // The owner's shared pointer holds the object, never the thread itself.
    thread->m_bAutoDelete = FALSE;
    thread->m_poOwner = this;
    if (!AfxBeginThread(thread, THREAD_PRIORITY_NORMAL, 0, CREATE_SUSPENDED))
    {
        const CString error = Platform::GetSystemErrorText(::GetLastError());
        delete thread;
        k_oSource.Throw(0, "CppUtil::Thread::CDaemonThread::Start",
                        "Could not start the thread " + m_sThreadName + ": " + error);
    }
    m_poThread.reset(thread, SThreadDeleter());
    thread->ResumeThread();
    m_oStartedEvent.Lock(INFINITE);
    RethrowPendingException();
}

void CDaemonThread::Stop()
{
    // On the worker the caller is itself a hook or call of this object: the worker could neither
    // wait for it nor be given up under it, and another thread may be stopping it meanwhile. So
    // it is refused before anything is touched; the destructor alone may end it there.
    if (CDaemonWinThread::IsWorkerOf(*this))
        k_oSource.Throw(79, "CppUtil::Thread::CDaemonThread::Stop",
                        "The thread " + m_sThreadName +
                            " cannot be stopped from its own thread; stop it from another one.");
    // The worker is asked to end before anything is thrown, so that an owner on its way out
    // never leaves it running.
    if (StopWorker())
        RethrowPendingException();
}

void CDaemonThread::Shutdown() noexcept
{
    StopWorker();
    CDaemonWinThread::AwaitAbandonedHooks(*this);
    DiscardPendingException(m_sThreadName);
}

bool CDaemonThread::StopWorker()
{
    if (!m_poThread)
        return false;
    m_poThread->PostQuit();
    // On the worker itself (one of its calls let go of the last reference to this object, in
    // Shutdown) there is nothing to wait for: the thread cannot end while it is in here. It is
    // given up at once, its loop ends when that call returns, and it frees itself.
    if (!CDaemonWinThread::IsWorkerOf(*this))
    {
        HANDLE handle = m_poThread->m_hThread;
        ::MsgWaitForMultipleObjects(1, &handle, FALSE, m_uShutdownTimeout, 0);
    }
    ShareProxy(boost::shared_ptr<CProxyWindow>());
    boost::shared_ptr<CDaemonWinThread> thread;
    thread.swap(m_poThread);
    // Giving up never waits, whatever the worker is doing: waiting for a hook to return would
    // bind Stop to the hook, and a hook that marshals a call onto this thread would wait for Stop
    // in turn. A worker given up inside a hook keeps its owner until the hook returns, and only
    // the owner's destruction, which cannot go on without that, waits for it (Shutdown).
    if (thread->Abandon())
        boost::get_deleter<SThreadDeleter>(thread)->m_bOwned = false;
    return true;
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
    std::lock_guard<std::mutex> lock(m_oProxyMutex);
    if (!m_poProxyWnd)
        k_oSource.Throw(129, "CppUtil::Thread::CDaemonThread::Proxy", "px != 0");
    return *m_poProxyWnd;
}

void CDaemonThread::ShareProxy(const boost::shared_ptr<CProxyWindow>& window)
{
    // The window let go of is released outside the lock.
    boost::shared_ptr<CProxyWindow> other(window);
    std::lock_guard<std::mutex> lock(m_oProxyMutex);
    other.swap(m_poProxyWnd);
}

void CDaemonThread::OnThreadStart() {}

void CDaemonThread::OnThreadStop() {}

void CDaemonThread::OnUncaughtException() {}

} // namespace Thread
} // namespace CppUtil
