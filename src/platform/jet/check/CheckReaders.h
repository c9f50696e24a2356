#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/jet/check/CheckFile.h"
#include "platform/jet/format/TableDefinition.h"

namespace marrowkit::jet::check {

/// A data page taken apart: rows, long values or usage maps in slots.
class DataPage {
public:
    static constexpr std::uint16_t kMovedFlag = 0x4000;   ///< holds a pointer to the row's data
    static constexpr std::uint16_t kTargetFlag = 0x8000;  ///< data of a moved row
    static constexpr std::uint16_t kDeletedFlags = 0xC000;

    /// Throws Damage unless it is a data page whose slot array fits and whose rows lie back to back, in slot
    /// order, behind that array.
    DataPage(const Geometry& geometry, FilePage page);

    PageNumber Number() const { return page_.number; }
    const FilePage& Page() const { return page_; }
    std::uint32_t Owner() const { return page_.bytes.U32(4); }
    std::uint32_t FreeBytes() const { return page_.bytes.U16(2); }
    /// What the free word must say: free bytes are exact on every page.
    std::uint32_t ExactFreeBytes() const;
    /// Jet 4: 0, or the stamp on the first page of a chained long value. Jet 3: 0.
    std::uint32_t Stamp() const;
    unsigned SlotCount() const { return slotCount_; }
    std::uint16_t Flags(unsigned slot) const { return SlotWord(slot) & kDeletedFlags; }
    bool IsDeleted(unsigned slot) const { return Flags(slot) == kDeletedFlags; }
    ByteView Bytes(unsigned slot) const;

private:
    std::uint16_t SlotWord(unsigned slot) const;
    std::uint32_t Start(unsigned slot) const { return SlotWord(slot) & 0x1FFFU; }

    const Geometry* geometry_;
    FilePage page_;
    unsigned slotCount_;
};

/// A row's bytes and what keeps them alive.
struct FileRow {
    FilePage page;
    ByteView bytes;
};

/// The bytes of a slot that must hold something (not deleted, flags as given). Throws Damage.
FileRow ReadSlot(const CheckFile& file, RowId row, std::uint32_t owner, std::uint16_t flags);

/// A usage map as stored.
struct StoredMap {
    bool isReference = false;
    PageNumber startPage = 0;             ///< inline maps
    std::uint32_t bitCount = 0;           ///< pages that the map can speak of
    std::vector<PageNumber> members;      ///< ascending, without those beyond the end of the file
    std::size_t beyondEnd = 0;            ///< set bits beyond the end of the file
    std::vector<PageNumber> bitmapPages;  ///< 0x05 pages of a reference map
};

/// Reads a map from a page with this owner: 0, or 1 for the global map on page 1. Throws Damage. Pages in
/// `members` are only known to lie in the file.
StoredMap ReadMap(const CheckFile& file, RowId where, std::uint32_t owner = 0);
/// Throws Damage when the map of an object names pages that the file does not have: it was cut off.
void RequireWithinFile(const StoredMap& map, RowId where);

/// The pages of a definition and their contents put together (the first page whole, the others from byte 8).
struct StoredDefinition {
    std::vector<PageNumber> pages;
    std::vector<std::uint8_t> logical;
};

/// Follows the chain of definition pages until the definition's length is reached; throws Damage on a loop or
/// a chain that ends early.
StoredDefinition ReadDefinition(const CheckFile& file, PageNumber page);

/// The 12 bytes in front of every Memo and OLE value in a row.
struct LongValueHeader {
    static constexpr std::size_t kBytes = 12;
    static constexpr std::uint32_t kInlineFlag = 0x80000000;
    static constexpr std::uint32_t kSingleRowFlag = 0x40000000;

    explicit LongValueHeader(ByteView inRow)
        : word(inRow.U32(0)), first(RowId::FromStored(inRow.U32(4))), stamp(inRow.U32(8)) {}
    std::uint32_t Length() const { return word & 0x3FFFFFFF; }
    bool IsInline() const { return (word & kInlineFlag) != 0; }
    bool IsSingleRow() const { return !IsInline() && (word & kSingleRowFlag) != 0; }

    std::uint32_t word;
    RowId first;
    std::uint32_t stamp;
};

/// One stored piece of a long value. `row` is null for an inline value.
struct LongValuePiece {
    RowId row;
    const DataPage* page;  ///< null for an inline value
    ByteView bytes;
};

/// Walks the pieces of a long value, in order. Throws Damage when a piece is missing, the chain loops or the
/// lengths do not add up. The visitor may throw Damage too.
void WalkLongValue(const CheckFile& file, ByteView inRow,
                   const std::function<void(const LongValuePiece&)>& visit);

/// The first `maxBytes` of a long value (all of it by default).
std::vector<std::uint8_t> LoadLongValue(const CheckFile& file, ByteView inRow,
                                        std::size_t maxBytes = SIZE_MAX);

/// "row 3 of page 12".
std::string RowText(RowId row);

}  // namespace marrowkit::jet::check
