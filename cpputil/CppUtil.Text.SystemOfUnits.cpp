#include "CppUtil.Text.SystemOfUnits.h"

#include <mutex>

namespace CppUtil
{
namespace Text
{

namespace
{

std::mutex& GetterMutex()
{
    static std::mutex s_oMutex;
    return s_oMutex;
}

boost::function<bool()>& Getter()
{
    static boost::function<bool()> s_oGetter;
    return s_oGetter;
}

} // namespace

void CSystemOfUnits::SetDisplayUsUnitsGetter(const boost::function<bool()>& getter)
{
    std::lock_guard<std::mutex> lock(GetterMutex());
    Getter() = getter;
}

bool CSystemOfUnits::IsDisplayUsUnits()
{
    boost::function<bool()> getter;
    {
        std::lock_guard<std::mutex> lock(GetterMutex());
        getter = Getter();
    }
    return getter ? getter() : false;
}

} // namespace Text
} // namespace CppUtil
