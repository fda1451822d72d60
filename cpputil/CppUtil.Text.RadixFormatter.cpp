#include "CppUtil.Text.RadixFormatter.h"

#include <mutex>
#include <string>

namespace CppUtil
{
namespace Text
{

namespace
{

// Delegates are copied out under the lock and called outside it, so a delegate may itself
// install delegates without deadlocking.
struct SDelegates
{
    std::mutex m_oMutex;
    boost::function<bool()> m_oAccessor;
    boost::function<void(bool)> m_oSetter;
    boost::function<bool()> m_oGroupingGetter;
};

SDelegates& Delegates()
{
    static SDelegates s_oDelegates;
    return s_oDelegates;
}

template <typename T>
void Store(T& target, const T& value)
{
    SDelegates& delegates = Delegates();
    std::lock_guard<std::mutex> lock(delegates.m_oMutex);
    target = value;
}

template <typename T>
T Load(const T& source)
{
    SDelegates& delegates = Delegates();
    std::lock_guard<std::mutex> lock(delegates.m_oMutex);
    return source;
}

} // namespace

void CRadixFormatter::SetEngineRadixAccessor(const boost::function<bool()>& accessor)
{
    Store(Delegates().m_oAccessor, accessor);
}

void CRadixFormatter::SetEngineRadixSetter(const boost::function<void(bool)>& setter)
{
    Store(Delegates().m_oSetter, setter);
}

void CRadixFormatter::SetDigitGroupingGetter(const boost::function<bool()>& getter)
{
    Store(Delegates().m_oGroupingGetter, getter);
}

void CRadixFormatter::InstallRadixControl(const boost::function<bool()>& accessor,
                                          const boost::function<void(bool)>& setter)
{
    SDelegates& delegates = Delegates();
    std::lock_guard<std::mutex> lock(delegates.m_oMutex);
    delegates.m_oAccessor = accessor;
    delegates.m_oSetter = setter;
}

void CRadixFormatter::UninstallRadixControl()
{
    InstallRadixControl(boost::function<bool()>(), boost::function<void(bool)>());
}

bool CRadixFormatter::IsRadixHex()
{
    const boost::function<bool()> accessor = Load(Delegates().m_oAccessor);
    return accessor ? accessor() : false;
}

void CRadixFormatter::SetRadixHex(bool hex)
{
    const boost::function<void(bool)> setter = Load(Delegates().m_oSetter);
    if (setter)
        setter(hex);
}

CString CRadixFormatter::AddGroupingSpacesToHexString(const CString& text)
{
    const boost::function<bool()> grouping = Load(Delegates().m_oGroupingGetter);
    if (!grouping || !grouping())
        return text;

    CString digits(text);
    digits.Remove(' ');
    if (digits.IsEmpty())
        return digits;
    const bool negative = digits[0] == '-';
    if (negative)
        digits.Delete(0);

    // Filled from the right: a blank goes before every digit whose distance from the right end
    // is a non-zero multiple of four.
    const std::string& source = digits.Str();
    const std::size_t count = source.size();
    const std::size_t blanks = count > 0 ? (count - 1) / 4 : 0;
    std::string result(count + blanks + (negative ? 1 : 0), ' ');
    std::size_t to = result.size();
    for (std::size_t distance = 0; distance < count; ++distance)
    {
        if (distance != 0 && distance % 4 == 0)
            result[--to] = ' ';
        result[--to] = source[count - 1 - distance];
    }
    if (negative)
        result[--to] = '-';
    return CString(std::move(result));
}

} // namespace Text
} // namespace CppUtil
