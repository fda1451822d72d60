/// @file
/// Minimum, maximum, total, mean and deviation of a series of durations.
#pragma once

#include "CppUtil.RunningStdDeviation.h"

#include <limits>

namespace CppUtil
{

template <class T>
class CMetrics
{
public:
    CMetrics() { ResetStats(); }
    virtual ~CMetrics() {}

    void ResetStats()
    {
        m_dMeanDelta = 0;
        m_iMinDelta = std::numeric_limits<T>::max();
        m_iMaxDelta = std::numeric_limits<T>::min();
        m_iLastDelta = 0;
        m_iTotalDelta = 0;
        m_uIterationCount = 1;
        m_oStdDeviation.Reset();
    }

    /// Records one measurement.
    void UpdateDelta(T delta) { CalculateStats(delta); }

    T GetDelta() const { return m_iLastDelta; }
    T GetMinDelta() const { return m_iMinDelta; }
    T GetMaxDelta() const { return m_iMaxDelta; }
    T GetTotalDelta() const { return m_iTotalDelta; }
    double GetMeanDelta() const { return m_dMeanDelta; }
    double GetStandardDeviation() const { return m_oStdDeviation.GetStandardDeviation(); }
    /// The number of measurements plus one: the counter starts at 1 and existing reports rely on
    /// that.
    unsigned int GetIterationCount() const { return m_uIterationCount; }

private:
    void CalculateStats(T delta)
    {
        m_iLastDelta = delta;
        m_oStdDeviation.Calculate(static_cast<double>(delta));
        m_iTotalDelta += delta;
        m_dMeanDelta = static_cast<double>(m_iTotalDelta) / m_uIterationCount;
        if (delta < m_iMinDelta)
            m_iMinDelta = delta;
        if (delta > m_iMaxDelta)
            m_iMaxDelta = delta;
        ++m_uIterationCount;
    }

    CRunningStdDeviation m_oStdDeviation;
    double m_dMeanDelta;
    T m_iMinDelta;
    T m_iMaxDelta;
    T m_iLastDelta;
    T m_iTotalDelta;
    unsigned int m_uIterationCount;
};

} // namespace CppUtil
