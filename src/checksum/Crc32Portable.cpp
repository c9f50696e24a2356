#include <bit>
#include <cstring>

#include "checksum/Crc32Loops.h"
#include "checksum/Crc32Tables.h"

namespace marrowkit {

namespace {

/// Eight bytes as a number, the first byte the lowest, whatever the processor's own order is.
std::uint64_t LittleEndian64(const std::uint8_t* at) {
    if constexpr (std::endian::native == std::endian::little) {
        std::uint64_t word;
        std::memcpy(&word, at, sizeof word);
        return word;
    } else {
        std::uint64_t word = 0;
        for (unsigned i = 0; i < 8; ++i) word |= std::uint64_t{at[i]} << (8 * i);
        return word;
    }
}

/// What eight bytes contribute when `Zeros` more bytes follow them in the same step.
template <std::size_t Zeros>
std::uint32_t Look8(std::uint64_t word) {
    const auto& t = kCrc32Tables;
    return t[Zeros + 7][word & 0xFF] ^ t[Zeros + 6][(word >> 8) & 0xFF] ^ t[Zeros + 5][(word >> 16) & 0xFF] ^
           t[Zeros + 4][(word >> 24) & 0xFF] ^ t[Zeros + 3][(word >> 32) & 0xFF] ^
           t[Zeros + 2][(word >> 40) & 0xFF] ^ t[Zeros + 1][(word >> 48) & 0xFF] ^ t[Zeros][word >> 56];
}

}  // namespace

std::uint32_t Crc32Bytewise(std::uint32_t running, std::span<const std::uint8_t> bytes) {
    for (const std::uint8_t byte : bytes)
        running = (running >> 8) ^ kCrc32Tables[0][(running ^ byte) & 0xFFu];
    return running;
}

// The remainder is linear: sixteen bytes leave the sum of what each leaves alone with zeros behind it. So the
// sixteen look-ups of a step do not wait for each other, only the next step waits for their sum.
std::uint32_t Crc32Slice16(std::uint32_t running, std::span<const std::uint8_t> bytes) {
    const std::uint8_t* at = bytes.data();
    std::size_t left = bytes.size();
    for (; left >= kCrc32SliceBytes; at += kCrc32SliceBytes, left -= kCrc32SliceBytes) {
        // The second half does not depend on the running value; the compiler may start it early.
        const std::uint32_t second = Look8<0>(LittleEndian64(at + 8));
        running = Look8<8>(LittleEndian64(at) ^ running) ^ second;
    }
    return Crc32Bytewise(running, {at, left});
}

}  // namespace marrowkit
