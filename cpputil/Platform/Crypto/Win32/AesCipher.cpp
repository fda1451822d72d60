// AES on CNG. CNG chains ECB and CBC itself; CFB, OFB and CTR, which it lacks, run its ECB one
// block at a time. A key object is made per call: CNG's handles would need a lock to share
// between threads, and a thread_local owner with a destructor is unsafe inside this DLL.
#include "../AesCipher.h"

#include <windows.h>

#include <bcrypt.h>
#include <cstring>
#include <cwchar>

namespace CppUtil
{
namespace Platform
{

namespace
{

const ULONG k_uBlock = 16;

// Opened once and kept for the life of the process.
class CAesAlgorithms
{
public:
    CAesAlgorithms() : m_hEcb(Open(BCRYPT_CHAIN_MODE_ECB)), m_hCbc(Open(BCRYPT_CHAIN_MODE_CBC)) {}

    BCRYPT_ALG_HANDLE Get(bool cbc) const { return cbc ? m_hCbc : m_hEcb; }

private:
    static BCRYPT_ALG_HANDLE Open(const wchar_t* chainMode)
    {
        BCRYPT_ALG_HANDLE algorithm = nullptr;
        if (!BCRYPT_SUCCESS(
                BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_AES_ALGORITHM, nullptr, 0)))
            return nullptr;
        if (!BCRYPT_SUCCESS(BCryptSetProperty(
                algorithm, BCRYPT_CHAINING_MODE,
                reinterpret_cast<PUCHAR>(const_cast<wchar_t*>(chainMode)),
                static_cast<ULONG>((std::wcslen(chainMode) + 1) * sizeof(wchar_t)), 0)))
        {
            BCryptCloseAlgorithmProvider(algorithm, 0);
            return nullptr;
        }
        return algorithm;
    }

    BCRYPT_ALG_HANDLE m_hEcb;
    BCRYPT_ALG_HANDLE m_hCbc;
};

class CAesKey
{
public:
    CAesKey(bool cbc, const SAesKey& key) : m_hKey(nullptr)
    {
        static const CAesAlgorithms s_oAlgorithms;
        BCRYPT_ALG_HANDLE algorithm = s_oAlgorithms.Get(cbc);
        if (algorithm != nullptr && !BCRYPT_SUCCESS(BCryptGenerateSymmetricKey(
                                        algorithm, &m_hKey, nullptr, 0,
                                        const_cast<PUCHAR>(key.m_pbKey), key.m_uKeyBytes, 0)))
            m_hKey = nullptr;
    }
    ~CAesKey()
    {
        if (m_hKey != nullptr)
            BCryptDestroyKey(m_hKey);
    }
    CAesKey(const CAesKey&) = delete;
    CAesKey& operator=(const CAesKey&) = delete;

    bool IsValid() const { return m_hKey != nullptr; }

    bool Run(bool encrypt, const unsigned char* in, unsigned char* out, ULONG bytes,
             unsigned char* chain) const
    {
        ULONG written = 0;
        PUCHAR input = const_cast<PUCHAR>(in);
        const NTSTATUS status = encrypt
                                    ? BCryptEncrypt(m_hKey, input, bytes, nullptr, chain,
                                                    chain ? k_uBlock : 0, out, bytes, &written, 0)
                                    : BCryptDecrypt(m_hKey, input, bytes, nullptr, chain,
                                                    chain ? k_uBlock : 0, out, bytes, &written, 0);
        return BCRYPT_SUCCESS(status) && written == bytes;
    }

private:
    BCRYPT_KEY_HANDLE m_hKey;
};

void IncrementBigEndian(unsigned char* block)
{
    for (ULONG i = k_uBlock; i-- != 0;)
        if (++block[i] != 0)
            break;
}

} // namespace

bool AesBlocks(EAesMode mode, bool encrypt, const SAesKey& key, const unsigned char* in,
               unsigned char* out, std::size_t blocks, unsigned char* iv)
{
    if (blocks == 0)
        return true;
    const CAesKey cipher(mode == AesModeCbc, key);
    // Lengths reach here as int, so the byte count always fits a ULONG.
    if (!cipher.IsValid())
        return false;
    const ULONG bytes = static_cast<ULONG>(blocks * k_uBlock);
    if (mode == AesModeEcb)
        return cipher.Run(encrypt, in, out, bytes, nullptr);
    if (mode == AesModeCbc)
    {
        // CNG's own update of the chaining block is not relied on: the next one is taken from
        // the data, copied before in-place work overwrites it.
        unsigned char chain[k_uBlock];
        unsigned char lastIn[k_uBlock];
        std::memcpy(chain, iv, k_uBlock);
        std::memcpy(lastIn, in + bytes - k_uBlock, k_uBlock);
        if (!cipher.Run(encrypt, in, out, bytes, chain))
            return false;
        std::memcpy(iv, encrypt ? out + bytes - k_uBlock : lastIn, k_uBlock);
        return true;
    }
    for (std::size_t block = 0; block < blocks; ++block, in += k_uBlock, out += k_uBlock)
    {
        unsigned char input[k_uBlock];
        unsigned char stream[k_uBlock];
        std::memcpy(input, in, k_uBlock);
        if (!cipher.Run(true, iv, stream, k_uBlock, nullptr))
            return false;
        for (ULONG i = 0; i < k_uBlock; ++i)
            out[i] = static_cast<unsigned char>(input[i] ^ stream[i]);
        if (mode == AesModeCfb)
            std::memcpy(iv, encrypt ? out : input, k_uBlock);
        else if (mode == AesModeOfb)
            std::memcpy(iv, stream, k_uBlock);
        else
            IncrementBigEndian(iv);
    }
    return true;
}

} // namespace Platform
} // namespace CppUtil
