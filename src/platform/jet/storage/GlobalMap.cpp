#include "platform/jet/storage/GlobalMap.h"

#include <algorithm>
#include <string>
#include <vector>

#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/Bitmap.h"
#include "platform/jet/storage/DataPage.h"

namespace marrowkit::jet {

namespace {

constexpr std::size_t kInlineBits = MapRow::kInlineBits;
constexpr std::size_t kBitmapPageBits = MapRow::kBitmapPageBits;

constexpr std::size_t FewestBitmapBytes(JetVersion version) {
    return version == JetVersion::Jet3 ? 128 : 64;
}

/// The length that row 0 of a file with that many pages has in files of Access.
std::size_t RowBytes(JetVersion version, PageNumber pages) {
    return kInlineBits +
           std::max<std::size_t>(FewestBitmapBytes(version), 4 * ((pages + std::size_t{31}) / 32));
}

[[noreturn]] void Damaged(const Pager& pager, const char* what) {
    RaiseCorrupt(pager.Path(), std::string("global usage map: ") + what);
}

}  // namespace

void GlobalMap::Format(const Pager& pager, const PageEdit& page, PageNumber pages) {
    const JetVersion version = pager.PageGeometry().version;
    const DataPageEdit data = DataPageEdit::Format(pager, page, kGlobalMapOwner);
    std::vector<std::uint8_t> row(RowBytes(version, pages), 0xFF);
    std::fill_n(row.begin(), kInlineBits, std::uint8_t{0});
    const MutableByteView bits = MutableByteView(row).Sub(kInlineBits, row.size() - kInlineBits);
    for (PageNumber used = 0; used < pages; ++used) bitmap::Put(bits, used, false);
    data.Append(row);
    data.Append(std::vector<std::uint8_t>(kInlineBits + FewestBitmapBytes(version)));
}

MapRow GlobalMap::Open() const {
    MapRow map{pager_->Read(kGlobalMapPage), {}};
    const DataPage page(*pager_, map.page);
    if (page.SlotCount() == 0 || page.Flags(0) != 0) Damaged(*pager_, "missing");
    map.row = page.Row(0);
    if (!map.IsKnownKind()) Damaged(*pager_, "unknown kind");
    return map;
}

bool GlobalMap::IsFree(PageNumber page) const {
    return Open().Contains(page, pager_->PageGeometry().PagesPerBitmap(),
                           [this](PageNumber bitmap) { return pager_->Read(bitmap); });
}

std::optional<PageNumber> GlobalMap::FindFree(PageNumber from) const {
    return Open().Next(from, pager_->PageCount(), pager_->PageGeometry().PagesPerBitmap(),
                       [this](PageNumber bitmap) {
                           PageRef page = pager_->Read(bitmap);
                           if (page.Type() != PageType::UsageBitmap) {
                               Damaged(*pager_, "an entry names no bitmap page");
                           }
                           return page;
                       });
}

std::optional<PageNumber> GlobalMap::Take() {
    // The first three pages have their fixed uses, whatever a damaged map says of them.
    const auto page = FindFree(std::max(searchFrom_, kCatalogPage + 1));
    searchFrom_ = page ? *page + 1 : pager_->PageCount();
    if (page) PutBit(*page, false);
    return page;
}

void GlobalMap::NoteAppended(PageNumber page) {
    bool reference = false;
    {
        const MapRow map = Open();
        reference = map.IsReference();
    }
    if (!reference && !Lengthen(page + 1)) ConvertToReference();
    if (IsFree(page)) PutBit(page, false);
}

void GlobalMap::Give(PageNumber page) {
    if (IsFree(page)) Damaged(*pager_, "a page in use is marked free");
    PutBit(page, true);
    searchFrom_ = std::min(searchFrom_, page);
}

void GlobalMap::PutBit(PageNumber page, bool isFree) {
    PageNumber start = 0;
    {
        const MapRow map = Open();
        if (map.IsReference()) {
            const std::uint32_t stretch = pager_->PageGeometry().PagesPerBitmap();
            const std::size_t entry = page / stretch;
            if (entry >= map.EntryCount()) {
                // Such a page can be neither given nor taken; it stays in use.
                return;
            }
            PageNumber bits = map.Entry(entry);
            if (bits == 0) bits = AddBitmapPage(entry);
            const PageEdit edit = pager_->Edit(bits);
            const MutableByteView bytes = edit.Mutable();
            return bitmap::Put(bytes.Sub(kBitmapPageBits, bytes.Size() - kBitmapPageBits), page % stretch,
                               isFree);
        }
        start = map.Start();
        if (!map.ReachesInline(page)) Damaged(*pager_, "does not reach a page in use");
    }
    const PageEdit edit = pager_->Edit(kGlobalMapPage);
    const MutableByteView row = DataPageEdit(*pager_, edit).MutableRow(0);
    bitmap::Put(row.Sub(kInlineBits, row.Size() - kInlineBits), page - start, isFree);
}

/// Lets an inline map reach `pages` pages; false when page 1 has no room for that.
bool GlobalMap::Lengthen(PageNumber pages) {
    std::vector<std::uint8_t> row;
    {
        const MapRow map = Open();
        const std::size_t wanted = RowBytes(pager_->PageGeometry().version, pages);
        if (map.row.Size() >= wanted) return true;
        const DataPage page(*pager_, map.page);
        if (page.FreeBytes() < wanted - map.row.Size()) return false;
        row.assign(map.row.All().begin(), map.row.All().end());
        row.resize(wanted, 0xFF);
    }
    const PageEdit edit = pager_->Edit(kGlobalMapPage);
    DataPageEdit(*pager_, edit).Replace(0, row, 0);
    return true;
}

void GlobalMap::ConvertToReference() {
    std::vector<PageNumber> freePages;
    for (auto page = FindFree(0); page; page = FindFree(*page + 1)) freePages.push_back(*page);
    {
        const PageEdit edit = pager_->Edit(kGlobalMapPage);
        const MutableByteView row = DataPageEdit(*pager_, edit).MutableRow(0);
        row.Fill(0, row.Size(), 0);
        row.PutU8(0, MapRow::kReference);
    }
    for (const PageNumber page : freePages) PutBit(page, true);
}

/// The bitmap page of a stretch that has none: nothing in the stretch is free but what lies behind the end.
PageNumber GlobalMap::AddBitmapPage(std::size_t entry) {
    const PageEdit page = appendPage_();
    const std::uint32_t stretch = pager_->PageGeometry().PagesPerBitmap();
    const MutableByteView bytes = page.Mutable();
    bytes.PutU8(0, static_cast<std::uint8_t>(PageType::UsageBitmap));
    bytes.PutU8(1, 1);
    const MutableByteView bits = bytes.Sub(kBitmapPageBits, bytes.Size() - kBitmapPageBits);
    const std::uint64_t first = std::uint64_t{entry} * stretch;
    for (std::uint64_t k = pager_->PageCount() > first ? pager_->PageCount() - first : 0; k < stretch; ++k) {
        bitmap::Put(bits, static_cast<std::size_t>(k), true);
    }
    {
        const PageEdit edit = pager_->Edit(kGlobalMapPage);
        DataPageEdit(*pager_, edit).MutableRow(0).PutU32(1 + 4 * entry, page.Number());
    }
    if (IsFree(page.Number())) PutBit(page.Number(), false);
    return page.Number();
}

}  // namespace marrowkit::jet
