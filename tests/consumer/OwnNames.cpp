// A Linux host that has Win32 names of its own, as one that carries its own Windows imitation
// does. The installed headers leave the names to it, and the library neither exports them nor
// calls the host's definitions in place of its own.
#define TRUE 1
#define FALSE 0
typedef unsigned long DWORD;

#include <cpputil/CppUtil.Text.Output.h>
#include <cpputil/CppUtil.h>

#include <iostream>

// Nor do they define Win32's values as macros, which would replace the host's own names.
#if defined(INFINITE) || defined(WM_USER) || defined(MB_OK)
#error "The installed headers define a Win32 value as a macro"
#endif

struct HWND__;

namespace
{
int s_iHostCalls = 0;
}

// Win32's signatures: had the library exported its own, these would take their place in it.
void Sleep(unsigned int)
{
    ++s_iHostCalls;
}
long SendMessage(HWND__*, unsigned int, unsigned long, long)
{
    ++s_iHostCalls;
    return 0;
}

int main()
{
    using namespace CppUtil;
    Text::CMessageManager* manager = new Text::CMessageManager;
    Text::COutput out(manager);
    manager->SetLoggingEventHandler(
        [](const char* text, bool, const char*, Text::ELogEntryDestination)
        { std::cout << "own-names: " << text << std::endl; });

    // A sent call on the window's own thread goes through the library's SendMessage.
    bool bSent = false;
    {
        Thread::CProxyWindow window(false, "OwnNames");
        window.Send([&bSent] { bSent = true; });
    }
    const DWORD dwHostFlag = TRUE;
    const Platform::DWORD dwSpan =
        static_cast<Platform::DWORD>(CTimeSpan(0, 1, 30, 0).GetTotalMinutes());
    out.LogF("call %s, flag %u, span %u min, host calls %d", 0u) % (bSent ? "sent" : "lost") %
        static_cast<unsigned int>(dwHostFlag) % dwSpan % s_iHostCalls;
    return bSent && s_iHostCalls == 0 ? 0 : 1;
}
