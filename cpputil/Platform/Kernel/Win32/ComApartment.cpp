#include "../ComApartment.h"

#include <objbase.h>

namespace CppUtil
{
namespace Platform
{

bool EnterSingleThreadedApartment()
{
    // S_FALSE (already initialised the same way) still has to be balanced.
    return SUCCEEDED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
}

void LeaveComApartment()
{
    ::CoUninitialize();
}

} // namespace Platform
} // namespace CppUtil
