// Any sequence of the host's and the user's chart operations, with any texts and values (NaN,
// infinities, huge and tiny numbers), leaves axes whose current range lies inside the data and a
// page that is well-formed XML.
#include "../tests/MarkupProbe.h"
#include "FuzzCheck.h"

#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/CppUtil.Gui.Chart.Chart.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

using namespace CppUtil::Gui::Chart;

namespace
{

class CReader
{
public:
    CReader(const std::uint8_t* data, std::size_t size) : m_pData(data), m_uSize(size) {}
    bool More() const { return m_uSize > 0; }
    std::uint8_t Byte()
    {
        if (m_uSize == 0)
            return 0;
        --m_uSize;
        return *m_pData++;
    }
    double Double()
    {
        std::uint64_t bits = 0;
        for (int i = 0; i < 8; ++i)
            bits = (bits << 8) | Byte();
        double value;
        std::memcpy(&value, &bits, sizeof(value));
        return value;
    }
    CString Text()
    {
        std::string text;
        for (std::uint8_t length = Byte() % 12; length > 0; --length)
            text += static_cast<char>(Byte());
        return text;
    }

private:
    const std::uint8_t* m_pData;
    std::size_t m_uSize;
};

void CheckAxis(CAxis& axis)
{
    const CAxis::CExtents current = axis.GetCurrentExtents();
    const CAxis::CExtents most = axis.GetMaxExtents();
    if (current.m_dMinimum <= current.m_dMaximum && most.m_dMinimum <= most.m_dMaximum)
        Check(current.m_dMinimum >= most.m_dMinimum && current.m_dMaximum <= most.m_dMaximum);
    Check(axis.GetTicks().size() < 1000);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CReader in(data, size);
    CWnd parent;
    CChart chart(parent);
    CGraph& graph = chart.GetGraph();
    std::vector<CString> names;
    double x = 0.0;
    if (in.Byte() & 1)
        chart.SetTimeXAxis();
    for (int step = 0; step < 64 && in.More(); ++step)
    {
        try
        {
            switch (in.Byte() % 9)
            {
            case 0:
                names.push_back(in.Text());
                chart.AddCategory(names.back(), in.Byte() % 16, in.Byte() & 1 ? in.Text() : "");
                break;
            case 1:
            {
                // x never decreases, as the series require.
                const double step = std::fabs(in.Double());
                if (std::isfinite(x + step))
                    x += step;
                const CString name = names.empty() ? in.Text() : names[in.Byte() % names.size()];
                chart.AddData(name, x, in.Double());
                break;
            }
            case 2:
            {
                const CString name = names.empty() ? in.Text() : names[in.Byte() % names.size()];
                const unsigned int time = in.Byte() * 1000u + in.Byte();
                chart.AddEvent(name, time, in.Text(), in.Text());
                break;
            }
            case 3:
                (in.Byte() & 1 ? graph.GetXAxis() : graph.GetYAxis())
                    .Zoom(in.Byte() / 255.0, (in.Byte() & 1) != 0, in.Byte() / 400.0);
                break;
            case 4:
                graph.GetXAxis().ScrollBy(in.Double());
                break;
            case 5:
                graph.SetRelativeUnits((in.Byte() & 1) != 0);
                break;
            case 6:
                chart.GetEventList().SelectCategory(in.Text());
                break;
            case 7:
                graph.OnLeftClick(in.Byte() * 4, in.Byte() * 2);
                break;
            default:
                chart.Position(CRect(0, 0, in.Byte() * 5, in.Byte() * 3));
                break;
            }
        }
        catch (const CppUtil::Exception::CQlException&)
        {
        }
        CheckAxis(graph.GetXAxis());
        CheckAxis(graph.GetYAxis());
    }
    const CString page = chart.RenderHtml();
    try
    {
        CMarkupProbe::Parse(page.Str());
    }
    catch (const std::exception&)
    {
        std::abort();
    }
    std::set<char> letters;
    for (const auto& marker : graph.GetVisibleEventMarkers())
        Check(letters.insert(marker->GetId()).second);
    return 0;
}
