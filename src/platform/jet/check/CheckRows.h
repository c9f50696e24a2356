#pragma once

#include <bit>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/jet/check/CheckFile.h"
#include "platform/jet/check/CheckReaders.h"
#include "platform/jet/format/RowCodec.h"
#include "platform/jet/format/TableDefinition.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::jet::check {

/// A 64-bit hash with well-mixed bits; not meant against somebody who looks for collisions.
std::uint64_t HashBytes(std::span<const std::uint8_t> bytes, std::uint64_t seed);
std::uint64_t MixHash(std::uint64_t left, std::uint64_t right);
/// One step of a hash over words: one multiplication, and no two words that lead to the same result. What
/// comes out in the end needs MixHash.
constexpr std::uint64_t StepHash(std::uint64_t running, std::uint64_t word) {
    return (std::rotl(running, 29) ^ word) * 0xD6E8FEB86659FD93U;
}

/// The same for every order of what was added: two sums and a count, so a few bytes stand for a whole table.
struct Fingerprint {
    std::uint64_t count = 0;
    std::uint64_t first = 0;
    std::uint64_t second = 0;

    void Add(std::uint64_t hash) {
        ++count;
        first += hash;
        second += MixHash(hash, 0x9E3779B97F4A7C15U);
    }
    bool operator==(const Fingerprint&) const = default;
};

/// Hands over every live row of a table in storage order: by page, then slot; moved rows at their original
/// slot.
class RowWalk {
public:
    using Visit = std::function<void(RowId, ByteView)>;
    using Problem = std::function<void(const Damage&)>;

    /// `ownedPages` must outlive the walk.
    RowWalk(const CheckFile& file, PageNumber table, const std::vector<PageNumber>& ownedPages)
        : file_(&file), table_(table), ownedPages_(&ownedPages) {}
    /// A page or row that cannot be read goes to `problem`, and the walk goes on behind it. Damage and
    /// OutOfBounds that `visit` throws are the row's problem as well.
    void Run(const Visit& visit, const Problem& problem) const;

    /// The bytes of one row by its id; follows a move. Throws Damage when there is no such row. Cheap when
    /// rows of one page are asked for one behind the other.
    FileRow Read(RowId row) const;

private:
    void VisitRow(const DataPage& page, unsigned slot, const Visit& visit, const Problem& problem) const;
    FileRow ReadTarget(RowId row, ByteView pointer) const;

    const CheckFile* file_;
    PageNumber table_;
    const std::vector<PageNumber>* ownedPages_;
    mutable std::optional<DataPage> lastRead_;
};

/// Builds the keys that a table's rows have in one of its indexes.
class KeyBuilder {
public:
    /// REQUIRES: every index column exists in the definition. Both must outlive the builder.
    KeyBuilder(const CheckFile& file, const TableDefinition& table, const RealIndex& index);

    /// False when a text column's sort order has no known weights.
    bool CanBuild() const { return canBuild_; }
    /// Looks at the row's nulls; builds the key when it can be built. Throws Damage or OutOfBounds.
    void Build(const RowView& row);

    const std::vector<std::uint8_t>& Key() const { return key_; }
    bool AnyNull() const { return anyNull_; }
    bool AllNull() const { return allNull_; }
    /// Whether the index has an entry for the row.
    bool IsIndexed() const { return !(ignoresNulls_ && allNull_); }

private:
    const CheckFile* file_;
    std::vector<const ColumnDefinition*> columns_;
    std::vector<bool> ascending_;
    bool ignoresNulls_;
    bool canBuild_ = true;
    bool anyNull_ = false;
    bool allNull_ = false;
    Value value_;
    std::vector<std::uint8_t> key_;
};

/// The decoded value of any column, long values included (text and bytes of at most `maxLongBytes`).
Value ReadValue(const CheckFile& file, const RowView& row, const ColumnDefinition& column,
                std::size_t maxLongBytes = SIZE_MAX);

/// Whether every key column is null in an index entry's key: flag bytes only.
bool IsAllNullKey(std::span<const std::uint8_t> key, const RealIndex& index);

}  // namespace marrowkit::jet::check
