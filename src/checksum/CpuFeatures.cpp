#include "checksum/CpuFeatures.h"

#if defined(__aarch64__) && defined(__linux__)
#include <sys/auxv.h>
#elif defined(_M_X64)
#include <immintrin.h>
#include <intrin.h>
#endif

namespace marrowkit {

#if defined(__x86_64__)

CpuFeatures DetectCpu() {
    __builtin_cpu_init();
    CpuFeatures cpu;
    cpu.clmul = __builtin_cpu_supports("pclmul") != 0 && __builtin_cpu_supports("sse4.1") != 0;
    const bool wide = cpu.clmul && __builtin_cpu_supports("vpclmulqdq") != 0;
    cpu.wideClmul = wide && __builtin_cpu_supports("avx2") != 0;
    cpu.wideClmul512 = cpu.wideClmul && __builtin_cpu_supports("avx512f") != 0 &&
                       __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vl") != 0;
    return cpu;
}

#elif defined(_M_X64)

CpuFeatures DetectCpu() {
    int leaf1[4];
    int leaf7[4];
    __cpuid(leaf1, 1);
    __cpuidex(leaf7, 7, 0);
    const auto bit = [](int word, int number) { return ((word >> number) & 1) != 0; };
    // XCR0 tells which registers the system saves: 1 and 2 the 256-bit ones, 5 to 7 those of AVX-512.
    const unsigned long long saved = bit(leaf1[2], 27) ? _xgetbv(0) : 0;
    const bool saves256 = (saved & 0x06) == 0x06;
    const bool saves512 = (saved & 0xE6) == 0xE6;
    CpuFeatures cpu;
    cpu.clmul = bit(leaf1[2], 1) && bit(leaf1[2], 19);
    cpu.wideClmul = cpu.clmul && saves256 && bit(leaf7[2], 10) && bit(leaf7[1], 5);
    cpu.wideClmul512 =
        cpu.wideClmul && saves512 && bit(leaf7[1], 16) && bit(leaf7[1], 30) && bit(leaf7[1], 31);
    return cpu;
}

#elif defined(__aarch64__)

CpuFeatures DetectCpu() {
    CpuFeatures cpu;
#if defined(__linux__)
    constexpr unsigned long kHwcapCrc32 = 1ul << 7;
    cpu.armCrc32 = (getauxval(AT_HWCAP) & kHwcapCrc32) != 0;
#elif defined(__APPLE__) || defined(__ARM_FEATURE_CRC32)
    cpu.armCrc32 = true;  // every Arm processor of that system has them
#endif
    return cpu;
}

#else

CpuFeatures DetectCpu() {
    return {};
}

#endif

}  // namespace marrowkit
