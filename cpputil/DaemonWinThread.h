/// @file
/// The thread of a CDaemonThread: it forwards to its owner, owns the proxy window and apartment it
/// set up, and keeps itself apart from an owner that has abandoned it.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Kernel/CWinThread.h"
#include "ProxyWindow.h"

#include <boost/shared_ptr.hpp>

namespace CppUtil
{
namespace Thread
{

class CDaemonThread;

class CPPUTIL_API CDaemonWinThread : public CWinThread
{
public:
    CDaemonWinThread();
    ~CDaemonWinThread() override;

    Platform::BOOL InitInstance() override;
    int Run() override;
    /// Pins the owner for the message, as for a hook; FALSE once the owner has given it up.
    Platform::BOOL DispatchCurrentMessage() override;
    int ExitInstance() override;
    void Delete() override;

    /// On the owner's thread: asks the message loop to end.
    void PostQuit();
    /// On the owner's thread, once it has stopped waiting for this thread, or on this thread
    /// itself; never waits. Returns true when the thread is still going: it then drops the calls
    /// queued for its window, deletes itself when it ends, and dispatches nothing more and calls
    /// the owner no more once the hook or message it may be inside has returned.
    bool Abandon();
    /// Whether the calling thread is one of owner's, given up or not.
    static bool IsWorkerOf(const CDaemonThread& owner);
    /// Whether an abandoned thread is still inside one of the owner's hooks or calls.
    static bool HasAbandonedHooks(CDaemonThread& owner);
    /// While the owner is destroyed: waits until no abandoned thread is inside one of its hooks or
    /// calls, serving meanwhile the calls queued for this thread's proxy windows. On one of the
    /// owner's workers, that worker's own hooks and calls are not waited for and forget the owner.
    static void AwaitAbandonedHooks(CDaemonThread& owner);

    CDaemonThread* m_poOwner;

private:
    class CWorkerWindow;
    class COwnerPin;

    /// Runs hook(owner) unless the owner has abandoned this thread, pinning the owner meanwhile;
    /// what it throws is tunnelled. Called from inside a catch handler, the hook may capture the
    /// exception being handled. Returns false when the owner had abandoned this thread.
    template <class THook>
    bool CallOwner(const THook& hook);

    boost::shared_ptr<CProxyWindow> m_poProxyWnd;
    /// The owner's, for what is logged once the owner may be gone.
    CString m_sThreadName;
    bool m_bComApartment;
    int m_iOwnerCalls;
    bool m_bAbandoned;
    bool m_bEnded;
};

} // namespace Thread
} // namespace CppUtil
