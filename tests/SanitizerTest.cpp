#include <cpputil/CppUtil.Crypto.Sanitizer.h>

#include <algorithm>
#include <ctime>
#include <gtest/gtest.h>
#include <set>
#include <vector>

using CppUtil::Crypto::CSanitizer;

namespace
{

// The one value every byte holds, or -1 when they differ.
int CommonValue(const unsigned char* data, std::size_t length)
{
    if (length == 0 ||
        std::any_of(data, data + length, [data](unsigned char b) { return b != *data; }))
        return -1;
    return *data;
}

// The byte each of so many single passes of a new object leaves.
std::vector<int> PassValues(unsigned int passes)
{
    std::vector<int> values;
    CSanitizer sanitizer;
    unsigned char buffer[33];
    for (unsigned int pass = 0; pass < passes; ++pass)
    {
        sanitizer.Sanitize(buffer, sizeof buffer, 1);
        values.push_back(CommonValue(buffer, sizeof buffer));
    }
    return values;
}

} // namespace

TEST(SanitizerTest, EveryByteEndsAsOneValueThatIsNeitherZeroNorOnesAndNothingElseIsTouched)
{
    // Lengths around the word and block boundaries of the read-back, at odd addresses too.
    std::vector<unsigned char> storage(4096 + 64);
    for (std::size_t length : {1u, 7u, 8u, 9u, 511u, 512u, 513u, 4096u})
        for (std::size_t offset : {0u, 1u, 3u})
        {
            unsigned char* buffer = storage.data() + offset;
            std::fill(storage.begin(), storage.end(), 0x5A);
            CSanitizer().Sanitize(buffer, static_cast<unsigned int>(length),
                                  CSanitizer::k_uMinPasses);
            const int value = CommonValue(buffer, length);
            EXPECT_GE(value, 0x01) << length << '@' << offset;
            EXPECT_LE(value, 0xFE) << length << '@' << offset;
            // Nothing outside the buffer is touched.
            EXPECT_TRUE(std::all_of(storage.begin(), storage.begin() + offset,
                                    [](unsigned char b) { return b == 0x5A; }));
            EXPECT_TRUE(std::all_of(storage.begin() + offset + length, storage.end(),
                                    [](unsigned char b) { return b == 0x5A; }));
        }
    // No passes or no bytes: no work.
    std::fill(storage.begin(), storage.end(), 0x00);
    CSanitizer().Sanitize(storage.data(), 16, 0);
    CSanitizer().Sanitize(storage.data(), 0, 5);
    CSanitizer().Sanitize(nullptr, 0, 5);
    EXPECT_EQ(0x00, CommonValue(storage.data(), storage.size()));
}

TEST(SanitizerTest, EachPassDrawsAByteFromTheSecondSeededSequence)
{
    std::vector<int> first;
    std::vector<int> second;
    for (int attempt = 0; attempt < 5; ++attempt)
    {
        const std::time_t before = std::time(nullptr);
        first = PassValues(20);
        second = PassValues(20);
        if (std::time(nullptr) == before)
            break;
    }
    // Objects made within one second repeat each other.
    EXPECT_EQ(first, second);
    // Within one object the passes do not all reuse one byte.
    EXPECT_GT(std::set<int>(first.begin(), first.end()).size(), 1u);
    EXPECT_EQ(0u, std::count(first.begin(), first.end(), -1));
}
