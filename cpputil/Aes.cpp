// The AES exports: argument checks and the streaming modes' partial blocks; whole blocks go to
// the platform's cipher.
#include "aes.h"

#include "Platform/Crypto/AesCipher.h"

#include <atomic>
#include <cstddef>
#include <cstring>

using CppUtil::Platform::AesBlocks;
using CppUtil::Platform::EAesMode;
using CppUtil::Platform::SAesKey;

namespace
{

const std::size_t k_uBlock = AES_BLOCK_SIZE;

std::atomic<unsigned long long> s_ullNextStamp(1);

template <typename Context>
AES_RETURN SetKey(const unsigned char* key, int keyLength, Context* cx)
{
    unsigned int bytes;
    switch (keyLength)
    {
    case 16:
    case 128:
        bytes = 16;
        break;
    case 24:
    case 192:
        bytes = 24;
        break;
    case 32:
    case 256:
        bytes = 32;
        break;
    default:
        return 1;
    }
    if (key == nullptr || cx == nullptr)
        return 1;
    std::memset(cx, 0, sizeof *cx);
    std::memcpy(cx->key, key, bytes);
    cx->key_bytes = bytes;
    cx->stamp = s_ullNextStamp.fetch_add(1, std::memory_order_relaxed);
    return 0;
}

template <typename Context>
bool HasKey(const Context* cx)
{
    return cx != nullptr && cx->stamp != 0 &&
           (cx->key_bytes == 16 || cx->key_bytes == 24 || cx->key_bytes == 32);
}

template <typename Context>
SAesKey KeyOf(const Context* cx)
{
    return SAesKey{cx->key, cx->key_bytes, cx->stamp};
}

template <typename Context>
AES_RETURN Blocks(EAesMode mode, bool encrypt, const unsigned char* in, unsigned char* out, int len,
                  unsigned char* iv, const Context* cx)
{
    if (!HasKey(cx) || len < 0 || len % k_uBlock != 0 || (len != 0 && (!in || !out)))
        return 1;
    return AesBlocks(mode, encrypt, KeyOf(cx), in, out, static_cast<std::size_t>(len) / k_uBlock,
                     iv)
               ? 0
               : 1;
}

bool EncryptBlock(const aes_encrypt_ctx* cx, const unsigned char* in, unsigned char* out)
{
    return AesBlocks(CppUtil::Platform::AesModeEcb, true, KeyOf(cx), in, out, 1, nullptr);
}

bool StreamArgumentsValid(const unsigned char* ibuf, unsigned char* obuf, int len,
                          const unsigned char* iv, const aes_encrypt_ctx* cx)
{
    return HasKey(cx) && len >= 0 && cx->position < k_uBlock && (len == 0 || (ibuf && obuf && iv));
}

// CFB and OFB keep the current block's key stream in iv; CFB replaces each used byte with the
// cipher byte, so that a finished block leaves the cipher block there, ready to chain.
AES_RETURN Feedback(EAesMode mode, bool encrypt, const unsigned char* ibuf, unsigned char* obuf,
                    int len, unsigned char* iv, aes_encrypt_ctx* cx)
{
    if (!StreamArgumentsValid(ibuf, obuf, len, iv, cx))
        return 1;
    std::size_t left = static_cast<std::size_t>(len);
    const bool cfb = mode == CppUtil::Platform::AesModeCfb;
    while (left != 0)
    {
        if (cx->position == 0 && left >= k_uBlock)
        {
            const std::size_t blocks = left / k_uBlock;
            if (!AesBlocks(mode, encrypt, KeyOf(cx), ibuf, obuf, blocks, iv))
                return 1;
            ibuf += blocks * k_uBlock;
            obuf += blocks * k_uBlock;
            left -= blocks * k_uBlock;
            continue;
        }
        if (cx->position == 0 && !EncryptBlock(cx, iv, iv))
            return 1;
        for (; left != 0 && cx->position < k_uBlock; --left, ++cx->position)
        {
            const unsigned char input = *ibuf++;
            const unsigned char output = static_cast<unsigned char>(input ^ iv[cx->position]);
            *obuf++ = output;
            if (cfb)
                iv[cx->position] = encrypt ? output : input;
        }
        cx->position %= k_uBlock;
    }
    return 0;
}

void IncrementBigEndian(unsigned char* block)
{
    for (std::size_t i = k_uBlock; i-- != 0;)
        if (++block[i] != 0)
            break;
}

// Whether ctr_inc agrees with the cipher's own count over the next blocks blocks from counter.
// Without a carry a usual increment only adds one to the last byte, so asking at the first block
// and at every block that ends in 0xFF is enough.
bool CountsLikeCipher(const unsigned char* counter, std::size_t blocks, cbuf_inc ctr_inc)
{
    unsigned char probe[k_uBlock];
    std::memcpy(probe, counter, k_uBlock);
    for (std::size_t index = 0; index < blocks;)
    {
        unsigned char theirs[k_uBlock];
        std::memcpy(theirs, probe, k_uBlock);
        ctr_inc(theirs);
        IncrementBigEndian(probe);
        // Byte by byte: the increment has just stored bytes, and wider loads of them would stall.
        for (std::size_t i = 0; i < k_uBlock; ++i)
            if (theirs[i] != probe[i])
                return false;
        // probe is block index + 1; skip to the next block ending in 0xFF.
        index += 1 + (0xFF - probe[k_uBlock - 1]);
        probe[k_uBlock - 1] = 0xFF;
    }
    return true;
}

} // namespace

