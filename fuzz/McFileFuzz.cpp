// Any input to the .mc parser of cpputil-mc either yields messages or an error on a line of the
// input; it never crashes, and what it yields can always be written out.
#include "FuzzCheck.h"
#include "McFile.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const bool customer = size > 0 && (data[size - 1] & 1) != 0;
    CppUtil::Tools::CMcFile file(customer);
    if (!file.Parse(text))
    {
        const unsigned int lines =
            static_cast<unsigned int>(std::count(text.begin(), text.end(), '\n')) + 1;
        Check(!file.GetError().empty());
        Check(file.GetErrorLine() >= 1 && file.GetErrorLine() <= lines);
        return 0;
    }

    Check(!file.GetMessages().empty());
    std::set<std::uint32_t> ids;
    for (const CppUtil::Tools::CMcFile::SMessage& message : file.GetMessages())
    {
        Check(ids.insert(message.m_uId).second);
        Check(((message.m_uId & 0x20000000) != 0) == customer);
        Check(!message.m_oTexts.empty());
        for (const CppUtil::Tools::CMcFile::SText& entry : message.m_oTexts)
        {
            const std::string& body = entry.m_sText;
            Check(body.size() >= 2 && body.compare(body.size() - 2, 2, "\r\n") == 0);
        }
    }
    Check(!file.MakeHeader("fuzz.mc").empty());
    Check(!file.MakeSource("fuzz.mc", "fuzz", customer).empty());
    return 0;
}
