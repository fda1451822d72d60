#include "CryptoVectors.h"

#include <cpputil/sha2.h>

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

namespace
{

// A digest of message fed in pieces of the given sizes in turn; no sizes: the one-shot export.
using THash = std::function<std::string(const TBytes&, const std::vector<std::size_t>&)>;

template <typename Context>
THash MakeHash(std::size_t size, void (*init)(Context*),
               void (*update)(Context*, const unsigned char*, unsigned int),
               void (*final)(Context*, unsigned char*),
               void (*oneShot)(const unsigned char*, unsigned int, unsigned char*))
{
    return [=](const TBytes& message, const std::vector<std::size_t>& pieces)
    {
        unsigned char digest[64];
        if (pieces.empty())
            oneShot(message.data(), static_cast<unsigned int>(message.size()), digest);
        else
        {
            Context ctx;
            init(&ctx);
            for (std::size_t done = 0, piece = 0; done < message.size(); ++piece)
            {
                const std::size_t length =
                    std::min(pieces[piece % pieces.size()], message.size() - done);
                update(&ctx, message.data() + done, static_cast<unsigned int>(length));
                done += length;
            }
            final(&ctx, digest);
        }
        return ToHex(digest, size);
    };
}

const std::map<std::string, THash> k_oHashes = {
    {"sha224", MakeHash(28, sha224_init, sha224_update, sha224_final, sha224)},
    {"sha256", MakeHash(32, sha256_init, sha256_update, sha256_final, sha256)},
    {"sha384", MakeHash(48, sha384_init, sha384_update, sha384_final, sha384)},
    {"sha512", MakeHash(64, sha512_init, sha512_update, sha512_final, sha512)},
};

// Sizes that straddle both block sizes (64 and 128 bytes) and their padding limits.
const std::vector<std::size_t> k_oOddPieces = {1, 3, 55, 56, 63, 64, 65, 111, 112, 128, 7};

} // namespace

TEST(Sha2Test, PublishedExamplesAndPiecesOfAnySize)
{
    const std::map<std::string, std::string> messages = {
        {"abc", "abc"},
        {"448", "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"},
        {"896", "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopq"
                "klmnopqrlmnopqrsmnopqrstnopqrstu"}};
    std::istringstream table(R"(
sha224 abc 23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7
sha224 448 75388b16512776cc5dba5da1fd890150b0c6455cb4f58b1952522525
sha256 abc ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad
sha256 448 248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1
sha384 abc cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed8086072ba1e7cc2358baeca134c825a7
sha384 896 09330c33f71147e83d192fc782cd1b4753111b173b3b05d22fa08086e3b0f712fcc7c71a557e2db966c3e9fa91746039
sha512 abc ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f
sha512 896 8e959b75dae313da8cf4f72814fc143f8f7779c6eb9f7fa17299aeadb6889018501d289e4900f7e4331b99dec4b5433ac7d329eeb6dd26545e96e55b874be909
)");
    std::string name, message, digest;
    int count = 0;
    for (; table >> name >> message >> digest; ++count)
    {
        const TBytes bytes(messages.at(message).begin(), messages.at(message).end());
        EXPECT_EQ(digest, k_oHashes.at(name)(bytes, {})) << name << " " << message;
        EXPECT_EQ(digest, k_oHashes.at(name)(bytes, {1})) << name << " " << message;
    }
    EXPECT_EQ(8, count);

    // Lengths across two blocks of either size, so that each padding case is met.
    TBytes bytes(300);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>(i * 31 + 7);
    for (const auto& hash : k_oHashes)
        for (std::size_t length = 0; length <= bytes.size(); length += 1 + length / 40)
        {
            const TBytes prefix(bytes.begin(), bytes.begin() + length);
            const std::string expected = hash.second(prefix, {});
            EXPECT_EQ(expected, hash.second(prefix, k_oOddPieces)) << hash.first << length;
            EXPECT_EQ(expected, hash.second(prefix, {0, 2})) << hash.first << length;
        }
}

TEST(Sha2Test, RandomMessagesAgreeWithTheOpensslCommand)
{
    bool named;
    const std::vector<SCryptoVector> vectors = LoadCryptoVectors("sha", named);
    if (!named)
        GTEST_SKIP() << "CPPUTIL_CRYPTO_VECTORS is set by CTest";
    ASSERT_EQ(12u, vectors.size());
    for (const SCryptoVector& v : vectors)
    {
        EXPECT_EQ(ToHex(v.m_oFields[1]), k_oHashes.at(v.m_sName)(v.m_oFields[0], {})) << v.m_sName;
        EXPECT_EQ(ToHex(v.m_oFields[1]), k_oHashes.at(v.m_sName)(v.m_oFields[0], k_oOddPieces))
            << v.m_sName;
    }
}
