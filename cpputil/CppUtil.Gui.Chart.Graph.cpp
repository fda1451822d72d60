#include "CppUtil.Gui.Chart.Graph.h"

#include "CppUtil.Gui.Chart.Chart.h"
#include "CppUtil.Gui.Chart.Markup.h"

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

// Room around the plot: tick labels at the left and bottom, event markers at the top.
const int k_iPlotLeft = 64;
const int k_iPlotRight = 12;
const int k_iPlotTop = 24;
const int k_iPlotBottom = 36;
const int k_iMarkerWidth = 14;
const int k_iMarkerHeight = 16;
const int k_iActiveDatumRadius = 4;
// Letters A to Z, then a to z: what the markers and the list items are told apart by.
const int k_iMostMarkers = 52;

const Gdiplus::ARGB k_auSeriesColors[] = {0xFF1F5FBFu, 0xFFBF5F1Fu, 0xFF2F9F2Fu, 0xFF9F2F9Fu,
                                          0xFF2F9F9Fu, 0xFF9F9F2Fu, 0xFF5F5F5Fu, 0xFFBF1F5Fu};

// A point further outside the plot than this many plot sizes is drawn at that distance: the line
// towards it shows no difference, and the coordinate stays a number a renderer can take.
const double k_dMostPlotsAway = 1e6;

// Where value lies across the extents, 0 at the minimum and 1 at the maximum. Finite ends further
// apart than the largest double are halved first, which keeps the fraction a number.
double Fraction(const CAxis::CExtents& extents, double value)
{
    double fraction = (value - extents.m_dMinimum) / extents.Width();
    if (!std::isfinite(fraction))
        fraction = (value / 2.0 - extents.m_dMinimum / 2.0) /
                   (extents.m_dMaximum / 2.0 - extents.m_dMinimum / 2.0);
    return std::max(-k_dMostPlotsAway, std::min(k_dMostPlotsAway, fraction));
}

char MarkerLetter(int index)
{
    return static_cast<char>(index < 26 ? 'A' + index : 'a' + (index - 26));
}

} // namespace

CGraph::CGraph(CWnd& parent, CChart& chart)
    : m_oParent(parent), m_oChart(chart),
      m_oXAxis(CAxis::X_AXIS, std::make_pair(8u, 12u), Gdiplus::Color(213, 221, 213),
               Gdiplus::Color(96, 96, 96)),
      m_oYAxis(CAxis::Y_AXIS, std::make_pair(5u, 9u), Gdiplus::Color(216, 216, 239),
               Gdiplus::Color(96, 96, 96)),
      m_bExtentsDirty(true), m_uEventsFed(0)
{
}

void CGraph::Clear()
{
    m_oSeries.clear();
    m_oSeriesCategories.clear();
    m_oVisibleEventMarkers.clear();
    m_poActiveEvent.reset();
    m_oXAxis.ClearExtents();
    m_oYAxis.ClearExtents();
    m_oSeriesXExtents = CAxis::CExtents();
    m_bExtentsDirty = true;
    m_uEventsFed = 0;
}

bool CGraph::IsEmpty() const
{
    return m_oSeries.empty();
}

void CGraph::AddData(const std::shared_ptr<CCategory>& category, double x, double y)
{
    std::shared_ptr<CDataSeries> series = FindSeries(category);
    if (!series)
    {
        series = std::make_shared<CDataSeries>(category->GetName());
        const std::size_t colors = sizeof(k_auSeriesColors) / sizeof(k_auSeriesColors[0]);
        series->SetColor(CColor(k_auSeriesColors[m_oSeries.size() % colors], 0xFFFFFFFFu));
        series->SetVisible(true);
        m_oSeries.push_back(series);
        m_oSeriesCategories.push_back(category);
    }
    series->Add(CDatum(x, y));
    m_bExtentsDirty = true;
}

void CGraph::SetRelativeUnits(bool relative)
{
    m_oYAxis.SetRelativeUnits(relative);
    m_bExtentsDirty = true;
}

