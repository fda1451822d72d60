/// @file
/// Overwrites sensitive buffers in place and checks that the overwrite took.
#pragma once

#include "CppUtil.Api.h"

namespace CppUtil
{
namespace Crypto
{

/// Each pass writes zeros, then ones, then one random byte over the whole buffer and reads the
/// random byte back. Not for sharing between threads: the generator is the C runtime's.
class CPPUTIL_API CSanitizer
{
public:
    static const unsigned int k_uMinPasses;

    CSanitizer() : m_iSeeded(0) {}

    /// Throws CQlException at the first pass whose read-back finds another byte. Zero passes
    /// leave the buffer alone.
    void Sanitize(unsigned char* buffer, unsigned int length, unsigned int passes);

private:
    int dod_sanitize(void* buffer, unsigned int length);
    static int verify(void* buffer, unsigned char value, unsigned int length);
    unsigned char prng(int max, unsigned char avoid);
    void seedprng();

    int m_iSeeded;
};

} // namespace Crypto
} // namespace CppUtil
