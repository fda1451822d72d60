#include "../../Types/Posix/WinTypes.h"

#include <chrono>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace CppUtil
{
namespace Platform
{

namespace
{
thread_local DWORD t_dwLastError = 0;
}

DWORD GetLastError()
{
    return t_dwLastError;
}

void SetLastError(DWORD code)
{
    t_dwLastError = code;
}

DWORD GetCurrentThreadId()
{
    // The kernel's thread id: unique among live threads and what debuggers and ps show.
    return static_cast<DWORD>(::syscall(SYS_gettid));
}

void Sleep(DWORD milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

} // namespace Platform
} // namespace CppUtil
