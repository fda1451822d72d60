#include "ComApartment.h"

#if defined(_WIN32)
#include <objbase.h>
#endif

namespace CppUtil
{
namespace Platform
{

bool EnterSingleThreadedApartment()
{
#if defined(_WIN32)
    // S_FALSE (already initialised the same way) still has to be balanced.
    return SUCCEEDED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
#else
    return false;
#endif
}

void LeaveComApartment()
{
#if defined(_WIN32)
    ::CoUninitialize();
#endif
}

} // namespace Platform
} // namespace CppUtil
