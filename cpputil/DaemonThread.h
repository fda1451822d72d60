/// @file
/// The base of every long-lived worker thread: its own message loop and proxy window, started and
/// stopped by its owner, and no exception of the worker ever lost.
#pragma once

#include "CppUtil.Api.h"
#include "ExceptionTunnel.h"
#include "Platform/Kernel/CEvent.h"
#include "Platform/Types/CString.h"
#include "ProxyWindow.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <mutex>

namespace CppUtil
{
namespace Thread
{

class CDaemonWinThread;

/// Whatever escapes the worker's start-up, message loop or shut-down is logged there and thrown
/// again on the owner's next Start, Stop or Proxy.
class CPPUTIL_API CDaemonThread : public CExceptionTunnel
{
public:
    explicit CDaemonThread(Text::COutput& output);
    /// Pure, so that only subclasses exist. Shuts the worker down (see Shutdown) and throws
    /// nothing; a subclass's own destructor may still throw, from Stop for instance.
    ~CDaemonThread() noexcept(false) override = 0;

    /// Returns once the worker has started, re-throwing what its start-up threw; the worker runs
    /// its loop all the same. A second Start does nothing. Throws CQlException, starting nothing,
    /// while a worker that Stop gave up on is still inside a hook or call of this object.
    void Start();
    /// Asks the worker to end and waits for it up to the shut-down time-out, whatever it is doing;
    /// a worker that is not done by then is abandoned, never killed: the calls still queued for it
    /// are dropped, their waiters released with a CQlException, and once what it is inside has
    /// returned it dispatches no further message and calls no further hook. Then re-throws what the
    /// worker left behind. On the worker's own thread (from a hook, call or timer) it throws
    /// CQlException and does nothing else.
    void Stop();

protected:
    /// Read on the worker: set it before Start.
    void SetThreadName(const CString& name);
    CString GetThreadName() const;
    void SetShutdownTimeout(unsigned int milliseconds);
    /// Re-throws anything pending first. Throws CQlException while no worker exists; once the
    /// worker's loop has ended on its own, the window is kept but refuses calls.
    CProxyWindow& Proxy();
    /// For destructors: stops the worker as Stop does, then waits, without a time limit, for a
    /// hook or message that the worker was still inside when Stop gave up on it (unless this runs
    /// on that worker, which cannot wait for itself), serving meanwhile the calls queued for this
    /// thread's proxy windows, which that hook may be waiting for. What the worker left behind is
    /// logged instead of thrown. A subclass whose hooks, calls or timers use its own members calls
    /// it first in its destructor: they are gone before the base destructor runs.
    void Shutdown() noexcept;

    /// On the worker, after its set-up.
    virtual void OnThreadStart();
    /// On the worker, before it tears down; not run by a worker that was abandoned.
    virtual void OnThreadStop();
    /// On the worker, after an exception left its message loop and was tunnelled; the loop then
    /// goes on.
    virtual void OnUncaughtException();

private:
    friend class CDaemonWinThread;

    /// Returns false when there was no worker to stop.
    bool StopWorker();
    void ShareProxy(const boost::shared_ptr<CProxyWindow>& window);

    /// The worker's window, made and torn down by the worker; the object stays while this holds
    /// it, so that Proxy never hands out a freed one.
    boost::shared_ptr<CProxyWindow> m_poProxyWnd;
    /// Proxy may be called on the worker while Stop lets go of the window.
    std::mutex m_oProxyMutex;
    boost::shared_ptr<CDaemonWinThread> m_poThread;
    CString m_sThreadName;
    std::uint32_t m_uShutdownTimeout;
    CEvent m_oStartedEvent;
    /// Abandoned workers still inside one of the hooks or calls; guarded by the workers' lifetime
    /// lock.
    int m_iAbandonedHooks;
};

} // namespace Thread
} // namespace CppUtil
