/// @file
/// A hidden window that runs delegates, delivered to it as WM_USER messages, on the thread that
/// created it.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Kernel/CWnd.h"
#include "Platform/Types/CString.h"

#include <boost/function.hpp>

#include <memory>

namespace CppUtil
{
namespace Thread
{

class CPPUTIL_API CProxyWindow : public CWnd
{
public:
    typedef boost::function<void()> TDelegate;

    /// Creates the window on the calling thread, which is then the only one the delegates run on.
    /// With executePendingOnDestroy, calls still queued at destruction run then; otherwise they
    /// are dropped. Throws CQlException when the window cannot be created.
    CProxyWindow(bool executePendingOnDestroy, const CString& name);
    /// From another thread, this blocks until the creating thread's message loop has torn the
    /// window down, so that loop must be running; when the creating thread has already ended,
    /// there is nothing left to wait for and nothing is waited for.
    ~CProxyWindow() override;

    bool IsCreatedOnCurrentThread() const;

    /// Queues the call and returns. Throws CQlException when it cannot be queued.
    void Post(const TDelegate& call);
    /// Runs the call now; meant for the window's own thread, where a call's exception reaches the
    /// caller.
    void Send(const TDelegate& call);
    /// Queues the call and waits, without a time limit, until the window's thread has run it. An
    /// exception thrown by the call stays on the window's thread; the waiter is released all the
    /// same. Throws CQlException, naming the window, when the call cannot be queued or never
    /// runs: the window is destroyed, or its thread ends, before the call's turn.
    void PostAndWait(const TDelegate& call);
    /// On the window's own thread: tears the window down now, as destruction would, for an object
    /// that others still hold; it refuses calls from then on.
    void Close();
    /// Any thread: drops the calls still queued, releasing each waiter with a CQlException that
    /// gives the reason (a phrase that outlives every waiter), and refuses calls from then on. A
    /// call already running goes on.
    void Release(const char* reason);

protected:
    /// Whether the lParam of a WM_USER message to the window is that of a queued call rather
    /// than of one run by Send.
    static bool IsQueuedCall(Platform::LPARAM lParam);
    Platform::LRESULT WindowProc(Platform::UINT message, Platform::WPARAM wParam,
                                 Platform::LPARAM lParam) override;

private:
    struct SCall;
    struct SWaiter;
    struct SPending;

    Platform::LRESULT OnExecute(Platform::WPARAM wParam, Platform::LPARAM lParam);
    bool Queue(const TDelegate& call, SWaiter* waiter);
    /// False when the call was dropped; the waiter then says why. Takes the window's handle and
    /// queue from before the call was queued: once the call has run, this object may be gone.
    static bool Await(SWaiter& waiter, Platform::HWND hWnd,
                      const std::shared_ptr<SPending>& pending);
    void TearDown();

    Platform::DWORD m_dwCreatorThreadId;
    bool m_bExecutePendingOnDestroy;
    /// The queued calls, shared with their waiters, which may outlive this object.
    std::shared_ptr<SPending> m_poPending;
};

} // namespace Thread
} // namespace CppUtil
