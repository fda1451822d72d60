#include "CppUtil.Settings.VerboseLogging.h"
#include "Platform/Registry/Registry.h"

#include "CppUtil.CompiledMsg.h"
#include "CppUtil.Text.Output.h"

#include <mutex>

namespace CppUtil
{
namespace Settings
{
namespace
{

struct SSwitchName
{
    CVerboseLogging::EType m_eType;
    const char* m_szName;
};

const SSwitchName k_aoSwitches[] = {
    {CVerboseLogging::GalilCommunication, "GalilCommunication"},
    {CVerboseLogging::EmptySocketTest, "EmptySocketTest"},
    {CVerboseLogging::PnpPriorityLevel, "PnpPriorityLevel"},
    {CVerboseLogging::VisionDownward, "VisionDownward"},
    {CVerboseLogging::VisionUpward, "VisionUpward"},
    {CVerboseLogging::VisionContours, "VisionContours"},
    {CVerboseLogging::VisionNewtonsMethod, "VisionNewtonsMethod"},
    {CVerboseLogging::VisionDetectCameraLens, "VisionDetectCameraLens"},
    {CVerboseLogging::VisionDetectPocket, "VisionDetectPocket"},
    {CVerboseLogging::VisionDetectNozzle, "VisionDetectNozzle"},
    {CVerboseLogging::VisionDetectBlobs, "VisionDetectBlobs"},
    {CVerboseLogging::VisionDetectPart, "VisionDetectPart"},
    {CVerboseLogging::VisionPatternMatch, "VisionPatternMatch"},
    {CVerboseLogging::Serialization, "Serialization"},
    {CVerboseLogging::VisionCameras, "VisionCameras"},
    {CVerboseLogging::DownwardVisionImageCapture, "DownwardVisionImageCapture"},
    {CVerboseLogging::ApsLog, "ApsLog"},
};

const unsigned long k_ulMsgVerboseLoggingEnabled = 2;
const unsigned long k_ulMsgVerboseLoggingEnabledWithImageCapture = 11;

// Every log line asks the gate, from any thread, while the host may reload the switches: the
// table is swapped and read under one lock.
std::mutex& MapMutex()
{
    static std::mutex* s_poMutex = new std::mutex;
    return *s_poMutex;
}

} // namespace

const CString CVerboseLogging::k_sRegPath("VerboseLogging");
std::map<CVerboseLogging::EType, CRegistryValue<unsigned long>> CVerboseLogging::k_oLogTypeMap;

CRegistryValue<unsigned long> CVerboseLogging::CreateRegValue(const CString& name)
{
    return CRegistryValue<unsigned long>(Text::DefaultOutput(), HKEY_LOCAL_MACHINE, k_sRegPath,
                                         name, 0, true, true, true);
}

void CVerboseLogging::LoadFromRegistry()
{
    std::map<EType, CRegistryValue<unsigned long>> switches;
    for (const SSwitchName& entry : k_aoSwitches)
        switches.emplace(entry.m_eType, CreateRegValue(entry.m_szName));
    std::lock_guard<std::mutex> lock(MapMutex());
    k_oLogTypeMap.swap(switches);
}

bool CVerboseLogging::IsMessageEnabled(unsigned int mask, CString& prefix)
{
    if (mask == 0)
        return true;
    std::lock_guard<std::mutex> lock(MapMutex());
    for (auto& entry : k_oLogTypeMap)
    {
        if ((entry.first & mask) != 0 && entry.second.GetValue() != 0)
        {
            prefix = entry.second.GetName() + ": ";
            return true;
        }
    }
    return false;
}

bool CVerboseLogging::IsApsLoggingEnabled()
{
    CString scratch;
    return IsMessageEnabled(ApsLog, scratch);
}

void CVerboseLogging::NotifyIfEnabled()
{
    LoadFromRegistry();
    CString scratch;
    if (!IsMessageEnabled(0xFFFFFFFF, scratch))
        return;
    const unsigned long message = IsMessageEnabled(DownwardVisionImageCapture, scratch)
                                      ? k_ulMsgVerboseLoggingEnabledWithImageCapture
                                      : k_ulMsgVerboseLoggingEnabled;
    Text::DefaultOutput().MsgBoxF(CCompiledMsgBase(message, "cpputil", ""), "Verbose Logging", 0x30,
                                  0) %
        k_sRegPath;
}

} // namespace Settings
} // namespace CppUtil
