#include "platform/jet/storage/DataPage.h"

#include <string>
#include <string_view>

#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

bool SlotsAreSound(const Geometry& geometry, ByteView bytes) {
    const std::uint32_t count = bytes.U16(geometry.dataHeaderBytes - 2);
    const std::uint32_t slotsEnd = geometry.dataHeaderBytes + 2 * count;
    if (count > kMaxRowsPerPage || slotsEnd > geometry.pageBytes) return false;
    std::uint32_t end = geometry.pageBytes;
    for (std::uint32_t slot = 0; slot < count; ++slot) {
        const std::uint32_t start =
            bytes.U16(geometry.dataHeaderBytes + std::size_t{2} * slot) & DataPage::kOffsetMask;
        if (start > end || start < slotsEnd) return false;
        end = start;
    }
    return true;
}

[[noreturn]] void Damaged(const Pager& pager, const PageRef& page, std::string_view what) {
    RaiseCorrupt(pager.Path(), "page " + std::to_string(page.Number()) + ": " + std::string(what));
}

}  // namespace

void DataPage::Check(const Pager& pager, const PageRef& page) const {
    if (page.Type() != PageType::Data) Damaged(pager, page, "not a data page");
    if (!SlotsAreSound(*geometry_, bytes_)) Damaged(pager, page, "row slots that cannot be");
    page.MarkChecked();
}

DataPageEdit::DataPageEdit(const Pager& pager, const PageEdit& page)
    : DataPage(pager, page), mutable_(page.Mutable()) {
    const std::uint32_t count = SlotCount();
    const std::uint32_t rowsStart = count == 0 ? geometry_->pageBytes : Start(count - 1);
    if (FreeBytes() != rowsStart - geometry_->dataHeaderBytes - 2 * count) {
        Damaged(pager, page, "wrong count of free bytes");
    }
}

bool DataPage::HasLiveRow() const {
    const std::uint32_t count = SlotCount();
    for (std::uint32_t slot = 0; slot < count; ++slot) {
        if (!IsDeleted(slot)) return true;
    }
    return false;
}

bool DataPage::HasLiveRowBeside(std::uint32_t slot) const {
    const std::uint32_t count = SlotCount();
    for (std::uint32_t other = 0; other < count; ++other) {
        if (other != slot && !IsDeleted(other)) return true;
    }
    return false;
}

DataPageEdit DataPageEdit::Format(const Pager& pager, const PageEdit& page, std::uint32_t owner) {
    const Geometry& geometry = pager.PageGeometry();
    const MutableByteView bytes = page.Mutable();
    bytes.Fill(0, geometry.dataHeaderBytes, 0);
    bytes.PutU8(0, static_cast<std::uint8_t>(PageType::Data));
    bytes.PutU8(1, 1);
    bytes.PutU16(2, static_cast<std::uint16_t>(geometry.pageBytes - geometry.dataHeaderBytes));
    bytes.PutU32(4, owner);
    return DataPageEdit(pager, page);
}

std::uint8_t DataPageEdit::Append(std::span<const std::uint8_t> row, std::uint16_t flags) const {
    if (!HasRoomFor(row.size())) throw OutOfBounds{};
    const std::uint32_t slot = SlotCount();
    const std::uint32_t end = slot == 0 ? geometry_->pageBytes : Start(slot - 1);
    const std::uint32_t start = end - static_cast<std::uint32_t>(row.size());
    mutable_.PutBytes(start, row);
    PutSlot(slot, start | flags);
    mutable_.PutU16(geometry_->dataHeaderBytes - 2, static_cast<std::uint16_t>(slot + 1));
    mutable_.PutU16(2, static_cast<std::uint16_t>(FreeBytes() - row.size() - 2));
    return static_cast<std::uint8_t>(slot);
}

void DataPageEdit::Replace(std::uint32_t slot, std::span<const std::uint8_t> row, std::uint16_t flags) const {
    const std::uint32_t start = Start(slot);
    const std::uint32_t end = End(slot);
    const std::int64_t growth =
        static_cast<std::int64_t>(row.size()) - static_cast<std::int64_t>(end - start);
    if (growth > static_cast<std::int64_t>(FreeBytes())) throw OutOfBounds{};
    if (growth != 0) {
        // Later slots lie in front of this one, down to the lowest row start.
        const std::uint32_t count = SlotCount();
        const std::uint32_t lowest = Start(count - 1);
        const auto moved = [growth](std::uint32_t offset) {
            return static_cast<std::uint32_t>(static_cast<std::int64_t>(offset) - growth);
        };
        mutable_.Move(moved(lowest), lowest, start - lowest);
        if (growth < 0) mutable_.Fill(lowest, moved(lowest) - lowest, 0);
        for (std::uint32_t later = slot + 1; later < count; ++later) {
            PutSlot(later, moved(Start(later)) | Flags(later));
        }
        mutable_.PutU16(2, static_cast<std::uint16_t>(static_cast<std::int64_t>(FreeBytes()) - growth));
        PutSlot(slot, moved(start) | flags);
        mutable_.PutBytes(moved(start), row);
        return;
    }
    PutSlot(slot, start | flags);
    mutable_.PutBytes(start, row);
}

}  // namespace marrowkit::jet
