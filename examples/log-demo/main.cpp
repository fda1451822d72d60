// A small host: one output with its message manager, the host's logging delegate writing every
// destination to the terminal, and a few texts of each kind.
#include <cpputil/CppUtil.h>

#include <cstdio>

using namespace CppUtil::Text;

namespace
{

const char* DestinationName(ELogEntryDestination destination)
{
    switch (destination)
    {
    case JobLog:
        return "job";
    case LegacyLog:
        return "legacy";
    case ApsLog:
        return "aps";
    default:
        return "main";
    }
}

void WriteLogLine(const char* text, bool html, const char* secondText,
                  ELogEntryDestination destination)
{
    std::printf("[%-6s log%s] %s%s%s\n", DestinationName(destination), html ? ", html" : "", text,
                *secondText ? "  | " : "", secondText);
}

void WriteOutputWindow(COutput&, const CString& text, unsigned int flags)
{
    std::printf("[output window%s] %s\n", flags ? ", development" : "", text.GetString());
}

} // namespace

int main()
{
    // This thread is the user-interface thread: output-window text is delivered to it.
    CppUtil::Thread::CInterThreadCaller uiCaller;
    CppUtil::Thread::CGuiThreadCaller::Hook(uiCaller);

    CMessageManager* manager = new CMessageManager;
    COutput out(manager);
    manager->SetLoggingEventHandler(&WriteLogLine);
    COutput::SetWriteOutputWndDelegate(&WriteOutputWindow);

    const char* lot = "A-17";
    const int devices = 1200;
    const double yield = 99.25;
    out.LogF("Lot %s: %d devices, yield %.2f%%", 0u) % lot % devices % yield;
    out.JobLogF("Job started for lot %s", "operator: kim") % lot;
    out.LegacyLogF("Legacy counter %d", 0u) % 42;
    out.ApsLogF("APS request %1%", 0u) % "GET /status";
    out.HtmlLogF("<b>%s</b> done", CString()) % lot;
    out.PrintF("Printed line one\r\nPrinted line two", CString());

    // Lines that name a verbose-logging area are dropped until that area is switched on.
    out.LogF("Vision detail %d", CppUtil::Settings::CVerboseLogging::VisionDownward) % 7;

    manager->SetTraceLogging(true);
    out.TraceF("Trace: %d ms") % 15;

    try
    {
        out.GetValue("Unregistered box");
    }
    catch (const CppUtil::Exception::CQlException& e)
    {
        out.LogF("Caught from %s: %s", CString()) % e.GetFunction() % e.what();
    }

    // Lets the output window's batch (every 50 ms) arrive before the host shuts down.
    CppUtil::Thread::PumpMessages(200);
    CppUtil::Thread::CGuiThreadCaller::Unhook();
    return 0;
}
