#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/DatabaseHeader.h"
#include "platform/jet/format/Format.h"
#include "platform/jet/storage/Storage.h"

namespace marrowkit::jet::compact {

/// The new file, written from front to back: every page is put once. Pages gather in runs of 1 MB, and a run
/// goes out in one write when it is complete, so only the few runs with pages that are put late wait in
/// memory.
class CompactTarget {
public:
    /// REQUIRES: the file is empty.
    CompactTarget(std::unique_ptr<StorageFile> file, const DatabaseHeader& header);

    const Geometry& PageGeometry() const { return *geometry_; }
    PageNumber PageCount() const { return next_; }

    /// The number of a new page. Throws 3036 when the format allows no more. Each must be put once.
    PageNumber Allocate();
    /// REQUIRES: the page was allocated and not put yet.
    void Put(PageNumber page, std::span<const std::uint8_t> bytes);
    /// Writes what still waits and returns once everything is on stable storage.
    void Finish();

private:
    struct Run {
        std::vector<std::uint8_t> bytes;
        std::uint32_t pages = 0;
    };
    Run& RunOf(PageNumber page);
    void Write(std::uint32_t run, const Run& content);

    std::unique_ptr<StorageFile> file_;
    const Geometry* geometry_;
    std::uint32_t databaseKey_;
    PageNumber next_ = 0;
    std::map<std::uint32_t, Run> waiting_;
    std::vector<std::vector<std::uint8_t>> spare_;  ///< buffers of runs that are written
};

/// A data page being filled with rows.
class DataPageBuilder {
public:
    DataPageBuilder(const Geometry& geometry, std::uint32_t owner);

    bool Fits(std::size_t rowBytes) const;
    bool IsEmpty() const { return slots_ == 0; }
    std::uint32_t FreeBytes() const;
    /// REQUIRES: Fits. Returns the slot.
    std::uint8_t Append(std::span<const std::uint8_t> row);
    /// The finished page; valid until the next change.
    std::span<const std::uint8_t> Bytes();
    void Clear();

private:
    const Geometry* geometry_;
    std::uint32_t owner_;
    std::uint32_t slots_ = 0;
    std::uint32_t start_;
    std::vector<std::uint8_t> page_;
};

/// Usage maps of the new file: rows that share map pages.
class MapWriter {
public:
    explicit MapWriter(CompactTarget& target);

    /// Stores a set of pages, ascending.
    RowId Add(std::span<const PageNumber> pages);
    void Finish();

private:
    RowId AddRow(std::span<const std::uint8_t> row);
    std::vector<std::uint8_t> ReferenceRow(std::span<const PageNumber> pages);

    CompactTarget* target_;
    DataPageBuilder page_;
    PageNumber number_ = 0;
};

/// Puts page 1: the global map of a file without a free page, and its unused twin. May allocate bitmap pages;
/// nothing may be allocated afterwards.
void PutGlobalMap(CompactTarget& target);

}  // namespace marrowkit::jet::compact
