#include "CppUtil.Settings.VerboseLogging.h"

namespace CppUtil
{
namespace Settings
{

std::map<CVerboseLogging::EType, CVerboseLogging::SSwitch> CVerboseLogging::k_oLogTypeMap;

bool CVerboseLogging::IsMessageEnabled(unsigned int mask, CString& prefix)
{
    if (mask == 0)
        return true;
    for (const auto& entry : k_oLogTypeMap)
    {
        if ((entry.first & mask) != 0 && entry.second.m_ulValue != 0)
        {
            prefix = entry.second.m_sName + ": ";
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

} // namespace Settings
} // namespace CppUtil
