#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/jet/storage/Pager.h"
#include "platform/jet/storage/UsageMap.h"

namespace marrowkit::jet {

/// A row's bytes on a pinned page.
struct StoredRow {
    PageRef page;
    ByteView bytes;
};

/// The data pages of one table: raw rows in slots. Knows nothing of columns. Free-space words, slot order and
/// the table's two maps are exact after every call.
class RowStore {
public:
    RowStore(Pager& pager, PageNumber table, RowId ownedMap, RowId freeMap);

    /// Follows moved rows. nullopt when there is no such row (deleted, or the slot of a moved row's data).
    std::optional<StoredRow> Read(RowId row) const;

    // REQUIRES: a unit is open.
    RowId Append(std::span<const std::uint8_t> bytes);
    /// In place, else moved to another page; the RowId stays.
    void Replace(RowId row, std::span<const std::uint8_t> bytes);
    /// Marks the slot deleted and gives its bytes back; releases the page when no live row is left.
    void Erase(RowId row);

    /// Walks all live rows by their original slots, ascending by page, then slot. Rows that are appended
    /// behind the current position are met; erasing the current row is allowed.
    class Cursor {
    public:
        explicit Cursor(const RowStore& store);
        /// Moves to the next row (the first at first). False at the end.
        bool Next();
        /// Moves to the row before. False at the start.
        bool Previous();
        /// Stands on this row id whether or not it exists; Next/Previous go on from there.
        void SeekTo(RowId row);
        RowId Id() const { return id_; }
        /// REQUIRES: Next or Previous returned true.
        StoredRow Row() const;

    private:
        const RowStore* store_;
        RowId id_;
        PageRef page_;
        bool started_ = false;
    };

private:
    friend class Cursor;
    Pager* pager_;
    PageNumber table_;
    UsageMap owned_;
    UsageMap free_;
    mutable PageNumber lastAppendPage_ = 0;
};

}  // namespace marrowkit::jet
