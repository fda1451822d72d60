/// @file
/// The calling thread's message loop, for hosts and for threads the library does not start itself.
/// The host's user-interface thread runs one of these so that the library's windows and timers on
/// it are served.
#pragma once

#include "CppUtil.Api.h"

namespace CppUtil
{
namespace Thread
{

/// Dispatches this thread's messages until WM_QUIT and returns the quit's exit code. An exception
/// thrown by a window handler on this thread leaves through here.
CPPUTIL_API int RunMessageLoop();

/// Dispatches this thread's messages and timers for about that long. Returns early on WM_QUIT,
/// which it posts again so that the enclosing loop ends as well.
CPPUTIL_API void PumpMessages(unsigned int milliseconds);

/// Asks this thread's message loop to end with the exit code.
CPPUTIL_API void PostQuitMessage(int exitCode);

} // namespace Thread
} // namespace CppUtil
