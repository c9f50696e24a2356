#pragma once

#include <cstdint>
#include <span>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/Format.h"
#include "platform/jet/storage/Pager.h"

namespace marrowkit::jet {

/// A page of rows in slots, seen for reading: table rows, long values and usage maps all lie on such pages.
/// Rows stand from the end of the page towards the front, in slot order and without gaps.
class DataPage {
public:
    static constexpr std::uint16_t kOffsetMask = 0x1FFF;
    static constexpr std::uint16_t kMovedFlag = 0x4000;   ///< only a pointer is here, to the row's new place
    static constexpr std::uint16_t kTargetFlag = 0x8000;  ///< a moved row's bytes
    static constexpr std::uint16_t kDeletedFlags = 0xC000;

    /// Checks the slots once per page read from the file. Throws 3049 for a page of another type or with
    /// slots that cannot be.
    DataPage(const Pager& pager, const PageRef& page)
        : geometry_(&pager.PageGeometry()), bytes_(page.Bytes()) {
        if (page.Type() != PageType::Data || !page.IsChecked()) Check(pager, page);
    }

    std::uint32_t Owner() const { return bytes_.U32(4); }
    std::uint32_t FreeBytes() const { return bytes_.U16(2); }
    std::uint32_t SlotCount() const { return bytes_.U16(geometry_->dataHeaderBytes - 2); }

    /// REQUIRES for all below: slot < SlotCount().
    std::uint16_t Flags(std::uint32_t slot) const {
        return static_cast<std::uint16_t>(Slot(slot) & kDeletedFlags);
    }
    bool IsDeleted(std::uint32_t slot) const { return Flags(slot) == kDeletedFlags; }
    std::uint32_t Start(std::uint32_t slot) const { return Slot(slot) & kOffsetMask; }
    std::uint32_t End(std::uint32_t slot) const {
        return slot == 0 ? geometry_->pageBytes : Slot(slot - 1) & kOffsetMask;
    }
    ByteView Row(std::uint32_t slot) const {
        const std::uint32_t start = Start(slot);
        return bytes_.Sub(start, End(slot) - start);
    }

    bool HasRoomFor(std::size_t rowBytes) const {
        return SlotCount() < kMaxRowsPerPage && FreeBytes() >= rowBytes + 2;
    }
    bool HasLiveRow() const;
    /// Whether there is another one than this.
    bool HasLiveRowBeside(std::uint32_t slot) const;

protected:
    std::uint16_t Slot(std::uint32_t slot) const {
        return bytes_.U16(geometry_->dataHeaderBytes + std::size_t{2} * slot);
    }

    void Check(const Pager& pager, const PageRef& page) const;

    const Geometry* geometry_;
    ByteView bytes_;
};

/// The same for writing; slot order, contiguity and the free-space word are exact after every call.
class DataPageEdit : public DataPage {
public:
    /// Throws 3049 also when the free-space word is wrong, which readers get along with.
    DataPageEdit(const Pager& pager, const PageEdit& page);

    /// Makes a zeroed page an empty data page.
    static DataPageEdit Format(const Pager& pager, const PageEdit& page, std::uint32_t owner);

    /// REQUIRES: HasRoomFor(row.size()). Returns the new slot.
    std::uint8_t Append(std::span<const std::uint8_t> row, std::uint16_t flags = 0) const;
    /// REQUIRES: row.size() <= length of the old row + FreeBytes().
    void Replace(std::uint32_t slot, std::span<const std::uint8_t> row, std::uint16_t flags) const;
    /// Marks the slot deleted and gives its bytes back.
    void Erase(std::uint32_t slot) const { Replace(slot, {}, kDeletedFlags); }
    /// The row's bytes, for changes that keep its length.
    MutableByteView MutableRow(std::uint32_t slot) const {
        const std::uint32_t start = Start(slot);
        return mutable_.Sub(start, End(slot) - start);
    }

private:
    void PutSlot(std::uint32_t slot, std::uint32_t value) const {
        mutable_.PutU16(geometry_->dataHeaderBytes + std::size_t{2} * slot,
                        static_cast<std::uint16_t>(value));
    }

    MutableByteView mutable_;
};

}  // namespace marrowkit::jet