void CGraph::OnActiveEventChanged(const std::shared_ptr<CChartEvent>& event)
{
    m_poActiveEvent = event;
    if (!event)
        return;
    // An event picked in the list is brought into view, centred, keeping the zoom.
    UpdateExtents();
    const CAxis::CExtents extents = m_oXAxis.GetCurrentExtents();
    if (extents.Width() >= 0.0 && !m_oXAxis.IsCoordWithinCurrentExtents(event->GetTime()))
    {
        m_oXAxis.ScrollBy(event->GetTime() - (extents.m_dMinimum + extents.m_dMaximum) / 2.0);
        LayoutEventMarkers();
    }
}

void CGraph::OnActiveCategoryChanged()
{
    // Other categories' markers now show; the list learns their letters at once.
    LayoutEventMarkers();
}

std::shared_ptr<CDataSeries> CGraph::FindSeries(const std::shared_ptr<CCategory>& category) const
{
    for (std::size_t index = 0; index < m_oSeriesCategories.size(); ++index)
        if (m_oSeriesCategories[index] == category)
            return m_oSeries[index];
    return std::shared_ptr<CDataSeries>();
}

void CGraph::UpdateExtents()
{
    const CChart::TEvents& events = m_oChart.Events();
    if (!m_bExtentsDirty && m_uEventsFed == events.size())
        return;
    m_bExtentsDirty = false;
    // The X maximum range only grows (points and events are only ever added), so it is fed
    // without clearing and the current X range, a zoom, survives. A view of all the data keeps
    // showing all of it, though, also when the first series alone set the range. The Y range is
    // made anew.
    const CAxis::CExtents xBefore = m_oXAxis.GetCurrentExtents();
    const bool showAll =
        xBefore.m_dMaximum < xBefore.m_dMinimum || xBefore == m_oXAxis.GetMaxExtents();
    m_oYAxis.ClearExtents();
    for (; m_uEventsFed < events.size(); ++m_uEventsFed)
        m_oXAxis.UpdateMaxExtents(events[m_uEventsFed]->GetTime());
    bool fed = false;
    for (const std::shared_ptr<CDataSeries>& series : m_oSeries)
        if (series->IsVisible())
        {
            series->UpdateExtents(m_oXAxis, m_oYAxis);
            fed = true;
        }
    if (!fed)
    {
        m_oXAxis.OnUpdateExtentsComplete();
        m_oYAxis.OnUpdateExtentsComplete();
    }
    if (showAll)
        m_oXAxis.SetCurrentExtents(m_oXAxis.GetMaxExtents());
    // Hidden series were not fed: have every series look at the X range again.
    m_oSeriesXExtents = CAxis::CExtents(std::numeric_limits<double>::quiet_NaN(), 0.0);
}

void CGraph::SyncVisibleRanges()
{
    const CAxis::CExtents extents = m_oXAxis.GetCurrentExtents();
    if (extents == m_oSeriesXExtents)
        return;
    for (const std::shared_ptr<CDataSeries>& series : m_oSeries)
        series->OnVisibleXExtentsChanged(m_oXAxis);
    m_oSeriesXExtents = extents;
}

Gdiplus::Rect CGraph::GetPlotRect() const
{
    return Gdiplus::Rect(k_iPlotLeft, k_iPlotTop, m_oRect.Width() - k_iPlotLeft - k_iPlotRight,
                         m_oRect.Height() - k_iPlotTop - k_iPlotBottom);
}

double CGraph::ToPixelX(double x) const
{
    const Gdiplus::Rect plot = GetPlotRect();
    const CAxis::CExtents extents = m_oXAxis.GetCurrentExtents();
    if (!(extents.Width() > 0.0))
        return plot.X + plot.Width / 2.0;
    return plot.X + Fraction(extents, x) * plot.Width;
}

double CGraph::ToPixelY(double y) const
{
    const Gdiplus::Rect plot = GetPlotRect();
    const CAxis::CExtents extents = m_oYAxis.GetCurrentExtents();
    if (!(extents.Width() > 0.0))
        return plot.Y + plot.Height / 2.0;
    return plot.GetBottom() - Fraction(extents, y) * plot.Height;
}

