/// @file
/// Message-box styles and button ids: windows.h on Windows, the layer's own list elsewhere.
#pragma once

#include "../Types/WinTypes.h"

#if !CPPUTIL_WINDOWS
#include "Posix/WinUser.h"
#endif
