#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/jet/format/Format.h"
#include "platform/jet/format/WordSort.h"
#include "platform/jet/storage/Storage.h"

namespace marrowkit::jet::compact {

/// What several sorters may hold in memory together.
class SortMemory {
public:
    explicit SortMemory(std::size_t limitBytes) : limitBytes_(limitBytes) {}

private:
    friend class EntrySorter;
    std::size_t limitBytes_;
    std::size_t usedBytes_ = 0;
    std::size_t sharers_ = 0;
};

/// Sorts (key, row) pairs by key bytes, then row. Works in memory up to a limit and beyond it with sorted
/// runs in a temporary file, so an index of any size takes a bounded amount of memory. Sorting itself takes
/// as much again as 16 bytes a pair, for one sorter at a time.
class EntrySorter {
public:
    /// A file of that path is made only when it is needed, and keeps its name no longer than it takes to open
    /// it; one that lies there goes. The memory must outlive the sorter.
    EntrySorter(Storage& storage, std::string temporaryPath, SortMemory& memory);
    EntrySorter(const EntrySorter&) = delete;
    EntrySorter& operator=(const EntrySorter&) = delete;
    ~EntrySorter();

    /// Makes room for this many pairs, to spare growing.
    void Expect(std::size_t pairs);
    /// REQUIRES: the key is shorter than a page.
    void Add(std::span<const std::uint8_t> key, RowId row) {
        const bool isShort = key.size() <= sizeof(SortRecord::word);
        const std::size_t bytes = sizeof(SortRecord) + (isShort ? 0 : kLengthBytes + key.size());
        if (bytes > grantedBytes_) Acquire(bytes);
        grantedBytes_ -= bytes;
        const std::uint32_t where =
            isShort ? kShortKey | static_cast<std::uint32_t>(key.size()) : StoreKey(key);
        records_.push_back({KeyWord(key, 0), where, row.Stored()});
        ++count_;
    }
    std::uint64_t Count() const { return count_; }

    /// Ends the adding.
    void Sort();
    /// The next pair in order; false at the end. REQUIRES: Sort was called.
    bool Next();
    /// Valid until the next call.
    std::span<const std::uint8_t> Key() const { return key_; }
    RowId Row() const { return row_; }

private:
    class Keys;
    class Run;

    /// Most indexes have keys of a few bytes, which are all in the word. For those SortRecord::key holds this
    /// and the length; for others the block and the place in it, where the key lies behind its length.
    static constexpr std::uint32_t kShortKey = 0x80000000;
    static constexpr std::size_t kLengthBytes = 2;
    static bool IsShort(const SortRecord& record) { return (record.key & kShortKey) != 0; }

    void SortRecords();
    void Acquire(std::size_t bytes);
    bool IsFull(std::size_t moreBytes) const;
    void OpenTemporary();
    void Spill();
    void Release();
    std::uint32_t StoreKey(std::span<const std::uint8_t> key);
    void Prefetch() const;
    /// REQUIRES (both): not a short key.
    const std::uint8_t* PlaceOf(const SortRecord& record) const;
    std::span<const std::uint8_t> LongKey(const SortRecord& record) const;
    std::size_t LengthOf(const SortRecord& record) const;
    /// The key wherever it is; valid until the next call.
    std::span<const std::uint8_t> KeyOf(const SortRecord& record);

    Storage* storage_;
    std::string temporaryPath_;
    SortMemory* memory_;
    std::size_t usedBytes_ = 0;     ///< of it
    std::size_t grantedBytes_ = 0;  ///< of those, what is left for the next pairs
    std::uint64_t count_ = 0;
    std::vector<SortRecord> records_;
    std::vector<std::unique_ptr<std::uint8_t[]>> keyBlocks_;
    std::size_t blockUsed_ = 0;
    std::array<std::uint8_t, 8> shortKey_{};
    std::size_t nextRecord_ = 0;
    std::unique_ptr<StorageFile> file_;  ///< sorted runs, one behind the other
    std::uint64_t fileBytes_ = 0;
    std::vector<std::uint64_t> runStarts_;
    std::vector<std::unique_ptr<Run>> runs_;  ///< a heap, the smallest entry in front
    std::span<const std::uint8_t> key_;
    RowId row_;
};

}  // namespace marrowkit::jet::compact
