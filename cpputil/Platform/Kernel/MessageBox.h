/// @file
/// The message box the platform shows when the host has installed no presenter of its own, and the
/// answer a host's presenter gives when nobody chooses. Installed for the latter.
#pragma once

#include "../../CppUtil.Api.h"
#include "../Types/ApiTypes.h"
#include "../Types/CString.h"

namespace CppUtil
{
namespace Platform
{

/// Shows a message box with the MB_* style bits in type and, when showCheckBox is set, a check
/// box whose final state is stored in checked; returns the ID* of the button chosen. Windows
/// shows a real modal box; POSIX writes the box to standard error and answers its default button.
CPPUTIL_INTERNAL_API int ShowMessageBox(const CString& text, const CString& caption,
                                        unsigned int type, bool showCheckBox, bool& checked);

/// The button a box of this style answers when nobody chooses: its default button.
CPPUTIL_API int GetDefaultButton(unsigned int type);

} // namespace Platform
} // namespace CppUtil
