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
const char* const k_szAbandonedFormat =
    "The following exception was thrown on a thread its owner had given up: %s\nInternal "
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
    CString detail;
    const boost::shared_ptr<Exception::CQlException> caught = Classify(text, detail);
    Log(m_oOutput, k_szCaughtFormat, text, threadName, detail);

    std::lock_guard<std::mutex> lock(m_oExceptionMutex);
    m_poException = caught;
}

void CExceptionTunnel::LogAbandonedException(const CString& threadName) noexcept
{
    try
    {
        CString text;
        CString detail;
        Classify(text, detail);
        // An output without a manager reaches every live one; the owner's may be gone.
        Text::COutput anyOutput(nullptr);
        Log(anyOutput, k_szAbandonedFormat, text, threadName, detail);
    }
    catch (...)
    {
        // Nobody is left to tell.
    }
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
        Log(m_oOutput, k_szUndeliveredFormat, pending->what(), threadName, pending->GetDetails());
}

boost::shared_ptr<Exception::CQlException> CExceptionTunnel::Classify(CString& text,
                                                                      CString& detail)
{
    detail = k_szNotReported;
    try
    {
        throw;
    }
    catch (const Exception::CQlException& e)
    {
        text = e.what();
        detail = e.GetDetails();
        return boost::shared_ptr<Exception::CQlException>(e.Clone());
    }
    catch (const std::exception& e)
    {
        text = e.what();
    }
    catch (...)
    {
        text = "Unknown Exception";
    }
    return boost::shared_ptr<Exception::CQlException>(MakeException(text));
}

void CExceptionTunnel::Log(Text::COutput& output, const char* format, const CString& text,
                           const CString& threadName, const CString& detail) noexcept
{
    try
    {
        output.LogF(format, 0u) % text % (threadName.IsEmpty() ? CString("Unknown") : threadName) %
            detail;
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
