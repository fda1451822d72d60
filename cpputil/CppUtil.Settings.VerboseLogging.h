/// @file
/// Machine-wide switches that turn on extra diagnostic logging per area of the host.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"
#include "RegistryValue.h"

#include <map>

namespace CppUtil
{
namespace Settings
{

class CPPUTIL_API CVerboseLogging
{
public:
    /// One bit per area; a log line's message id is a mask of these.
    enum EType : unsigned int
    {
        GalilCommunication = 0x1,
        EmptySocketTest = 0x2,
        PnpPriorityLevel = 0x4,
        VisionDownward = 0x8,
        VisionUpward = 0x10,
        VisionContours = 0x20,
        VisionNewtonsMethod = 0x40,
        VisionDetectCameraLens = 0x80,
        VisionDetectPocket = 0x100,
        VisionDetectNozzle = 0x200,
        VisionDetectBlobs = 0x400,
        VisionDetectPart = 0x800,
        VisionPatternMatch = 0x1000,
        Serialization = 0x2000,
        VisionCameras = 0x4000,
        DownwardVisionImageCapture = 0x8000,
        ApsLog = 0x10000
    };

    /// A mask of 0 is always enabled. Otherwise the lowest switched-on area in the mask enables
    /// the message and its name followed by ": " becomes the prefix; prefix is untouched when
    /// the answer is no.
    static bool IsMessageEnabled(unsigned int mask, CString& prefix);
    static bool IsApsLoggingEnabled();

    /// Reads every switch again from HKLM\\...\\VerboseLogging; a missing one is off.
    static void LoadFromRegistry();
    /// At start-up: loads the switches and, when any is on, warns the operator with a box.
    static void NotifyIfEnabled();

private:
    CVerboseLogging() = delete;

    static CRegistryValue<unsigned long> CreateRegValue(const CString& name);

    static const CString k_sRegPath;
    /// Empty until the switches are loaded: every area is off.
    static std::map<EType, CRegistryValue<unsigned long>> k_oLogTypeMap;
};

} // namespace Settings
} // namespace CppUtil
