/// @file
/// Calls delegates on the thread that created the caller, from that thread or any other.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"
#include "ProxyWindow.h"

#include <boost/function.hpp>

namespace CppUtil
{
namespace Thread
{

class CPPUTIL_API CInterThreadCaller
{
public:
    typedef boost::function<void()> TDelegate;

    /// The calling thread becomes the target; its message loop runs the queued calls. The
    /// arguments go to the proxy window.
    explicit CInterThreadCaller(bool executePendingOnDestroy = false,
                                const CString& name = CString());

    /// Runs the call on the target thread and returns when it has run. From another thread this
    /// waits without a time limit, so the target's loop must be running and must not be waiting
    /// for the caller; the caller is not told of an exception, which stays on the target thread.
    void Invoke(const TDelegate& call);
    /// On the target thread the call runs before this returns; from another thread it is queued.
    void BeginInvoke(const TDelegate& call);
    /// Always queued, even on the target thread, where it runs once control is back in the loop.
    void Fire(const TDelegate& call);

private:
    bool IsTargetThread() const;

    CProxyWindow m_oProxyWindow;
    Platform::DWORD m_dwThreadId;
};

} // namespace Thread
} // namespace CppUtil
