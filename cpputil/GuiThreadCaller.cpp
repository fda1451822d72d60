#include "GuiThreadCaller.h"

#include "CppUtil.Exception.QlException.h"
#include "InterThreadCaller.h"

namespace CppUtil
{
namespace Thread
{

namespace
{

const Exception::CSourceFile k_oSource("GuiThreadCaller");

} // namespace

CInterThreadCaller* CGuiThreadCaller::s_poCaller = nullptr;

void CGuiThreadCaller::Hook(CInterThreadCaller& caller)
{
    if (s_poCaller != nullptr)
        k_oSource.Throw(64, "CppUtil::Thread::CGuiThreadCaller::Hook", "NULL == s_poCaller");
    s_poCaller = &caller;
}

void CGuiThreadCaller::Unhook()
{
    if (s_poCaller == nullptr)
        k_oSource.Throw(81, "CppUtil::Thread::CGuiThreadCaller::Unhook", "NULL != s_poCaller");
    s_poCaller = nullptr;
}

void CGuiThreadCaller::Invoke(const TDelegate& call)
{
    if (s_poCaller)
        s_poCaller->Invoke(call);
    else
        call();
}

void CGuiThreadCaller::BeginInvoke(const TDelegate& call)
{
    if (s_poCaller)
        s_poCaller->BeginInvoke(call);
    else
        call();
}

void CGuiThreadCaller::Fire(const TDelegate& call)
{
    if (s_poCaller)
        s_poCaller->Fire(call);
    else
        call();
}

} // namespace Thread
} // namespace CppUtil
