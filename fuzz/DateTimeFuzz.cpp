// Any text given to CDateTime's parsers is either refused, leaving the value as it was, or gives
// a value that prints in the fixed form; nothing crashes.
#include "FuzzCheck.h"

#include <cpputil/CppUtil.DateTime.h>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const CString text(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const bool utc = size > 0 && (data[0] & 1) != 0;
    const ATL::CTime before(1234567890);

    CppUtil::CDateTime value{before};
    if (value.Set(text, utc))
    {
        const CString printed = value.ToString(true);
        Check(printed.GetLength() >= 20 && printed[printed.GetLength() - 1] == 'Z');
        // Without a fraction the text constructor reads exactly what Set reads.
        if (text.Find('.') < 0)
            Check(CppUtil::CDateTime(text, utc) == value);
    }
    else
    {
        Check(value.GetTime() == before);
        if (text.Find('.') < 0)
            Check(CppUtil::CDateTime(text, utc).IsEmpty());
    }
    // Whatever the fraction, the text constructor never fails loudly.
    (void)CppUtil::CDateTime(text, utc).ToString(false);

    CppUtil::CDateTime legacy{before};
    if (!legacy.SetLegacy(text))
        Check(legacy.GetTime() == before);
    else
        (void)legacy.ToString(false);
    return 0;
}
