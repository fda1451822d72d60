#include "CppUtil.Crypto.Sanitizer.h"

#include "CppUtil.Exception.QlException.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace CppUtil
{
namespace Crypto
{

namespace
{

// Called through a volatile pointer, the fill is opaque to the optimiser: it can neither prove
// the first two fills dead nor replace them, and the library keeps memset's full speed. The
// optimised build's test disassembles dod_sanitize and counts these three calls.
void* (*volatile const s_pfnFill)(void*, int, std::size_t) = &std::memset;

const Exception::CSourceFile k_oSource("CppUtil.Crypto.Sanitizer");

} // namespace

const unsigned int CSanitizer::k_uMinPasses = 2;

void CSanitizer::Sanitize(unsigned char* buffer, unsigned int length, unsigned int passes)
{
    for (unsigned int pass = 0; pass < passes; ++pass)
        if (!dod_sanitize(buffer, length))
            k_oSource.Throw(135, "CppUtil::Crypto::CSanitizer::Sanitize",
                            "Failed to sanitize a buffer.");
}

int CSanitizer::dod_sanitize(void* buffer, unsigned int length)
{
    const unsigned char value = prng(255, 0);
    if (length != 0)
    {
        s_pfnFill(buffer, 0x00, length);
        s_pfnFill(buffer, 0xFF, length);
        s_pfnFill(buffer, value, length);
    }
    return verify(buffer, value, length);
}

int CSanitizer::verify(void* buffer, unsigned char value, unsigned int length)
{
    const unsigned char* bytes = static_cast<const unsigned char*>(buffer);
    std::size_t left = length;
    // Bytes up to a word boundary, then blocks of words whose differences are or-ed together
    // (a loop the compiler vectorises), then the tail.
    while (left != 0 && reinterpret_cast<std::uintptr_t>(bytes) % sizeof(std::uint64_t) != 0)
    {
        if (*bytes++ != value)
            return 0;
        --left;
    }
    const std::uint64_t pattern = 0x0101010101010101ull * value;
    const std::size_t k_uBlockWords = 64;
    while (left >= k_uBlockWords * sizeof(std::uint64_t))
    {
        std::uint64_t difference = 0;
        for (std::size_t i = 0; i < k_uBlockWords; ++i)
        {
            std::uint64_t word;
            std::memcpy(&word, bytes + i * sizeof word, sizeof word);
            difference |= word ^ pattern;
        }
        if (difference != 0)
            return 0;
        bytes += k_uBlockWords * sizeof(std::uint64_t);
        left -= k_uBlockWords * sizeof(std::uint64_t);
    }
    for (; left != 0; --left)
        if (*bytes++ != value)
            return 0;
    return 1;
}

unsigned char CSanitizer::prng(int max, unsigned char avoid)
{
    if (m_iSeeded == 0)
        seedprng();
    const unsigned char complement = static_cast<unsigned char>(~avoid);
    unsigned char r;
    do
        r = static_cast<unsigned char>(std::rand() % (max + 1));
    while (r == avoid || r == complement);
    return r;
}

void CSanitizer::seedprng()
{
    // The time in seconds, truncated: objects made within one second draw the same bytes.
    std::srand(static_cast<unsigned int>(std::time(nullptr)));
    m_iSeeded = 1;
}

} // namespace Crypto
} // namespace CppUtil
