#pragma once

namespace marrowkit {

/// What the checksum loops may ask of a processor. A member is true only when the operating system keeps the
/// registers that go with it as well. All false: only portable code may run.
struct CpuFeatures {
    bool clmul = false;         ///< x86: PCLMULQDQ and SSE4.1
    bool wideClmul = false;     ///< x86: VPCLMULQDQ and AVX2
    bool wideClmul512 = false;  ///< x86: VPCLMULQDQ, AVX-512 F, BW and VL
    bool armCrc32 = false;      ///< Arm64: the CRC32 instructions
};

/// What the processor that runs this program has.
CpuFeatures DetectCpu();

}  // namespace marrowkit
