/// @file
/// Running mean and population standard deviation of a stream of samples (Welford's method), so
/// that long measurement series need no storage and lose no precision to large sums.
#pragma once

#include "CppUtil.Api.h"

namespace CppUtil
{

class CPPUTIL_API CRunningStdDeviation
{
public:
    CRunningStdDeviation();
    virtual ~CRunningStdDeviation();
    CRunningStdDeviation(const CRunningStdDeviation&) = default;
    CRunningStdDeviation& operator=(const CRunningStdDeviation&) = default;

    void Reset();
    /// Adds one sample.
    void Calculate(double x);

    double GetStandardDeviation() const { return m_dStandardDeviation; }
    double GetMean() const { return m_dMean; }
    int GetCount() const { return m_iCount; }

private:
    double m_dStandardDeviation;
    double m_dMean;
    /// The sum of squared deviations from the mean.
    double m_dM2;
    int m_iCount;
};

} // namespace CppUtil
