// A small host that uses CppUtil the way a device-programming application does: it starts up in
// the library's order, runs a short job on worker threads, and shuts down in order.
//
//   quillon-host [--dir DIR] [--ntp HOST[:PORT]] [--verbose AREA[,AREA...]|off]
//
// DIR (default: a folder in the build tree) receives the log files, the chart page, the job report
// and, on Linux, the file registry unless CPPUTIL_REGISTRY_ROOT is set already. The station's
// settings come from quillon-host.xml beside the program.
#include "RegistryHome.h"

#include <cpputil/CppUtil.h>
#include <cpputil/Platform/Kernel/MessageBox.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// HKEY_* and IDOK: windows.h's macros on Windows, the library's constants on POSIX.
using namespace CppUtil::Platform;

using CppUtil::CDateTime;
using CppUtil::Exception::CQlException;
using CppUtil::Settings::CQLRegistry;
using CppUtil::Settings::CRegistryValue;
using CppUtil::Settings::CVerboseLogging;
using CppUtil::Settings::CWindowsVersion;
using CppUtil::Settings::CXmlIArchive;
using CppUtil::Settings::CXmlVersioning;
using CppUtil::Text::CMessageManager;
using CppUtil::Text::COutput;
using CppUtil::Text::ELogEntryDestination;
using CppUtil::Thread::CBufferedOutFile;
using CppUtil::Thread::CDaemonThread;
using CppUtil::Thread::CGuiThreadCaller;
using CppUtil::Thread::CInterThreadCaller;
using CppUtil::Thread::CPatientExecution;

namespace
{

const char* const k_szSection = "QuillonHost";
const int k_iDevices = 6;
const int k_iFailingDevice = 5;

struct SOptions
{
    std::filesystem::path m_oDir = QUILLON_HOST_DEFAULT_DIR;
    std::string m_sNtpServer;
    int m_iNtpPort = 123;
    std::string m_sVerbose;
};

bool ParseOptions(int argc, char** argv, SOptions& options)
{
    for (int i = 1; i < argc; ++i)
    {
        const std::string option = argv[i];
        if (i + 1 >= argc || (option != "--dir" && option != "--ntp" && option != "--verbose"))
        {
            std::cerr << "usage: quillon-host [--dir DIR] [--ntp HOST[:PORT]] "
                         "[--verbose AREA[,AREA...]|off]\n";
            return false;
        }
        const std::string value = argv[++i];
        if (option == "--dir")
            options.m_oDir = value;
        else if (option == "--verbose")
            options.m_sVerbose = value;
        else
        {
            const std::size_t colon = value.rfind(':');
            options.m_sNtpServer = value.substr(0, colon);
            if (colon != std::string::npos)
                options.m_iNtpPort = std::atoi(value.c_str() + colon + 1);
        }
    }
    return true;
}

// The four logs of the application, each a file that a worker of its own appends to.
class CLogFiles
{
public:
    CLogFiles(COutput& out, const std::filesystem::path& dir)
    {
        const char* const names[] = {"main.log", "job.log", "legacy.log", "aps.log"};
        for (const char* name : names)
            m_oFiles.emplace_back(new CBufferedOutFile(out, (dir / name).string().c_str()));
        m_poWindow.reset(new CBufferedOutFile(out, (dir / "output-window.log").string().c_str()));
    }

    void Start()
    {
        for (const std::unique_ptr<CBufferedOutFile>& file : m_oFiles)
            file->Start();
        m_poWindow->Start();
    }

    void Stop()
    {
        for (const std::unique_ptr<CBufferedOutFile>& file : m_oFiles)
            file->Stop();
        m_poWindow->Stop();
    }

    // The logging delegate: one stamped line per line of the entry.
    void Write(const char* text, const char* secondText, ELogEntryDestination destination)
    {
        const CString stamp = CDateTime::GetNowDateTimeStamp();
        std::string entry = text;
        if (*secondText)
            entry += std::string(" | ") + secondText;
        CBufferedOutFile& file = *m_oFiles.at(static_cast<std::size_t>(destination));
        std::size_t start = 0;
        for (;;)
        {
            const std::size_t end = entry.find('\n', start);
            std::string line = entry.substr(start, end - start);
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            file.AddLine(stamp + "  " + line.c_str());
            if (end == std::string::npos)
                break;
            start = end + 1;
        }
    }

