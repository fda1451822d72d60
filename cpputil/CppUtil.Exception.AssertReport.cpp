#include "CppUtil.Exception.AssertReport.h"

#include "CppUtil.Text.Output.h"

namespace CppUtil
{
namespace Exception
{

void ReportAssertionFailure(const CString& expression, const CString& file, unsigned int line)
{
    // The log, not a dialog: the library runs inside production hosts that nobody watches.
    Text::DefaultOutput().LogF("Assertion failed: %s, file %s, line %u", 0u) % expression % file %
        line;
}

} // namespace Exception
} // namespace CppUtil
