#pragma once

#include <cstdint>
#include <span>

namespace marrowkit {

/// The CCITT polynomial (x^16 + x^12 + x^5 + 1), most significant bit first, nothing inverted. Takes the
/// running value (0 before the first byte) and returns the one after the bytes.
std::uint16_t Crc16(std::uint16_t running, std::span<const std::uint8_t> bytes);

}  // namespace marrowkit
