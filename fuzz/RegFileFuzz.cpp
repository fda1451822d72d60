// Any input to the registry file reader either is refused as a whole or yields keys and values
// that, written out in either encoding, read back the same.
#include "FuzzCheck.h"

#include <cpputil/Platform/Registry/Posix/RegFile.h>

#include <cstddef>
#include <cstdint>
#include <string>

using CppUtil::Platform::CRegFile;
using CppUtil::Platform::SRegSection;

namespace
{

void CheckSame(const std::vector<SRegSection>& a, const std::vector<SRegSection>& b)
{
    Check(a.size() == b.size());
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        Check(a[i].m_sKey == b[i].m_sKey && a[i].m_bDelete == b[i].m_bDelete);
        Check(a[i].m_oValues.size() == b[i].m_oValues.size());
        for (std::size_t j = 0; j < a[i].m_oValues.size(); ++j)
        {
            const auto& x = a[i].m_oValues[j];
            const auto& y = b[i].m_oValues[j];
            Check(x.m_sName == y.m_sName && x.m_bDelete == y.m_bDelete);
            Check(x.m_bDelete || (x.m_dwType == y.m_dwType && x.m_oData == y.m_oData));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::vector<SRegSection> sections;
    if (!CRegFile::Parse(std::string(reinterpret_cast<const char*>(data), size), sections))
    {
        Check(sections.empty());
        return 0;
    }
    const std::string written = CRegFile::Write(sections);
    for (const std::string& again : {written, CRegFile::ToUtf16(written)})
    {
        std::vector<SRegSection> reread;
        Check(CRegFile::Parse(again, reread));
        CheckSame(sections, reread);
    }
    return 0;
}
