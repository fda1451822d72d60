#include "DaemonWinThread.h"

#include "CppUtil.Exception.QlException.h"
#include "DaemonThread.h"
#include "Platform/Kernel/Runtime.h"
#include "Platform/Kernel/WinMessages.h"
#include "SeTranslate.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace CppUtil
{
namespace Thread
{

namespace
{

// The thread object raises under the name of the daemon thread it runs.
const Exception::CSourceFile k_oSource("DaemonThread");

// Shared by all daemon threads: a thread object may be deleted the moment its owner sees it
// ended, so the lock that decides this cannot live inside it.
std::mutex s_oLifetimeMutex;
std::condition_variable s_oAbandonedHookReturned;

// How often an owner that waits for an abandoned hook serves the calls queued for its thread.
const std::chrono::milliseconds k_oServeInterval(10);

// Debuggers learn thread names from a structured exception that only a debugger may see; this
// build leaves them unnamed.
void NameThreadForDebugger(const CString&) {}

const char* const k_szAbandoned = "its thread was given up by its owner before the call's turn";

// The daemon thread object of the calling thread, null on threads that are none.
thread_local CDaemonWinThread* t_poCurrent = nullptr;

} // namespace

// Pins the owner for one of its hooks or calls, unless it has given this thread up: an owner
// that gives up on the thread meanwhile waits for the pin in its destruction.
class CDaemonWinThread::COwnerPin
{
public:
    explicit COwnerPin(CDaemonWinThread& thread) : m_oThread(thread), m_poOwner(nullptr)
    {
        std::lock_guard<std::mutex> lock(s_oLifetimeMutex);
        if (thread.m_bAbandoned)
            return;
        ++thread.m_iOwnerCalls;
        m_poOwner = thread.m_poOwner;
    }
    ~COwnerPin()
    {
        if (!m_poOwner)
            return;
        std::lock_guard<std::mutex> lock(s_oLifetimeMutex);
        // Once given up, the thread never touches its owner after this: the owner may be waiting
        // to go. An owner given up on this very thread is gone already (see Abandon).
        CDaemonThread* const owner = m_oThread.m_poOwner;
        if (--m_oThread.m_iOwnerCalls == 0 && m_oThread.m_bAbandoned && owner)
        {
            --owner->m_iAbandonedHooks;
            s_oAbandonedHookReturned.notify_all();
        }
    }
    COwnerPin(const COwnerPin&) = delete;
    COwnerPin& operator=(const COwnerPin&) = delete;

    /// Null when the owner had given the thread up.
    CDaemonThread* Owner() const { return m_poOwner; }

private:
    CDaemonWinThread& m_oThread;
    CDaemonThread* m_poOwner;
};

// The worker's proxy window: the owner's work runs through it, so each queued call pins the owner
// as a hook does. A call the owner gave up on before its turn is no longer queued, and never runs.
class CDaemonWinThread::CWorkerWindow : public CProxyWindow
{
public:
    CWorkerWindow(CDaemonWinThread& thread, const CString& name)
        : CProxyWindow(false, name), m_oThread(thread)
    {
    }

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (message != WM_USER)
            return CProxyWindow::WindowProc(message, wParam, lParam);
        const COwnerPin pin(m_oThread);
        // Given up: a queued call stays for the owner to drop, its waiter told why. One sent on
        // this thread comes from a hook or call still running, which keeps the owner.
        if (!pin.Owner() && IsQueuedCall(lParam))
            return 0;
        return CProxyWindow::WindowProc(message, wParam, lParam);
    }

private:
    CDaemonWinThread& m_oThread;
};

CDaemonWinThread::CDaemonWinThread()
    : m_poOwner(nullptr), m_bComApartment(false), m_iOwnerCalls(0), m_bAbandoned(false),
      m_bEnded(false)
{
}

CDaemonWinThread::~CDaemonWinThread() {}

BOOL CDaemonWinThread::InitInstance()
{
    if (m_poOwner == nullptr)
        k_oSource.Throw(40, "CppUtil::Thread::CDaemonWinThread::InitInstance",
                        "((m_poOwner) != NULL) && AfxIsValidAddress((m_poOwner), "
                        "sizeof(CDaemonThread), FALSE)");
    t_poCurrent = this;
    // Start waits for the start-up, so the owner cannot abandon the thread meanwhile.
    CallOwner(
        [this](CDaemonThread& owner)
        {
            Exception::InstallStructuredExceptionTranslator();
            m_sThreadName = owner.GetThreadName();
            NameThreadForDebugger(m_sThreadName);
            m_poProxyWnd.reset(new CWorkerWindow(*this, m_sThreadName));
            owner.ShareProxy(m_poProxyWnd);
            m_bComApartment = Platform::EnterSingleThreadedApartment();
            owner.OnThreadStart();
        });
    m_poOwner->m_oStartedEvent.SetEvent();
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
            const bool delivered = CallOwner(
                [](CDaemonThread& owner)
                {
                    owner.CaptureCurrentException(owner.GetThreadName());
                    owner.OnUncaughtException();
                });
            if (!delivered)
            {
                CExceptionTunnel::LogAbandonedException(m_sThreadName);
                // Given up: the loop dispatches nothing more.
                return ExitInstance();
            }
        }
    }
}

