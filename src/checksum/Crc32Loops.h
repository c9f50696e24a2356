#pragma once

#include <cstdint>
#include <span>

#include "checksum/CpuFeatures.h"

namespace marrowkit {

/// The inner loop of CRC-32: the running value (not inverted; 0xFFFFFFFF before the first byte) in, the
/// running value after the bytes out. No bytes leave it unchanged. All loops give the same values for all
/// inputs; they read nothing outside the bytes they are given.
///
/// The polynomial is that of IEEE 802.3, least significant bit first (0xEDB88320). Bits are seen as
/// coefficients of a polynomial over GF(2); the running value is the remainder of what was read so far, and
/// every loop is a way to take that remainder for more bytes at a time.
using Crc32Loop = std::uint32_t (*)(std::uint32_t running, std::span<const std::uint8_t> bytes);

/// One table look-up for each byte: the definition, which the others are compared with.
std::uint32_t Crc32Bytewise(std::uint32_t running, std::span<const std::uint8_t> bytes);

/// Sixteen tables, sixteen bytes a step ("slicing"). For any processor.
std::uint32_t Crc32Slice16(std::uint32_t running, std::span<const std::uint8_t> bytes);

#if defined(__x86_64__) || defined(_M_X64)
/// Folding by carry-less multiplication in 128-bit registers. REQUIRES: cpu.clmul.
std::uint32_t Crc32Clmul(std::uint32_t running, std::span<const std::uint8_t> bytes);
/// The same in 256-bit registers. REQUIRES: cpu.wideClmul.
std::uint32_t Crc32WideClmul(std::uint32_t running, std::span<const std::uint8_t> bytes);
/// The same in 512-bit registers. REQUIRES: cpu.wideClmul512.
std::uint32_t Crc32WideClmul512(std::uint32_t running, std::span<const std::uint8_t> bytes);
#endif

#if defined(__aarch64__)
/// The processor's own CRC32 instructions. REQUIRES: cpu.armCrc32.
std::uint32_t Crc32Arm(std::uint32_t running, std::span<const std::uint8_t> bytes);
#endif

/// The fastest loop that a processor with these features can run.
Crc32Loop PickCrc32Loop(const CpuFeatures& cpu);

/// The pick for this processor, made once.
Crc32Loop BestCrc32Loop();

}  // namespace marrowkit
