#include "../MessageBox.h"
#include "../Runtime.h"

#include <cstdio>

namespace CppUtil
{
namespace Platform
{

// Without a desktop there is nobody to ask: the box is written where an operator or a log
// collector sees it, and its default button answers.
int ShowMessageBox(const CString& text, const CString& caption, unsigned int type,
                   bool showCheckBox, bool& checked)
{
    checked = false;
    const int answer = GetDefaultButton(type);
    std::fprintf(stderr, "[%s]\n%s\n[answered %d by default%s]\n", caption.GetString(),
                 text.GetString(), answer, showCheckBox ? ", check box not ticked" : "");
    std::fflush(stderr);
    return answer;
}

} // namespace Platform
} // namespace CppUtil
