// The AES and SHA-2 exports against OpenSSL's EVP interface called directly, on 16 KiB at a time.
// Both keep one stream going across iterations, as a host encrypting a long transfer would.
#include "RatioReporter.h"

#include <cpputil/aes.h>
#include <cpputil/sha2.h>

#include <openssl/evp.h>

#include <cstdint>
#include <vector>

namespace
{

const int k_iBytes = 16 * 1024;
const unsigned char k_abKey[32] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16,
                                   17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32};

std::vector<unsigned char> Data()
{
    std::vector<unsigned char> data(k_iBytes);
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<unsigned char>(i * 13);
    return data;
}

void Increment(unsigned char* block)
{
    for (int i = AES_BLOCK_SIZE; i-- != 0;)
        if (++block[i] != 0)
            break;
}

void Finish(benchmark::State& state)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * k_iBytes);
}

void ExportsAes128Ctr(benchmark::State& state)
{
    const std::vector<unsigned char> in = Data();
    std::vector<unsigned char> out(in.size());
    aes_encrypt_ctx cx;
    aes_encrypt_key128(k_abKey, &cx);
    unsigned char counter[AES_BLOCK_SIZE] = {};
    for (auto _ : state)
        aes_ctr_crypt(in.data(), out.data(), k_iBytes, counter, Increment, &cx);
    benchmark::DoNotOptimize(out.data());
    Finish(state);
}
BENCHMARK(ExportsAes128Ctr);

void ExportsAes256Cbc(benchmark::State& state)
{
    const std::vector<unsigned char> in = Data();
    std::vector<unsigned char> out(in.size());
    aes_encrypt_ctx cx;
    aes_encrypt_key256(k_abKey, &cx);
    unsigned char iv[AES_BLOCK_SIZE] = {};
    for (auto _ : state)
        aes_cbc_encrypt(in.data(), out.data(), k_iBytes, iv, &cx);
    benchmark::DoNotOptimize(out.data());
    Finish(state);
}
BENCHMARK(ExportsAes256Cbc);

void Evp(benchmark::State& state, const EVP_CIPHER* cipher)
{
    const std::vector<unsigned char> in = Data();
    std::vector<unsigned char> out(in.size());
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    const unsigned char iv[16] = {};
    EVP_EncryptInit_ex(ctx, cipher, nullptr, k_abKey, iv);
    EVP_CIPHER_CTX_set_padding(ctx, 0);
    int written = 0;
    for (auto _ : state)
        EVP_EncryptUpdate(ctx, out.data(), &written, in.data(), k_iBytes);
    benchmark::DoNotOptimize(out.data());
    EVP_CIPHER_CTX_free(ctx);
    Finish(state);
}

void EvpAes128Ctr(benchmark::State& state)
{
    Evp(state, EVP_aes_128_ctr());
}
BENCHMARK(EvpAes128Ctr);

void EvpAes256Cbc(benchmark::State& state)
{
    Evp(state, EVP_aes_256_cbc());
}
BENCHMARK(EvpAes256Cbc);

void ExportsSha256(benchmark::State& state)
{
    const std::vector<unsigned char> in = Data();
    unsigned char digest[SHA256_DIGEST_SIZE];
    for (auto _ : state)
        sha256(in.data(), k_iBytes, digest);
    benchmark::DoNotOptimize(digest);
    Finish(state);
}
BENCHMARK(ExportsSha256);

void ExportsSha512(benchmark::State& state)
{
    const std::vector<unsigned char> in = Data();
    unsigned char digest[SHA512_DIGEST_SIZE];
    for (auto _ : state)
        sha512(in.data(), k_iBytes, digest);
    benchmark::DoNotOptimize(digest);
    Finish(state);
}
BENCHMARK(ExportsSha512);

// The digest fetched once and one EVP context reused: EVP at its quickest.
void EvpDigest(benchmark::State& state, const char* name)
{
    const std::vector<unsigned char> in = Data();
    EVP_MD* md = EVP_MD_fetch(nullptr, name, nullptr);
    EVP_MD_CTX* ctx = EVP_MD_CTX_new();
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    for (auto _ : state)
    {
        EVP_DigestInit_ex(ctx, md, nullptr);
        EVP_DigestUpdate(ctx, in.data(), k_iBytes);
        EVP_DigestFinal_ex(ctx, digest, &length);
    }
    benchmark::DoNotOptimize(digest);
    EVP_MD_CTX_free(ctx);
    EVP_MD_free(md);
    Finish(state);
}

void EvpSha256(benchmark::State& state)
{
    EvpDigest(state, "SHA256");
}
BENCHMARK(EvpSha256);

void EvpSha512(benchmark::State& state)
{
    EvpDigest(state, "SHA512");
}
BENCHMARK(EvpSha512);

} // namespace

int main(int argc, char** argv)
{
    return RunWithRatios(argc, argv,
                         {{"ExportsAes128Ctr", "EvpAes128Ctr"},
                          {"ExportsAes256Cbc", "EvpAes256Cbc"},
                          {"ExportsSha256", "EvpSha256"},
                          {"ExportsSha512", "EvpSha512"}});
}
