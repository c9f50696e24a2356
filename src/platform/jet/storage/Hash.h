#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace marrowkit::jet {

/// A 64-bit hash that tells accidental differences apart; eight bytes a step, not meant against malice.
inline std::uint64_t Hash64(std::uint64_t seed, std::span<const std::uint8_t> bytes) {
    constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15;  // 2^64 divided by the golden ratio
    std::uint64_t hash = (seed ^ bytes.size()) * kMultiplier;
    std::size_t at = 0;
    for (; at + 8 <= bytes.size(); at += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data() + at, sizeof word);
        hash = (hash ^ word) * kMultiplier;
        hash ^= hash >> 29;
    }
    if (at < bytes.size()) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data() + at, bytes.size() - at);
        hash = (hash ^ word) * kMultiplier;
        hash ^= hash >> 29;
    }
    hash *= kMultiplier;
    return hash ^ hash >> 32;
}

}  // namespace marrowkit::jet
