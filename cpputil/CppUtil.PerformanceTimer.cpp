#include "CppUtil.PerformanceTimer.h"
#include "Platform/Types/WinTypes.h"

namespace CppUtil
{

CPerformanceTimer::CPerformanceTimer() : m_bCaptureInProgress(false)
{
    m_oStart.QuadPart = 0;
    m_oEnd.QuadPart = 0;
    ::QueryPerformanceFrequency(&m_oFrequency);
}

CPerformanceTimer::~CPerformanceTimer() = default;

LARGE_INTEGER CPerformanceTimer::GetSnapShot()
{
    LARGE_INTEGER now;
    ::QueryPerformanceCounter(&now);
    return now;
}

void CPerformanceTimer::CaptureStart()
{
    m_oStart = GetSnapShot();
    m_bCaptureInProgress = true;
}

void CPerformanceTimer::CaptureEnd()
{
    m_bCaptureInProgress = false;
    m_oEnd = GetSnapShot();
    CalculateDelta();
}

void CPerformanceTimer::CalculateDelta()
{
    UpdateDelta(CalculateElapsedTime());
}

__int64 CPerformanceTimer::CalculateElapsedTime() const
{
    return (m_oEnd.QuadPart - m_oStart.QuadPart) * 1000000 / m_oFrequency.QuadPart;
}

} // namespace CppUtil
