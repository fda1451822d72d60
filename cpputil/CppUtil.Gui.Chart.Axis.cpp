#include "CppUtil.Gui.Chart.Axis.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace CppUtil
{
namespace Gui
{
namespace Chart
{

namespace
{

CAxis::TUnitScales MakeTimeScale()
{
    CAxis::TUnitScales scales;
    scales.push_back(CAxis::CUnitScale(1.0, ':'));
    scales.push_back(CAxis::CUnitScale(60.0, ':'));
    scales.push_back(CAxis::CUnitScale(60.0, ':'));
    return scales;
}

// Beyond this many spacings from zero a tick index no longer fits the integer it is counted in,
// and a double no longer tells neighbouring ticks apart anyway.
const double k_dMostTickIndex = 1e15;

// A linear scale applied to the width of extents. Two finite ends can lie further apart than the
// largest double; then the halves of the ends are scaled, so that a scale below one gives a
// finite result where the width itself would be infinite.
template <typename TScale>
double ScaledWidth(const CAxis::CExtents& extents, TScale scale)
{
    const double width = extents.Width();
    if (std::isfinite(width))
        return scale(width);
    return 2.0 * (scale(extents.m_dMaximum / 2.0) - scale(extents.m_dMinimum / 2.0));
}

double ClampToFinite(double value)
{
    return std::max(-std::numeric_limits<double>::max(),
                    std::min(std::numeric_limits<double>::max(), value));
}

} // namespace

const CAxis::TUnitScales CAxis::TIME_SCALE = MakeTimeScale();

CAxis::CExtents::CExtents()
    : m_dMinimum(std::numeric_limits<double>::max()), m_dMaximum(std::numeric_limits<double>::min())
{
}

CAxis::CAxis(EType type, const std::pair<unsigned int, unsigned int>& tickCountRange,
             const Gdiplus::Color& gridColor, const Gdiplus::Color& tickColor)
    : m_oGridMultipliers{1.0, 2.0, 5.0}, m_uTickLength(5), m_dYMarginFraction(0.02), m_eType(type),
      m_oTickCountRange(tickCountRange), m_oGridColor(gridColor), m_oTickColor(tickColor),
      m_iRelativeUnits(0), m_iSelectedUnitScale(-1), m_dUnitScaler(1.0), m_dGridMultScaler(1.0)
{
}

void CAxis::ClearExtents()
{
    m_oCurrentExtents = CExtents();
    m_oMaxExtents = CExtents();
}

void CAxis::UpdateMaxExtents(double value)
{
    m_oMaxExtents.m_dMinimum = std::min(m_oMaxExtents.m_dMinimum, value);
    m_oMaxExtents.m_dMaximum = std::max(m_oMaxExtents.m_dMaximum, value);
}

void CAxis::OnUpdateExtentsComplete()
{
    if (IsYAxis())
        ScaleYExtents(m_oMaxExtents);
    // The X axis takes the full range only the first time, so a zoom survives new data.
    if (IsYAxis() || m_oCurrentExtents.m_dMaximum < m_oCurrentExtents.m_dMinimum)
        m_oCurrentExtents = m_oMaxExtents;
}

void CAxis::SetCurrentExtents(const CExtents& extents)
{
    // Inverted, or not a number at either end.
    if (!(extents.m_dMinimum <= extents.m_dMaximum))
        return;
    m_oCurrentExtents = extents;
    if (IsYAxis())
        ScaleYExtents(m_oCurrentExtents);
    OnCurrentExtentsChanged();
}

bool CAxis::IsCoordWithinCurrentExtents(double value) const
{
    return m_oCurrentExtents.m_dMinimum <= value && value <= m_oCurrentExtents.m_dMaximum;
}

std::vector<CTick> CAxis::GetTicks()
{
    if (m_oCurrentExtents == m_oTickCacheKey)
        return m_oTicks;

    ComputeScaledCurrentExtents();
    const CExtents range = IsIntegralUnitMode() ? m_oCurrentExtents : m_oScaledCurrentExtents;

    double bestError = std::numeric_limits<double>::max();
    double bestSpacing = 0.0;
    if (range.m_dMinimum < range.m_dMaximum && std::isfinite(range.m_dMinimum) &&
        std::isfinite(range.m_dMaximum))
    {
        for (unsigned int n = std::max(2u, m_oTickCountRange.first); n <= m_oTickCountRange.second;
             ++n)
        {
            const double wanted = ScaledWidth(range, [n](double width) { return width / (n - 1); });
            const double scaler = ComputeGridMultScaler(wanted);
            const double spacing = ComputeOptimalTickSpacingForGridMultScaler(wanted, scaler);
            const double error = std::fabs(wanted - spacing);
            // Strictly less, so that the fewest ticks win a tie.
            if (error < bestError)
            {
                m_dGridMultScaler = scaler;
                bestSpacing = spacing;
                bestError = error;
            }
        }
    }

    m_oTickCacheKey = m_oCurrentExtents;
    m_oTicks = bestSpacing > 0.0 ? CreateTicks(range, bestSpacing) : std::vector<CTick>();
    return m_oTicks;
}

CTick CAxis::CreateTick(double position, bool extraDigit) const
{
    double value = position / m_dUnitScaler;
    CString label;
    if (m_iSelectedUnitScale >= 0 && m_oUnitScales[m_iSelectedUnitScale].m_sName.IsEmpty())
    {
        for (int scale = m_iSelectedUnitScale; scale >= 0; --scale)
        {
            const CUnitScale& unit = m_oUnitScales[scale];
            const long long part = Truncate(value);
            value = (value - static_cast<double>(part)) * unit.m_dFactor;
            label.AppendFormat(scale == m_iSelectedUnitScale ? "%lld" : "%02lld", part);
            if (scale != 0)
                label += unit.m_cSeparator;
        }
    }
    else
    {
        // The scaler is a power of ten made by repeated multiplication or division, so its
        // logarithm is a whole number give or take rounding: round it rather than cut it, or
        // 1e-2 could show one decimal.
        int decimals =
            std::max(0, static_cast<int>(std::lround(std::log10(1.0 / m_dGridMultScaler))));
        if (extraDigit)
            ++decimals;
        label.Format("%.*f", decimals, value);
    }
    return CTick(position, label);
}

CString CAxis::GetUnitsString() const
{
    if (IsRelativeUnits())
        return "%";
    if (m_iSelectedUnitScale >= 0)
        return m_oUnitScales[m_iSelectedUnitScale].m_sName;
    return CString();
}

bool CAxis::Zoom(double anchor, bool zoomIn, double amount)
{
    if (m_oCurrentExtents.m_dMinimum > m_oCurrentExtents.m_dMaximum)
        return false;
    // Zooming in by half or more would turn the range inside out; zooming out by it has no end.
    if (!(amount > 0.0 && amount < 0.5))
        return false;

    const CExtents saved = m_oCurrentExtents;
    CExtents& current = m_oCurrentExtents;
    if (zoomIn)
    {
        const double delta =
            ScaledWidth(current, [amount](double width) { return 2.0 * width * amount; });
        current.m_dMinimum += delta * anchor;
        current.m_dMaximum -= (1.0 - anchor) * delta;
    }
    else
    {
        // The width lost by zooming in by the same amount, so that out undoes in.
        const double delta = ScaledWidth(current, [amount](double width)
                                         { return 2.0 * amount * width / (1.0 - 2.0 * amount); });
        current.m_dMinimum -= delta * anchor;
        current.m_dMaximum += (1.0 - anchor) * delta;
        // Keep the width where the data allows: push back what went past either end.
        if (current.m_dMinimum < m_oMaxExtents.m_dMinimum)
            current.m_dMaximum += m_oMaxExtents.m_dMinimum - current.m_dMinimum;
        if (current.m_dMaximum > m_oMaxExtents.m_dMaximum)
            current.m_dMinimum -= current.m_dMaximum - m_oMaxExtents.m_dMaximum;
    }
    OnCurrentExtentsChanged();

    // Zooming stops where the labels can no longer tell neighbouring ticks apart.
    if (!(m_oCurrentExtents.Width() > 0.0) || IsTickDuplicated())
    {
        m_oCurrentExtents = saved;
        return false;
    }
    return true;
}

void CAxis::ScrollBy(double delta)
{
    if (std::isnan(delta))
        return;
    if (delta <= 0.0)
        delta = std::max(delta, m_oMaxExtents.m_dMinimum - m_oCurrentExtents.m_dMinimum);
    else
        delta = std::min(delta, m_oMaxExtents.m_dMaximum - m_oCurrentExtents.m_dMaximum);
    if (std::isinf(delta))
    {
        // Both the distance and the room left overflowed, on data wider than the largest double:
        // go to the end the scroll points at, keeping the width as far as doubles hold it.
        CExtents& current = m_oCurrentExtents;
        const double half = current.m_dMaximum / 2.0 - current.m_dMinimum / 2.0;
        if (delta < 0.0)
            current =
                CExtents(m_oMaxExtents.m_dMinimum, 2.0 * (m_oMaxExtents.m_dMinimum / 2.0 + half));
        else
            current =
                CExtents(2.0 * (m_oMaxExtents.m_dMaximum / 2.0 - half), m_oMaxExtents.m_dMaximum);
        OnCurrentExtentsChanged();
        return;
    }
    m_oCurrentExtents.m_dMinimum += delta;
    m_oCurrentExtents.m_dMaximum += delta;
    OnCurrentExtentsChanged();
}

void CAxis::ScrollTo(double position)
{
    ScrollBy(position - m_oCurrentExtents.m_dMinimum);
}

void CAxis::ScrollLeft()
{
    ScrollBy(-GetTickDelta());
}

void CAxis::ScrollRight()
{
    ScrollBy(GetTickDelta());
}

void CAxis::ScrollPageLeft()
{
    ScrollBy(-GetCurrentExtentWidth());
}

void CAxis::ScrollPageRight()
{
    ScrollBy(GetCurrentExtentWidth());
}

void CAxis::SetUnitScales(const TUnitScales& unitScales)
{
    m_oUnitScales = unitScales;
    m_oTickCacheKey = CExtents();
    m_oTicks.clear();
    m_iSelectedUnitScale = -1;
    m_dUnitScaler = 1.0;
}

bool CAxis::IsIntegralUnitMode() const
{
    if (m_oUnitScales.empty())
        return false;
    const int scale = m_iSelectedUnitScale >= 0 ? m_iSelectedUnitScale : 0;
    return m_oUnitScales[scale].m_bIntegral;
}

void CAxis::ScaleYExtents(CExtents& extents) const
{
    // An empty range stays empty rather than turning into a huge one.
    if (extents.m_dMaximum < extents.m_dMinimum)
        return;
    const double fraction = m_dYMarginFraction;
    double margin = ScaledWidth(extents, [fraction](double width) { return width * fraction; });
    if (extents.Width() == 0.0)
        margin = extents.m_dMaximum * 0.1 * fraction;
    // Data near the ends of the doubles gets what margin is left rather than an endless one.
    extents.m_dMaximum = ClampToFinite(extents.m_dMaximum + std::fabs(margin));
    extents.m_dMinimum = ClampToFinite(extents.m_dMinimum - std::fabs(margin));
}

void CAxis::ComputeScaledCurrentExtents()
{
    m_oScaledCurrentExtents = m_oCurrentExtents;
    if (m_oUnitScales.empty())
        return;
    // Deselected in relative mode too, so that percentages are not divided by a stale scaler.
    m_iSelectedUnitScale = -1;
    m_dUnitScaler = 1.0;
    if (IsRelativeUnits())
        return;
    for (std::size_t scale = 0; scale < m_oUnitScales.size(); ++scale)
    {
        const double factor = m_oUnitScales[scale].m_dFactor;
        if (factor > m_oScaledCurrentExtents.m_dMaximum)
            break;
        m_iSelectedUnitScale = static_cast<int>(scale);
        m_dUnitScaler *= factor;
        m_oScaledCurrentExtents.m_dMinimum /= factor;
        m_oScaledCurrentExtents.m_dMaximum /= factor;
    }
}

double CAxis::ComputeGridMultScaler(double spacing) const
{
    double scaler = 1.0;
    if (spacing >= m_oGridMultipliers.front())
        while (m_oGridMultipliers.back() * scaler < spacing)
            scaler *= 10.0;
    else
        while (spacing < m_oGridMultipliers.front() * scaler)
            scaler /= 10.0;
    return scaler;
}

double CAxis::ComputeOptimalTickSpacingForGridMultScaler(double spacing, double scaler) const
{
    double best = m_oGridMultipliers.front() * scaler;
    for (double multiplier : m_oGridMultipliers)
        if (std::fabs(spacing - multiplier * scaler) < std::fabs(spacing - best))
            best = multiplier * scaler;
    return best;
}

std::vector<CTick> CAxis::CreateTicks(const CExtents& range, double spacing) const
{
    std::vector<CTick> ticks;
    const double first = range.m_dMinimum / spacing;
    if (!(std::fabs(first) < k_dMostTickIndex) ||
        !(std::fabs(range.m_dMaximum / spacing) < k_dMostTickIndex))
        return ticks;
    const double factor = IsIntegralUnitMode() ? 1.0 : m_dUnitScaler;
    // Each position is its index times the spacing rather than a running sum, which would
    // drift; a position that misses an end of the range by rounding alone (3 x 0.1 is a little
    // more than 0.3) is put on it, so the tick is neither lost nor drawn outside.
    const double tolerance = spacing * 1e-9;
    for (long long index = static_cast<long long>(first);; ++index)
    {
        double position = static_cast<double>(index) * spacing;
        if (std::fabs(position - range.m_dMaximum) <= tolerance)
            position = range.m_dMaximum;
        else if (std::fabs(position - range.m_dMinimum) <= tolerance)
            position = range.m_dMinimum;
        if (!(position <= range.m_dMaximum))
            break;
        ticks.push_back(CreateTick(position * factor, false));
    }
    return ticks;
}

long long CAxis::Truncate(double value)
{
    // No label part of a real axis comes near the integer's limits; past them it is cut off.
    const double limit = 9e18;
    if (!(std::fabs(value) < limit))
        return value < 0 ? -static_cast<long long>(limit) : static_cast<long long>(limit);
    // Absorbs values such as 2.9999999999 that stand for 3.
    double whole = std::trunc(value);
    if (std::fabs(value - whole) > 1.0 - 1e-8)
        whole += value <= whole ? -1.0 : 1.0;
    return static_cast<long long>(whole);
}

bool CAxis::IsTickDuplicated()
{
    const std::vector<CTick> ticks = GetTicks();
    for (std::size_t tick = 1; tick < ticks.size(); ++tick)
        if (ticks[tick].GetLabel() == ticks[tick - 1].GetLabel())
            return true;
    return false;
}

void CAxis::OnCurrentExtentsChanged()
{
    m_oCurrentExtents.m_dMinimum = std::max(m_oCurrentExtents.m_dMinimum, m_oMaxExtents.m_dMinimum);
    m_oCurrentExtents.m_dMaximum = std::min(m_oCurrentExtents.m_dMaximum, m_oMaxExtents.m_dMaximum);
}

double CAxis::GetTickDelta()
{
    // With fewer than two ticks there is no step to scroll by.
    const std::vector<CTick> ticks = GetTicks();
    if (ticks.size() < 2)
        return 0.0;
    return ticks[1].GetPosition() - ticks[0].GetPosition();
}

} // namespace Chart
} // namespace Gui
} // namespace CppUtil
