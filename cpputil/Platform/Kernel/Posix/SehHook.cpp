#include "../SehHook.h"

namespace CppUtil
{
namespace Platform
{

// Signals are not structured exceptions: there is nothing to translate.
bool SetSehHook(SehHookFunction)
{
    return false;
}

} // namespace Platform
} // namespace CppUtil
