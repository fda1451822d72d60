#include "SeTranslator.h"

#if defined(_MSC_VER)
#include <eh.h>
#endif

namespace CppUtil
{
namespace Platform
{

bool SetSeTranslator(SeTranslatorFunction translator)
{
#if defined(_MSC_VER)
    _set_se_translator(translator);
    return true;
#else
    (void)translator;
    return false;
#endif
}

} // namespace Platform
} // namespace CppUtil