    CBufferedOutFile& Window() { return *m_poWindow; }

private:
    std::vector<std::unique_ptr<CBufferedOutFile>> m_oFiles;
    std::unique_ptr<CBufferedOutFile> m_poWindow;
};

// A programmer site: a worker that programs one device at a time.
class CProgrammer : public CDaemonThread
{
public:
    CProgrammer(COutput& out, int site) : CDaemonThread(out), m_oOut(out), m_iSite(site)
    {
        SetThreadName(("Programmer " + std::to_string(site)).c_str());
    }
    // Its calls use its members, which go before the base destructor runs; the host stops it
    // itself to hear of a failure, so this only waits for what a given-up worker still runs.
    ~CProgrammer() override { Shutdown(); }

    // Runs on the worker; waits for it.
    void Program(int device)
    {
        Proxy().PostAndWait([this, device] { ProgramDevice(device); });
    }

    // Once the worker has stopped.
    bool Programmed(int device) const
    {
        return std::find(m_oProgrammed.begin(), m_oProgrammed.end(), device) != m_oProgrammed.end();
    }

private:
    void ProgramDevice(int device)
    {
        CppUtil::CProfileTimer timer("ProgramDevice");
        m_oOut.LogF("Site %d: programming device %d", 0u) % m_iSite % device;
        // Only while the PnpPriorityLevel switch is on, with its name in front.
        m_oOut.LogF("Site %d: pick-and-place priority for device %d is %d",
                    CVerboseLogging::PnpPriorityLevel) %
            m_iSite % device % (device % 3);
        if (device == k_iFailingDevice)
            CppUtil::Exception::ThrowQlException("Device not responding on socket 3.",
                                                 "CProgrammer::ProgramDevice", "quillon-host",
                                                 __LINE__);
        m_oOut.JobLogF("Device %d programmed and verified at site %d", "checksum 0x5A3C") % device %
            m_iSite;
        m_oProgrammed.push_back(device);
        if (CVerboseLogging::IsApsLoggingEnabled())
            m_oOut.ApsLogF("APS: device %d done", 0u) % device;
        m_oOut.AddText(CString("Device ") + std::to_string(device).c_str() + " ok");
    }

    COutput& m_oOut;
    int m_iSite;
    std::vector<int> m_oProgrammed;
};

// areas: "off", or names of switches to turn on, separated by commas.
void SwitchVerboseLogging(COutput& out, const std::string& areas)
{
    static const char* const k_aszAreas[] = {"GalilCommunication",
                                             "EmptySocketTest",
                                             "PnpPriorityLevel",
                                             "VisionDownward",
                                             "VisionUpward",
                                             "VisionContours",
                                             "VisionNewtonsMethod",
                                             "VisionDetectCameraLens",
                                             "VisionDetectPocket",
                                             "VisionDetectNozzle",
                                             "VisionDetectBlobs",
                                             "VisionDetectPart",
                                             "VisionPatternMatch",
                                             "Serialization",
                                             "VisionCameras",
                                             "DownwardVisionImageCapture",
                                             "ApsLog"};
    for (const char* name : k_aszAreas)
    {
        const bool on =
            ("," + areas + ",").find("," + std::string(name) + ",") != std::string::npos;
        if (areas != "off" && !on)
            continue;
        CRegistryValue<unsigned long> value(out, HKEY_LOCAL_MACHINE, "VerboseLogging", name, 0,
                                            true, true, false);
        value.SetValue(on ? 1 : 0);
    }
}

std::string ReadSettings(COutput& out)
{
    CRegistryValue<unsigned long> runs(out, HKEY_CURRENT_USER, k_szSection, "RunCount", 0, true,
                                       false, true);
    // A missing DWORD reads as all ones.
    const unsigned long previous = runs.GetValue() == 0xFFFFFFFFul ? 0 : runs.GetValue();
    runs.SetValue(previous + 1);
    CRegistryValue<CString> lot(out, HKEY_CURRENT_USER, k_szSection, "LastLot", "none", true, false,
                                true);
    out.LogF("Settings: run %lu, previous lot %s", 0u) % (previous + 1) % lot.GetValue();
    const std::string nextLot = "LOT-" + std::to_string(4711 + previous);
    lot.SetValue(nextLot.c_str());
    return nextLot;
}

// The programmer's handshake: a device still powering up misses the first one. Each failure asks
// the operator whether to try again; capped, the box's default is Retry.
void ConnectProgrammer(COutput& out)
{
    std::shared_ptr<int> handshakes = std::make_shared<int>(0);
    CPatientExecution connect(
        out,
        [handshakes]
        {
            if (++*handshakes < 2)
                CppUtil::Exception::ThrowQlException("The programmer did not answer the handshake.",
                                                     "ConnectProgrammer", "quillon-host", __LINE__);
            return true;
        },
        "Connect programmer");
    connect.SetPause(50);
    connect.SetMaxAttempts(3);
    const bool connected = connect.Execute() == CPatientExecution::k_eSucceeded;
    out.LogF("Programmer %s after %d handshakes", 0u) %
        (connected ? "connected" : "not connected") % *handshakes;
}

// The station's settings, a document that Boost's xml_oarchive writes.
struct SStationSettings
{
    CXmlVersioning m_oVersioning{1};
    CString m_sOperator = "unknown";

