#if defined(__x86_64__) || defined(_M_X64)

#include "checksum/Crc32Fold.h"
#include "checksum/Crc32Loops.h"

#define MARROWKIT_TARGET_256 "vpclmulqdq,pclmul,avx2,sse4.1"

namespace marrowkit {

using namespace fold;

namespace {

/// Two neighbouring lanes.
using Lanes = __m256i;

constexpr std::size_t kRegisters = 8;
constexpr std::size_t kStepBytes = kRegisters * 32;

MARROWKIT_TARGET_INLINE(MARROWKIT_TARGET_256) Lanes Load2(const std::uint8_t* at) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}

MARROWKIT_TARGET_INLINE(MARROWKIT_TARGET_256) Lanes Fold2(Lanes lanes, Lanes k, Lanes onto) {
    const Lanes high = _mm256_clmulepi64_epi128(lanes, k, 0x00);
    const Lanes low = _mm256_clmulepi64_epi128(lanes, k, 0x11);
    return _mm256_xor_si256(_mm256_xor_si256(high, onto), low);
}

MARROWKIT_TARGET_INLINE(MARROWKIT_TARGET_256) Lanes Both(Constants k) {
    return _mm256_broadcastsi128_si256(Pair(k));
}

MARROWKIT_TARGET(MARROWKIT_TARGET_256)
std::uint32_t FoldLong(std::uint32_t running, const std::uint8_t* at, std::size_t left) {
    Lanes lanes[kRegisters];
    for (std::size_t i = 0; i < kRegisters; ++i) lanes[i] = Load2(at + 32 * i);
    lanes[0] = _mm256_xor_si256(lanes[0], _mm256_zextsi128_si256(Start(running)));
    at += kStepBytes;
    left -= kStepBytes;

    const Lanes overStep = Both(Over(8 * kStepBytes));
    for (; left >= kStepBytes; at += kStepBytes, left -= kStepBytes) {
        for (std::size_t i = 0; i < kRegisters; ++i) lanes[i] = Fold2(lanes[i], overStep, Load2(at + 32 * i));
    }

    const Lanes over1024 = Both(Over(1024));
    const Lanes over512 = Both(Over(512));
    const Lanes over256 = Both(Over(256));
    for (std::size_t i = 0; i < 4; ++i) lanes[4 + i] = Fold2(lanes[i], over1024, lanes[4 + i]);
    for (std::size_t i = 4; i < 6; ++i) lanes[2 + i] = Fold2(lanes[i], over512, lanes[2 + i]);
    lanes[7] = Fold2(lanes[6], over256, lanes[7]);
    for (; left >= 32; at += 32, left -= 32) lanes[7] = Fold2(lanes[7], over256, Load2(at));

    const Lane first = _mm256_castsi256_si128(lanes[7]);
    const Lane second = _mm256_extracti128_si256(lanes[7], 1);
    return Finish(Fold(first, Pair(Over(128)), second), at, left);
}

}  // namespace

MARROWKIT_TARGET(MARROWKIT_TARGET_256)
std::uint32_t Crc32WideClmul(std::uint32_t running, std::span<const std::uint8_t> bytes) {
    if (bytes.size() < kStepBytes) return Crc32Clmul(running, bytes);
    return FoldLong(running, bytes.data(), bytes.size());
}

}  // namespace marrowkit

#endif
