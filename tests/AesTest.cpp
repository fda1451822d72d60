#include "CryptoVectors.h"

#include <cpputil/aes.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>
#include <thread>

namespace
{

enum EMode
{
    Ecb,
    Cbc,
    Cfb,
    Ofb,
    Ctr
};

EMode ModeOf(const std::string& name)
{
    const char* const k_aszModes[] = {"ecb", "cbc", "cfb", "ofb", "ctr"};
    return static_cast<EMode>(std::find(k_aszModes, k_aszModes + 5, name) - k_aszModes);
}

void IncrementCounter(unsigned char* block)
{
    for (int i = AES_BLOCK_SIZE; i-- != 0;)
        if (++block[i] != 0)
            break;
}

// Runs one mode over in: from a fresh context in one call into another buffer, or in place piece
// by piece (the sizes taken in turn) from a context left part way into a block and then reset.
TBytes Crypt(EMode mode, bool encrypt, const TBytes& key, const TBytes& iv, const TBytes& in,
             const std::vector<int>& pieces = {}, cbuf_inc ctr_inc = IncrementCounter)
{
    aes_encrypt_ctx ecx;
    aes_decrypt_ctx dcx;
    EXPECT_EQ(0, aes_encrypt_key(key.data(), static_cast<int>(key.size()), &ecx));
    EXPECT_EQ(0, aes_decrypt_key(key.data(), static_cast<int>(key.size() * 8), &dcx));
    const auto run = [&](const unsigned char* i, unsigned char* o, int size, unsigned char* c)
    {
        return mode == Ecb   ? (encrypt ? aes_ecb_encrypt(i, o, size, &ecx)
                                        : aes_ecb_decrypt(i, o, size, &dcx))
               : mode == Cbc ? (encrypt ? aes_cbc_encrypt(i, o, size, c, &ecx)
                                        : aes_cbc_decrypt(i, o, size, c, &dcx))
               : mode == Cfb ? (encrypt ? aes_cfb_encrypt(i, o, size, c, &ecx)
                                        : aes_cfb_decrypt(i, o, size, c, &ecx))
               : mode == Ofb ? aes_ofb_crypt(i, o, size, c, &ecx)
                             : aes_ctr_crypt(i, o, size, c, ctr_inc, &ecx);
    };
    TBytes chain(AES_BLOCK_SIZE, 0x99), out(pieces.empty() ? TBytes(in.size()) : in);
    if (!pieces.empty() && mode != Ecb && mode != Cbc)
    {
        unsigned char junk[5] = {};
        EXPECT_EQ(0, run(junk, junk, 5, chain.data()));
        EXPECT_EQ(0, aes_mode_reset(&ecx));
    }
    chain = iv;
    chain.resize(AES_BLOCK_SIZE);
    const int length = static_cast<int>(in.size());
    for (int done = 0, piece = 0; done < length; ++piece)
    {
        const int size =
            pieces.empty() ? length : std::min(pieces[piece % pieces.size()], length - done);
        EXPECT_EQ(0, run(pieces.empty() ? in.data() : out.data() + done, out.data() + done, size,
                         chain.data()))
            << mode << " piece " << piece;
        done += size;
    }
    return out;
}

// Whole-block and streaming pieces: every block boundary case the context has to carry across.
std::vector<int> OddPieces(EMode mode)
{
    return mode == Ecb || mode == Cbc ? std::vector<int>{16, 48, 32}
                                      : std::vector<int>{1, 5, 16, 17, 31, 3, 64};
}

void CheckVector(EMode mode, const TBytes& key, const TBytes& iv, const TBytes& plain,
                 const TBytes& cipher, const std::string& name)
{
    SCOPED_TRACE(name);
    EXPECT_EQ(ToHex(cipher), ToHex(Crypt(mode, true, key, iv, plain)));
    EXPECT_EQ(ToHex(cipher), ToHex(Crypt(mode, true, key, iv, plain, OddPieces(mode))));
    EXPECT_EQ(ToHex(plain), ToHex(Crypt(mode, false, key, iv, cipher)));
    EXPECT_EQ(ToHex(plain), ToHex(Crypt(mode, false, key, iv, cipher, OddPieces(mode))));
}

} // namespace

