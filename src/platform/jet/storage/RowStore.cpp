#include "platform/jet/storage/RowStore.h"

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/DataPage.h"
#include "platform/jet/storage/FreeSpace.h"

namespace marrowkit::jet {

namespace {

constexpr std::size_t kPointerBytes = 4;

std::array<std::uint8_t, kPointerBytes> PointerTo(RowId row) {
    const std::uint32_t stored = row.Stored();
    std::array<std::uint8_t, kPointerBytes> bytes{};
    std::memcpy(bytes.data(), &stored, sizeof stored);
    return bytes;
}

}  // namespace

RowStore::RowStore(Pager& pager, PageNumber table, RowId ownedMap, RowId freeMap)
    : pager_(&pager), table_(table), owned_(pager, ownedMap), free_(pager, freeMap) {}

bool RowStore::IsOwn(const PageRef& page) const {
    return page.Type() == PageType::Data && page.Bytes().U32(4) == table_;
}

PageRef RowStore::ReadOwn(PageNumber page) const {
    PageRef ref = pager_->Read(page);
    if (!IsOwn(ref)) {
        RaiseCorrupt(pager_->Path(), "page " + std::to_string(page) +
                                         " is no data page of the table at page " + std::to_string(table_));
    }
    return ref;
}

std::optional<RowId> RowStore::Resolve(RowId row) const {
    if (row.page == 0 || row.page >= pager_->PageCount()) return std::nullopt;
    const PageRef ref = pager_->Read(row.page);
    if (!IsOwn(ref)) return std::nullopt;
    const DataPage page(*pager_, ref);
    if (row.slot >= page.SlotCount()) return std::nullopt;
    if (page.Flags(row.slot) == 0) return row;
    if (page.Flags(row.slot) != DataPage::kMovedFlag) return std::nullopt;
    const ByteView pointer = page.Row(row.slot);
    if (pointer.Size() < kPointerBytes) RaiseCorrupt(pager_->Path(), "moved row without its new place");
    const RowId target = RowId::FromStored(pointer.U32(0));
    const PageRef targetRef = ReadOwn(target.page);
    const DataPage targetPage(*pager_, targetRef);
    if (target.slot >= targetPage.SlotCount() || targetPage.Flags(target.slot) != DataPage::kTargetFlag) {
        RaiseCorrupt(pager_->Path(), "row " + std::to_string(row.slot) + " of page " +
                                         std::to_string(row.page) +
                                         " has moved to a place that holds no moved row");
    }
    return target;
}

std::optional<StoredRow> RowStore::Read(RowId row) const {
    if (row.page == 0 || row.page >= pager_->PageCount()) return std::nullopt;
    PageRef own = pager_->Read(row.page);
    if (!IsOwn(own)) return std::nullopt;
    const DataPage page(*pager_, own);
    if (row.slot < page.SlotCount() && page.Flags(row.slot) == 0) {
        const ByteView bytes = page.Row(row.slot);
        return StoredRow{std::move(own), bytes};
    }
    const auto place = Resolve(row);
    if (!place) return std::nullopt;
    StoredRow stored{pager_->Read(place->page), {}};
    stored.bytes = DataPage(*pager_, stored.page).Row(place->slot);
    return stored;
}

// ---- Adding

bool RowStore::HasRoom(PageNumber page, std::size_t rowBytes) const {
    if (page == 0 || page >= pager_->PageCount()) return false;
    const PageRef ref = pager_->Read(page);
    return IsOwn(ref) && DataPage(*pager_, ref).HasRoomFor(rowBytes);
}

/// A page of the table with room for the row, 0 when none was found. Looks at a few pages of the free-space
/// map only, and the next call goes on behind them, so that a table full of half-filled pages is not searched
/// again for every row.
PageNumber RowStore::FindRoom(std::size_t rowBytes) {
    constexpr int kMostTried = 4;
    if (hintEpoch_ != pager_->LayoutEpoch()) {
        hintEpoch_ = pager_->LayoutEpoch();
        if (lastAppendPage_ == 0 || !free_.Contains(lastAppendPage_))
            lastAppendPage_ = free_.Previous(pager_->PageCount()).value_or(0);
    }
    if (lastAppendPage_ != 0 && HasRoom(lastAppendPage_, rowBytes)) return lastAppendPage_;
    for (int tried = 0; tried < kMostTried; ++tried) {
        const auto page = free_.Next(searchFrom_);
        if (!page) break;
        if (HasRoom(*page, rowBytes)) return *page;
        searchFrom_ = *page + 1;
    }
    return 0;
}

RowId RowStore::AppendAs(std::span<const std::uint8_t> bytes, std::uint16_t flags) {
    if (bytes.size() > pager_->PageGeometry().MaxRowBytes()) RaiseJet(JetError::RecordTooLarge);
    const PageNumber found = FindRoom(bytes.size());
    const PageEdit page = found != 0 ? pager_->Edit(found) : pager_->Allocate();
    const DataPageEdit data =
        found != 0 ? DataPageEdit(*pager_, page) : DataPageEdit::Format(*pager_, page, table_);
    if (found == 0) owned_.Add(page.Number());
    const bool wasListed = found != 0 && IsWorthListing(*pager_, data.FreeBytes(), data.SlotCount());
    const RowId row{page.Number(), data.Append(bytes, flags)};
    const bool listed = IsWorthListing(*pager_, data.FreeBytes(), data.SlotCount());
    if (listed != wasListed || !listed) UpdateFreeMap(row.page, data.FreeBytes(), data.SlotCount());
    lastAppendPage_ = row.page;
    return row;
}

RowId RowStore::Append(std::span<const std::uint8_t> bytes) {
    return AppendAs(bytes, 0);
}

void RowStore::UpdateFreeMap(PageNumber page, std::uint32_t freeBytes, std::uint32_t slots) {
    if (IsWorthListing(*pager_, freeBytes, slots)) {
        free_.Add(page);
        if (page < searchFrom_) searchFrom_ = page;
    } else {
        free_.Remove(page);
    }
}

// ---- Changing

void RowStore::Replace(RowId row, std::span<const std::uint8_t> bytes) {
    if (bytes.size() > pager_->PageGeometry().MaxRowBytes()) RaiseJet(JetError::RecordTooLarge);
    const auto place = Resolve(row);
    if (!place) RaiseJet(JetError::RecordDeleted);
    {
        const PageEdit page = pager_->Edit(place->page);
        const DataPageEdit data(*pager_, page);
        if (bytes.size() <= data.Row(place->slot).Size() + data.FreeBytes()) {
            data.Replace(place->slot, bytes, data.Flags(place->slot));
            return UpdateFreeMap(place->page, data.FreeBytes(), data.SlotCount());
        }
    }
    MoveAway(row, bytes);
}

/// Puts the row's bytes into its own slot; false when its page has no room for them.
bool RowStore::PutHome(RowId row, std::span<const std::uint8_t> bytes) {
    const PageEdit page = pager_->Edit(row.page);
    const DataPageEdit data(*pager_, page);
    if (bytes.size() > data.Row(row.slot).Size() + data.FreeBytes()) return false;
    data.Replace(row.slot, bytes, 0);
    UpdateFreeMap(row.page, data.FreeBytes(), data.SlotCount());
    return true;
}

/// Puts the row's bytes on another page and a pointer into its slot. Pointers never point to pointers: a row
/// that moves again leaves its former new place. Nor do they point into their own page: a row that has room
/// there comes home.
void RowStore::MoveAway(RowId row, std::span<const std::uint8_t> bytes) {
    const auto place = Resolve(row);
    if (*place != row) {
        if (PutHome(row, bytes)) return EraseSlot(*place);
        const RowId target = AppendAs(bytes, DataPage::kTargetFlag);
        {
            const PageEdit page = pager_->Edit(row.page);
            DataPageEdit(*pager_, page).MutableRow(row.slot).PutBytes(0, PointerTo(target));
        }
        return EraseSlot(*place);
    }
    if (MakeRoomForPointer(row) && PutHome(row, bytes)) return;
    const RowId target = AppendAs(bytes, DataPage::kTargetFlag);
    const PageEdit page = pager_->Edit(row.page);
    const DataPageEdit data(*pager_, page);
    data.Replace(row.slot, PointerTo(target), DataPage::kMovedFlag);
    UpdateFreeMap(row.page, data.FreeBytes(), data.SlotCount());
}

/// A row shorter than a pointer, on a page with no byte to spare, cannot become one: another row has to go
/// first. True when one went.
bool RowStore::MakeRoomForPointer(RowId row) {
    std::vector<std::uint8_t> largest;
    RowId victim = row;
    {
        const PageRef ref = ReadOwn(row.page);
        const DataPage page(*pager_, ref);
        if (page.Row(row.slot).Size() + page.FreeBytes() >= kPointerBytes) return false;
        for (std::uint32_t slot = 0; slot < page.SlotCount(); ++slot) {
            const ByteView bytes = page.Row(slot);
            if (slot == row.slot || page.Flags(slot) != 0 || bytes.Size() <= largest.size()) continue;
            largest.assign(bytes.All().begin(), bytes.All().end());
            victim = {row.page, static_cast<std::uint8_t>(slot)};
        }
    }
    if (largest.size() < 2 * kPointerBytes) RaiseJet(JetError::RecordTooLarge);
    MoveAway(victim, largest);
    return true;
}

// ---- Removing

void RowStore::Erase(RowId row) {
    if (const auto removal = PrepareErase(row)) return Erase(*removal);
    const auto place = Resolve(row);
    if (!place) RaiseJet(JetError::RecordDeleted);
    if (*place != row) EraseSlot(*place);
    EraseSlot(row);
}

std::optional<RowStore::Removal> RowStore::PrepareErase(RowId row) {
    const auto place = Resolve(row);
    if (!place || *place != row) return std::nullopt;
    Removal removal{pager_->Edit(row.page), row.slot, false, std::nullopt};
    const DataPageEdit data(*pager_, removal.page);
    if (!data.HasLiveRowBeside(row.slot)) return std::nullopt;
    const auto freeBytes = static_cast<std::uint32_t>(data.FreeBytes() + data.Row(row.slot).Size());
    const bool listed = free_.Contains(row.page);
    removal.hasRoom = IsWorthListing(*pager_, freeBytes, data.SlotCount());
    if (removal.hasRoom) {
        if (!listed && !(removal.listing = free_.PrepareAdd(row.page))) return std::nullopt;
    } else if (listed) {
        return std::nullopt;
    }
    return removal;
}

// NOLINTNEXTLINE(bugprone-exception-escape): see the declaration
void RowStore::Erase(const Removal& removal) noexcept {
    DataPageEdit(*pager_, removal.page).Erase(removal.slot);
    if (removal.listing) removal.listing->Apply();
    if (removal.hasRoom) searchFrom_ = std::min(searchFrom_, removal.page.Number());
}

void RowStore::EraseSlot(RowId row) {
    {
        const PageEdit page = pager_->Edit(row.page);
        const DataPageEdit data(*pager_, page);
        data.Erase(row.slot);
        if (data.HasLiveRow()) return UpdateFreeMap(row.page, data.FreeBytes(), data.SlotCount());
    }
    free_.Remove(row.page);
    owned_.Remove(row.page);
    pager_->Release(row.page);
}

// ---- Walking

/// Pins the page unless it is pinned already; false when it is not a page of the table (any more).
bool RowStore::Cursor::OpenPage(PageNumber page) {
    const Pager& pager = *store_->pager_;
    if (!page_ || page_.Number() != page || epoch_ != pager.LayoutEpoch()) {
        epoch_ = pager.LayoutEpoch();
        if (page == 0 || page >= pager.PageCount()) return false;
        page_ = store_->pager_->Read(page);
    }
    return store_->IsOwn(page_);
}

bool RowStore::Cursor::Next() {
    PageNumber page = started_ ? id_.page : 0;
    std::uint32_t slot = started_ ? std::uint32_t{id_.slot} + 1 : 0;
    started_ = true;
    ended_ = false;
    for (;;) {
        if (page != 0 && OpenPage(page)) {
            const DataPage data(*store_->pager_, page_);
            for (const std::uint32_t count = data.SlotCount(); slot < count; ++slot) {
                if ((data.Flags(slot) & DataPage::kTargetFlag) != 0) continue;
                id_ = {page, static_cast<std::uint8_t>(slot)};
                return true;
            }
        }
        const auto following = store_->owned_.Next(page + 1);
        if (!following) break;
        page = *following;
        slot = 0;
        store_->ReadOwn(page);
    }
    // Stays behind the last slot there is, so that rows appended later are still met.
    id_ = {page, static_cast<std::uint8_t>(slot == 0 ? 0 : slot - 1)};
    ended_ = slot != 0;
    return false;
}

bool RowStore::Cursor::Previous() {
    PageNumber page = started_ ? id_.page : 0;
    std::uint32_t slot = started_ ? id_.slot + (ended_ ? 1U : 0U) : 0;
    ended_ = false;
    for (;;) {
        if (page != 0 && OpenPage(page)) {
            const DataPage data(*store_->pager_, page_);
            if (slot > data.SlotCount()) slot = data.SlotCount();
            while (slot-- > 0) {
                if ((data.Flags(slot) & DataPage::kTargetFlag) != 0) continue;
                id_ = {page, static_cast<std::uint8_t>(slot)};
                return true;
            }
        }
        const auto before = store_->owned_.Previous(page);
        if (!before) break;
        page = *before;
        slot = kMaxRowsPerPage;
        store_->ReadOwn(page);
    }
    started_ = false;
    return false;
}

StoredRow RowStore::Cursor::Row() const {
    auto row = store_->Read(id_);
    if (!row) RaiseJet(JetError::RecordDeleted);
    return std::move(*row);
}

ByteView RowStore::Cursor::Bytes() {
    if (!OpenPage(id_.page)) RaiseJet(JetError::RecordDeleted);
    const DataPage data(*store_->pager_, page_);
    if (id_.slot >= data.SlotCount()) RaiseJet(JetError::RecordDeleted);
    if (data.Flags(id_.slot) == 0) return data.Row(id_.slot);
    StoredRow moved = Row();
    target_ = std::move(moved.page);
    return moved.bytes;
}

}  // namespace marrowkit::jet
