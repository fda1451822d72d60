/// @file
/// Process-wide objects of the error-reporting area.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"

#include <boost/signals2/signal.hpp>

namespace CppUtil
{
namespace Exception
{

/// The directory of the current job log. Not locked: set it before worker threads read it.
CPPUTIL_API extern CString g_sCurrentJobLogDir;

/// Raised when a crash dump is about to be written, so that listeners can add their state.
CPPUTIL_API extern boost::signals2::signal<void()> g_oCrashDumpSignal;

} // namespace Exception
} // namespace CppUtil
