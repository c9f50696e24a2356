#include "platform/jet/storage/UsageMap.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/Bitmap.h"
#include "platform/jet/storage/DataPage.h"

namespace marrowkit::jet {

namespace {

constexpr std::size_t kInlineBits = MapRow::kInlineBits;
constexpr std::size_t kBitmapPageBits = MapRow::kBitmapPageBits;

/// Bytes of a new inline map: 128 or 64 bytes of bits.
constexpr std::size_t NewRowBytes(JetVersion version) {
    return kInlineBits + (version == JetVersion::Jet3 ? 128 : 64);
}

[[noreturn]] void Damaged(const Pager& pager, RowId where, const char* what) {
    RaiseCorrupt(pager.Path(), "usage map in row " + std::to_string(where.slot) + " of page " +
                                   std::to_string(where.page) + ": " + what);
}

}  // namespace

MapRow UsageMap::Open() const {
    MapRow map{pager_->Read(where_.page), {}};
    const DataPage page(*pager_, map.page);
    if (where_.slot >= page.SlotCount() || page.Flags(where_.slot) != 0) {
        Damaged(*pager_, where_, "no such row");
    }
    map.row = page.Row(where_.slot);
    if (!map.IsKnownKind()) Damaged(*pager_, where_, "unknown kind");
    return map;
}

MutableByteView UsageMap::EditRow(PageEdit& page) const {
    page = pager_->Edit(where_.page);
    return DataPageEdit(*pager_, page).MutableRow(where_.slot);
}

PageRef UsageMap::ReadBitmap(PageNumber page) const {
    PageRef bitmap = pager_->Read(page);
    if (bitmap.Type() != PageType::UsageBitmap) Damaged(*pager_, where_, "an entry names no bitmap page");
    return bitmap;
}

bool UsageMap::Contains(PageNumber page) const {
    return Open().Contains(page, pager_->PageGeometry().PagesPerBitmap(),
                           [this](PageNumber bitmap) { return ReadBitmap(bitmap); });
}

std::optional<PageNumber> UsageMap::Next(PageNumber from) const {
    constexpr PageNumber kNoEnd = std::numeric_limits<PageNumber>::max();
    return Open().Next(from, kNoEnd, pager_->PageGeometry().PagesPerBitmap(),
                       [this](PageNumber bitmap) { return ReadBitmap(bitmap); });
}

std::optional<PageNumber> UsageMap::Previous(PageNumber before) const {
    const MapRow map = Open();
    before = std::min(before, pager_->PageCount());
    if (!map.IsReference()) {
        const PageNumber start = map.Start();
        if (before <= start) return std::nullopt;
        const auto found = bitmap::FindPrevious(map.InlineBits(),
                                                std::min<std::size_t>(map.InlineBitCount(), before - start));
        if (!found) return std::nullopt;
        return start + static_cast<PageNumber>(*found);
    }
    const std::uint32_t stretch = pager_->PageGeometry().PagesPerBitmap();
    for (std::size_t entry = std::min<std::size_t>(map.EntryCount(), (before + stretch - 1) / stretch);
         entry-- > 0;) {
        if (map.Entry(entry) == 0) continue;
        const PageRef page = ReadBitmap(map.Entry(entry));
        const auto first = static_cast<PageNumber>(entry * stretch);
        const auto found =
            bitmap::FindPrevious(page.Bytes().From(kBitmapPageBits), std::min(stretch, before - first));
        if (found) return first + static_cast<PageNumber>(*found);
    }
    return std::nullopt;
}

std::vector<PageNumber> UsageMap::Members() const {
    std::vector<PageNumber> members;
    for (auto page = Next(0); page; page = Next(*page + 1)) members.push_back(*page);
    return members;
}

void UsageMap::Add(PageNumber page) {
    bool reference = false;
    bool inRange = false;
    {
        const MapRow map = Open();
        reference = map.IsReference();
        inRange = !reference && map.ReachesInline(page);
        if (inRange && bitmap::Test(map.InlineBits(), page - map.Start())) return;
    }
    if (!reference && !inRange && !MoveInlineStart(page)) {
        ConvertToReference();
        reference = true;
    }
    if (reference) return AddToReference(page);
    PageEdit edit;
    const MutableByteView row = EditRow(edit);
    bitmap::Put(row.Sub(kInlineBits, row.Size() - kInlineBits), page - row.View().U32(1), true);
}

std::optional<UsageMap::Addition> UsageMap::PrepareAdd(PageNumber page) {
    PageNumber bitmapPage = 0;
    const std::uint32_t stretch = pager_->PageGeometry().PagesPerBitmap();
    {
        const MapRow map = Open();
        if (!map.IsReference() && !map.ReachesInline(page)) return std::nullopt;
        if (map.IsReference()) {
            bitmapPage = map.Entry(page / stretch);
            if (bitmapPage == 0) return std::nullopt;
            ReadBitmap(bitmapPage);
        }
    }
    Addition addition;
    MutableByteView bits;
    PageNumber bit = 0;
    if (bitmapPage != 0) {
        addition.page = pager_->Edit(bitmapPage);
        const MutableByteView bytes = addition.page.Mutable();
        bits = bytes.Sub(kBitmapPageBits, bytes.Size() - kBitmapPageBits);
        bit = page % stretch;
    } else {
        const MutableByteView row = EditRow(addition.page);
        bits = row.Sub(kInlineBits, row.Size() - kInlineBits);
        bit = page - row.View().U32(1);
    }
    addition.byte = bits.Sub(bit / 8, 1).Data();
    addition.bit = static_cast<std::uint8_t>(1U << (bit % 8));
    return addition;
}

/// Lets an inline map begin elsewhere so that it covers `page` and all members; false when they lie too far
/// apart.
bool UsageMap::MoveInlineStart(PageNumber page) {
    std::vector<PageNumber> members = Members();
    PageEdit edit;
    const MutableByteView row = EditRow(edit);
    const std::size_t bits = (row.Size() - kInlineBits) * 8;
    PageNumber start = 0;
    if (!members.empty() || page >= bits) {
        const PageNumber low = members.empty() ? page : std::min(page, members.front());
        const PageNumber high = members.empty() ? page : std::max(page, members.back());
        start = low & ~PageNumber{7};
        if (high - start >= bits) return false;
    }
    row.Fill(0, row.Size(), 0);
    row.PutU32(1, start);
    for (const PageNumber member : members) {
        bitmap::Put(row.Sub(kInlineBits, row.Size() - kInlineBits), member - start, true);
    }
    return true;
}

void UsageMap::ConvertToReference() {
    const std::vector<PageNumber> members = Members();
    {
        PageEdit edit;
        const MutableByteView row = EditRow(edit);
        row.Fill(0, row.Size(), 0);
        row.PutU8(0, MapRow::kReference);
    }
    for (const PageNumber member : members) AddToReference(member);
}

void UsageMap::AddToReference(PageNumber page) {
    const std::uint32_t stretch = pager_->PageGeometry().PagesPerBitmap();
    const std::size_t entry = page / stretch;
    PageNumber bitmapPage = 0;
    {
        const MapRow map = Open();
        if (entry >= map.EntryCount()) Damaged(*pager_, where_, "too short for the size of the file");
        bitmapPage = map.Entry(entry);
    }
    PageEdit bits;
    if (bitmapPage == 0) {
        bits = pager_->Allocate();
        bits.Mutable().PutU8(0, static_cast<std::uint8_t>(PageType::UsageBitmap));
        bits.Mutable().PutU8(1, 1);
        PageEdit edit;
        EditRow(edit).PutU32(1 + 4 * entry, bits.Number());
    } else {
        ReadBitmap(bitmapPage);
        bits = pager_->Edit(bitmapPage);
    }
    const MutableByteView bytes = bits.Mutable();
    bitmap::Put(bytes.Sub(kBitmapPageBits, bytes.Size() - kBitmapPageBits), page % stretch, true);
}

void UsageMap::Remove(PageNumber page) {
    if (!Contains(page)) return;
    PageNumber bitmapPage = 0;
    const std::uint32_t stretch = pager_->PageGeometry().PagesPerBitmap();
    {
        const MapRow map = Open();
        if (map.IsReference()) bitmapPage = map.Entry(page / stretch);
    }
    if (bitmapPage != 0) {
        const PageEdit edit = pager_->Edit(bitmapPage);
        const MutableByteView bytes = edit.Mutable();
        bitmap::Put(bytes.Sub(kBitmapPageBits, bytes.Size() - kBitmapPageBits), page % stretch, false);
        return;
    }
    PageEdit edit;
    const MutableByteView row = EditRow(edit);
    bitmap::Put(row.Sub(kInlineBits, row.Size() - kInlineBits), page - row.View().U32(1), false);
}

void UsageMap::Clear() {
    const std::vector<PageNumber> bitmapPages = BitmapPages();
    {
        PageEdit edit;
        const MutableByteView row = EditRow(edit);
        row.Fill(0, row.Size(), 0);
    }
    for (const PageNumber page : bitmapPages) pager_->Release(page);
}

std::vector<PageNumber> UsageMap::BitmapPages() const {
    std::vector<PageNumber> pages;
    const MapRow map = Open();
    if (!map.IsReference()) return pages;
    for (std::size_t entry = 0; entry < map.EntryCount(); ++entry) {
        if (map.Entry(entry) != 0) pages.push_back(map.Entry(entry));
    }
    return pages;
}

namespace {

/// The page that new maps go to: the one that took the last, in a database just opened the one with the maps
/// of the catalog. 0 when there is none with room for a row of `rowBytes`.
PageNumber FindMapPage(Pager& pager, std::size_t rowBytes) {
    const Geometry& geometry = pager.PageGeometry();
    if (pager.mapPageHint == 0 && pager.PageCount() > kCatalogPage) {
        const PageRef catalog = pager.Read(kCatalogPage);
        if (catalog.Type() != PageType::TableDefinition) return 0;
        const DefinitionOffsets offsets = DefinitionOffsetsOf(geometry.version);
        pager.mapPageHint = RowId::FromStored(catalog.Bytes().U32(offsets.ownedMap)).page;
    }
    const PageNumber page = pager.mapPageHint;
    if (page <= kGlobalMapPage || page >= pager.PageCount() || pager.IsFree(page)) return 0;
    const PageRef ref = pager.Read(page);
    if (ref.Type() != PageType::Data) return 0;
    const DataPage data(pager, ref);
    return data.Owner() == kMapPageOwner && data.HasRoomFor(rowBytes) ? page : 0;
}

}  // namespace

std::vector<RowId> UsageMap::CreateMaps(Pager& pager, std::size_t count) {
    const Geometry& geometry = pager.PageGeometry();
    std::array<std::uint8_t, NewRowBytes(JetVersion::Jet3)> zeros{};
    const std::span<const std::uint8_t> row = std::span(zeros).first(NewRowBytes(geometry.version));
    std::vector<RowId> maps;
    while (maps.size() < count) {
        const PageNumber found = FindMapPage(pager, row.size());
        const PageEdit page = found != 0 ? pager.Edit(found) : pager.Allocate();
        const DataPageEdit data =
            found != 0 ? DataPageEdit(pager, page) : DataPageEdit::Format(pager, page, kMapPageOwner);
        while (maps.size() < count && data.HasRoomFor(row.size())) {
            maps.push_back({page.Number(), data.Append(row)});
        }
        pager.mapPageHint = page.Number();
    }
    return maps;
}

void UsageMap::Destroy(Pager& pager, RowId where) {
    UsageMap(pager, where).Clear();
    bool empty = false;
    {
        const PageEdit page = pager.Edit(where.page);
        const DataPageEdit data(pager, page);
        data.Erase(where.slot);
        empty = !data.HasLiveRow();
    }
    if (empty) pager.Release(where.page);
}

}  // namespace marrowkit::jet