TEST(AesTest, PublishedVectors)
{
    // Single blocks, with each key size's own key set-up.
    const TBytes plain = FromHex("00112233445566778899aabbccddeeff");
    const TBytes counting =
        FromHex("000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f");
    const struct
    {
        AES_RETURN (*m_pfnEncryptKey)(const unsigned char*, aes_encrypt_ctx*);
        AES_RETURN (*m_pfnDecryptKey)(const unsigned char*, aes_decrypt_ctx*);
        const char* m_szCipher;
    } cases[] = {
        {aes_encrypt_key128, aes_decrypt_key128, "69c4e0d86a7b0430d8cdb78070b4c55a"},
        {aes_encrypt_key192, aes_decrypt_key192, "dda97ca4864cdfe06eaf70a0ec0d7191"},
        {aes_encrypt_key256, aes_decrypt_key256, "8ea2b7ca516745bfeafc49904b496089"},
    };
    aes_init();
    for (const auto& c : cases)
    {
        aes_encrypt_ctx ecx;
        aes_decrypt_ctx dcx;
        ASSERT_EQ(0, c.m_pfnEncryptKey(counting.data(), &ecx));
        ASSERT_EQ(0, c.m_pfnDecryptKey(counting.data(), &dcx));
        unsigned char block[AES_BLOCK_SIZE];
        EXPECT_EQ(0, aes_encrypt(plain.data(), block, &ecx));
        EXPECT_EQ(c.m_szCipher, ToHex(block, sizeof block));
        EXPECT_EQ(0, aes_decrypt(block, block, &dcx));
        EXPECT_EQ(ToHex(plain), ToHex(block, sizeof block));
    }

    // Mode, key, then the cipher text of the four blocks below; the CBC, CFB and OFB iv is
    // 000102...0f and the first counter f0f1...ff, whose first increment carries.
    std::istringstream table(R"(
ecb 2b7e151628aed2a6abf7158809cf4f3c 3ad77bb40d7a3660a89ecaf32466ef97f5d3d58503b9699de785895a96fdbaaf43b1cd7f598ece23881b00e3ed0306887b0c785e27e8ad3f8223207104725dd4
ecb 8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b bd334f1d6e45f25ff712a214571fa5cc974104846d0ad3ad7734ecb3ecee4eefef7afd2270e2e60adce0ba2face6444e9a4b41ba738d6c72fb16691603c18e0e
ecb 603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4 f3eed1bdb5d2a03c064b5a7e3db181f8591ccb10d410ed26dc5ba74a31362870b6ed21b99ca6f4f9f153e7b1beafed1d23304b7a39f9f3ff067d8d8f9e24ecc7
cbc 2b7e151628aed2a6abf7158809cf4f3c 7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b273bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7
cbc 8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b 4f021db243bc633d7178183a9fa071e8b4d9ada9ad7dedf4e5e738763f69145a571b242012fb7ae07fa9baac3df102e008b0e27988598881d920a9e64f5615cd
cbc 603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4 f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b
cfb 2b7e151628aed2a6abf7158809cf4f3c 3b3fd92eb72dad20333449f8e83cfb4ac8a64537a0b3a93fcde3cdad9f1ce58b26751f67a3cbb140b1808cf187a4f4dfc04b05357c5d1c0eeac4c66f9ff7f2e6
cfb 8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b cdc80d6fddf18cab34c25909c99a417467ce7f7f81173621961a2b70171d3d7a2e1e8a1dd59b88b1c8e60fed1efac4c9c05f9f9ca9834fa042ae8fba584b09ff
cfb 603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4 dc7e84bfda79164b7ecd8486985d386039ffed143b28b1c832113c6331e5407bdf10132415e54b92a13ed0a8267ae2f975a385741ab9cef82031623d55b1e471
ofb 2b7e151628aed2a6abf7158809cf4f3c 3b3fd92eb72dad20333449f8e83cfb4a7789508d16918f03f53c52dac54ed8259740051e9c5fecf64344f7a82260edcc304c6528f659c77866a510d9c1d6ae5e
ofb 8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b cdc80d6fddf18cab34c25909c99a4174fcc28b8d4c63837c09e81700c11004018d9a9aeac0f6596f559c6d4daf59a5f26d9f200857ca6c3e9cac524bd9acc92a
ofb 603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4 dc7e84bfda79164b7ecd8486985d38604febdc6740d20b3ac88f6ad82a4fb08d71ab47a086e86eedf39d1c5bba97c4080126141d67f37be8538f5a8be740e484
ctr 2b7e151628aed2a6abf7158809cf4f3c 874d6191b620e3261bef6864990db6ce9806f66b7970fdff8617187bb9fffdff5ae4df3edbd5d35e5b4f09020db03eab1e031dda2fbe03d1792170a0f3009cee
ctr 8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b 1abc932417521ca24f2b0459fe7e6e0b090339ec0aa6faefd5ccc2c6f4ce8e941e36b26bd1ebc670d1bd1d665620abf74f78a7f6d29809585a97daec58c6b050
ctr 603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4 601ec313775789a5b7a7f504bbf3d228f443e3ca4d62b59aca84e990cacaf5c52b0930daa23de94ce87017ba2d84988ddfc9c58db67aada613c2dd08457941a6
)");
    const TBytes blocks =
        FromHex("6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710");
    std::string mode, key, cipher;
    int count = 0;
    for (; table >> mode >> key >> cipher; ++count)
        CheckVector(ModeOf(mode), FromHex(key),
                    FromHex(mode == "ctr" ? "f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff"
                                          : "000102030405060708090a0b0c0d0e0f"),
                    blocks, FromHex(cipher), mode + " " + key);
    EXPECT_EQ(15, count);
}

