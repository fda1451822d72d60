#include "CppUtil.ProfileTimer.h"

#include "CppUtil.Text.Output.h"

namespace CppUtil
{

std::map<CString, CProfileTimer::CBenchmark> CProfileTimer::s_oMap;

CProfileTimer::CProfileTimer(const CString& name) : m_sName(name), m_lStart(std::clock()) {}

CProfileTimer::~CProfileTimer()
{
    // clock() ticks CLOCKS_PER_SEC times a second: 1000 on Windows, a million on POSIX systems,
    // where it also counts processor time rather than wall time.
    const double elapsed = static_cast<double>(std::clock() - m_lStart) / CLOCKS_PER_SEC;
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
