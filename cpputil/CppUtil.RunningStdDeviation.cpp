#include "CppUtil.RunningStdDeviation.h"

#include <cmath>

namespace CppUtil
{

CRunningStdDeviation::CRunningStdDeviation()
{
    Reset();
}

CRunningStdDeviation::~CRunningStdDeviation() = default;

void CRunningStdDeviation::Reset()
{
    m_dStandardDeviation = 0;
    m_dMean = 0;
    m_dM2 = 0;
    m_iCount = 0;
}

void CRunningStdDeviation::Calculate(double x)
{
    ++m_iCount;
    if (m_iCount == 1)
    {
        m_dMean = x;
        m_dM2 = 0;
        m_dStandardDeviation = 0;
        return;
    }
    const double mean = m_dMean + (x - m_dMean) / m_iCount;
    m_dM2 += (x - mean) * (x - m_dMean);
    m_dMean = mean;
    // The population deviation: divided by the count, not the count less one.
    m_dStandardDeviation = std::sqrt(m_dM2 / m_iCount);
}

} // namespace CppUtil
