#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/Format.h"

namespace marrowkit::test {

/// Fails the run also where assertions are off.
inline void Require(bool condition) {
    if (!condition) std::abort();
}

/// The first byte chooses the version; the rest is the input proper.
struct FuzzInput {
    FuzzInput(const std::uint8_t* data, std::size_t size)
        : version(size != 0 && data[0] % 2 != 0 ? jet::JetVersion::Jet4 : jet::JetVersion::Jet3),
          bytes(std::span(data, size).subspan(size != 0 ? 1 : 0)) {}

    jet::JetVersion version;
    jet::ByteView bytes;
};

}  // namespace marrowkit::test
