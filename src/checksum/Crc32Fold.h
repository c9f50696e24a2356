#pragma once

// Folding, as the carry-less loops do it. Only for the checksum folder's own sources, on x86.
//
// A 128-bit lane holds sixteen bytes of the message as a polynomial, first bit (the lowest) the highest
// coefficient: bit i stands for x^(127-i), and in a 64-bit half bit i stands for x^(63-i). What matters about
// the bytes read so far is their polynomial modulo P. So sixteen bytes that lie `d` bits ahead of others may
// be removed if their polynomial times x^d, or anything that leaves the same remainder, is added to those
// others. The lane is high * x^64 + low; "high" is the half that is read first, the register's lower one.
//
//   lane * x^d  =  high * (x^(d+64) mod P)  +  low * (x^d mod P)        (mod P)
//
// Each product of a 64-bit half by a 32-bit constant fits a lane again. The carry-less multiplication of two
// such reversed numbers comes out one bit lower than the lane needs it, that is multiplied by x once more;
// the constants are therefore taken with exponents that are lower by one.

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "checksum/Crc32Tables.h"

// Lets single functions use instructions that the rest of the program must not rely on.
#if defined(__GNUC__)
#define MARROWKIT_TARGET(features) __attribute__((target(features)))
#define MARROWKIT_TARGET_INLINE(features) __attribute__((target(features), always_inline)) inline
#else
#define MARROWKIT_TARGET(features)
#define MARROWKIT_TARGET_INLINE(features) inline
#endif

namespace marrowkit::fold {

/// x^exponent mod P as a reversed 64-bit number.
consteval std::uint64_t PowerOfX(unsigned exponent) {
    std::uint32_t value = 0x80000000u;  // x^0
    for (; exponent > 0; --exponent) value = TimesX(value);
    return std::uint64_t{value} << 32;
}

/// What the two halves of a lane are multiplied by to be moved over `d` bits of message.
struct Constants {
    std::uint64_t high;
    std::uint64_t low;
};
consteval Constants Over(unsigned d) {
    return {PowerOfX(d + 63), PowerOfX(d - 1)};
}

/// P with its x^32, and x^64 / P without remainder, as reversed 33-bit numbers.
inline constexpr std::uint64_t kReversedP = (std::uint64_t{kCrc32Polynomial} << 1) | 1u;
consteval std::uint64_t QuotientOfX64() {
    // Long division, highest coefficient first: bit 0 of the reversed quotient stands for x^32.
    std::uint64_t quotient = 0;
    std::uint64_t rest = 1;  // coefficients x^64 ... x^32 of the dividend, reversed
    for (unsigned bit = 0; bit <= 32; ++bit) {
        if ((rest & 1u) != 0) {
            quotient |= std::uint64_t{1} << bit;
            rest ^= kReversedP;
        }
        rest >>= 1;
    }
    return quotient;
}
static_assert(QuotientOfX64() == 0x1F7011641u);
static_assert(kReversedP == 0x1DB710641u);

using Lane = __m128i;

MARROWKIT_TARGET_INLINE("sse4.1") Lane Load(const std::uint8_t* at) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

MARROWKIT_TARGET_INLINE("sse4.1") Lane Pair(Constants k) {
    return _mm_set_epi64x(static_cast<std::int64_t>(k.low), static_cast<std::int64_t>(k.high));
}

/// `lane` moved over the distance of `k` and added to `onto`.
MARROWKIT_TARGET_INLINE("pclmul,sse4.1") Lane Fold(Lane lane, Lane k, Lane onto) {
    const Lane high = _mm_clmulepi64_si128(lane, k, 0x00);
    const Lane low = _mm_clmulepi64_si128(lane, k, 0x11);
    return _mm_xor_si128(_mm_xor_si128(high, onto), low);
}

/// The bytes 0 to 15, which shuffle a lane into itself, between two runs of 0x80, which shuffle zeros into
/// it: sixteen of these 48 bytes, taken from offset 16 + n or 16 - n, move a lane's bytes down or up by n.
alignas(16) inline constexpr std::uint8_t kShuffle[48] = {
    0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80,
    0,    1,    2,    3,    4,    5,    6,    7,    8,    9,    10,   11,   12,   13,   14,   15,
    0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80};

/// Takes the last `count` (1 to 15) bytes before `end` into the lane: the lane and those bytes are cut anew
/// into a front part of `count` bytes and a whole lane, and the front part is folded onto the latter.
/// REQUIRES: sixteen readable bytes before `end`.
MARROWKIT_TARGET_INLINE("pclmul,sse4.1")
Lane FoldTail(Lane lane, const std::uint8_t* end, std::size_t count) {
    const Lane up = Load(kShuffle + count);         // moves bytes up by 16 - count
    const Lane down = Load(kShuffle + 16 + count);  // moves bytes down by count
    const Lane front = _mm_shuffle_epi8(lane, up);
    const Lane rest = _mm_shuffle_epi8(lane, down);
    // `down` has its top bits set exactly where the tail's bytes go.
    const Lane back = _mm_blendv_epi8(rest, Load(end - 16), down);
    return Fold(front, Pair(Over(128)), back);
}

/// The running value that a last lane leaves: its polynomial times x^32 modulo P.
MARROWKIT_TARGET_INLINE("pclmul,sse4.1") std::uint32_t Reduce(Lane lane) {
    // 128 bits to 96: the high half over 96 bits, the low half stays and is multiplied by x^32 by its place.
    const Lane over96 = _mm_cvtsi64_si128(static_cast<std::int64_t>(PowerOfX(95)));
    const Lane lowTimesX32 = _mm_slli_si128(_mm_srli_si128(lane, 8), 4);
    Lane rest = _mm_xor_si128(_mm_clmulepi64_si128(lane, over96, 0x00), lowTimesX32);
    // 96 bits to 64: the highest 32 over 64 bits.
    const Lane over64 = _mm_cvtsi64_si128(static_cast<std::int64_t>(PowerOfX(63)));
    rest = _mm_xor_si128(rest, _mm_clmulepi64_si128(rest, over64, 0x00));
    // Barrett: the quotient of the 64 bits by P is that of their upper half by way of x^64 / P.
    const Lane barrett =
        _mm_set_epi64x(static_cast<std::int64_t>(kReversedP), static_cast<std::int64_t>(QuotientOfX64()));
    const Lane lower32 = _mm_set_epi32(0, 0, 0, -1);
    const Lane value = _mm_srli_si128(rest, 8);
    Lane quotient = _mm_clmulepi64_si128(_mm_and_si128(value, lower32), barrett, 0x00);
    quotient = _mm_clmulepi64_si128(_mm_and_si128(quotient, lower32), barrett, 0x10);
    return static_cast<std::uint32_t>(_mm_extract_epi32(_mm_xor_si128(value, quotient), 1));
}

/// The end of every loop: `left` bytes at `at` (fewer than a loop's step) after those in `lane`.
/// REQUIRES: sixteen readable bytes before at + left.
MARROWKIT_TARGET_INLINE("pclmul,sse4.1")
std::uint32_t Finish(Lane lane, const std::uint8_t* at, std::size_t left) {
    const Lane over128 = Pair(Over(128));
    for (; left >= 16; at += 16, left -= 16) lane = Fold(lane, over128, Load(at));
    if (left > 0) lane = FoldTail(lane, at + left, left);
    return Reduce(lane);
}

/// A lane that holds the running value where the first bytes of the message get it added.
MARROWKIT_TARGET_INLINE("sse4.1") Lane Start(std::uint32_t running) {
    return _mm_cvtsi32_si128(static_cast<int>(running));
}

}  // namespace marrowkit::fold