void CGraph::LayoutEventMarkers()
{
    UpdateExtents();
    TEventMarkers markers;
    const Gdiplus::Rect plot = GetPlotRect();
    if (!plot.IsEmptyArea())
    {
        CChart::TEvents shown;
        for (const std::shared_ptr<CChartEvent>& event : m_oChart.Events())
            if (m_oChart.IsCategoryVisible(event->GetCategory()) &&
                m_oXAxis.IsCoordWithinCurrentExtents(event->GetTime()))
                shown.push_back(event);
        std::stable_sort(
            shown.begin(), shown.end(),
            [](const std::shared_ptr<CChartEvent>& left, const std::shared_ptr<CChartEvent>& right)
            { return left->GetTime() < right->GetTime(); });
        for (std::size_t index = 0; index < shown.size() && index < k_iMostMarkers; ++index)
        {
            const int x = static_cast<int>(std::lround(ToPixelX(shown[index]->GetTime())));
            markers.push_back(std::make_shared<CEventMarker>(
                MarkerLetter(static_cast<int>(index)),
                Gdiplus::Rect(x - k_iMarkerWidth / 2, plot.Y - k_iMarkerHeight - 4, k_iMarkerWidth,
                              k_iMarkerHeight),
                shown[index]));
        }
    }
    m_oVisibleEventMarkers = markers;
    m_oChart.OnVisibleEventMarkersChanged();
}

bool CGraph::OnLeftClick(int x, int y)
{
    for (const std::shared_ptr<CEventMarker>& marker : m_oVisibleEventMarkers)
        if (marker->GetLocation().Contains(x, y))
        {
            m_oChart.OnActiveEventChanged(marker->GetEvent());
            return true;
        }

    const Gdiplus::Rect plot = GetPlotRect();
    if (!plot.Contains(x, y))
        return false;
    UpdateExtents();
    SyncVisibleRanges();
    const CAxis::CExtents extents = m_oXAxis.GetCurrentExtents();
    const double across = (x - plot.X) / static_cast<double>(plot.Width);
    double value = extents.m_dMinimum + across * extents.Width();
    if (!std::isfinite(value))
        value = 2.0 * (extents.m_dMinimum / 2.0 +
                       across * (extents.m_dMaximum / 2.0 - extents.m_dMinimum / 2.0));

    std::shared_ptr<CDataSeries> nearest;
    CDatum nearestDatum;
    double nearestDistance = std::numeric_limits<double>::infinity();
    for (const std::shared_ptr<CDataSeries>& series : m_oSeries)
    {
        series->SetActiveDatum(CActiveDatum());
        if (!series->IsVisible() || series->GraphData().empty())
            continue;
        const CDatum datum = series->GetDatumClosestTo(CDatum(value, 0.0));
        const double dx = ToPixelX(datum.m_dX) - x;
        const double dy = ToPixelY(datum.m_dY) - y;
        if (dx * dx + dy * dy < nearestDistance)
        {
            nearestDistance = dx * dx + dy * dy;
            nearest = series;
            nearestDatum = datum;
        }
    }
    if (!nearest)
        return false;
    CActiveDatum active;
    active.m_oDatum = nearestDatum;
    active.m_iMarkerX = static_cast<int>(std::lround(ToPixelX(nearestDatum.m_dX)));
    active.m_iMarkerY = static_cast<int>(std::lround(ToPixelY(nearestDatum.m_dY)));
    active.m_iMarkerRadius = k_iActiveDatumRadius;
    active.m_oDescriptionRect = Gdiplus::Rect(active.m_iMarkerX + 2 * k_iActiveDatumRadius,
                                              active.m_iMarkerY - 28, 160, 20);
    nearest->SetActiveDatum(active);
    return true;
}

