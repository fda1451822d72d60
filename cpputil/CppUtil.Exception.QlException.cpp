#include "CppUtil.Exception.QlException.h"

namespace CppUtil
{
namespace Exception
{

CQlException::CQlException(const CString& message, const CString& function, const CString& file,
                           unsigned int line)
    : std::runtime_error(message.GetString()), m_sFunction(function), m_sFile(file), m_uLine(line)
{
}

CQlException::~CQlException() = default;

CString CQlException::GetDetails() const
{
    CString details;
    details.Format("Function: %s, File: %s, Line: %u", m_sFunction.GetString(), m_sFile.GetString(),
                   m_uLine);
    return details;
}

CQlException* CQlException::Clone() const
{
    return new CQlException(*this);
}

void CQlException::Rethrow() const
{
    throw *this;
}

void ThrowQlException(const CString& message, const CString& function, const CString& file,
                      unsigned int line)
{
    throw CQlException(message, function, file, line);
}

} // namespace Exception
} // namespace CppUtil
