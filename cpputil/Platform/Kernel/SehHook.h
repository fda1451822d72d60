/// @file
/// The runtime's hook for structured exceptions, which SeTranslate fills with its translator.
#pragma once

#include "../Types/WinTypes.h"

namespace CppUtil
{
namespace Platform
{

typedef void (*SehHookFunction)(unsigned int code, _EXCEPTION_POINTERS* info);

/// Returns whether the translator was installed: only the Microsoft runtime has the hook.
bool SetSehHook(SehHookFunction translator);

} // namespace Platform
} // namespace CppUtil
