#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "checksum/Crc32Loops.h"

#ifndef _WIN32
#include <unistd.h>

#include <sys/mman.h>
#endif

#include "checksum/Crc32Tables.h"

namespace marrowkit {
namespace {

struct NamedLoop {
    std::string name;
    Crc32Loop loop;
};

/// Every loop that this processor can run.
std::vector<NamedLoop> Loops() {
    std::vector<NamedLoop> loops{{"Slice16", Crc32Slice16}};
#if defined(__x86_64__) || defined(_M_X64)
    const CpuFeatures cpu = DetectCpu();
    if (cpu.clmul) loops.push_back({"Clmul", Crc32Clmul});
    if (cpu.wideClmul) loops.push_back({"WideClmul", Crc32WideClmul});
    if (cpu.wideClmul512) loops.push_back({"WideClmul512", Crc32WideClmul512});
#elif defined(__aarch64__)
    if (DetectCpu().armCrc32) loops.push_back({"Arm", Crc32Arm});
#endif
    return loops;
}

std::vector<std::uint8_t> RandomBytes(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<std::uint8_t> bytes(count);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    return bytes;
}

std::uint32_t BitByBit(std::uint32_t running, std::span<const std::uint8_t> bytes) {
    for (const std::uint8_t byte : bytes) {
        running ^= byte;
        for (int bit = 0; bit < 8; ++bit) running = (running >> 1) ^ ((running & 1) != 0 ? 0xEDB88320u : 0);
    }
    return running;
}

TEST(Crc32Tables, HaveTheKnownEntries) {
    EXPECT_EQ(kCrc32Tables[0][0], 0u);
    EXPECT_EQ(kCrc32Tables[0][1], 0x77073096u);
    EXPECT_EQ(kCrc32Tables[0][128], 0xEDB88320u);
    EXPECT_EQ(kCrc32Tables[0][255], 0x2D02EF8Du);
}

TEST(Crc32Bytewise, IsTheRemainderOfTheBits) {
    const auto bytes = RandomBytes(1000, 1);
    EXPECT_EQ(Crc32Bytewise(0x12345678u, bytes), BitByBit(0x12345678u, bytes));
}

TEST(Crc32Loops, AgreeWithTheReferenceForEveryLengthUpTo4096) {
    constexpr std::size_t kLongest = 4096;
    const auto bytes = RandomBytes(kLongest + 64, 2);
    const auto loops = Loops();
    for (std::size_t length = 0; length <= kLongest; ++length) {
        // All alignments come up with many lengths each, not each with all.
        const std::size_t alignment = (length * 37 + length / 64) % 64;
        const std::span<const std::uint8_t> part(bytes.data() + alignment, length);
        const std::uint32_t expected = Crc32Bytewise(0xFFFFFFFFu, part);
        for (const auto& [name, loop] : loops) {
            ASSERT_EQ(loop(0xFFFFFFFFu, part), expected) << name << ", " << length << " bytes";
        }
    }
}

TEST(Crc32Loops, AgreeWithTheReferenceAtEveryAlignment) {
    // Around every border of a register, a step of a loop, and their multiples.
    const std::array<std::size_t, 13> borders{1, 8, 16, 32, 48, 64, 96, 128, 256, 512, 576, 1024, 2048};
    const auto bytes = RandomBytes(4096, 3);
    const auto loops = Loops();
    for (const std::size_t border : borders) {
        for (std::size_t length = border - 1; length <= border + 1; ++length) {
            for (std::size_t alignment = 0; alignment < 64; ++alignment) {
                const std::span<const std::uint8_t> part(bytes.data() + alignment, length);
                const std::uint32_t expected = Crc32Bytewise(0, part);
                for (const auto& [name, loop] : loops) {
                    ASSERT_EQ(loop(0, part), expected) << name << ", " << length << " at " << alignment;
                }
            }
        }
    }
}

TEST(Crc32Loops, AgreeWithTheReferenceOnLongBuffersAndAnyStart) {
    const auto bytes = RandomBytes(1u << 20, 4);
    std::mt19937 random(5);
    const auto loops = Loops();
    for (int round = 0; round < 20; ++round) {
        const std::size_t from = random() % 4096;
        const std::size_t length = random() % (bytes.size() - from);
        const std::uint32_t start = static_cast<std::uint32_t>(random());
        const std::span<const std::uint8_t> part(bytes.data() + from, length);
        const std::uint32_t expected = Crc32Bytewise(start, part);
        for (const auto& [name, loop] : loops) {
            ASSERT_EQ(loop(start, part), expected) << name << ", " << length << " at " << from;
        }
    }
}

TEST(Crc32Loops, MayBeInterruptedAnywhere) {
    const auto bytes = RandomBytes(3000, 6);
    const std::span<const std::uint8_t> all(bytes);
    const std::uint32_t expected = Crc32Bytewise(0xFFFFFFFFu, all);
    for (const auto& [name, loop] : Loops()) {
        for (std::size_t cut = 0; cut <= bytes.size(); cut += 7) {
            ASSERT_EQ(loop(loop(0xFFFFFFFFu, all.first(cut)), all.subspan(cut)), expected)
                << name << ", cut at " << cut;
        }
    }
}

TEST(Crc32Loops, LeaveTheRunningValueWithoutBytes) {
    for (const auto& [name, loop] : Loops()) EXPECT_EQ(loop(0xCAFEF00Du, {}), 0xCAFEF00Du) << name;
    EXPECT_EQ(Crc32Bytewise(0xCAFEF00Du, {}), 0xCAFEF00Du);
}

#ifndef _WIN32
TEST(Crc32Loops, ReadNothingOutsideTheirBytes) {
    // One readable page between two that end the program when touched.
    const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    void* const area = ::mmap(nullptr, 3 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(area, MAP_FAILED);
    std::uint8_t* const readable = static_cast<std::uint8_t*>(area) + page;
    ASSERT_EQ(::mprotect(readable, page, PROT_READ | PROT_WRITE), 0);
    const auto bytes = RandomBytes(page, 7);
    std::memcpy(readable, bytes.data(), page);
    for (const auto& [name, loop] : Loops()) {
        for (std::size_t length = 0; length <= 1200; ++length) {
            const std::span<const std::uint8_t> first(readable, length);
            const std::span<const std::uint8_t> last(readable + page - length, length);
            ASSERT_EQ(loop(1, first), Crc32Bytewise(1, first)) << name << ", " << length;
            ASSERT_EQ(loop(1, last), Crc32Bytewise(1, last)) << name << ", " << length;
        }
    }
    ::munmap(area, 3 * page);
}
#endif

TEST(PickCrc32Loop, TakesTheWidestThatTheProcessorHas) {
    EXPECT_EQ(PickCrc32Loop({}), Crc32Slice16);
#if defined(__x86_64__) || defined(_M_X64)
    CpuFeatures cpu;
    cpu.clmul = true;
    EXPECT_EQ(PickCrc32Loop(cpu), Crc32Clmul);
    cpu.wideClmul = true;
    EXPECT_EQ(PickCrc32Loop(cpu), Crc32WideClmul);
    cpu.wideClmul512 = true;
    EXPECT_EQ(PickCrc32Loop(cpu), Crc32WideClmul512);
#elif defined(__aarch64__)
    CpuFeatures cpu;
    cpu.armCrc32 = true;
    EXPECT_EQ(PickCrc32Loop(cpu), Crc32Arm);
#endif
}

TEST(PickCrc32Loop, IsMadeForThisProcessor) {
    EXPECT_EQ(BestCrc32Loop(), PickCrc32Loop(DetectCpu()));
}

}  // namespace
}  // namespace marrowkit