    template <class Archive>
    void serialize(Archive& archive, const unsigned int)
    {
        archive& boost::serialization::make_nvp("versioning", m_oVersioning);
        archive& boost::serialization::make_nvp("operator", m_sOperator);
    }
};

// A station without its settings file still runs, with the defaults.
SStationSettings ReadStationSettings(COutput& out, const std::filesystem::path& file)
{
    SStationSettings settings;
    try
    {
        CXmlIArchive archive(file.string().c_str());
        archive >> boost::serialization::make_nvp("station", settings);
        out.LogF("Station settings: operator %s, document version %u, from %s", 0u) %
            settings.m_sOperator % settings.m_oVersioning.GetVersion() % file.string().c_str();
    }
    catch (const CQlException& failure)
    {
        out.LogF("Station settings: %s The defaults apply.", 0u) % failure.what();
        settings = SStationSettings();
    }
    return settings;
}

void QueryNetworkTime(COutput& out, const SOptions& options)
{
    if (options.m_sNtpServer.empty())
    {
        out.LogF("Network time: no NTP server given (--ntp HOST[:PORT])", 0u);
        return;
    }
    CppUtil::CNtpClient client(out);
    const ATL::CTime time = client.GetServerTime(options.m_sNtpServer.c_str(), options.m_iNtpPort);
    if (time == ATL::CTime())
    {
        std::cout << "No NTP server answered at " << options.m_sNtpServer << ":"
                  << options.m_iNtpPort << "; see main.log for the reason.\n";
        out.LogF("Network time: no answer from %s:%d", 0u) % options.m_sNtpServer.c_str() %
            options.m_iNtpPort;
        return;
    }
    out.LogF("Network time: %s (UTC)", 0u) % CDateTime(time).ToString(false);
}

void WriteChart(COutput& out, const std::filesystem::path& file, const std::vector<double>& rates)
{
    using namespace CppUtil::Gui::Chart;
    CWnd parent;
    CChart chart(parent);
    chart.SetTimeXAxis();
    chart.AddCategory("Throughput", CCategory::CHARTABLE);
    chart.AddCategory("Failures", CCategory::FLAGABLE | CCategory::ERROR_CATEGORY);
    chart.AddCategory("Lot", CCategory::FLAGABLE);
    chart.AddEvent("Lot", 0, "Job started", "job.log");
    for (std::size_t i = 0; i < rates.size(); ++i)
        chart.AddData("Throughput", 60.0 * static_cast<double>(i + 1), rates[i]);
    chart.AddEvent("Failures", 60 * k_iFailingDevice, "Device not responding on socket 3",
                   "main.log");
    chart.Position(CRect(0, 0, 1100, 420));
    std::ofstream(file) << static_cast<const char*>(chart.RenderHtml());
    out.LogF("Chart: %d points and 3 events written to %s", 0u) % static_cast<int>(rates.size()) %
        file.string().c_str();
}

// The job report beside the chart: one row a device, a warning for each failure. The adapter's
// name is shown as a device list gives it, markup characters and all.
void WriteJobReport(COutput& out, const std::filesystem::path& file, const std::string& lot,
                    const std::vector<double>& rates, const std::vector<bool>& programmed,
                    const std::vector<std::string>& failures)
{
    CppUtil::Gui::CHtmlReport report(("Job report: lot " + lot).c_str());
    report.AddParagraph("Device MX25L6406E on adapter SOP8 <A&B>, two sites.");
    report.AddSection("Devices");
    report.AddTable({"Device", "Site", "Result", "Rate (devices/h)"});
    for (std::size_t i = 0; i < rates.size(); ++i)
    {
        CString rate("-");
        if (programmed[i])
            rate.Format("%.1f", rates[i]);
        report.AddRow({std::to_string(i + 1).c_str(), i % 2 ? "2" : "1",
                       programmed[i] ? "programmed" : "failed", rate});
    }
    for (const std::string& failure : failures)
        report.AddWarning(failure.c_str());
    report.Save(file.string().c_str());
    out.JobLogF("%s", "") % report.ToText();
    out.LogF("Job report: %d devices and %d %s written to %s", 0u) %
        static_cast<int>(rates.size()) % static_cast<int>(failures.size()) %
        (failures.size() == 1 ? "warning" : "warnings") % file.string().c_str();
}

} // namespace

