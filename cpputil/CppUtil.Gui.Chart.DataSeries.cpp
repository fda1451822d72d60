#include "CppUtil.Gui.Chart.DataSeries.h"

#include "CppUtil.Gui.Chart.Axis.h"

#include <algorithm>
#include <cmath>

namespace CppUtil
{
namespace Gui
{
namespace Chart
{

const unsigned int CDataSeries::k_uMostPointsPerPass;

CDataSeries::CDataSeries(const CString& name)
    : m_sName(name), m_uRelativeBaseSearched(0), m_bVisible(false), m_bRelative(false),
      m_oVisibleDatumXExtents(0u, 0u)
{
}

const CDataSeries::TData& CDataSeries::GraphData() const
{
    return m_bRelative ? RelativeData() : m_oData;
}

unsigned int CDataSeries::GetSamplePeriod() const
{
    const unsigned int first = m_oVisibleDatumXExtents.first;
    const unsigned int last = m_oVisibleDatumXExtents.second;
    const unsigned int span = last > first ? last - first : 0u;
    return std::max(1u, span / k_uMostPointsPerPass);
}

CDatum CDataSeries::GetDatumClosestTo(const CDatum& datum) const
{
    const TData& data = GraphData();
    if (data.empty())
        return CDatum();
    const std::size_t first = m_oVisibleDatumXExtents.first;
    const std::size_t last = std::min<std::size_t>(m_oVisibleDatumXExtents.second, data.size() - 1);
    if (first > last)
        return data.back();

    // The points first, first + period, ... up to last are ordered by x: search them for the
    // first that is not left of the datum instead of walking them one by one.
    const std::size_t period = GetSamplePeriod();
    std::size_t low = 0;
    std::size_t high = (last - first) / period + 1;
    while (low < high)
    {
        const std::size_t middle = low + (high - low) / 2;
        if (data[first + middle * period].m_dX < datum.m_dX)
            low = middle + 1;
        else
            high = middle;
    }
    if (low > (last - first) / period)
        return data.back();

    // The point just before may be nearer; it wins only when strictly so.
    const std::size_t index = first + low * period;
    if (index != 0 &&
        std::fabs(datum.m_dX - data[index - 1].m_dX) < std::fabs(datum.m_dX - data[index].m_dX))
        return data[index - 1];
    return data[index];
}

double CDataSeries::ComputeNextY() const
{
    return m_oData.empty() ? 1.0 : m_oData.back().m_dY + 1.0;
}

void CDataSeries::UpdateExtents(CAxis& xAxis, CAxis& yAxis)
{
    m_bRelative = yAxis.IsRelativeUnits();
    const TData& data = GraphData();
    // Gaps (NaN and infinities) feed nothing: one of them would stretch the axes over every
    // series to no range at all.
    const auto isFinite = [](const CDatum& datum) { return datum.IsFinite(); };
    const auto first = std::find_if(data.begin(), data.end(), isFinite);
    if (first != data.end())
    {
        const auto last = std::find_if(data.rbegin(), data.rend(), isFinite).base();
        // x never decreases, so its ends are its extremes; y needs every point.
        xAxis.UpdateMaxExtents(first->m_dX);
        xAxis.UpdateMaxExtents((last - 1)->m_dX);
        double lowest = first->m_dY;
        double highest = first->m_dY;
        for (auto datum = first; datum != last; ++datum)
            if (datum->IsFinite())
            {
                lowest = std::min(lowest, datum->m_dY);
                highest = std::max(highest, datum->m_dY);
            }
        yAxis.UpdateMaxExtents(lowest);
        yAxis.UpdateMaxExtents(highest);
    }
    xAxis.OnUpdateExtentsComplete();
    yAxis.OnUpdateExtentsComplete();
    OnVisibleXExtentsChanged(xAxis);
}

void CDataSeries::OnVisibleXExtentsChanged(const CAxis& xAxis)
{
    const TData& data = GraphData();
    m_oActiveDatum = CActiveDatum();
    if (data.empty())
    {
        m_oVisibleDatumXExtents = std::make_pair(0u, 0u);
        return;
    }
    const CAxis::CExtents extents = xAxis.GetCurrentExtents();
    const std::pair<std::size_t, std::size_t> edges =
        FindEdges(data, CDatum(extents.m_dMinimum, 0.0), CDatum(extents.m_dMaximum, 0.0));
    // One point beyond each edge, so the line runs to the border.
    const std::size_t first = edges.first == 0 ? 0 : edges.first - 1;
    const std::size_t last = std::min(data.size() - 1, edges.second + 1);
    m_oVisibleDatumXExtents =
        std::make_pair(static_cast<unsigned int>(first), static_cast<unsigned int>(last));
}

std::pair<std::size_t, std::size_t> CDataSeries::FindEdges(const TData& data, const CDatum& left,
                                                           const CDatum& right)
{
    const auto less = [](const CDatum& a, const CDatum& b) { return IsDatumLessThan(a, b); };
    const auto begin = data.begin();
    if (IsDatumLessThan(right, left))
        return std::make_pair(
            static_cast<std::size_t>(std::lower_bound(begin, data.end(), left, less) - begin),
            static_cast<std::size_t>(std::lower_bound(begin, data.end(), right, less) - begin));
    // Both searches look at the same points until they part; on a long series every look is a
    // cache miss, so they share that part of the way.
    std::size_t first = 0;
    std::size_t count = data.size();
    while (count > 0)
    {
        const std::size_t half = count / 2;
        const CDatum& middle = data[first + half];
        const bool leftIsRight = IsDatumLessThan(middle, left);
        if (leftIsRight != IsDatumLessThan(middle, right))
        {
            // left <= middle < right: each edge has its own side now.
            const auto from = std::lower_bound(begin + first, begin + first + half, left, less);
            const auto to =
                std::lower_bound(begin + first + half + 1, begin + first + count, right, less);
            return std::make_pair(static_cast<std::size_t>(from - begin),
                                  static_cast<std::size_t>(to - begin));
        }
        if (leftIsRight)
        {
            first += half + 1;
            count -= half + 1;
        }
        else
            count = half;
    }
    return std::make_pair(first, first);
}

const CDataSeries::TData& CDataSeries::RelativeData() const
{
    if (m_oRelativeData.empty())
    {
        // A NaN or infinite base would turn every point into a gap.
        while (m_uRelativeBaseSearched < m_oData.size() &&
               !(m_oData[m_uRelativeBaseSearched].m_dY != 0.0 &&
                 std::isfinite(m_oData[m_uRelativeBaseSearched].m_dY)))
            ++m_uRelativeBaseSearched;
        if (m_uRelativeBaseSearched == m_oData.size())
            return m_oRelativeData;
    }
    // Points before the base are kept (at -100 %), so that indices match the data's.
    const double base = m_oData[m_uRelativeBaseSearched].m_dY;
    for (std::size_t index = m_oRelativeData.size(); index < m_oData.size(); ++index)
        m_oRelativeData.push_back(
            CDatum(m_oData[index].m_dX, (m_oData[index].m_dY - base) * 100.0 / base));
    return m_oRelativeData;
}

} // namespace Chart
} // namespace Gui
} // namespace CppUtil
