#include "CppUtil.ProfileTimer.h"

#include "CppUtil.Text.Output.h"
#include "Platform/Time/ProcessClock.h"

namespace CppUtil
{

std::map<CString, CProfileTimer::CBenchmark> CProfileTimer::s_oMap;

CProfileTimer::CProfileTimer(const CString& name)
    : m_sName(name), m_lStart(Platform::ProcessClock())
{
}

CProfileTimer::~CProfileTimer()
{
    // CLOCKS_PER_SEC ticks a second: 1000 on Windows, a million on POSIX systems.
    const double elapsed =
        static_cast<double>(Platform::ProcessClock() - m_lStart) / CLOCKS_PER_SEC;
    CBenchmark& row = s_oMap[m_sName];
    row.m_dTotalSeconds += elapsed;
    ++row.m_iCalls;
}

void CProfileTimer::ClearMap()
{
    s_oMap.clear();
}

void CProfileTimer::DisplayResults(Text::COutput& out)
{
    for (const auto& entry : s_oMap)
        out.PrintF("%s - (%3.3f, %d)\n", CString()) % entry.first % entry.second.m_dTotalSeconds %
            entry.second.m_iCalls;
}

} // namespace CppUtil
