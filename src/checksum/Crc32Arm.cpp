#if defined(__aarch64__)

#include <arm_acle.h>
#include <cstring>

#include "checksum/Crc32Loops.h"

namespace marrowkit {

// The instructions compute exactly the running value of this polynomial (those for the other one, of
// Castagnoli, carry a "c" in their name).
#if defined(__clang__)
__attribute__((target("crc")))
#else
__attribute__((target("+crc")))
#endif
std::uint32_t
Crc32Arm(std::uint32_t running, std::span<const std::uint8_t> bytes) {
    const std::uint8_t* at = bytes.data();
    std::size_t left = bytes.size();
    for (; left >= 8; at += 8, left -= 8) {
        std::uint64_t word;
        std::memcpy(&word, at, sizeof word);
        running = __crc32d(running, word);
    }
    for (; left > 0; ++at, --left) running = __crc32b(running, *at);
    return running;
}

}  // namespace marrowkit

#endif
