#include "GuiThreadCaller.h"

#include "CppUtil.Exception.QlException.h"
#include "InterThreadCaller.h"

namespace CppUtil
{
namespace Thread
{

namespace
{

const char* const k_szSource = "GuiThreadCaller";
// The lines these checks have always been reported with, which failure reports are matched by.
const unsigned int k_uHookAssertLine = 64;
const unsigned int k_uUnhookAssertLine = 81;

} // namespace

CInterThreadCaller* CGuiThreadCaller::s_poCaller = nullptr;

void CGuiThreadCaller::Hook(CInterThreadCaller& caller)
{
    if (s_poCaller != nullptr)
        Exception::ThrowQlException("NULL == s_poCaller", "CppUtil::Thread::CGuiThreadCaller::Hook",
                                    k_szSource, k_uHookAssertLine);
    s_poCaller = &caller;
}

void CGuiThreadCaller::Unhook()
{
    if (s_poCaller == nullptr)
        Exception::ThrowQlException("NULL != s_poCaller",
                                    "CppUtil::Thread::CGuiThreadCaller::Unhook", k_szSource,
                                    k_uUnhookAssertLine);
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