void aes_init(void) {}

// The key set-up functions of one direction, by size and by length.
#define CPPUTIL_AES_KEY_FUNCTIONS(direction)                                                       \
    AES_RETURN aes_##direction##_key128(const unsigned char* key, aes_##direction##_ctx cx[1])     \
    {                                                                                              \
        return SetKey(key, 16, cx);                                                                \
    }                                                                                              \
    AES_RETURN aes_##direction##_key192(const unsigned char* key, aes_##direction##_ctx cx[1])     \
    {                                                                                              \
        return SetKey(key, 24, cx);                                                                \
    }                                                                                              \
    AES_RETURN aes_##direction##_key256(const unsigned char* key, aes_##direction##_ctx cx[1])     \
    {                                                                                              \
        return SetKey(key, 32, cx);                                                                \
    }                                                                                              \
    AES_RETURN aes_##direction##_key(const unsigned char* key, int key_len,                        \
                                     aes_##direction##_ctx cx[1])                                  \
    {                                                                                              \
        return SetKey(key, key_len, cx);                                                           \
    }

CPPUTIL_AES_KEY_FUNCTIONS(encrypt)
CPPUTIL_AES_KEY_FUNCTIONS(decrypt)

AES_RETURN aes_encrypt(const unsigned char* in, unsigned char* out, const aes_encrypt_ctx cx[1])
{
    return Blocks(CppUtil::Platform::AesModeEcb, true, in, out, AES_BLOCK_SIZE, nullptr, cx);
}
AES_RETURN aes_decrypt(const unsigned char* in, unsigned char* out, const aes_decrypt_ctx cx[1])
{
    return Blocks(CppUtil::Platform::AesModeEcb, false, in, out, AES_BLOCK_SIZE, nullptr, cx);
}

AES_RETURN aes_ecb_encrypt(const unsigned char* ibuf, unsigned char* obuf, int len,
                           const aes_encrypt_ctx cx[1])
{
    return Blocks(CppUtil::Platform::AesModeEcb, true, ibuf, obuf, len, nullptr, cx);
}
AES_RETURN aes_ecb_decrypt(const unsigned char* ibuf, unsigned char* obuf, int len,
                           const aes_decrypt_ctx cx[1])
{
    return Blocks(CppUtil::Platform::AesModeEcb, false, ibuf, obuf, len, nullptr, cx);
}
AES_RETURN aes_cbc_encrypt(const unsigned char* ibuf, unsigned char* obuf, int len,
                           unsigned char* iv, const aes_encrypt_ctx cx[1])
{
    if (iv == nullptr)
        return 1;
    return Blocks(CppUtil::Platform::AesModeCbc, true, ibuf, obuf, len, iv, cx);
}
AES_RETURN aes_cbc_decrypt(const unsigned char* ibuf, unsigned char* obuf, int len,
                           unsigned char* iv, const aes_decrypt_ctx cx[1])
{
    if (iv == nullptr)
        return 1;
    return Blocks(CppUtil::Platform::AesModeCbc, false, ibuf, obuf, len, iv, cx);
}

AES_RETURN aes_mode_reset(aes_encrypt_ctx cx[1])
{
    if (cx == nullptr)
        return 1;
    cx->position = 0;
    return 0;
}

