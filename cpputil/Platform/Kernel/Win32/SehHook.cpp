#include "../SehHook.h"

#if CPPUTIL_COMPILER_MSVC
#include <eh.h>
#endif

namespace CppUtil
{
namespace Platform
{

bool SetSehHook(SehHookFunction translator)
{
#if CPPUTIL_COMPILER_MSVC
    _set_se_translator(translator);
    return true;
#else
    // MinGW's runtime has no hook for structured exceptions.
    (void)translator;
    return false;
#endif
}

} // namespace Platform
} // namespace CppUtil
