#pragma once

#include <cstdint>

#include "platform/jet/format/RowCodec.h"

// What reading and writing of rows share.

namespace marrowkit::jet {

/// In the jump table of a Jet 3 row: no offset reaches this multiple of 256.
constexpr std::uint8_t kNoJump = 0xFF;

constexpr std::uint32_t MaskBytes(std::uint32_t columnCount) {
    return (columnCount + 7) / 8;
}

/// Bytes that count the columns, at the start of every row.
constexpr std::uint32_t PrefixBytes(const Geometry& geometry) {
    return geometry.version == JetVersion::Jet4 ? 2 : 1;
}

/// DecodeValue into a value that may be of the same type already and then keeps what it has allocated.
void DecodeStored(JetVersion version, const ColumnDefinition& column, ByteView bytes, Value& value);

}  // namespace marrowkit::jet
