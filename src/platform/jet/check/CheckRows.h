#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/jet/check/CheckFile.h"
#include "platform/jet/check/CheckReaders.h"
#include "platform/jet/format/IndexKey.h"
#include "platform/jet/format/RowCodec.h"
#include "platform/jet/format/TableDefinition.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::jet::check {

/// Both halves of the product of two words, one over the other: every bit of either word changes many bits of
/// it, so no two small changes make up for each other.
constexpr std::uint64_t FoldedProduct(std::uint64_t left, std::uint64_t right) {
#ifdef __SIZEOF_INT128__
    __extension__ using Wide = unsigned __int128;
    const Wide product = Wide{left} * right;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
#else
    const std::uint64_t leftHigh = left >> 32;
    const std::uint64_t rightHigh = right >> 32;
    const std::uint64_t leftLow = left & 0xFFFFFFFF;
    const std::uint64_t rightLow = right & 0xFFFFFFFF;
    const std::uint64_t low = leftLow * rightLow;
    const std::uint64_t middle = leftHigh * rightLow + (low >> 32);
    const std::uint64_t other = leftLow * rightHigh + (middle & 0xFFFFFFFF);
    return left * right ^ (leftHigh * rightHigh + (middle >> 32) + (other >> 32));
#endif
}

// Any odd numbers with well-mixed bits would do.
constexpr std::uint64_t kHashFactor = 0xD6E8FEB86659FD93;
constexpr std::uint64_t kHashOffset = 0x9E3779B97F4A7C15;

/// One step of a hash over words.
constexpr std::uint64_t StepHash(std::uint64_t running, std::uint64_t word) {
    return FoldedProduct(running ^ word, kHashFactor);
}
constexpr std::uint64_t MixHash(std::uint64_t left, std::uint64_t right) {
    return FoldedProduct(left ^ kHashOffset, right ^ kHashFactor);
}
/// StepHash over whole words, all that there are; takes their bytes out of `bytes`.
std::uint64_t HashWords(std::span<const std::uint8_t>& bytes, std::uint64_t seed);

/// A 64-bit hash with well-mixed bits; not meant against somebody who looks for collisions. Inline, because
/// most of what is hashed are keys of a few bytes.
inline std::uint64_t HashBytes(std::span<const std::uint8_t> bytes, std::uint64_t seed) {
    std::uint64_t hash = MixHash(seed, bytes.size());
    if (bytes.size() >= 8) hash = HashWords(bytes, hash);
    // What is left, read from both of its ends.
    std::uint32_t front = 0;
    std::uint32_t back = 0;
    if (bytes.size() >= 4) {
        std::memcpy(&front, bytes.data(), 4);
        std::memcpy(&back, bytes.data() + bytes.size() - 4, 4);
    } else if (!bytes.empty()) {
        front = static_cast<std::uint32_t>(bytes[0] << 8 | bytes[bytes.size() / 2]);
        back = bytes.back();
    }
    return MixHash(hash, std::uint64_t{back} << 32 | front);
}

/// The same for every order of what was added: two sums and a count, so a few bytes stand for a whole table.
struct Fingerprint {
    std::uint64_t count = 0;
    std::uint64_t first = 0;
    std::uint64_t second = 0;

    void Add(std::uint64_t hash) {
        ++count;
        first += hash;
        second += StepHash(hash, kHashOffset);
    }
    bool operator==(const Fingerprint&) const = default;
};

/// Hands over every live row of a table in storage order: by page, then slot; moved rows at their original
/// slot.
class RowWalk {
public:
    using Visit = std::function<void(RowId, ByteView)>;
    using Problem = std::function<void(const Damage&)>;
    using SeePage = std::function<void(const DataPage&)>;

    /// `ownedPages` must outlive the walk.
    RowWalk(const CheckFile& file, PageNumber table, const std::vector<PageNumber>& ownedPages)
        : file_(&file), table_(table), ownedPages_(&ownedPages) {}
    /// A page or row that cannot be read goes to `problem`, and the walk goes on behind it. Damage and
    /// OutOfBounds that `visit` throws are the row's problem as well. `seePage` gets every page that can be
    /// taken apart, in front of its rows.
    void Run(const Visit& visit, const Problem& problem, const SeePage& seePage = {}) const;

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
    void Build(const RowView& row) {
        if (wholeNumberBytes_ != 0) {
            const ByteView stored = row.Bytes(parts_.front().place);
            if (stored.Size() == wholeNumberBytes_) {
                anyNull_ = false;
                allNull_ = false;
                key_.resize(WholeNumberKeyBytes(wholeNumberBytes_));
                return PutWholeNumberKey(stored, parts_.front().ascending, key_.data());
            }
        }
        BuildAny(row);
    }

    const std::vector<std::uint8_t>& Key() const { return key_; }
    bool AnyNull() const { return anyNull_; }
    bool AllNull() const { return allNull_; }
    /// Whether the index has an entry for the row.
    bool IsIndexed() const { return !(ignoresNulls_ && allNull_); }

private:
    struct Part {
        const ColumnDefinition* column;
        ColumnPlace place;
        bool ascending;
    };
    void BuildAny(const RowView& row);

    const CheckFile* file_;
    std::vector<Part> parts_;
    std::size_t wholeNumberBytes_ = 0;  ///< where the only part is a whole number, as most are
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