AES_RETURN aes_cfb_encrypt(const unsigned char* ibuf, unsigned char* obuf, int len,
                           unsigned char* iv, aes_encrypt_ctx cx[1])
{
    return Feedback(CppUtil::Platform::AesModeCfb, true, ibuf, obuf, len, iv, cx);
}
AES_RETURN aes_cfb_decrypt(const unsigned char* ibuf, unsigned char* obuf, int len,
                           unsigned char* iv, aes_encrypt_ctx cx[1])
{
    return Feedback(CppUtil::Platform::AesModeCfb, false, ibuf, obuf, len, iv, cx);
}
AES_RETURN aes_ofb_crypt(const unsigned char* ibuf, unsigned char* obuf, int len, unsigned char* iv,
                         aes_encrypt_ctx cx[1])
{
    return Feedback(CppUtil::Platform::AesModeOfb, true, ibuf, obuf, len, iv, cx);
}

AES_RETURN aes_ctr_crypt(const unsigned char* ibuf, unsigned char* obuf, int len,
                         unsigned char* cbuf, cbuf_inc ctr_inc, aes_encrypt_ctx cx[1])
{
    if (!StreamArgumentsValid(ibuf, obuf, len, cbuf, cx) || ctr_inc == nullptr)
        return 1;
    std::size_t left = static_cast<std::size_t>(len);
    while (left != 0)
    {
        if (cx->position == 0 && left >= k_uBlock)
        {
            const std::size_t blocks = left / k_uBlock;
            if (CountsLikeCipher(cbuf, blocks, ctr_inc))
            {
                if (!AesBlocks(CppUtil::Platform::AesModeCtr, true, KeyOf(cx), ibuf, obuf, blocks,
                               cbuf))
                    return 1;
                ibuf += blocks * k_uBlock;
                obuf += blocks * k_uBlock;
                left -= blocks * k_uBlock;
                continue;
            }
            // Any other increment: counter blocks made by ctr_inc, a chunk at a time.
            const std::size_t k_uChunk = 32;
            unsigned char stream[k_uChunk * k_uBlock];
            const std::size_t chunk = blocks < k_uChunk ? blocks : k_uChunk;
            for (std::size_t i = 0; i < chunk; ++i)
            {
                std::memcpy(stream + i * k_uBlock, cbuf, k_uBlock);
                ctr_inc(cbuf);
            }
            if (!AesBlocks(CppUtil::Platform::AesModeEcb, true, KeyOf(cx), stream, stream, chunk,
                           nullptr))
                return 1;
            for (std::size_t i = 0; i < chunk * k_uBlock; ++i)
                obuf[i] = static_cast<unsigned char>(ibuf[i] ^ stream[i]);
            ibuf += chunk * k_uBlock;
            obuf += chunk * k_uBlock;
            left -= chunk * k_uBlock;
            continue;
        }
        if (cx->position == 0)
        {
            if (!EncryptBlock(cx, cbuf, cx->stream))
                return 1;
            ctr_inc(cbuf);
        }
        for (; left != 0 && cx->position < k_uBlock; --left, ++cx->position)
            *obuf++ = static_cast<unsigned char>(*ibuf++ ^ cx->stream[cx->position]);
        cx->position %= k_uBlock;
    }
    return 0;
}

AES_RETURN aes_test_alignment_detection(unsigned int n)
{
    if (n == 0 || n > 256 || (n & (n - 1)) != 0)
        return 1;
    static const unsigned char k_abKey[16] = {0x2b, 0x7e, 0x15, 0x16, 0x28, 0xae, 0xd2, 0xa6,
                                              0xab, 0xf7, 0x15, 0x88, 0x09, 0xcf, 0x4f, 0x3c};
    aes_encrypt_ctx cx;
    if (aes_encrypt_key128(k_abKey, &cx) != 0)
        return 1;
    unsigned char reference[AES_BLOCK_SIZE];
    if (aes_encrypt(k_abKey, reference, &cx) != 0)
        return 1;
    unsigned char buffer[256 + 2 * AES_BLOCK_SIZE];
    for (unsigned int offset = 0; offset < n; ++offset)
    {
        unsigned char* block = buffer + offset;
        std::memcpy(block, k_abKey, AES_BLOCK_SIZE);
        if (aes_encrypt(block, block, &cx) != 0 ||
            std::memcmp(block, reference, AES_BLOCK_SIZE) != 0)
            return 1;
    }
    return 0;
}
