#include "CppUtil.Exception.Globals.h"

namespace CppUtil
{
namespace Exception
{

CString g_sCurrentJobLogDir;
boost::signals2::signal<void()> g_oCrashDumpSignal;

} // namespace Exception
} // namespace CppUtil
