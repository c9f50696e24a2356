#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace marrowkit {

/// x^32 + x^26 + x^23 + ... + 1 without its x^32, least significant bit first.
inline constexpr std::uint32_t kCrc32Polynomial = 0xEDB88320u;

/// A running value times x, modulo the polynomial: one zero bit read.
constexpr std::uint32_t TimesX(std::uint32_t value) {
    return (value >> 1) ^ ((value & 1u) != 0 ? kCrc32Polynomial : 0u);
}

using Crc32Table = std::array<std::uint32_t, 256>;

inline constexpr std::size_t kCrc32SliceBytes = 16;

/// Table k holds, for each byte, the running value after that byte and k zero bytes. Table 0 is the classic
/// table of the byte-wise loop.
constexpr std::array<Crc32Table, kCrc32SliceBytes> MakeCrc32Tables() {
    std::array<Crc32Table, kCrc32SliceBytes> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit) value = TimesX(value);
        tables[0][byte] = value;
    }
    for (std::size_t k = 1; k < kCrc32SliceBytes; ++k) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t before = tables[k - 1][byte];
            tables[k][byte] = (before >> 8) ^ tables[0][before & 0xFFu];
        }
    }
    return tables;
}

alignas(64) inline constexpr std::array<Crc32Table, kCrc32SliceBytes> kCrc32Tables = MakeCrc32Tables();

}  // namespace marrowkit
