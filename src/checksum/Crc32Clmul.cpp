#if defined(__x86_64__) || defined(_M_X64)

#include "checksum/Crc32Fold.h"
#include "checksum/Crc32Loops.h"

namespace marrowkit {

using namespace fold;

namespace {

constexpr std::size_t kLanes = 8;
constexpr std::size_t kStepBytes = kLanes * 16;

/// Eight lanes at once hide the latency of the multiplications.
MARROWKIT_TARGET("pclmul,sse4.1")
std::uint32_t FoldLong(std::uint32_t running, const std::uint8_t* at, std::size_t left) {
    Lane lanes[kLanes];
    for (std::size_t i = 0; i < kLanes; ++i) lanes[i] = Load(at + 16 * i);
    lanes[0] = _mm_xor_si128(lanes[0], Start(running));
    at += kStepBytes;
    left -= kStepBytes;

    const Lane overStep = Pair(Over(8 * kStepBytes));
    for (; left >= kStepBytes; at += kStepBytes, left -= kStepBytes) {
        for (std::size_t i = 0; i < kLanes; ++i) lanes[i] = Fold(lanes[i], overStep, Load(at + 16 * i));
    }

    const Lane over512 = Pair(Over(512));
    const Lane over256 = Pair(Over(256));
    const Lane over128 = Pair(Over(128));
    for (std::size_t i = 0; i < 4; ++i) lanes[4 + i] = Fold(lanes[i], over512, lanes[4 + i]);
    for (std::size_t i = 4; i < 6; ++i) lanes[2 + i] = Fold(lanes[i], over256, lanes[2 + i]);
    return Finish(Fold(lanes[6], over128, lanes[7]), at, left);
}

}  // namespace

MARROWKIT_TARGET("pclmul,sse4.1")
std::uint32_t Crc32Clmul(std::uint32_t running, std::span<const std::uint8_t> bytes) {
    const std::uint8_t* at = bytes.data();
    const std::size_t left = bytes.size();
    if (left < 16) return Crc32Bytewise(running, bytes);
    if (left >= kStepBytes) return FoldLong(running, at, left);
    return Finish(_mm_xor_si128(Load(at), Start(running)), at + 16, left - 16);
}

}  // namespace marrowkit

#endif
