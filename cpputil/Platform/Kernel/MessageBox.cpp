#include "MessageBox.h"

namespace CppUtil
{
namespace Platform
{

int GetDefaultButton(unsigned int type)
{
    static const int k_aButtons[][3] = {
        {IDOK, 0, 0},                       // MB_OK
        {IDOK, IDCANCEL, 0},                // MB_OKCANCEL
        {IDABORT, IDRETRY, IDIGNORE},       // MB_ABORTRETRYIGNORE
        {IDYES, IDNO, IDCANCEL},            // MB_YESNOCANCEL
        {IDYES, IDNO, 0},                   // MB_YESNO
        {IDRETRY, IDCANCEL, 0},             // MB_RETRYCANCEL
        {IDCANCEL, IDTRYAGAIN, IDCONTINUE}, // MB_CANCELTRYCONTINUE
    };
    const unsigned int buttons = type & MB_TYPEMASK;
    if (buttons >= sizeof k_aButtons / sizeof k_aButtons[0])
        return IDOK;
    const unsigned int index = (type & MB_DEFMASK) >> 8;
    // A default beyond the last button falls back to the first, as Windows does.
    if (index < 3 && k_aButtons[buttons][index] != 0)
        return k_aButtons[buttons][index];
    return k_aButtons[buttons][0];
}

} // namespace Platform
} // namespace CppUtil
