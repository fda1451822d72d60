#include "../SeTranslator.h"

namespace CppUtil
{
namespace Platform
{

// Signals are not structured exceptions: there is nothing to translate.
bool SetSeTranslator(SeTranslatorFunction)
{
    return false;
}

} // namespace Platform
} // namespace CppUtil