CString CGraph::RenderSvg()
{
    UpdateExtents();
    SyncVisibleRanges();
    LayoutEventMarkers();

    const int width = std::max(0, m_oRect.Width());
    const int height = std::max(0, m_oRect.Height());
    CString svg;
    svg.Format("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" "
               "viewBox=\"0 0 %d %d\" font-family=\"sans-serif\" font-size=\"11\">",
               width, height, width, height);
    svg.AppendFormat("<rect class=\"background\" x=\"0\" y=\"0\" width=\"%d\" height=\"%d\" "
                     "fill=\"#ffffff\"/>",
                     width, height);
    const Gdiplus::Rect plot = GetPlotRect();
    if (plot.IsEmptyArea())
        return svg + "</svg>";

    svg.AppendFormat("<defs><clipPath id=\"plot\"><rect x=\"%d\" y=\"%d\" width=\"%d\" "
                     "height=\"%d\"/></clipPath></defs>",
                     plot.X, plot.Y, plot.Width, plot.Height);
    svg.AppendFormat("<rect class=\"frame\" x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" "
                     "fill=\"none\" stroke=\"%s\"/>",
                     plot.X, plot.Y, plot.Width, plot.Height,
                     Markup::ToHex(m_oXAxis.GetTickColor()).GetString());

    // Ticks left of the range (the first one can be) would land on the other axis's labels.
    const int tickLength = static_cast<int>(m_oXAxis.GetTickLength());
    for (const CTick& tick : m_oXAxis.GetTicks())
    {
        if (!m_oXAxis.IsCoordWithinCurrentExtents(tick.GetPosition()))
            continue;
        const double x = ToPixelX(tick.GetPosition());
        svg.AppendFormat("<line class=\"x-grid\" x1=\"%.1f\" y1=\"%d\" x2=\"%.1f\" y2=\"%d\" "
                         "stroke=\"%s\"/>",
                         x, plot.Y, x, plot.GetBottom(),
                         Markup::ToHex(m_oXAxis.GetGridColor()).GetString());
        svg.AppendFormat("<line class=\"x-tick\" x1=\"%.1f\" y1=\"%d\" x2=\"%.1f\" y2=\"%d\" "
                         "stroke=\"%s\"/>",
                         x, plot.GetBottom(), x, plot.GetBottom() + tickLength,
                         Markup::ToHex(m_oXAxis.GetTickColor()).GetString());
        svg.AppendFormat("<text class=\"x-label\" x=\"%.1f\" y=\"%d\" text-anchor=\"middle\">%s"
                         "</text>",
                         x, plot.GetBottom() + tickLength + 12,
                         Markup::Escape(tick.GetLabel()).GetString());
    }
    for (const CTick& tick : m_oYAxis.GetTicks())
    {
        if (!m_oYAxis.IsCoordWithinCurrentExtents(tick.GetPosition()))
            continue;
        const double y = ToPixelY(tick.GetPosition());
        svg.AppendFormat("<line class=\"y-grid\" x1=\"%d\" y1=\"%.1f\" x2=\"%d\" y2=\"%.1f\" "
                         "stroke=\"%s\"/>",
                         plot.X, y, plot.GetRight(), y,
                         Markup::ToHex(m_oYAxis.GetGridColor()).GetString());
        svg.AppendFormat("<line class=\"y-tick\" x1=\"%d\" y1=\"%.1f\" x2=\"%d\" y2=\"%.1f\" "
                         "stroke=\"%s\"/>",
                         plot.X - tickLength, y, plot.X, y,
                         Markup::ToHex(m_oYAxis.GetTickColor()).GetString());
        svg.AppendFormat("<text class=\"y-label\" x=\"%d\" y=\"%.1f\" text-anchor=\"end\">%s"
                         "</text>",
                         plot.X - tickLength - 3, y + 4.0,
                         Markup::Escape(tick.GetLabel()).GetString());
    }
    const CString xUnits = m_oXAxis.GetUnitsString();
    if (!xUnits.IsEmpty())
        svg.AppendFormat("<text class=\"x-units\" x=\"%d\" y=\"%d\" text-anchor=\"end\">%s</text>",
                         plot.GetRight(), plot.GetBottom() + tickLength + 26,
                         Markup::Escape(xUnits).GetString());
    const CString yUnits = m_oYAxis.GetUnitsString();
    if (!yUnits.IsEmpty())
        svg.AppendFormat("<text class=\"y-units\" x=\"4\" y=\"%d\">%s</text>", plot.Y - 8,
                         Markup::Escape(yUnits).GetString());

    // Each series thinned by its sample period; its last visible point always ends the line. A
    // point that cannot be placed (NaN, infinity) breaks the line into separate polylines, also
    // when thinning steps over it: a gap must not be bridged by a straight line.
    for (const std::shared_ptr<CDataSeries>& series : m_oSeries)
    {
        const CDataSeries::TData& data = series->GraphData();
        if (!series->IsVisible() || data.empty())
            continue;
        const std::pair<unsigned int, unsigned int> range = series->GetVisibleDatumXExtents();
        const std::size_t last = std::min<std::size_t>(range.second, data.size() - 1);
        const std::size_t period = series->GetSamplePeriod();
        bool open = false;
        const auto endLine = [&]
        {
            if (open)
                svg += "\"/>";
            open = false;
        };
        for (std::size_t index = range.first; index <= last;)
        {
            const CDatum& datum = data[index];
            if (!datum.IsFinite())
                endLine();
            else
            {
                if (!open)
                    svg.AppendFormat(
                        "<polyline class=\"series\" data-name=\"%s\" fill=\"none\" "
                        "stroke=\"%s\" clip-path=\"url(#plot)\" points=\"",
                        Markup::Escape(series->GetName()).GetString(),
                        Markup::ToHex(Gdiplus::Color(series->GetColor().m_uLine)).GetString());
                open = true;
                svg.AppendFormat("%.1f,%.1f ", ToPixelX(datum.m_dX), ToPixelY(datum.m_dY));
            }
            if (index == last)
                break;
            const std::size_t next = std::min(index + period, last);
            if (std::any_of(data.begin() + index + 1, data.begin() + next,
                            [](const CDatum& skipped) { return !skipped.IsFinite(); }))
                endLine();
            index = next;
        }
        endLine();
    }

    for (const std::shared_ptr<CEventMarker>& marker : m_oVisibleEventMarkers)
    {
        const std::shared_ptr<CChartEvent> event = marker->GetEvent();
        const Gdiplus::Rect& at = marker->GetLocation();
        const bool active = event == m_poActiveEvent;
        const char* const fill = event->GetCategory()->IsError() ? "#f4c0c0" : "#fff4c0";
        svg.AppendFormat("<g class=\"event-marker%s\" data-event=\"%u\">", active ? " active" : "",
                         event->GetId());
        svg.AppendFormat("<line x1=\"%d\" y1=\"%d\" x2=\"%d\" y2=\"%d\" stroke=\"#a0a0a0\" "
                         "stroke-dasharray=\"2,2\"/>",
                         at.X + at.Width / 2, plot.Y, at.X + at.Width / 2, plot.GetBottom());
        svg.AppendFormat("<rect x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" fill=\"%s\" "
                         "stroke=\"#404040\" stroke-width=\"%d\"/>",
                         at.X, at.Y, at.Width, at.Height, fill, active ? 2 : 1);
        svg.AppendFormat("<text x=\"%d\" y=\"%d\" text-anchor=\"middle\">%c</text></g>",
                         at.X + at.Width / 2, at.GetBottom() - 4, marker->GetId());
    }

    for (const std::shared_ptr<CDataSeries>& series : m_oSeries)
    {
        const CActiveDatum& active = series->GetActiveDatum();
        if (!series->IsVisible() || active.m_iMarkerRadius == 0)
            continue;
        const Gdiplus::Rect& box = active.m_oDescriptionRect;
        const CString text = m_oXAxis.CreateTick(active.m_oDatum.m_dX, true).GetLabel() + ", " +
                             m_oYAxis.CreateTick(active.m_oDatum.m_dY, true).GetLabel();
        svg.AppendFormat("<g class=\"active-datum\" data-name=\"%s\">",
                         Markup::Escape(series->GetName()).GetString());
        svg.AppendFormat("<circle cx=\"%d\" cy=\"%d\" r=\"%d\" fill=\"none\" stroke=\"%s\"/>",
                         active.m_iMarkerX, active.m_iMarkerY, active.m_iMarkerRadius,
                         Markup::ToHex(Gdiplus::Color(series->GetColor().m_uLine)).GetString());
        svg.AppendFormat("<rect x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" fill=\"#ffffe0\" "
                         "stroke=\"#808080\"/>",
                         box.X, box.Y, box.Width, box.Height);
        svg.AppendFormat("<text x=\"%d\" y=\"%d\">%s</text></g>", box.X + 4, box.GetBottom() - 6,
                         Markup::Escape(text).GetString());
    }
    svg += "</svg>";
    return svg;
}

} // namespace Chart
} // namespace Gui
} // namespace CppUtil
