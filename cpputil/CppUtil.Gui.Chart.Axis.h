/// @file
/// The numeric model of one axis of the chart's graph: extents, ticks, zoom and scroll.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"
#include "Platform/Types/GdiplusTypes.h"

#include <utility>
#include <vector>

namespace CppUtil
{
namespace Gui
{
namespace Chart
{

/// One tick mark: where it sits, in raw axis units, and what it reads.
class CPPUTIL_API CTick
{
public:
    CTick(double position, const CString& label) : m_dPosition(position), m_sLabel(label) {}

    double GetPosition() const { return m_dPosition; }
    const CString& GetLabel() const { return m_sLabel; }

private:
    double m_dPosition;
    CString m_sLabel;
};

class CPPUTIL_API CAxis
{
public:
    enum EType
    {
        X_AXIS = 0,
        Y_AXIS = 1
    };

    /// A range. The default is the empty range: the largest double as minimum and the smallest
    /// positive normal double as maximum, so the first value fed to an axis replaces the minimum
    /// and, when positive, the maximum; an all-negative data set keeps a maximum of about zero.
    class CPPUTIL_API CExtents
    {
    public:
        CExtents();
        CExtents(double minimum, double maximum) : m_dMinimum(minimum), m_dMaximum(maximum) {}

        double Width() const { return m_dMaximum - m_dMinimum; }
        bool operator==(const CExtents& other) const
        {
            return m_dMinimum == other.m_dMinimum && m_dMaximum == other.m_dMaximum;
        }
        bool operator!=(const CExtents& other) const { return !(*this == other); }

        double m_dMinimum;
        double m_dMaximum;
    };

    /// One step of a compound unit: how many of the finer step make one of this, and the
    /// character written after this step's number when a finer step follows.
    class CPPUTIL_API CUnitScale
    {
    public:
        CUnitScale(double factor, char separator)
            : m_dFactor(factor), m_cSeparator(separator), m_bIntegral(true)
        {
        }

        double m_dFactor;
        CString m_sName;
        char m_cSeparator;
        bool m_bIntegral;
    };
    typedef std::vector<CUnitScale> TUnitScales;

    /// Seconds, minutes, hours, for raw values in seconds.
    static const TUnitScales TIME_SCALE;

    CAxis(EType type, const std::pair<unsigned int, unsigned int>& tickCountRange,
          const Gdiplus::Color& gridColor, const Gdiplus::Color& tickColor);

    void ClearExtents();
    void UpdateMaxExtents(double value);
    void OnUpdateExtentsComplete();
    void SetCurrentExtents(const CExtents& extents);
    CExtents GetCurrentExtents() const { return m_oCurrentExtents; }
    CExtents GetMaxExtents() const { return m_oMaxExtents; }
    double GetCurrentExtentWidth() const { return m_oCurrentExtents.Width(); }
    bool IsCoordWithinCurrentExtents(double value) const;

    /// Cached per current extents: the graph asks several times per paint.
    std::vector<CTick> GetTicks();
    CTick CreateTick(double position, bool extraDigit) const;
    CString GetUnitsString() const;

    bool IsYAxis() const { return m_eType == Y_AXIS; }
    unsigned int GetTickLength() const { return m_uTickLength; }
    Gdiplus::Color GetGridColor() const { return m_oGridColor; }
    Gdiplus::Color GetTickColor() const { return m_oTickColor; }
    void SetRelativeUnits(bool relative) { m_iRelativeUnits = relative ? 1 : 0; }
    bool IsRelativeUnits() const { return m_iRelativeUnits != 0; }

    /// anchor: where the fixed point lies across the current range, 0 left to 1 right. Zooming
    /// out by an amount undoes zooming in by the same amount. False when refused.
    bool Zoom(double anchor, bool zoomIn, double amount);
    void ScrollBy(double delta);
    void ScrollTo(double position);
    void ScrollLeft();
    void ScrollRight();
    void ScrollPageLeft();
    void ScrollPageRight();

    void SetUnitScales(const TUnitScales& unitScales);
    void SetTime() { SetUnitScales(TIME_SCALE); }

private:
    bool IsIntegralUnitMode() const;
    void ScaleYExtents(CExtents& extents) const;
    void ComputeScaledCurrentExtents();
    double ComputeGridMultScaler(double spacing) const;
    double ComputeOptimalTickSpacingForGridMultScaler(double spacing, double scaler) const;
    std::vector<CTick> CreateTicks(const CExtents& range, double spacing) const;
    static long long Truncate(double value);
    bool IsTickDuplicated();
    void OnCurrentExtentsChanged();
    double GetTickDelta();

    std::vector<double> m_oGridMultipliers;
    unsigned int m_uTickLength;
    double m_dYMarginFraction;
    EType m_eType;
    std::pair<unsigned int, unsigned int> m_oTickCountRange;
    Gdiplus::Color m_oGridColor;
    Gdiplus::Color m_oTickColor;
    int m_iRelativeUnits;
    CExtents m_oCurrentExtents;
    CExtents m_oTickCacheKey;
    CExtents m_oScaledCurrentExtents;
    CExtents m_oMaxExtents;
    std::vector<CTick> m_oTicks;
    TUnitScales m_oUnitScales;
    /// An index rather than a pointer into the scales, so that a copied axis refers to its own.
    int m_iSelectedUnitScale;
    double m_dUnitScaler;
    double m_dGridMultScaler;
};

} // namespace Chart
} // namespace Gui
} // namespace CppUtil
