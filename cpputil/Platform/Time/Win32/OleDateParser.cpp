#include "../OleDateParser.h"

#include <oleauto.h>
#include <vector>

namespace CppUtil
{
namespace Platform
{

bool ParseOleDate(const char* text, DWORD flags, LCID lcid, DATE& date)
{
    const int length = ::MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    if (length <= 0)
        return false;
    std::vector<wchar_t> wide(static_cast<size_t>(length));
    ::MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), length);
    return SUCCEEDED(::VarDateFromStr(wide.data(), lcid, flags, &date));
}

} // namespace Platform
} // namespace CppUtil
