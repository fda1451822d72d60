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
const char* const k_szUndeliveredFormat =
    "The following exception was never delivered to the owner of its thread: %s\nInternal "
    "Software Details: Thread: [%s] Caught: [%s].";
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

    Log(k_szCaughtFormat, text, threadName, detail);

    std::lock_guard<std::mutex> lock(m_oExceptionMutex);
    m_poException = caught;
}

void CExceptionTunnel::RethrowPendingException()
{
    const boost::shared_ptr<Exception::CQlException> pending = TakePendingException();
    if (pending)
        pending->Rethrow();
}

void CExceptionTunnel::DiscardPendingException(const CString& threadName) noexcept
{
    const boost::shared_ptr<Exception::CQlException> pending = TakePendingException();
    if (pending)
        Log(k_szUndeliveredFormat, pending->what(), threadName, pending->GetDetails());
}

void CExceptionTunnel::Log(const char* format, const CString& text, const CString& threadName,
                           const CString& detail) noexcept
{
    try
    {
        m_oOutput.LogF(format, 0u) % text %
            (threadName.IsEmpty() ? CString("Unknown") : threadName) % detail;
    }
    catch (...)
    {
        // A log that cannot be written must not cost the owner the exception itself, nor throw
        // from a destructor.
    }
}

boost::shared_ptr<Exception::CQlException> CExceptionTunnel::TakePendingException()
{
    boost::shared_ptr<Exception::CQlException> pending;
    std::lock_guard<std::mutex> lock(m_oExceptionMutex);
    pending.swap(m_poException);
    return pending;
}

} // namespace Thread
} // namespace CppUtil
