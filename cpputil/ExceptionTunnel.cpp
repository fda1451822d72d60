#include "ExceptionTunnel.h"

#include "CppUtil.Text.Output.h"

#include <exception>

namespace CppUtil
{
namespace Thread
{

namespace
{

const char* const k_szCaughtFormat =
    "The following exception has been caught: %s\nInternal Software Details: Thread: [%s] "
    "Caught: [%s].";
const char* const k_szNotReported = "Not Reported";

Exception::CQlException* MakeException(const CString& text)
{
    return new Exception::CQlException(
        text, "CppUtil::Thread::CExceptionTunnel::CaptureCurrentException", "ExceptionTunnel", 0);
}

} // namespace

CExceptionTunnel::CExceptionTunnel(Text::COutput& output) : m_oOutput(output) {}

CExceptionTunnel::~CExceptionTunnel() noexcept(false) {}

void CExceptionTunnel::CaptureCurrentException(const CString& threadName)
{
    CString text;
    CString detail(k_szNotReported);
    boost::shared_ptr<Exception::CQlException> caught;
    try
    {
        throw;
    }
    catch (const Exception::CQlException& e)
    {
        text = e.what();
        detail = e.GetDetails();
        caught.reset(e.Clone());
    }
    catch (const std::exception& e)
    {
        text = e.what();
        caught.reset(MakeException(text));
    }
    catch (...)
    {
        text = "Unknown Exception";
        caught.reset(MakeException(text));
    }

    try
    {
        m_oOutput.LogF(k_szCaughtFormat, 0u) % text %
            (threadName.IsEmpty() ? CString("Unknown") : threadName) % detail;
    }
    catch (...)
    {
        // A log that cannot be written must not cost the owner the exception itself.
    }

    std::lock_guard<std::mutex> lock(m_oExceptionMutex);
    m_poException = caught;
}

void CExceptionTunnel::RethrowPendingException()
{
    boost::shared_ptr<Exception::CQlException> pending;
    {
        std::lock_guard<std::mutex> lock(m_oExceptionMutex);
        pending.swap(m_poException);
    }
    if (pending)
        pending->Rethrow();
}

} // namespace Thread
} // namespace CppUtil
