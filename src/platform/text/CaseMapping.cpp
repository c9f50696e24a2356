#include "platform/text/CaseMapping.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace marrowkit {

namespace {

/// The characters first, first + step, ... last, each `delta` away from its partner.
struct CaseRun {
    char32_t first;
    char32_t last;
    std::uint32_t step;
    std::int32_t delta;
};

#include "platform/text/CaseRanges.inc"

char32_t Map(std::span<const CaseRun> runs, char32_t codePoint) {
    const auto run = std::lower_bound(runs.begin(), runs.end(), codePoint,
                                      [](const CaseRun& r, char32_t c) { return r.last < c; });
    if (run == runs.end() || codePoint < run->first) return codePoint;
    if ((codePoint - run->first) % run->step != 0) return codePoint;
    return static_cast<char32_t>(static_cast<std::int32_t>(codePoint) + run->delta);
}

}  // namespace

char32_t ToUpper(char32_t codePoint) {
    if (codePoint < 0x80) return codePoint >= 'a' && codePoint <= 'z' ? codePoint - 0x20 : codePoint;
    return Map(kToUpperRuns, codePoint);
}

char32_t ToLower(char32_t codePoint) {
    if (codePoint < 0x80) return codePoint >= 'A' && codePoint <= 'Z' ? codePoint + 0x20 : codePoint;
    return Map(kToLowerRuns, codePoint);
}

}  // namespace marrowkit
