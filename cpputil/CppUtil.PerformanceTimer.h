/// @file
/// A stopwatch on the high-resolution performance counter whose measurements, in microseconds,
/// feed its metrics.
#pragma once

#include "CppUtil.Api.h"
#include "CppUtil.Metrics.h"
#include "Platform/Types/ApiTypes.h"

#include <cstdint>

namespace CppUtil
{

class CPPUTIL_API CPerformanceTimer : public CMetrics<std::int64_t>
{
public:
    CPerformanceTimer();
    ~CPerformanceTimer() override;

    /// One reading of the performance counter.
    static Platform::LARGE_INTEGER GetSnapShot();

    void CaptureStart();
    /// Ends the capture and records its duration.
    void CaptureEnd();
    void CalculateDelta();
    /// End less start, in microseconds.
    std::int64_t CalculateElapsedTime() const;

    Platform::LARGE_INTEGER GetStartTime() const { return m_oStart; }
    void SetStartTime(const Platform::LARGE_INTEGER& start) { m_oStart = start; }
    Platform::LARGE_INTEGER GetEndTime() const { return m_oEnd; }
    void SetEndTime(const Platform::LARGE_INTEGER& end) { m_oEnd = end; }
    bool IsCaptureInProgress() const { return m_bCaptureInProgress; }

private:
    Platform::LARGE_INTEGER m_oStart;
    Platform::LARGE_INTEGER m_oEnd;
    Platform::LARGE_INTEGER m_oFrequency;
    bool m_bCaptureInProgress;
};

} // namespace CppUtil
