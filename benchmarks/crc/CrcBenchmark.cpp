// Each checksum loop beside zlib, libdeflate and a plain sum of the same bytes, which stands for what merely
// looking at every byte costs.

#include <cstring>
#include <libdeflate.h>
#include <random>
#include <vector>
#include <zlib.h>

#include <benchmark/benchmark.h>

#include "checksum/Crc32Loops.h"
#include "checksum/Crc32Tables.h"

namespace marrowkit {
namespace {

const std::vector<std::uint8_t>& Bytes() {
    static const std::vector<std::uint8_t> bytes = [] {
        std::vector<std::uint8_t> made(256u << 20);
        std::mt19937_64 random(1);
        for (std::size_t at = 0; at < made.size(); at += 8) {
            const std::uint64_t word = random();
            std::memcpy(made.data() + at, &word, 8);
        }
        return made;
    }();
    return bytes;
}

std::uint32_t Zlib(std::uint32_t running, std::span<const std::uint8_t> bytes) {
    return ~static_cast<std::uint32_t>(::crc32_z(~running, bytes.data(), bytes.size()));
}

std::uint32_t Libdeflate(std::uint32_t running, std::span<const std::uint8_t> bytes) {
    return ~::libdeflate_crc32(~running, bytes.data(), bytes.size());
}

/// Slicing by eight, the usual portable loop, from the same tables.
std::uint32_t Slice8(std::uint32_t running, std::span<const std::uint8_t> bytes) {
    const auto& t = kCrc32Tables;
    std::size_t at = 0;
    for (; at + 8 <= bytes.size(); at += 8) {
        std::uint64_t word;
        std::memcpy(&word, bytes.data() + at, 8);
        word ^= running;
        running = t[7][word & 0xFF] ^ t[6][(word >> 8) & 0xFF] ^ t[5][(word >> 16) & 0xFF] ^
                  t[4][(word >> 24) & 0xFF] ^ t[3][(word >> 32) & 0xFF] ^ t[2][(word >> 40) & 0xFF] ^
                  t[1][(word >> 48) & 0xFF] ^ t[0][word >> 56];
    }
    return Crc32Bytewise(running, bytes.subspan(at));
}

/// All bytes added up in eights, in the widest registers that a vectorising compiler may use here.
#if defined(__x86_64__) && defined(__GNUC__)
__attribute__((target_clones("default", "avx2", "avx512f")))
#endif
std::uint32_t
SumOfWords(const std::uint8_t* bytes, std::size_t count) {
    std::uint64_t sums[32] = {};
    std::size_t at = 0;
    for (; at + sizeof sums <= count; at += sizeof sums) {
        std::uint64_t words[32];
        std::memcpy(words, bytes + at, sizeof words);
        for (std::size_t i = 0; i < 32; ++i) sums[i] += words[i];
    }
    std::uint64_t sum = 0;
    for (const std::uint64_t part : sums) sum += part;
    for (; at < count; ++at) sum += bytes[at];
    return static_cast<std::uint32_t>(sum);
}

std::uint32_t PlainSum(std::uint32_t running, std::span<const std::uint8_t> bytes) {
    return running + SumOfWords(bytes.data(), bytes.size());
}

void Run(benchmark::State& state, Crc32Loop loop) {
    const std::span<const std::uint8_t> bytes(Bytes().data(), static_cast<std::size_t>(state.range(0)));
    std::uint32_t running = 0xFFFFFFFFu;
    for (auto _ : state) {
        running = loop(running, bytes);
        benchmark::DoNotOptimize(running);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void Register(const char* name, Crc32Loop loop) {
    benchmark::RegisterBenchmark(name, Run, loop)
        ->Arg(64)
        ->Arg(1 << 10)
        ->Arg(16 << 10)
        ->Arg(1 << 20)
        ->Arg(256 << 20);
}

const bool kRegistered = [] {
    const CpuFeatures cpu = DetectCpu();
    Register("bytewise", Crc32Bytewise);
    Register("slice8", Slice8);
    Register("slice16", Crc32Slice16);
#if defined(__x86_64__) || defined(_M_X64)
    if (cpu.clmul) Register("clmul", Crc32Clmul);
    if (cpu.wideClmul) Register("wideClmul", Crc32WideClmul);
    if (cpu.wideClmul512) Register("wideClmul512", Crc32WideClmul512);
#elif defined(__aarch64__)
    if (cpu.armCrc32) Register("arm", Crc32Arm);
#endif
    Register("peer/zlib", Zlib);
    Register("peer/libdeflate", Libdeflate);
    Register("plainSum", PlainSum);
    return true;
}();

}  // namespace
}  // namespace marrowkit
