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
/// the table's two maps are exact after every call. Throws 3049 for pages that cannot be the table's.
class RowStore {
public:
    RowStore(Pager& pager, PageNumber table, RowId ownedMap, RowId freeMap);

    /// Follows moved rows. nullopt when there is no such row (deleted, or the slot of a moved row's data).
    std::optional<StoredRow> Read(RowId row) const;

    // REQUIRES for all below: a unit is open. Throws 3047 for a row that fits on no page.
    RowId Append(std::span<const std::uint8_t> bytes);
    /// In place, else moved to another page; the RowId stays. Throws 3167 when the row is gone.
    void Replace(RowId row, std::span<const std::uint8_t> bytes);
    /// Marks the slot deleted and gives its bytes back; releases the page when no live row is left. Throws
    /// 3167 when the row is gone.
    void Erase(RowId row);
    /// A row about to be erased from a page that keeps others: the pages that change are ready for it.
    struct Removal {
        PageEdit page;
        std::uint8_t slot;
        bool hasRoom;  ///< whether the page is worth looking at for new rows then
        std::optional<UsageMap::Addition> listing;  ///< when the page gets into the free-space map by it
    };
    /// nullopt for a row that has moved, is the last one of its page or needs a larger map, and when there is
    /// no such row. Good until the table changes.
    std::optional<Removal> PrepareErase(RowId row);
    // NOLINTNEXTLINE(bugprone-exception-escape): what it reads and writes was checked when it was prepared
    void Erase(const Removal& removal) noexcept;

    /// Walks all live rows by their original slots, ascending by page, then slot. Rows that are appended
    /// behind the current position are met; erasing the current row is allowed.
    class Cursor {
    public:
        explicit Cursor(const RowStore& store) : store_(&store) {}
        /// Moves to the next row (the first at first). False at the end.
        bool Next();
        /// Moves to the row before. False at the start.
        bool Previous();
        RowId Id() const { return id_; }
        /// REQUIRES: Next or Previous returned true and the row was not erased since.
        StoredRow Row() const;
        /// The same bytes without a pin of their own: valid until the cursor moves or the row changes.
        ByteView Bytes();

    private:
        bool OpenPage(PageNumber page);

        const RowStore* store_;
        RowId id_;
        PageRef page_;
        PageRef target_;
        std::uint64_t epoch_ = 0;
        bool started_ = false;
        bool ended_ = false;  ///< behind the slot of id_, not on it
    };

private:
    friend class Cursor;

    /// Where the bytes of a row lie: its own slot, or the one it moved to.
    std::optional<RowId> Resolve(RowId row) const;
    PageRef ReadOwn(PageNumber page) const;
    bool IsOwn(const PageRef& page) const;
    RowId AppendAs(std::span<const std::uint8_t> bytes, std::uint16_t flags);
    PageNumber FindRoom(std::size_t rowBytes);
    bool HasRoom(PageNumber page, std::size_t rowBytes) const;
    void MoveAway(RowId row, std::span<const std::uint8_t> bytes);
    bool PutHome(RowId row, std::span<const std::uint8_t> bytes);
    bool MakeRoomForPointer(RowId row);
    void EraseSlot(RowId row);
    void UpdateFreeMap(PageNumber page, std::uint32_t freeBytes, std::uint32_t slots);

    Pager* pager_;
    PageNumber table_;
    UsageMap owned_;
    UsageMap free_;
    /// Page that took the last row, and where to look on in the free-space map when it is full; both good
    /// while hintEpoch_ is the pager's.
    PageNumber lastAppendPage_ = 0;
    PageNumber searchFrom_ = 0;
    std::uint64_t hintEpoch_ = 0;
};

}  // namespace marrowkit::jet
