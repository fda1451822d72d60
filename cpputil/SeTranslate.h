/// @file
/// Translation of structured exceptions (processor and system faults) into CQlException.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/ApiTypes.h"

namespace CppUtil
{
namespace Exception
{

/// Throws a CQlException describing the fault; the debugger's thread-naming exception
/// (0x406D1388) passes through untranslated.
CPPUTIL_API void StructuredExceptionTranslate(unsigned int code,
                                              Platform::EXCEPTION_POINTERS* info);

/// Installs StructuredExceptionTranslate for the calling thread. Only the Microsoft runtime can
/// turn a structured exception into a C++ exception; elsewhere this does nothing and returns
/// false.
CPPUTIL_API bool InstallStructuredExceptionTranslator();

} // namespace Exception
} // namespace CppUtil
