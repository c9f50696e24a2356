#include "platform/jet/storage/LongValueStore.h"

#include <algorithm>
#include <string>

#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/DataPage.h"
#include "platform/jet/storage/FreeSpace.h"

namespace marrowkit::jet {

namespace {

constexpr std::uint32_t kInlineFlag = 0x80000000;
constexpr std::uint32_t kSingleFlag = 0x40000000;
constexpr std::uint32_t kLengthMask = 0x3FFFFFFF;

/// Longest values that Access leaves in their rows.
constexpr std::size_t MostInlineBytes(JetVersion version) {
    return version == JetVersion::Jet3 ? 32 : 64;
}

/// In front of a chain piece's data: where the next piece is.
constexpr std::size_t kNextBytes = 4;

std::vector<std::uint8_t> Header(std::uint32_t lengthAndKind, RowId row) {
    std::vector<std::uint8_t> header(LongValueStore::kHeaderBytes);
    const MutableByteView view{header};
    view.PutU32(0, lengthAndKind);
    view.PutU32(4, row.Stored());
    return header;
}

}  // namespace

LongValueStore::LongValueStore(Pager& pager, RowId ownedMap, RowId freeMap)
    : pager_(&pager), owned_(pager, ownedMap), free_(pager, freeMap), hasFreeMap_(!freeMap.IsNull()) {}

std::uint32_t LongValueStore::Length(ByteView inRow) {
    return inRow.Size() < 4 ? 0 : inRow.U32(0) & kLengthMask;
}

bool LongValueStore::IsInline(ByteView inRow) {
    return inRow.Size() < 4 || (inRow.U32(0) & kInlineFlag) != 0;
}

// ---- Writing

std::vector<std::uint8_t> LongValueStore::Store(std::span<const std::uint8_t> value) {
    const Geometry& geometry = pager_->PageGeometry();
    if (value.size() > kLengthMask) RaiseJet(JetError::FieldTooSmall);
    const auto length = static_cast<std::uint32_t>(value.size());
    if (value.size() <= MostInlineBytes(geometry.version)) {
        std::vector<std::uint8_t> inRow = Header(length | kInlineFlag, {});
        inRow.insert(inRow.end(), value.begin(), value.end());
        return inRow;
    }
    if (value.size() <= geometry.MaxLongValueRowBytes())
        return Header(length | kSingleFlag, StoreSingle(value));
    return Header(length, StoreChain(value));
}

PageNumber LongValueStore::FindRoom(std::size_t bytes) {
    constexpr int kMostTried = 4;
    if (!hasFreeMap_) return 0;
    if (hintEpoch_ != pager_->LayoutEpoch()) {
        hintEpoch_ = pager_->LayoutEpoch();
        if (lastPage_ == 0 || !free_.Contains(lastPage_))
            lastPage_ = free_.Previous(pager_->PageCount()).value_or(0);
    }
    const auto hasRoom = [&](PageNumber page) {
        const PageRef ref = pager_->Read(page);
        if (ref.Type() != PageType::Data) return false;
        const DataPage data(*pager_, ref);
        return data.Owner() == kLongValueOwner && data.HasRoomFor(bytes);
    };
    if (lastPage_ != 0 && hasRoom(lastPage_)) return lastPage_;
    for (int tried = 0; tried < kMostTried; ++tried) {
        const auto page = free_.Next(searchFrom_);
        if (!page) break;
        if (hasRoom(*page)) return *page;
        searchFrom_ = *page + 1;
    }
    return 0;
}

RowId LongValueStore::StoreSingle(std::span<const std::uint8_t> value) {
    const PageNumber found = FindRoom(value.size());
    const PageEdit page = found != 0 ? pager_->Edit(found) : pager_->Allocate();
    const DataPageEdit data =
        found != 0 ? DataPageEdit(*pager_, page) : DataPageEdit::Format(*pager_, page, kLongValueOwner);
    if (found == 0) owned_.Add(page.Number());
    const RowId row{page.Number(), data.Append(value)};
    if (!hasFreeMap_) return row;
    if (IsWorthListing(*pager_, data.FreeBytes(), data.SlotCount())) {
        free_.Add(row.page);
        lastPage_ = row.page;
    } else {
        free_.Remove(row.page);
        lastPage_ = 0;
    }
    return row;
}

/// Each piece has a page of its own and names the next one, so they are written from the last to the first.
RowId LongValueStore::StoreChain(std::span<const std::uint8_t> value) {
    const std::size_t pieceBytes = pager_->PageGeometry().MaxLongValueRowBytes() - kNextBytes;
    const std::size_t pieces = (value.size() + pieceBytes - 1) / pieceBytes;
    std::vector<PageNumber> pages(pieces);
    for (PageNumber& number : pages) {
        const PageEdit page = pager_->Allocate();
        number = page.Number();
        DataPageEdit::Format(*pager_, page, kLongValueOwner);
        owned_.Add(number);
    }
    std::vector<std::uint8_t> row;
    for (std::size_t i = 0; i < pieces; ++i) {
        const auto data = value.subspan(i * pieceBytes, std::min(pieceBytes, value.size() - i * pieceBytes));
        row.assign(kNextBytes, 0);
        if (i + 1 < pieces) MutableByteView(row).PutU32(0, RowId{pages[i + 1], 0}.Stored());
        row.insert(row.end(), data.begin(), data.end());
        const PageEdit page = pager_->Edit(pages[i]);
        DataPageEdit(*pager_, page).Append(row);
    }
    return {pages.front(), 0};
}

// ---- Reading

PageRef LongValueStore::ReadOwn(PageNumber page) const {
    PageRef ref = pager_->Read(page);
    if (ref.Type() != PageType::Data || ref.Bytes().U32(4) != kLongValueOwner || !owned_.Contains(page)) {
        RaiseCorrupt(pager_->Path(), "page " + std::to_string(page) + " holds no long values of this column");
    }
    return ref;
}

std::vector<std::uint8_t> LongValueStore::Load(ByteView inRow) const {
    if (inRow.Empty()) return {};
    const std::uint32_t length = Length(inRow);
    const auto damaged = [&](const char* what) {
        RaiseCorrupt(pager_->Path(), "long value of " + std::to_string(length) + " bytes: " + what);
    };
    if (inRow.Size() < kHeaderBytes) damaged("its header is cut short");
    if (IsInline(inRow)) {
        if (inRow.Size() - kHeaderBytes < length) damaged("longer than its row");
        const auto bytes = inRow.Sub(kHeaderBytes, length).All();
        return {bytes.begin(), bytes.end()};
    }
    if (length / pager_->PageGeometry().pageBytes >= pager_->PageCount()) damaged("longer than the file");

    const bool chained = (inRow.U32(0) & kSingleFlag) == 0;
    std::vector<std::uint8_t> value;
    value.reserve(length);
    for (RowId row = RowId::FromStored(inRow.U32(4));;) {
        const PageRef ref = ReadOwn(row.page);
        const DataPage page(*pager_, ref);
        if (row.slot >= page.SlotCount() || page.IsDeleted(row.slot)) damaged("a piece is missing");
        ByteView piece = page.Row(row.slot);
        RowId next;
        if (chained) {
            // A piece without data would let a chain run in a circle.
            if (piece.Size() <= kNextBytes) damaged("an empty piece");
            next = RowId::FromStored(piece.U32(0));
            piece = piece.From(kNextBytes);
        }
        if (piece.Size() > length - value.size()) damaged("more bytes than its length says");
        value.insert(value.end(), piece.All().begin(), piece.All().end());
        if (next.IsNull()) break;
        row = next;
    }
    if (value.size() != length) damaged("fewer bytes than its length says");
    return value;
}

// ---- Freeing

void LongValueStore::Free(ByteView inRow) {
    if (inRow.Size() < kHeaderBytes || IsInline(inRow)) return;
    const bool chained = (inRow.U32(0) & kSingleFlag) == 0;
    RowId row = RowId::FromStored(inRow.U32(4));
    for (PageNumber steps = 0; !row.IsNull() && steps < pager_->PageCount(); ++steps) {
        RowId next;
        {
            const PageRef ref = ReadOwn(row.page);
            const DataPage page(*pager_, ref);
            if (row.slot >= page.SlotCount() || page.IsDeleted(row.slot)) {
                RaiseCorrupt(pager_->Path(),
                             "long value on page " + std::to_string(row.page) + " is gone already");
            }
            if (chained && page.Row(row.slot).Size() >= kNextBytes) {
                next = RowId::FromStored(page.Row(row.slot).U32(0));
            }
        }
        EraseRow(row);
        row = next;
    }
}

void LongValueStore::EraseRow(RowId row) {
    {
        const PageEdit page = pager_->Edit(row.page);
        const DataPageEdit data(*pager_, page);
        data.Erase(row.slot);
        if (data.HasLiveRow()) {
            if (hasFreeMap_ && IsWorthListing(*pager_, data.FreeBytes(), data.SlotCount())) {
                free_.Add(row.page);
                searchFrom_ = std::min(searchFrom_, row.page);
            }
            return;
        }
    }
    if (hasFreeMap_) free_.Remove(row.page);
    owned_.Remove(row.page);
    pager_->Release(row.page);
}

}  // namespace marrowkit::jet
