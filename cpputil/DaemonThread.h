/// @file
/// The base of every long-lived worker thread: its own message loop and proxy window, started and
/// stopped by its owner, and no exception of the worker ever lost.
#pragma once

#include "CppUtil.Api.h"
#include "ExceptionTunnel.h"
#include "Platform/CEvent.h"
#include "Platform/CString.h"
#include "ProxyWindow.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>

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
    /// Pure, so that only subclasses exist. Stops the worker and so may throw what it left behind;
    /// a subclass whose hooks run on the worker calls Stop in its own destructor, while it is
    /// still whole.
    ~CDaemonThread() noexcept(false) override = 0;

    /// Returns once the worker has started, re-throwing what its start-up threw; the worker runs
    /// its loop all the same. A second Start does nothing.
    void Start();
    /// Asks the worker to end and waits for it up to the shut-down time-out; a worker that is not
    /// done by then is abandoned, never killed. Re-throws what the worker left behind; when that
    /// happens before the worker was asked to end, it is still running.
    void Stop();

protected:
    /// Read on the worker: set it before Start.
    void SetThreadName(const CString& name);
    CString GetThreadName() const;
    void SetShutdownTimeout(unsigned int milliseconds);
    /// Re-throws anything pending first. Only while a worker exists.
    CProxyWindow& Proxy();

    /// On the worker, after its set-up.
    virtual void OnThreadStart();
    /// On the worker, before it tears down; not run by a worker that was abandoned.
    virtual void OnThreadStop();
    /// On the worker, after an exception left its message loop and was tunnelled; the loop then
    /// goes on.
    virtual void OnUncaughtException();

private:
    friend class CDaemonWinThread;

    void OnInitInstance();
    void OnExitInstance();
    void QuitWorker();

    boost::shared_ptr<CProxyWindow> m_poProxyWnd;
    boost::shared_ptr<CDaemonWinThread> m_poThread;
    CString m_sThreadName;
    std::uint32_t m_uShutdownTimeout;
    CEvent m_oStartedEvent;
    bool m_bComApartment;
};

} // namespace Thread
} // namespace CppUtil
