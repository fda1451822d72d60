#include "DaemonWinThread.h"

#include "CppUtil.Exception.QlException.h"
#include "DaemonThread.h"

#include <condition_variable>
#include <mutex>

namespace CppUtil
{
namespace Thread
{

namespace
{

// Shared by all daemon threads: a thread object may be deleted the moment its owner sees it
// ended, so the lock that decides this cannot live inside it.
std::mutex s_oLifetimeMutex;
std::condition_variable s_oOwnerCallsDone;

} // namespace

CDaemonWinThread::CDaemonWinThread()
    : m_poOwner(nullptr), m_iOwnerCalls(0), m_bAbandoned(false), m_bEnded(false)
{
}

CDaemonWinThread::~CDaemonWinThread() {}

BOOL CDaemonWinThread::InitInstance()
{
    if (m_poOwner == nullptr)
        Exception::ThrowQlException("((m_poOwner) != NULL) && AfxIsValidAddress((m_poOwner), "
                                    "sizeof(CDaemonThread), FALSE)",
                                    "CppUtil::Thread::CDaemonWinThread::InitInstance",
                                    "DaemonThread", 40);
    // Start waits for the start-up, so the owner cannot abandon the thread meanwhile.
    m_poOwner->OnInitInstance();
    // A failed start-up has been tunnelled; the loop runs anyway so that Stop ends it as usual.
    return TRUE;
}

int CDaemonWinThread::Run()
{
    for (;;)
    {
        try
        {
            return CWinThread::Run();
        }
        catch (...)
        {
            CDaemonThread* const owner = EnterOwner();
            if (owner)
            {
                try
                {
                    owner->CaptureCurrentException(owner->GetThreadName());
                    owner->OnUncaughtException();
                }
                catch (...)
                {
                    owner->CaptureCurrentException(owner->GetThreadName());
                }
                LeaveOwner();
            }
        }
    }
}

int CDaemonWinThread::ExitInstance()
{
    if (CDaemonThread* const owner = EnterOwner())
    {
        owner->OnExitInstance();
        LeaveOwner();
    }
    return 0;
}

void CDaemonWinThread::Delete()
{
    boost::shared_ptr<CProxyWindow> proxyWindow;
    bool abandoned = false;
    {
        std::lock_guard<std::mutex> lock(s_oLifetimeMutex);
        m_bEnded = true;
        abandoned = m_bAbandoned;
        proxyWindow.swap(m_poProxyWnd);
    }
    // From here on a waiting owner may delete this object, unless it has given it up.
    proxyWindow.reset();
    if (abandoned)
        delete this;
}

bool CDaemonWinThread::Abandon(boost::shared_ptr<CProxyWindow>& proxyWindow)
{
    std::unique_lock<std::mutex> lock(s_oLifetimeMutex);
    s_oOwnerCallsDone.wait(lock, [this] { return m_iOwnerCalls == 0; });
    if (m_bEnded)
        return false;
    m_bAbandoned = true;
    // The window can only be torn down on this thread, so it goes with the thread.
    m_poProxyWnd.swap(proxyWindow);
    proxyWindow.reset();
    return true;
}

CDaemonThread* CDaemonWinThread::EnterOwner()
{
    std::lock_guard<std::mutex> lock(s_oLifetimeMutex);
    if (m_bAbandoned)
        return nullptr;
    ++m_iOwnerCalls;
    return m_poOwner;
}

void CDaemonWinThread::LeaveOwner()
{
    std::lock_guard<std::mutex> lock(s_oLifetimeMutex);
    --m_iOwnerCalls;
    s_oOwnerCallsDone.notify_all();
}

} // namespace Thread
} // namespace CppUtil
