/// @file
/// A stopwatch on the high-resolution performance counter whose measurements, in microseconds,
/// feed its metrics.
#pragma once

#include "CppUtil.Api.h"
#include "CppUtil.Metrics.h"
#include "Platform/Types/WinTypes.h"

namespace CppUtil
{

class CPPUTIL_API CPerformanceTimer : public CMetrics<__int64>
{
public:
    CPerformanceTimer();
    ~CPerformanceTimer() override;

    /// One reading of the performance counter.
    static LARGE_INTEGER GetSnapShot();

    void CaptureStart();
    /// Ends the capture and records its duration.
    void CaptureEnd();
    void CalculateDelta();
    /// End less start, in microseconds.
    __int64 CalculateElapsedTime() const;

    LARGE_INTEGER GetStartTime() const { return m_oStart; }
    void SetStartTime(const LARGE_INTEGER& start) { m_oStart = start; }
    LARGE_INTEGER GetEndTime() const { return m_oEnd; }
    void SetEndTime(const LARGE_INTEGER& end) { m_oEnd = end; }
    bool IsCaptureInProgress() const { return m_bCaptureInProgress; }

private:
    LARGE_INTEGER m_oStart;
    LARGE_INTEGER m_oEnd;
    LARGE_INTEGER m_oFrequency;
    bool m_bCaptureInProgress;
};

} // namespace CppUtil