TEST(AesTest, RandomVectorsAgreeWithTheOpensslCommand)
{
    bool named;
    const std::vector<SCryptoVector> vectors = LoadCryptoVectors("aes-", named);
    if (!named)
        GTEST_SKIP() << "CPPUTIL_CRYPTO_VECTORS is set by CTest";
    ASSERT_EQ(45u, vectors.size());
    for (const SCryptoVector& v : vectors)
        CheckVector(ModeOf(v.m_sName.substr(8)), v.m_oFields[0], v.m_oFields[1], v.m_oFields[2],
                    v.m_oFields[3], v.m_sName + " " + ToHex(v.m_oFields[0]));
}

TEST(AesTest, CounterModeUsesTheCallersIncrement)
{
    const TBytes key = FromHex("2b7e151628aed2a6abf7158809cf4f3c");
    const struct
    {
        cbuf_inc* m_pfnIncrement;
        const char* m_szCounter;
    } cases[] = {
        // Wraps within its low 32 bits.
        {[](unsigned char* b)
         {
             for (int i = AES_BLOCK_SIZE; i-- != AES_BLOCK_SIZE - 4 && ++b[i] == 0;)
                 ;
         },
         "0102030405060708090a0b0cfffffff0"},
        {[](unsigned char* b) { ++b[0]; }, "f0000000000000000000000000000000"},
    };
    TBytes plain(40 * AES_BLOCK_SIZE + 7);
    for (std::size_t i = 0; i < plain.size(); ++i)
        plain[i] = static_cast<unsigned char>(i * 7);
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.m_szCounter);
        // The key stream, counter block by counter block as the caller's increment makes them.
        TBytes counters, counter = FromHex(c.m_szCounter);
        for (std::size_t b = 0; b * AES_BLOCK_SIZE < plain.size(); ++b)
        {
            counters.insert(counters.end(), counter.begin(), counter.end());
            c.m_pfnIncrement(counter.data());
        }
        const TBytes stream = Crypt(Ecb, true, key, TBytes(), counters);
        TBytes expected(plain);
        for (std::size_t i = 0; i < plain.size(); ++i)
            expected[i] ^= stream[i];
        for (const std::vector<int>& pieces : {std::vector<int>{1 << 30}, OddPieces(Ctr)})
            EXPECT_EQ(ToHex(expected), ToHex(Crypt(Ctr, true, key, FromHex(c.m_szCounter), plain,
                                                   pieces, c.m_pfnIncrement)));

        // The caller's counter block ends as the next unused one.
        aes_encrypt_ctx cx;
        aes_encrypt_key128(key.data(), &cx);
        TBytes cbuf = FromHex(c.m_szCounter);
        aes_ctr_crypt(plain.data(), expected.data(), static_cast<int>(plain.size()), cbuf.data(),
                      c.m_pfnIncrement, &cx);
        EXPECT_EQ(ToHex(counter), ToHex(cbuf));
    }
}

