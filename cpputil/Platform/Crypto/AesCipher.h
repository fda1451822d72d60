/// @file
/// The platform's AES, whole blocks at a time, behind the C exports of aes.h.
#pragma once

#include <cstddef>

namespace CppUtil
{
namespace Platform
{

enum EAesMode
{
    AesModeEcb,
    AesModeCbc,
    AesModeCfb,
    AesModeOfb,
    AesModeCtr
};

struct SAesKey
{
    const unsigned char* m_pbKey;
    unsigned int m_uKeyBytes;
    /// Identifies the key cheaply; equal stamps mean equal keys.
    unsigned long long m_ullStamp;
};

/// Runs blocks whole blocks of the mode. iv is the chaining block (CBC, CFB), the previous key
/// stream block (OFB) or the counter (CTR, a 128-bit big-endian increment); it is left ready for
/// the next call. in and out may be the same buffer. False when the platform fails.
bool AesBlocks(EAesMode mode, bool encrypt, const SAesKey& key, const unsigned char* in,
               unsigned char* out, std::size_t blocks, unsigned char* iv);

} // namespace Platform
} // namespace CppUtil
