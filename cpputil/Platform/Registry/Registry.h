/// @file
/// The registry and security calls the settings store is written against: advapi32 on Windows,
/// the file registry elsewhere.
#pragma once

#include "../Types/WinTypes.h"

#if defined(_WIN32)
#include <aclapi.h>
#else
#include "Posix/Registry.h"
#endif
