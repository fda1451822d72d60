#include "../ComApartment.h"

namespace CppUtil
{
namespace Platform
{

// No COM here: nothing to enter, so nothing is owed.
bool EnterSingleThreadedApartment()
{
    return false;
}

void LeaveComApartment() {}

} // namespace Platform
} // namespace CppUtil