int main(int argc, char** argv)
{
    SOptions options;
    if (!ParseOptions(argc, argv, options))
        return 2;
    std::filesystem::create_directories(options.m_oDir);
    PlaceRegistry(options.m_oDir / "registry");

    // Start-up, on the user-interface thread: managers and outputs, then the delegates.
    CMessageManager* manager = new CMessageManager;
    COutput out(manager);
    CLogFiles logs(out, options.m_oDir);
    manager->SetLoggingEventHandler(
        [&logs](const char* text, bool, const char* secondText, ELogEntryDestination destination)
        { logs.Write(text, secondText, destination); });
    COutput::SetWriteOutputWndDelegate(
        [&logs](COutput&, const CString& text, unsigned int)
        {
            std::cout << "[output] " << text << "\n";
            logs.Window().AddLine(text);
        });
    // The library's own default output reports through the host's.
    CppUtil::Text::DefaultOutput().SetActiveOutputGetter([&out]() -> COutput& { return out; });
    CppUtil::Gui::CCheckableMessageBox::SetPresenter(
        [](const CString& text, const CString& caption, unsigned int type, unsigned int, bool,
           bool&)
        {
            // Nobody sits at this host: every box takes its default button.
            std::cout << "[message box] " << caption << ": " << text << "\n";
            return CppUtil::Platform::GetDefaultButton(type);
        });
    logs.Start();

    CInterThreadCaller caller;
    CGuiThreadCaller::Hook(caller);
    AfxSocketInit();

    int exitCode = 0;
    try
    {
        CQLRegistry::SetHklmPermissionSectionKeys(out, {k_szSection});
        if (!options.m_sVerbose.empty())
            SwitchVerboseLogging(out, options.m_sVerbose);
        CVerboseLogging::NotifyIfEnabled();
        out.LogF("Quillon host started", 0u);
        // The output window's throttler starts with the first text. Started here, on this thread,
        // it needs nothing from this thread later: a worker that started it would wait for this
        // thread, which is busy waiting for the worker.
        out.AddText("Quillon host started");
        out.LogF("Operating system: %s", 0u) % CWindowsVersion::GetCurrent().ToString();

        // The job: two sites programming devices in turn.
        const std::string lot = ReadSettings(out);
        const SStationSettings station = ReadStationSettings(
            out, std::filesystem::path(argv[0]).parent_path() / "quillon-host.xml");
        out.JobLogF("Job started for lot %s", "operator: " + station.m_sOperator) % lot.c_str();
        out.LegacyLogF("Lot %s started", 0u) % lot.c_str();
        ConnectProgrammer(out);
        CProgrammer site1(out, 1), site2(out, 2);
        site1.Start();
        site2.Start();
        std::vector<double> rates;
        std::vector<std::string> failures;
        for (int device = 1; device <= k_iDevices; ++device)
        {
            CProgrammer& site = device % 2 ? site1 : site2;
            try
            {
                site.Program(device);
                rates.push_back(1200.0 + 40.0 * device);
            }
            catch (const CQlException& failure)
            {
                rates.push_back(0.0);
                failures.push_back(failure.what());
                out.LogF("Site failure reported to the host: %s", 0u) % failure.what();
            }
        }
        // A failure still parked in a worker comes back here.
        for (CProgrammer* site : {&site1, &site2})
        {
            try
            {
                site->Stop();
            }
            catch (const CQlException& failure)
            {
                failures.push_back(failure.what());
                out.LogF("Site failure reported to the host: %s", 0u) % failure.what();
            }
        }
        out.JobLogF("Job finished: %d devices", "") % k_iDevices;
        std::vector<bool> programmed;
        for (int device = 1; device <= k_iDevices; ++device)
            programmed.push_back((device % 2 ? site1 : site2).Programmed(device));

        QueryNetworkTime(out, options);
        CppUtil::CProfileTimer::DisplayResults(out);
        WriteChart(out, options.m_oDir / "chart.html", rates);
        WriteJobReport(out, options.m_oDir / "report.html", lot, rates, programmed, failures);
        // Let the output window catch up before the caller goes.
        CppUtil::Thread::PumpMessages(200);
        out.LogF("Quillon host stopped", 0u);
    }
    catch (const CQlException& failure)
    {
        std::cerr << "quillon-host: " << failure.what() << " (" << failure.GetFunction() << ")\n";
        exitCode = 1;
    }

    // Shut-down in order: no more calls to this thread, then the files get what is left.
    CGuiThreadCaller::Unhook();
    logs.Stop();
    std::cout << "Logs, chart and settings are in " << options.m_oDir.string() << "\n";
    return exitCode;
}