TEST(AesTest, MisuseFails)
{
    aes_encrypt_ctx ecx = {};
    aes_decrypt_ctx dcx = {};
    unsigned char block[32] = {};
    unsigned char iv[16] = {};
    // No key yet.
    EXPECT_EQ(1, aes_encrypt(block, block, &ecx));
    EXPECT_EQ(1, aes_decrypt(block, block, &dcx));
    EXPECT_EQ(1, aes_ofb_crypt(block, block, 3, iv, &ecx));
    for (int length : {0, 20, 127, 512, -16})
        EXPECT_EQ(2, aes_encrypt_key(block, length, &ecx) + aes_decrypt_key(block, length, &dcx))
            << length;
    ASSERT_EQ(0, aes_encrypt_key128(block, &ecx));
    ASSERT_EQ(0, aes_decrypt_key128(block, &dcx));
    // Only whole blocks in ECB and CBC.
    for (int length : {15, 17, -16})
        EXPECT_EQ(4, aes_ecb_encrypt(block, block, length, &ecx) +
                         aes_ecb_decrypt(block, block, length, &dcx) +
                         aes_cbc_encrypt(block, block, length, iv, &ecx) +
                         aes_cbc_decrypt(block, block, length, iv, &dcx))
            << length;
    EXPECT_EQ(1, aes_ctr_crypt(block, block, 3, iv, nullptr, &ecx));
    EXPECT_EQ(1, aes_cfb_encrypt(block, block, -1, iv, &ecx));

    for (unsigned int n : {1u, 2u, 16u, 256u})
        EXPECT_EQ(0, aes_test_alignment_detection(n)) << n;
    for (unsigned int n : {0u, 3u, 24u, 512u})
        EXPECT_EQ(1, aes_test_alignment_detection(n)) << n;
}

TEST(AesTest, ManyContextsAndThreadsKeepTheirOwnStreams)
{
    // More keys than any cache of cipher objects would hold, used in turn on one stream each.
    const TBytes plain(40, 0x17);
    std::vector<aes_encrypt_ctx> contexts(20);
    std::vector<TBytes> counters(20, TBytes(16, 0xFE)), outputs(20, TBytes(plain.size()));
    for (int done = 0; done < 40; done += 20)
        for (int k = 0; k < 20; ++k)
        {
            if (done == 0)
                aes_encrypt_key128(TBytes(16, static_cast<unsigned char>(k)).data(), &contexts[k]);
            aes_ctr_crypt(plain.data() + done, outputs[k].data() + done, 20, counters[k].data(),
                          IncrementCounter, &contexts[k]);
        }
    for (int k = 0; k < 20; ++k)
        EXPECT_EQ(
            Crypt(Ctr, true, TBytes(16, static_cast<unsigned char>(k)), TBytes(16, 0xFE), plain),
            outputs[k])
            << k;

    // Copies of one context, on several threads at once.
    const TBytes data(4096, 0x3C), iv(16, 0x01);
    const TBytes cbc = Crypt(Cbc, true, TBytes(16, 1), iv, data);
    const TBytes ctr = Crypt(Ctr, true, TBytes(16, 1), iv, data);
    std::vector<std::thread> threads;
    std::vector<int> failures(4, 0);
    for (int t = 0; t < 4; ++t)
        threads.emplace_back(
            [&, t, cx = contexts[1]]() mutable
            {
                for (int round = 0; round < 50; ++round)
                {
                    TBytes out(data.size()), chain(iv);
                    aes_cbc_encrypt(data.data(), out.data(), static_cast<int>(data.size()),
                                    chain.data(), &cx);
                    failures[t] += out != cbc;
                    chain = iv;
                    aes_mode_reset(&cx);
                    aes_ctr_crypt(data.data(), out.data(), static_cast<int>(data.size()),
                                  chain.data(), IncrementCounter, &cx);
                    failures[t] += out != ctr;
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(std::vector<int>(4, 0), failures);
}
