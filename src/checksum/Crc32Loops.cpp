#include "checksum/Crc32Loops.h"

namespace marrowkit {

Crc32Loop PickCrc32Loop(const CpuFeatures& cpu) {
#if defined(__x86_64__) || defined(_M_X64)
    if (cpu.wideClmul512) return Crc32WideClmul512;
    if (cpu.wideClmul) return Crc32WideClmul;
    if (cpu.clmul) return Crc32Clmul;
#elif defined(__aarch64__)
    if (cpu.armCrc32) return Crc32Arm;
#else
    static_cast<void>(cpu);
#endif
    return Crc32Slice16;
}

Crc32Loop BestCrc32Loop() {
    static const Crc32Loop best = PickCrc32Loop(DetectCpu());
    return best;
}

}  // namespace marrowkit
