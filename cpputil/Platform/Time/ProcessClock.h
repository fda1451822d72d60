/// @file
/// The clock the profile timers read: wall-clock time since the process started.
#pragma once

#include <ctime>

namespace CppUtil
{
namespace Platform
{

/// Wall-clock time since the process started, in CLOCKS_PER_SEC ticks: what clock() gives on
/// Windows. Elsewhere clock() counts the processor time of all threads, which charges a scope
/// that waits almost nothing and one beside busy threads several times over.
std::clock_t ProcessClock();

} // namespace Platform
} // namespace CppUtil
