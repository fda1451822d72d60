// SHA-2 on CNG. The context holds the CNG hash object's handle, made by _init and released by
// _final. CNG has no SHA-224, so that one digest is computed here: SHA-256's compression with
// SHA-224's initial values, cut to 28 bytes.
#include "../../../sha2.h"

#include <windows.h>

#include <bcrypt.h>
#include <cstdint>
#include <cstring>

namespace
{

BCRYPT_ALG_HANDLE OpenAlgorithm(const wchar_t* name)
{
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    return BCRYPT_SUCCESS(BCryptOpenAlgorithmProvider(&algorithm, name, nullptr, 0)) ? algorithm
                                                                                     : nullptr;
}

template <typename Context>
void CreateHash(Context* ctx, BCRYPT_ALG_HANDLE algorithm)
{
    BCRYPT_HASH_HANDLE hash = nullptr;
    if (algorithm == nullptr ||
        !BCRYPT_SUCCESS(BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0)))
        hash = nullptr;
    std::memset(ctx, 0, sizeof *ctx);
    std::memcpy(ctx->opaque, &hash, sizeof hash);
}

template <typename Context>
BCRYPT_HASH_HANDLE HashOf(const Context* ctx)
{
    BCRYPT_HASH_HANDLE hash;
    std::memcpy(&hash, ctx->opaque, sizeof hash);
    return hash;
}

template <typename Context>
void HashData(Context* ctx, const unsigned char* message, unsigned int len)
{
    const BCRYPT_HASH_HANDLE hash = HashOf(ctx);
    if (hash != nullptr && len != 0)
        BCryptHashData(hash, const_cast<PUCHAR>(message), len, 0);
}

// A digest of zeros when the hash could not be made, rather than bytes left from before.
template <typename Context>
void FinishHash(Context* ctx, unsigned char* digest, ULONG size)
{
    const BCRYPT_HASH_HANDLE hash = HashOf(ctx);
    if (hash == nullptr || !BCRYPT_SUCCESS(BCryptFinishHash(hash, digest, size, 0)))
        std::memset(digest, 0, size);
    if (hash != nullptr)
        BCryptDestroyHash(hash);
    std::memset(ctx, 0, sizeof *ctx);
}

struct SSha224State
{
    std::uint32_t m_aulHash[8];
    std::uint64_t m_ullLength;
    unsigned char m_abBlock[64];
};
static_assert(sizeof(SSha224State) <= sizeof(sha224_ctx), "sha224_ctx must hold the state");

SSha224State* State(sha224_ctx* ctx)
{
    return reinterpret_cast<SSha224State*>(ctx->opaque);
}

std::uint32_t Rotate(std::uint32_t x, int n)
{
    return (x >> n) | (x << (32 - n));
}

void Compress(std::uint32_t* hash, const unsigned char* block)
{
    static const std::uint32_t k_aulRound[64] = {
        0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4,
        0xab1c5ed5, 0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe,
        0x9bdc06a7, 0xc19bf174, 0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f,
        0x4a7484aa, 0x5cb0a9dc, 0x76f988da, 0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7,
        0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967, 0x27b70a85, 0x2e1b2138, 0x4d2c6dfc,
        0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85, 0xa2bfe8a1, 0xa81a664b,
        0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070, 0x19a4c116,
        0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
        0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7,
        0xc67178f2};
    std::uint32_t w[64];
    for (int i = 0; i < 16; ++i)
        w[i] = std::uint32_t(block[4 * i]) << 24 | std::uint32_t(block[4 * i + 1]) << 16 |
               std::uint32_t(block[4 * i + 2]) << 8 | block[4 * i + 3];
    for (int i = 16; i < 64; ++i)
    {
        const std::uint32_t s0 = Rotate(w[i - 15], 7) ^ Rotate(w[i - 15], 18) ^ (w[i - 15] >> 3);
        const std::uint32_t s1 = Rotate(w[i - 2], 17) ^ Rotate(w[i - 2], 19) ^ (w[i - 2] >> 10);
        w[i] = w[i - 16] + s0 + w[i - 7] + s1;
    }
    std::uint32_t v[8];
    std::memcpy(v, hash, sizeof v);
    for (int i = 0; i < 64; ++i)
    {
        const std::uint32_t s1 = Rotate(v[4], 6) ^ Rotate(v[4], 11) ^ Rotate(v[4], 25);
        const std::uint32_t choice = (v[4] & v[5]) ^ (~v[4] & v[6]);
        const std::uint32_t t1 = v[7] + s1 + choice + k_aulRound[i] + w[i];
        const std::uint32_t s0 = Rotate(v[0], 2) ^ Rotate(v[0], 13) ^ Rotate(v[0], 22);
        const std::uint32_t majority = (v[0] & v[1]) ^ (v[0] & v[2]) ^ (v[1] & v[2]);
        std::memmove(v + 1, v, 7 * sizeof v[0]);
        v[4] += t1;
        v[0] = t1 + s0 + majority;
    }
    for (int i = 0; i < 8; ++i)
        hash[i] += v[i];
}

} // namespace

