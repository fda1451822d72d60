/// @file
/// The thread of a CDaemonThread: it only forwards to its owner, and keeps itself apart from an
/// owner that has abandoned it.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/CWinThread.h"
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

    BOOL InitInstance() override;
    int Run() override;
    int ExitInstance() override;
    void Delete() override;

    /// On the owner's thread, once it has stopped waiting for this thread. Returns true when the
    /// thread is still going: it then owns the proxy window and itself, and never calls the owner
    /// again. Waits while the thread is inside a call to the owner.
    bool Abandon(boost::shared_ptr<CProxyWindow>& proxyWindow);

    CDaemonThread* m_poOwner;

private:
    /// The owner, pinned until LeaveOwner, or null once abandoned.
    CDaemonThread* EnterOwner();
    void LeaveOwner();

    boost::shared_ptr<CProxyWindow> m_poProxyWnd;
    int m_iOwnerCalls;
    bool m_bAbandoned;
    bool m_bEnded;
};

} // namespace Thread
} // namespace CppUtil
