/// @file
/// The plotted points of one chartable category.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"
#include "Platform/Types/GdiplusTypes.h"

#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace CppUtil
{
namespace Gui
{
namespace Chart
{

class CAxis;

class CPPUTIL_API CDatum
{
public:
    CDatum() : m_dX(0.0), m_dY(0.0) {}
    CDatum(double x, double y) : m_dX(x), m_dY(y) {}

    bool operator==(const CDatum& other) const { return m_dX == other.m_dX && m_dY == other.m_dY; }
    bool operator!=(const CDatum& other) const { return !(*this == other); }
    /// A point with a NaN or an infinity has no place on the graph: it is a gap in the line.
    bool IsFinite() const { return std::isfinite(m_dX) && std::isfinite(m_dY); }

    double m_dX;
    double m_dY;
};

/// The point the user picked, with where its marker and its description box are drawn.
class CPPUTIL_API CActiveDatum
{
public:
    CActiveDatum() : m_iMarkerX(0), m_iMarkerY(0), m_iMarkerRadius(0) {}

    /// The square around the marker centre with the radius as half its side.
    Gdiplus::Rect GetMarkerRect() const
    {
        return Gdiplus::Rect(m_iMarkerX - m_iMarkerRadius, m_iMarkerY - m_iMarkerRadius,
                             2 * m_iMarkerRadius, 2 * m_iMarkerRadius);
    }

    CDatum m_oDatum;
    Gdiplus::Rect m_oDescriptionRect;
    int m_iMarkerX;
    int m_iMarkerY;
    int m_iMarkerRadius;
};

/// A series' two colours: the line it is drawn with and the fill of its markers and legend.
class CPPUTIL_API CColor
{
public:
    CColor() : m_uLine(0xFF000000u), m_uFill(0xFFFFFFFFu) {}
    CColor(Gdiplus::ARGB line, Gdiplus::ARGB fill) : m_uLine(line), m_uFill(fill) {}

    bool operator==(const CColor& other) const
    {
        return m_uLine == other.m_uLine && m_uFill == other.m_uFill;
    }

    Gdiplus::ARGB m_uLine;
    Gdiplus::ARGB m_uFill;
};

/// The x values must not decrease from one point to the next: the searches depend on it.
class CPPUTIL_API CDataSeries
{
public:
    typedef std::vector<CDatum> TData;

    /// About this many points are drawn per pass; longer visible ranges are thinned.
    static const unsigned int k_uMostPointsPerPass = 2000;

    explicit CDataSeries(const CString& name);

    void Add(const CDatum& datum) { m_oData.push_back(datum); }
    /// The relative data when the Y axis shows percentages, else the data as added.
    const TData& GraphData() const;

    const CString& GetName() const { return m_sName; }
    CColor GetColor() const { return m_oColor; }
    void SetColor(const CColor& color) { m_oColor = color; }
    bool IsVisible() const { return m_bVisible; }
    void SetVisible(bool visible) { m_bVisible = visible; }
    const CActiveDatum& GetActiveDatum() const { return m_oActiveDatum; }
    void SetActiveDatum(const CActiveDatum& datum) { m_oActiveDatum = datum; }
    Gdiplus::Rect GetActiveDatumDescriptionRect() const
    {
        return m_oActiveDatum.m_oDescriptionRect;
    }
    void SetActiveDatumDescriptionRect(const Gdiplus::Rect& rect)
    {
        m_oActiveDatum.m_oDescriptionRect = rect;
    }
    bool IsRelative() const { return m_bRelative; }

    /// Indices of the first and last point to draw, one beyond each edge of the visible range.
    std::pair<unsigned int, unsigned int> GetVisibleDatumXExtents() const
    {
        return m_oVisibleDatumXExtents;
    }
    /// The step that thins the visible range to about k_uMostPointsPerPass points.
    unsigned int GetSamplePeriod() const;
    /// The visible point nearest in x, looked at in steps of the sample period.
    CDatum GetDatumClosestTo(const CDatum& datum) const;
    double ComputeNextY() const;

    void UpdateExtents(CAxis& xAxis, CAxis& yAxis);
    void OnVisibleXExtentsChanged(const CAxis& xAxis);

private:
    const TData& RelativeData() const;
    /// Indices of the first points not left of each datum, as std::lower_bound gives them.
    static std::pair<std::size_t, std::size_t> FindEdges(const TData& data, const CDatum& left,
                                                         const CDatum& right);
    static bool IsDatumLessThan(const CDatum& left, const CDatum& right)
    {
        return left.m_dX < right.m_dX;
    }

    CString m_sName;
    TData m_oData;
    /// Built on demand and extended as points arrive, since the data only ever grows.
    mutable TData m_oRelativeData;
    /// How far the search for the first finite, non-zero y has got while none was found.
    mutable std::size_t m_uRelativeBaseSearched;
    CColor m_oColor;
    CActiveDatum m_oActiveDatum;
    bool m_bVisible;
    bool m_bRelative;
    std::pair<unsigned int, unsigned int> m_oVisibleDatumXExtents;
};

} // namespace Chart
} // namespace Gui
} // namespace CppUtil
