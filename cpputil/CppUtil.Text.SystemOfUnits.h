/// @file
/// Asks the host whether US units are shown.
#pragma once

#include "CppUtil.Api.h"

#include <boost/function.hpp>

namespace CppUtil
{
namespace Text
{

class CPPUTIL_API CSystemOfUnits
{
public:
    static void SetDisplayUsUnitsGetter(const boost::function<bool()>& getter);
    /// False while no getter is installed: metric units need no host.
    static bool IsDisplayUsUnits();
};

} // namespace Text
} // namespace CppUtil
