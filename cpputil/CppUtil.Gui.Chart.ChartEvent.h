/// @file
/// An event on a chart's time line, and the marker the graph draws for it.
#pragma once

#include "CppUtil.Api.h"
#include "CppUtil.Gui.Chart.Category.h"
#include "Platform/Types/CString.h"
#include "Platform/Types/GdiplusTypes.h"

#include <memory>

namespace CppUtil
{
namespace Gui
{
namespace Chart
{

class CPPUTIL_API CChartEvent
{
public:
    /// id: the number of events the chart held before this one.
    CChartEvent(unsigned int id, const std::shared_ptr<CCategory>& category, unsigned int time,
                const CString& description, const CString& logFilename)
        : m_uId(id), m_poCategory(category), m_uTime(time), m_sDescription(description),
          m_sLogFilename(logFilename)
    {
    }

    unsigned int GetId() const { return m_uId; }
    std::shared_ptr<CCategory> GetCategory() const { return m_poCategory; }
    unsigned int GetTime() const { return m_uTime; }
    const CString& GetDescription() const { return m_sDescription; }
    const CString& GetLogFilename() const { return m_sLogFilename; }

private:
    unsigned int m_uId;
    std::shared_ptr<CCategory> m_poCategory;
    unsigned int m_uTime;
    CString m_sDescription;
    CString m_sLogFilename;
};

/// Equal markers share letter, rectangle and event object: an equal-looking copy of an event is
/// another event.
class CPPUTIL_API CEventMarker
{
public:
    CEventMarker(char id, const Gdiplus::Rect& location, const std::shared_ptr<CChartEvent>& event)
        : m_cId(id), m_oLocation(location), m_poEvent(event)
    {
    }

    char GetId() const { return m_cId; }
    const Gdiplus::Rect& GetLocation() const { return m_oLocation; }
    std::shared_ptr<CChartEvent> GetEvent() const { return m_poEvent; }

    bool operator==(const CEventMarker& other) const
    {
        return m_cId == other.m_cId && m_oLocation.Equals(other.m_oLocation) &&
               m_poEvent == other.m_poEvent;
    }
    bool operator!=(const CEventMarker& other) const { return !(*this == other); }

private:
    char m_cId;
    Gdiplus::Rect m_oLocation;
    std::shared_ptr<CChartEvent> m_poEvent;
};

} // namespace Chart
} // namespace Gui
} // namespace CppUtil
