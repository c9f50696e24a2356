#include "checksum/Crc16.h"

#include <array>

namespace marrowkit {

namespace {

constexpr std::uint16_t kCcittPolynomial = 0x1021;

constexpr std::array<std::uint16_t, 256> MakeTable() {
    std::array<std::uint16_t, 256> table{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t value = byte << 8;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value & 0x8000u) != 0 ? (value << 1) ^ kCcittPolynomial : value << 1;
        }
        table[byte] = static_cast<std::uint16_t>(value);
    }
    return table;
}

constexpr std::array<std::uint16_t, 256> kTable = MakeTable();

}  // namespace

std::uint16_t Crc16(std::uint16_t running, std::span<const std::uint8_t> bytes) {
    for (const std::uint8_t byte : bytes) {
        running = static_cast<std::uint16_t>((running << 8) ^ kTable[(running >> 8) ^ byte]);
    }
    return running;
}

}  // namespace marrowkit
