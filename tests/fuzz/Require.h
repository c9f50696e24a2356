#pragma once

#include <cstdlib>

namespace marrowkit::test {

/// What has to be true for every input; the fuzzer reports the one for which it is not.
inline void Require(bool condition) {
    if (!condition) std::abort();
}

}  // namespace marrowkit::test