BOOL CDaemonWinThread::DispatchCurrentMessage()
{
    // Any message may reach the owner, whichever window it is for (a timer a subclass made in
    // OnThreadStart, say), so each is pinned as a hook is and the owner's destruction waits for
    // it. Once given up, the loop ends instead of dispatching more.
    const COwnerPin pin(*this);
    if (!pin.Owner())
        return FALSE;
    CWinThread::DispatchCurrentMessage();
    std::lock_guard<std::mutex> lock(s_oLifetimeMutex);
    return m_bAbandoned ? FALSE : TRUE;
}

int CDaemonWinThread::ExitInstance()
{
    CallOwner([](CDaemonThread& owner) { owner.OnThreadStop(); });
    // Both belong to this thread, and can only be let go of here, owner or not; the owner may hold
    // on to the window object, which refuses calls from then on.
    if (m_bComApartment)
        Platform::LeaveComApartment();
    m_bComApartment = false;
    boost::shared_ptr<CProxyWindow> proxyWindow;
    {
        std::lock_guard<std::mutex> lock(s_oLifetimeMutex);
        proxyWindow.swap(m_poProxyWnd);
    }
    if (proxyWindow)
        proxyWindow->Close();
    proxyWindow.reset();
    return 0;
}

void CDaemonWinThread::Delete()
{
    bool abandoned = false;
    {
        std::lock_guard<std::mutex> lock(s_oLifetimeMutex);
        m_bEnded = true;
        abandoned = m_bAbandoned;
    }
    // From here on a waiting owner may delete this object, unless it has given it up.
    if (abandoned)
        delete this;
}

void CDaemonWinThread::PostQuit()
{
    std::lock_guard<std::mutex> lock(s_oLifetimeMutex);
    // Without a window (its creation failed, or the loop has ended already) the thread's own
    // queue still ends the loop.
    if (m_poProxyWnd)
        m_poProxyWnd->PostMessage(WM_QUIT, 0, 0);
    else
        PostThreadMessage(WM_QUIT, 0, 0);
}

bool CDaemonWinThread::Abandon()
{
    boost::shared_ptr<CProxyWindow> window;
    {
        std::lock_guard<std::mutex> lock(s_oLifetimeMutex);
        if (m_bEnded)
            return false;
        // From here on no queued call gets a pin, so none runs before it is dropped below.
        m_bAbandoned = true;
        window = m_poProxyWnd;
        if (m_iOwnerCalls > 0)
            ++m_poOwner->m_iAbandonedHooks;
    }
    // Outside the lock: dropping the calls destroys their delegates, and one may hold the last
    // reference to another worker, whose destruction takes the lock. The copy keeps the window
    // for this, while the thread may already be deleting itself.
    if (window)
        window->Release(k_szAbandoned);
    return true;
}

bool CDaemonWinThread::IsWorkerOf(const CDaemonThread& owner)
{
    // Only this thread changes its own m_poOwner.
    return t_poCurrent && t_poCurrent->m_poOwner == &owner;
}

bool CDaemonWinThread::HasAbandonedHooks(CDaemonThread& owner)
{
    std::lock_guard<std::mutex> lock(s_oLifetimeMutex);
    return owner.m_iAbandonedHooks > 0;
}

void CDaemonWinThread::AwaitAbandonedHooks(CDaemonThread& owner)
{
    // The hook may be marshalling a call onto this very thread and waiting for it (through
    // CGuiThreadCaller::Invoke, say, while this is the user-interface thread). Only this thread can
    // run that call, so it serves the calls queued for its proxy windows while it waits; all other
    // messages stay for its own loop. Polling keeps this apart from how each platform wakes a
    // waiter for new messages.
    bool quit = false;
    WPARAM exitCode = 0;
    std::unique_lock<std::mutex> lock(s_oLifetimeMutex);
    // On a worker of the owner (one of its calls let go of the owner's last reference, given up
    // or not), that worker's pins are the caller's own frames: nobody may wait for them, and they
    // let go only once the owner is gone, so they must forget it.
    if (IsWorkerOf(owner))
    {
        if (t_poCurrent->m_bAbandoned && t_poCurrent->m_iOwnerCalls > 0)
            --owner.m_iAbandonedHooks;
        t_poCurrent->m_poOwner = nullptr;
    }
    while (!s_oAbandonedHookReturned.wait_for(lock, k_oServeInterval,
                                              [&owner] { return owner.m_iAbandonedHooks == 0; }))
    {
        lock.unlock();
        MSG message;
        while (::PeekMessage(&message, nullptr, WM_USER, WM_USER, PM_REMOVE))
        {
            // A quit passes any filter; it belongs to the loop, which gets it back afterwards.
            if (message.message == WM_QUIT)
            {
                quit = true;
                exitCode = message.wParam;
            }
            else
            {
                ::DispatchMessage(&message);
            }
        }
        lock.lock();
    }
    if (quit)
        ::PostQuitMessage(static_cast<int>(exitCode));
}

template <class THook>
bool CDaemonWinThread::CallOwner(const THook& hook)
{
    const COwnerPin pin(*this);
    CDaemonThread* const owner = pin.Owner();
    if (!owner)
        return false;
    try
    {
        hook(*owner);
    }
    catch (...)
    {
        owner->CaptureCurrentException(owner->GetThreadName());
    }
    return true;
}

} // namespace Thread
} // namespace CppUtil
