/// @file
/// Asks the host whether numbers are shown in hexadecimal, and groups hexadecimal digits.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"

#include <boost/function.hpp>

namespace CppUtil
{
namespace Text
{

/// The host answers through delegates installed at start-up, so the library never depends on the
/// host's settings. Delegates may be installed and queried from any thread.
class CPPUTIL_API CRadixFormatter
{
public:
    static void SetEngineRadixAccessor(const boost::function<bool()>& accessor);
    static void SetEngineRadixSetter(const boost::function<void(bool)>& setter);
    static void SetDigitGroupingGetter(const boost::function<bool()>& getter);

    static void InstallRadixControl(const boost::function<bool()>& accessor,
                                    const boost::function<void(bool)>& setter);
    static void UninstallRadixControl();

    /// False while no accessor is installed: decimal is the host-neutral default.
    static bool IsRadixHex();
    /// Ignored while no setter is installed.
    static void SetRadixHex(bool hex);

    /// Groups of four digits counted from the right, blanks between, a leading "-" kept; blanks
    /// already in the text are dropped first. Unchanged while the host does not ask for grouping.
    static CString AddGroupingSpacesToHexString(const CString& text);
};

} // namespace Text
} // namespace CppUtil
