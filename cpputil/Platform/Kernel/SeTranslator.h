/// @file
/// Installing a structured-exception translator for the calling thread.
#pragma once

#include "../Types/WinTypes.h"

namespace CppUtil
{
namespace Platform
{

typedef void (*SeTranslatorFunction)(unsigned int code, _EXCEPTION_POINTERS* info);

/// Returns whether the translator was installed: only the Microsoft runtime has the hook.
bool SetSeTranslator(SeTranslatorFunction translator);

} // namespace Platform
} // namespace CppUtil
