// AES on OpenSSL's EVP interface. Setting a key up (fetching the cipher, expanding the key) costs
// about as much as encrypting a few kilobytes, so each thread keeps its last few cipher contexts
// by key stamp, mode and direction, and only resets a context's chaining block when the caller's
// differs from where the context left off.
#include "../AesCipher.h"

#include <openssl/evp.h>

#include <cstring>

namespace CppUtil
{
namespace Platform
{

namespace
{

const std::size_t k_uBlock = 16;

const EVP_CIPHER* Cipher(EAesMode mode, unsigned int keyBytes)
{
    typedef const EVP_CIPHER* (*TCipherGetter)();
    static const TCipherGetter k_apfnCiphers[][3] = {
        {EVP_aes_128_ecb, EVP_aes_192_ecb, EVP_aes_256_ecb},
        {EVP_aes_128_cbc, EVP_aes_192_cbc, EVP_aes_256_cbc},
        {EVP_aes_128_cfb128, EVP_aes_192_cfb128, EVP_aes_256_cfb128},
        {EVP_aes_128_ofb, EVP_aes_192_ofb, EVP_aes_256_ofb},
        {EVP_aes_128_ctr, EVP_aes_192_ctr, EVP_aes_256_ctr},
    };
    return k_apfnCiphers[mode][keyBytes == 16 ? 0 : keyBytes == 24 ? 1 : 2]();
}

struct SCachedCipher
{
    unsigned long long m_ullStamp = 0;
    EAesMode m_eMode = AesModeEcb;
    bool m_bEncrypt = false;
    // Where the context's chaining block stands; meaningless while m_bChainKnown is false.
    bool m_bChainKnown = false;
    unsigned char m_abChain[k_uBlock] = {};
    EVP_CIPHER_CTX* m_poContext = nullptr;
};

// Per thread, so a cached context never needs a lock; freed (and its key schedule cleansed by
// OpenSSL) when the thread ends.
class CCipherCache
{
public:
    CCipherCache() = default;
    CCipherCache(const CCipherCache&) = delete;
    CCipherCache& operator=(const CCipherCache&) = delete;
    ~CCipherCache()
    {
        for (SCachedCipher& entry : m_aEntries)
            EVP_CIPHER_CTX_free(entry.m_poContext);
    }

    SCachedCipher* Find(EAesMode mode, bool encrypt, const SAesKey& key)
    {
        for (SCachedCipher& entry : m_aEntries)
            if (entry.m_ullStamp == key.m_ullStamp && entry.m_eMode == mode &&
                entry.m_bEncrypt == encrypt)
                return &entry;
        // Round robin: a handful of keys in turn is the common case, and LRU would not help it.
        SCachedCipher& entry = m_aEntries[m_uNext];
        m_uNext = (m_uNext + 1) % k_uEntries;
        entry.m_ullStamp = 0;
        if (entry.m_poContext == nullptr)
            entry.m_poContext = EVP_CIPHER_CTX_new();
        if (entry.m_poContext == nullptr ||
            EVP_CipherInit_ex(entry.m_poContext, Cipher(mode, key.m_uKeyBytes), nullptr,
                              key.m_pbKey, nullptr, encrypt ? 1 : 0) != 1)
            return nullptr;
        EVP_CIPHER_CTX_set_padding(entry.m_poContext, 0);
        entry.m_ullStamp = key.m_ullStamp;
        entry.m_eMode = mode;
        entry.m_bEncrypt = encrypt;
        entry.m_bChainKnown = false;
        return &entry;
    }

private:
    static const unsigned int k_uEntries = 8;
    SCachedCipher m_aEntries[k_uEntries];
    unsigned int m_uNext = 0;
};

void AddToCounter(unsigned char* counter, std::size_t blocks)
{
    unsigned int carry = 0;
    for (std::size_t i = k_uBlock; i-- != 0 && (blocks != 0 || carry != 0); blocks >>= 8)
    {
        const unsigned int sum = counter[i] + static_cast<unsigned int>(blocks & 0xFF) + carry;
        counter[i] = static_cast<unsigned char>(sum);
        carry = sum >> 8;
    }
}

} // namespace

bool AesBlocks(EAesMode mode, bool encrypt, const SAesKey& key, const unsigned char* in,
               unsigned char* out, std::size_t blocks, unsigned char* iv)
{
    if (blocks == 0)
        return true;
    // OFB and CTR are the same both ways: one cached object serves both.
    const bool direction = mode == AesModeOfb || mode == AesModeCtr ? true : encrypt;
    thread_local CCipherCache t_oCache;
    SCachedCipher* entry = t_oCache.Find(mode, direction, key);
    if (entry == nullptr)
        return false;
    if (mode != AesModeEcb &&
        (!entry->m_bChainKnown || std::memcmp(entry->m_abChain, iv, k_uBlock)))
    {
        if (EVP_CipherInit_ex(entry->m_poContext, nullptr, nullptr, nullptr, iv, -1) != 1)
        {
            entry->m_ullStamp = 0;
            return false;
        }
    }
    const std::size_t bytes = blocks * k_uBlock;
    // The block that chains to the next call, when it is input that in-place work overwrites.
    unsigned char lastIn[k_uBlock];
    if (mode == AesModeOfb || (!encrypt && (mode == AesModeCbc || mode == AesModeCfb)))
        std::memcpy(lastIn, in + bytes - k_uBlock, k_uBlock);
    int written = 0;
    if (EVP_CipherUpdate(entry->m_poContext, out, &written, in, static_cast<int>(bytes)) != 1 ||
        written != static_cast<int>(bytes))
    {
        entry->m_ullStamp = 0;
        return false;
    }
    const unsigned char* lastOut = out + bytes - k_uBlock;
    switch (mode)
    {
    case AesModeEcb:
        return true;
    case AesModeCbc:
    case AesModeCfb:
        std::memcpy(iv, encrypt ? lastOut : lastIn, k_uBlock);
        break;
    case AesModeOfb:
        for (std::size_t i = 0; i < k_uBlock; ++i)
            iv[i] = static_cast<unsigned char>(lastIn[i] ^ lastOut[i]);
        break;
    case AesModeCtr:
        AddToCounter(iv, blocks);
        break;
    }
    std::memcpy(entry->m_abChain, iv, k_uBlock);
    entry->m_bChainKnown = true;
    return true;
}

} // namespace Platform
} // namespace CppUtil
