#if defined(__x86_64__) || defined(_M_X64)

#include "checksum/Crc32Fold.h"
#include "checksum/Crc32Loops.h"

#define MARROWKIT_TARGET_512 "avx512f,avx512bw,avx512vl,vpclmulqdq,pclmul,avx2,sse4.1"

namespace marrowkit {

using namespace fold;

namespace {

/// Four neighbouring lanes.
using Lanes = __m512i;

constexpr std::size_t kRegisters = 8;
constexpr std::size_t kStepBytes = kRegisters * 64;

MARROWKIT_TARGET_INLINE(MARROWKIT_TARGET_512) Lanes Load4(const std::uint8_t* at) {
    return _mm512_loadu_si512(at);
}

MARROWKIT_TARGET_INLINE(MARROWKIT_TARGET_512) Lanes Fold4(Lanes lanes, Lanes k, Lanes onto) {
    const Lanes high = _mm512_clmulepi64_epi128(lanes, k, 0x00);
    const Lanes low = _mm512_clmulepi64_epi128(lanes, k, 0x11);
    constexpr int kXorOfThree = 0x96;
    return _mm512_ternarylogic_epi64(high, low, onto, kXorOfThree);
}

MARROWKIT_TARGET_INLINE(MARROWKIT_TARGET_512) Lanes All(Constants k) {
    return _mm512_broadcast_i32x4(Pair(k));
}

/// Four lanes to one: the first three move over 384, 256 and 128 bits onto the fourth.
MARROWKIT_TARGET_INLINE(MARROWKIT_TARGET_512) Lane Gather(Lanes lanes) {
    const Lanes k = _mm512_inserti64x4(_mm512_castsi256_si512(_mm256_inserti128_si256(
                                           _mm256_castsi128_si256(Pair(Over(384))), Pair(Over(256)), 1)),
                                       _mm256_zextsi128_si256(Pair(Over(128))), 1);
    // The last lane's constant is zero: that lane itself is what the others are added to.
    const Lanes fourth = _mm512_maskz_mov_epi64(0xC0, lanes);
    const Lanes moved = Fold4(lanes, k, fourth);
    const __m256i half = _mm256_xor_si256(_mm512_castsi512_si256(moved), _mm512_extracti64x4_epi64(moved, 1));
    return _mm_xor_si128(_mm256_castsi256_si128(half), _mm256_extracti128_si256(half, 1));
}

/// One register: for what is too short for the loop below. REQUIRES: left >= 64.
MARROWKIT_TARGET_INLINE(MARROWKIT_TARGET_512)
std::uint32_t FoldRest(Lanes lanes, const std::uint8_t* at, std::size_t left) {
    const Lanes over512 = All(Over(512));
    for (; left >= 64; at += 64, left -= 64) lanes = Fold4(lanes, over512, Load4(at));
    return Finish(Gather(lanes), at, left);
}

MARROWKIT_TARGET(MARROWKIT_TARGET_512)
std::uint32_t FoldLong(std::uint32_t running, const std::uint8_t* at, std::size_t left) {
    Lanes lanes[kRegisters];
    for (std::size_t i = 0; i < kRegisters; ++i) lanes[i] = Load4(at + 64 * i);
    lanes[0] = _mm512_xor_si512(lanes[0], _mm512_zextsi128_si512(Start(running)));
    at += kStepBytes;
    left -= kStepBytes;

    const Lanes overStep = All(Over(8 * kStepBytes));
    for (; left >= kStepBytes; at += kStepBytes, left -= kStepBytes) {
        for (std::size_t i = 0; i < kRegisters; ++i) lanes[i] = Fold4(lanes[i], overStep, Load4(at + 64 * i));
    }

    const Lanes over2048 = All(Over(2048));
    const Lanes over1024 = All(Over(1024));
    const Lanes over512 = All(Over(512));
    for (std::size_t i = 0; i < 4; ++i) lanes[4 + i] = Fold4(lanes[i], over2048, lanes[4 + i]);
    for (std::size_t i = 4; i < 6; ++i) lanes[2 + i] = Fold4(lanes[i], over1024, lanes[2 + i]);
    return FoldRest(Fold4(lanes[6], over512, lanes[7]), at, left);
}

}  // namespace

MARROWKIT_TARGET(MARROWKIT_TARGET_512)
std::uint32_t Crc32WideClmul512(std::uint32_t running, std::span<const std::uint8_t> bytes) {
    const std::uint8_t* at = bytes.data();
    const std::size_t left = bytes.size();
    if (left >= kStepBytes) return FoldLong(running, at, left);
    if (left < 64) return Crc32Clmul(running, bytes);
    const Lanes first = _mm512_xor_si512(Load4(at), _mm512_zextsi128_si512(Start(running)));
    return FoldRest(first, at + 64, left - 64);
}

}  // namespace marrowkit

#endif
