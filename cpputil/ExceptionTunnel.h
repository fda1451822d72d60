/// @file
/// Carries an exception caught on a worker thread to the thread that owns the worker.
#pragma once

#include "CppUtil.Api.h"
#include "CppUtil.Exception.QlException.h"
#include "Platform/Types/CString.h"

#include <boost/shared_ptr.hpp>

#include <mutex>

namespace CppUtil
{
namespace Text
{
class COutput;
}

namespace Thread
{

class CPPUTIL_API CExceptionTunnel
{
public:
    explicit CExceptionTunnel(Text::COutput& output);
    /// Derived destructors may re-throw what the worker left behind, and an override may not
    /// throw more than the destructor it overrides.
    virtual ~CExceptionTunnel() noexcept(false);
    CExceptionTunnel(const CExceptionTunnel&) = delete;
    CExceptionTunnel& operator=(const CExceptionTunnel&) = delete;

    /// Only from inside a catch handler, on a thread whose owner has given it up and may be gone:
    /// logs the exception being handled through every live manager, keeping nothing.
    static void LogAbandonedException(const CString& threadName) noexcept;

protected:
    /// Only from inside a catch handler: logs the exception being handled and keeps it, replacing
    /// whatever was pending.
    void CaptureCurrentException(const CString& threadName);
    /// Throws the pending exception, if any, with its own type, and forgets it.
    void RethrowPendingException();
    /// For destructors, which must not throw: logs the pending exception, if any, as never
    /// delivered, and forgets it.
    void DiscardPendingException(const CString& threadName) noexcept;

private:
    /// Only from inside a catch handler: the exception being handled, with its text and detail.
    static boost::shared_ptr<Exception::CQlException> Classify(CString& text, CString& detail);
    static void Log(Text::COutput& output, const char* format, const CString& text,
                    const CString& threadName, const CString& detail) noexcept;
    boost::shared_ptr<Exception::CQlException> TakePendingException();

    boost::shared_ptr<Exception::CQlException> m_poException;
    Text::COutput& m_oOutput;
    /// The worker parks exceptions while its owner may be looking for one.
    std::mutex m_oExceptionMutex;
};

} // namespace Thread
} // namespace CppUtil
