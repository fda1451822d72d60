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

void ThrowQlException(const CString& message, const CString& function, const CString& file,
                      unsigned int line)
{
    throw CQlException(message, function, file, line);
}

} // namespace Exception
} // namespace CppUtil
