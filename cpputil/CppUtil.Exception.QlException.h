/// @file
/// The one exception type the library throws.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"

#include <stdexcept>

namespace CppUtil
{
namespace Exception
{

/// A failure with the place that raised it: what() is the message; the function, the source file
/// and the line are kept beside it.
class CPPUTIL_API CQlException : public std::runtime_error
{
public:
    CQlException(const CString& message, const CString& function, const CString& file,
                 unsigned int line);
    ~CQlException() override;

    /// Where the failure was raised, in one line for logs that already show the message.
    virtual CString GetDetails() const;
    /// Subclasses override both, so that an exception carried to another thread as a
    /// CQlException is thrown there again with its own type.
    virtual CQlException* Clone() const;
    [[noreturn]] virtual void Rethrow() const;

    const CString& GetFunction() const { return m_sFunction; }
    const CString& GetFile() const { return m_sFile; }
    unsigned int GetLine() const { return m_uLine; }

private:
    CString m_sFunction;
    CString m_sFile;
    unsigned int m_uLine;
};

[[noreturn]] CPPUTIL_API void ThrowQlException(const CString& message, const CString& function,
                                               const CString& file, unsigned int line);

} // namespace Exception
} // namespace CppUtil
