/// @file
/// A scope timer: each one adds its lifetime to a process-wide table of seconds and calls per name,
/// which DisplayResults prints. The table has no lock: profile from one thread at a time.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"

#include <ctime>
#include <map>

#if defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4251)
#endif

namespace CppUtil
{

namespace Text
{
class COutput;
}

class CPPUTIL_API CProfileTimer
{
public:
    struct CBenchmark
    {
        double m_dTotalSeconds = 0;
        int m_iCalls = 0;
    };

    explicit CProfileTimer(const CString& name);
    /// Adds the elapsed seconds to the name's row and counts the call.
    ~CProfileTimer();
    CProfileTimer(const CProfileTimer&) = delete;
    CProfileTimer& operator=(const CProfileTimer&) = delete;

    static void ClearMap();
    /// One line per name, in ascending order: "name - (seconds, calls)".
    static void DisplayResults(Text::COutput& out);

private:
    CString m_sName;
    /// Wall-clock ticks since the process started.
    std::clock_t m_lStart;

    static std::map<CString, CBenchmark> s_oMap;
};

} // namespace CppUtil

#if defined(_MSC_VER)
#pragma warning(pop)
#endif
