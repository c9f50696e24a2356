#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/jet/format/Format.h"
#include "platform/jet/storage/Storage.h"

namespace marrowkit::jet::compact {

/// Sorts (key, row) pairs by key bytes, then row. Works in memory up to a limit and beyond it with sorted
/// runs in a temporary file, so an index of any size takes a bounded amount of memory.
class EntrySorter {
public:
    /// `temporaryPath` is created only when it is needed, and removed at the end.
    EntrySorter(Storage& storage, std::string temporaryPath, std::size_t memoryBytes);
    EntrySorter(const EntrySorter&) = delete;
    EntrySorter& operator=(const EntrySorter&) = delete;
    ~EntrySorter();

    void Add(std::span<const std::uint8_t> key, RowId row);
    std::uint64_t Count() const { return count_; }

    /// Ends the adding.
    void Sort();
    /// The next pair in order; false at the end. REQUIRES: Sort was called.
    bool Next();
    /// Valid until the next call.
    std::span<const std::uint8_t> Key() const { return key_; }
    RowId Row() const { return row_; }

private:
    struct Record {
        std::uint64_t prefix;  ///< first eight bytes of the key, big-endian, padded with zeros
        std::uint64_t offset;  ///< of the key in keys_
        std::uint32_t keyBytes;
        std::uint32_t row;
    };
    class Run;

    bool Less(const Record& left, const Record& right) const;
    void SortRecords();
    void Spill();
    std::span<const std::uint8_t> KeyOf(const Record& record) const {
        return std::span(keys_).subspan(record.offset, record.keyBytes);
    }

    Storage* storage_;
    std::string temporaryPath_;
    std::size_t memoryBytes_;
    std::uint64_t count_ = 0;
    std::vector<Record> records_;
    std::vector<std::uint8_t> keys_;
    std::size_t nextRecord_ = 0;
    std::unique_ptr<StorageFile> file_;  ///< sorted runs, one behind the other
    std::uint64_t fileBytes_ = 0;
    std::vector<std::uint64_t> runStarts_;
    std::vector<std::unique_ptr<Run>> runs_;  ///< a heap, the smallest entry in front
    std::span<const std::uint8_t> key_;
    RowId row_;
};

}  // namespace marrowkit::jet::compact
