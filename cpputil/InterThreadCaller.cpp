#include "InterThreadCaller.h"

#include "Platform/Types/WinTypes.h"

namespace CppUtil
{
namespace Thread
{

CInterThreadCaller::CInterThreadCaller(bool executePendingOnDestroy, const CString& name)
    : m_oProxyWindow(executePendingOnDestroy, name), m_dwThreadId(::GetCurrentThreadId())
{
}

void CInterThreadCaller::Invoke(const TDelegate& call)
{
    if (IsTargetThread())
        m_oProxyWindow.Send(call);
    else
        m_oProxyWindow.PostAndWait(call);
}

void CInterThreadCaller::BeginInvoke(const TDelegate& call)
{
    if (IsTargetThread())
        m_oProxyWindow.Send(call);
    else
        m_oProxyWindow.Post(call);
}

void CInterThreadCaller::Fire(const TDelegate& call)
{
    m_oProxyWindow.Post(call);
}

bool CInterThreadCaller::IsTargetThread() const
{
    return ::GetCurrentThreadId() == m_dwThreadId;
}

} // namespace Thread
} // namespace CppUtil
