#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/TableDefinition.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::jet {

/// Appends one column's part of an index key: flag byte and encoded value. The value must be Null or of the
/// column's own type (a Boolean is never null in a key).
void AppendKeyColumn(JetVersion version, const ColumnDefinition& column, bool ascending, const Value& value,
                     std::vector<std::uint8_t>& key);

/// The same from the stored bytes of a value that is not Null, where they need no decoding: whole numbers and
/// the plain ASCII texts that most texts are. False, and nothing appended, for all others.
bool AppendStoredKey(JetVersion version, const ColumnDefinition& column, bool ascending, ByteView stored,
                     std::vector<std::uint8_t>& key);

/// The first byte of the key of a value that is not Null.
constexpr std::uint8_t ValueFlag(bool ascending) {
    return ascending ? 0x7F : 0x80;
}

/// Bytes of the key of a whole number that is stored in this many; see PutWholeNumberKey.
constexpr std::size_t WholeNumberKeyBytes(std::size_t storedBytes) {
    return 1 + storedBytes;
}
/// Writes the key of a whole number that is not Null. REQUIRES: two or four bytes are stored.
inline void PutWholeNumberKey(ByteView stored, bool ascending, std::uint8_t* key) {
    constexpr std::uint8_t kSign = 0x80;
    const std::uint8_t flip = ascending ? 0x00 : 0xFF;
    const std::uint8_t* const bytes = stored.Data();
    const bool isLong = stored.Size() == sizeof(std::int32_t);
    *key++ = ValueFlag(ascending);
    *key++ = static_cast<std::uint8_t>(bytes[isLong ? 3 : 1] ^ flip ^ kSign);
    if (isLong) {
        *key++ = static_cast<std::uint8_t>(bytes[2] ^ flip);
        *key++ = static_cast<std::uint8_t>(bytes[1] ^ flip);
    }
    *key = static_cast<std::uint8_t>(bytes[0] ^ flip);
}

/// The key of a whole row in an index; `values` holds one value per index column, in the index's order.
std::vector<std::uint8_t> BuildIndexKey(JetVersion version, std::span<const ColumnDefinition* const> columns,
                                        std::span<const IndexColumn> order, std::span<const Value> values);

/// False for a text column whose sort order has no known weights: such an index can be read, not written.
bool CanBuildKey(const ColumnDefinition& column);

}  // namespace marrowkit::jet
