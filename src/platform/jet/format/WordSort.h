#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>
#include <vector>

#include "platform/jet/format/Bytes.h"

namespace marrowkit::jet {

/// Something with a key of bytes, as WordSort handles it.
struct SortRecord {
    std::uint64_t word;  ///< eight bytes of the key, big-endian, padded with zeros
    std::uint32_t key;   ///< says where the key is; its meaning is that of the Keys
    std::uint32_t rank;  ///< orders records whose keys are equal
};

/// The word of a key at `depth`: 0 to begin with.
inline std::uint64_t KeyWord(std::span<const std::uint8_t> key, std::size_t depth) {
    if (depth >= key.size()) return 0;
    const std::uint8_t* const bytes = key.data() + depth;
    const std::size_t count = key.size() - depth;
    if (count >= 8) return LoadBigEndian64(bytes);
    std::uint64_t word = 0;
    if (count >= 4) {
        // Twice four bytes, which may overlap.
        const unsigned unused = 8U * static_cast<unsigned>(8 - count);
        word = std::uint64_t{LoadBigEndian32(bytes)} << 32;
        return word | std::uint64_t{LoadBigEndian32(bytes + count - 4)} << unused;
    }
    for (std::size_t i = 0; i < count; ++i) word |= std::uint64_t{bytes[i]} << (56 - 8 * i);
    return word;
}

/// Sorts records by the bytes of their keys, then by rank.
///
/// Sort keys share long beginnings, or are equal altogether, so they are not compared as wholes: they are
/// sorted by their first eight bytes, then each stretch of equal ones by the eight bytes behind those. Takes
/// as much memory again as the records do.
///
/// Keys has `std::size_t Length(const SortRecord&) const` and, called for keys of more than eight bytes only,
/// `std::span<const std::uint8_t> Bytes(const SortRecord&) const`.
template <class Keys>
class WordSort {
public:
    explicit WordSort(const Keys& keys) : keys_(keys) {}

    /// REQUIRES: each record has the word at depth 0. The words of keys of more than eight bytes are others
    /// afterwards.
    void Sort(std::span<SortRecord> records) {
        const auto less = [this](const SortRecord& left, const SortRecord& right) {
            return Less(left, right, 0);
        };
        // Rows often come in the order wanted.
        if (!std::is_sorted(records.begin(), records.end(), less)) SortFrom(records, 0);
    }

private:
    /// Below this many records comparing is quicker than counting bytes.
    static constexpr std::size_t kFewRecords = 48;

    /// Of records whose keys are the same in front of `depth` and whose words are those at `depth`.
    bool Less(const SortRecord& left, const SortRecord& right, std::size_t depth) const {
        if (left.word != right.word) return left.word < right.word;
        const std::size_t leftBytes = keys_.Length(left);
        const std::size_t rightBytes = keys_.Length(right);
        const std::size_t behind = depth + 8;
        if (leftBytes > behind && rightBytes > behind) {
            const std::size_t common = std::min(leftBytes, rightBytes) - behind;
            const int order =
                std::memcmp(keys_.Bytes(left).data() + behind, keys_.Bytes(right).data() + behind, common);
            if (order != 0) return order < 0;
        }
        // Of two that agree as far as the shorter one goes, the shorter one comes first.
        return leftBytes != rightBytes ? leftBytes < rightBytes : left.rank < right.rank;
    }

    void SortFrom(std::span<SortRecord> records, std::size_t depth) {
        if (records.size() <= kFewRecords) {
            std::sort(records.begin(), records.end(), [&](const SortRecord& left, const SortRecord& right) {
                return Less(left, right, depth);
            });
            return;
        }
        SortByWord(records);
        for (std::size_t first = 0; first < records.size();) {
            std::size_t last = first + 1;
            while (last < records.size() && records[last].word == records[first].word) ++last;
            if (last - first > 1) SortEqualWords(records.subspan(first, last - first), depth);
            first = last;
        }
    }

    void SortEqualWords(std::span<SortRecord> records, std::size_t depth) {
        const auto goesOn = std::stable_partition(
            records.begin(), records.end(),
            [&](const SortRecord& record) { return keys_.Length(record) <= depth + 8; });
        const auto less = [this](const SortRecord& left, const SortRecord& right) {
            const std::size_t leftBytes = keys_.Length(left);
            const std::size_t rightBytes = keys_.Length(right);
            return leftBytes != rightBytes ? leftBytes < rightBytes : left.rank < right.rank;
        };
        if (!std::is_sorted(records.begin(), goesOn, less)) std::sort(records.begin(), goesOn, less);
        const std::span<SortRecord> rest(goesOn, records.end());
        for (SortRecord& record : rest) record.word = KeyWord(keys_.Bytes(record), depth + 8);
        if (!rest.empty()) SortFrom(rest, depth + 8);
    }

    /// Radix sort from the lowest byte up; bytes that are the same everywhere cost nothing.
    void SortByWord(std::span<SortRecord> records) {
        std::uint64_t differing = 0;
        for (const SortRecord& record : records) differing |= record.word ^ records.front().word;
        if (differing == 0) return;
        if (scratch_.size() < records.size()) scratch_.resize(records.size());
        std::span<SortRecord> from = records;
        std::span<SortRecord> to = std::span(scratch_).first(records.size());
        for (unsigned byte = 0; byte < 8; ++byte) {
            if ((differing >> 8 * byte & 0xFF) == 0) continue;
            std::array<std::uint32_t, 256> starts{};
            for (const SortRecord& record : from) ++starts[record.word >> 8 * byte & 0xFF];
            std::uint32_t start = 0;
            for (std::uint32_t& count : starts) start += std::exchange(count, start);
            for (const SortRecord& record : from) to[starts[record.word >> 8 * byte & 0xFF]++] = record;
            std::swap(from, to);
        }
        if (from.data() != records.data()) std::copy(from.begin(), from.end(), records.begin());
    }

    const Keys& keys_;
    std::vector<SortRecord> scratch_;
};

}  // namespace marrowkit::jet