void sha224_init(sha224_ctx* ctx)
{
    static const std::uint32_t k_aulInitial[8] = {0xc1059ed8, 0x367cd507, 0x3070dd17, 0xf70e5939,
                                                  0xffc00b31, 0x68581511, 0x64f98fa7, 0xbefa4fa4};
    std::memset(ctx, 0, sizeof *ctx);
    std::memcpy(State(ctx)->m_aulHash, k_aulInitial, sizeof k_aulInitial);
}

void sha224_update(sha224_ctx* ctx, const unsigned char* message, unsigned int len)
{
    SSha224State* state = State(ctx);
    for (unsigned int i = 0; i < len;)
    {
        const unsigned int used = static_cast<unsigned int>(state->m_ullLength % 64);
        const unsigned int take = len - i < 64 - used ? len - i : 64 - used;
        std::memcpy(state->m_abBlock + used, message + i, take);
        state->m_ullLength += take;
        i += take;
        if (used + take == 64)
            Compress(state->m_aulHash, state->m_abBlock);
    }
}

void sha224_final(sha224_ctx* ctx, unsigned char* digest)
{
    SSha224State* state = State(ctx);
    const std::uint64_t bits = state->m_ullLength * 8;
    unsigned char padding[72] = {0x80};
    const unsigned int used = static_cast<unsigned int>(state->m_ullLength % 64);
    const unsigned int zeros = used < 56 ? 56 - used : 120 - used;
    for (int i = 0; i < 8; ++i)
        padding[zeros + i] = static_cast<unsigned char>(bits >> (56 - 8 * i));
    sha224_update(ctx, padding, zeros + 8);
    for (int i = 0; i < 28; ++i)
        digest[i] = static_cast<unsigned char>(state->m_aulHash[i / 4] >> (24 - 8 * (i % 4)));
    std::memset(ctx, 0, sizeof *ctx);
}

// The streaming functions of one digest on CNG; its algorithm is opened once and kept for the
// life of the process.
#define CPPUTIL_SHA2_FUNCTIONS(bits)                                                               \
    void sha##bits##_init(sha##bits##_ctx* ctx)                                                    \
    {                                                                                              \
        static const BCRYPT_ALG_HANDLE s_hAlgorithm = OpenAlgorithm(BCRYPT_SHA##bits##_ALGORITHM); \
        CreateHash(ctx, s_hAlgorithm);                                                             \
    }                                                                                              \
    void sha##bits##_update(sha##bits##_ctx* ctx, const unsigned char* message, unsigned int len)  \
    {                                                                                              \
        HashData(ctx, message, len);                                                               \
    }                                                                                              \
    void sha##bits##_final(sha##bits##_ctx* ctx, unsigned char* digest)                            \
    {                                                                                              \
        FinishHash(ctx, digest, SHA##bits##_DIGEST_SIZE);                                          \
    }

CPPUTIL_SHA2_FUNCTIONS(256)
CPPUTIL_SHA2_FUNCTIONS(384)
CPPUTIL_SHA2_FUNCTIONS(512)
