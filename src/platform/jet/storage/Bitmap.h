#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>

#include "platform/jet/format/Bytes.h"

namespace marrowkit::jet::bitmap {

// Bits as all maps of the format number them: bit k is bit k % 8, lowest first, of byte k / 8.

inline bool Test(ByteView bits, std::size_t k) {
    return (bits.U8(k / 8) >> (k % 8) & 1) != 0;
}

inline void Put(MutableByteView bits, std::size_t k, bool value) {
    const auto mask = static_cast<std::uint8_t>(1U << (k % 8));
    const std::uint8_t old = bits.View().U8(k / 8);
    bits.PutU8(k / 8, static_cast<std::uint8_t>(value ? old | mask : old & ~mask));
}

/// The first set bit at or behind `from`, before `end`. REQUIRES: end <= 8 * bits.Size().
inline std::optional<std::size_t> FindNext(ByteView bits, std::size_t from, std::size_t end) {
    while (from < end) {
        const std::size_t byte = from / 8;
        std::uint64_t word = 0;
        std::memcpy(&word, bits.Data() + byte, bits.Size() - byte < 8 ? bits.Size() - byte : 8);
        word >>= from % 8;
        if (word != 0) {
            const std::size_t found = from + static_cast<std::size_t>(std::countr_zero(word));
            return found < end ? std::optional(found) : std::nullopt;
        }
        from = byte * 8 + 64;
    }
    return std::nullopt;
}

/// The last set bit before `end`.
inline std::optional<std::size_t> FindPrevious(ByteView bits, std::size_t end) {
    std::size_t byte = (end + 7) / 8;
    while (byte-- > 0) {
        auto value = static_cast<std::uint32_t>(bits.U8(byte));
        if (end < byte * 8 + 8) value &= (1U << (end - byte * 8)) - 1;
        if (value != 0) return byte * 8 + static_cast<std::size_t>(std::bit_width(value)) - 1;
    }
    return std::nullopt;
}

}  // namespace marrowkit::jet::bitmap
