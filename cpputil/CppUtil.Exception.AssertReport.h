/// @file
/// The report of a failed internal check that is not worth stopping for.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"

namespace CppUtil
{
namespace Exception
{

/// Logs "Assertion failed: <expression>, file <file>, line <line>" through the default output
/// and returns, so the caller goes on. Checks that must stop the caller throw through
/// ThrowQlException instead.
CPPUTIL_API void ReportAssertionFailure(const CString& expression, const CString& file,
                                        unsigned int line);

} // namespace Exception
} // namespace CppUtil
