/// @file
/// The answer a host's message box presenter gives when nobody chooses.
#pragma once

#include "../../CppUtil.Api.h"
#include "../Types/ApiTypes.h"

namespace CppUtil
{
namespace Platform
{

/// The button a box of this style answers when nobody chooses: its default button.
CPPUTIL_API int GetDefaultButton(unsigned int type);

} // namespace Platform
} // namespace CppUtil
