// One sanitizing pass over 256 MiB against the plainest code that does the same work: three
// memsets of the buffer and a read of it a word at a time.
#include "RatioReporter.h"

#include <cpputil/CppUtil.Crypto.Sanitizer.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace
{

const std::size_t k_uBytes = 256u << 20;

std::vector<std::uint64_t>& Buffer()
{
    static std::vector<std::uint64_t> s_oBuffer(k_uBytes / sizeof(std::uint64_t), 1);
    return s_oBuffer;
}

void SanitizeOnePass(benchmark::State& state)
{
    unsigned char* buffer = reinterpret_cast<unsigned char*>(Buffer().data());
    CppUtil::Crypto::CSanitizer sanitizer;
    for (auto _ : state)
        sanitizer.Sanitize(buffer, static_cast<unsigned int>(k_uBytes), 1);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * k_uBytes));
}
BENCHMARK(SanitizeOnePass)->Unit(benchmark::kMillisecond);

void MemsetThriceAndRead(benchmark::State& state)
{
    std::vector<std::uint64_t>& words = Buffer();
    unsigned char value = 0x5C;
    for (auto _ : state)
    {
        value = static_cast<unsigned char>(value % 0xFD + 1);
        for (int fill : {0x00, 0xFF, static_cast<int>(value)})
        {
            std::memset(words.data(), fill, k_uBytes);
            benchmark::ClobberMemory();
        }
        const std::uint64_t pattern = 0x0101010101010101ull * value;
        std::uint64_t difference = 0;
        for (std::uint64_t word : words)
            difference |= word ^ pattern;
        benchmark::DoNotOptimize(difference);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * k_uBytes));
}
BENCHMARK(MemsetThriceAndRead)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    return RunWithRatios(argc, argv, {{"SanitizeOnePass", "MemsetThriceAndRead"}});
}
