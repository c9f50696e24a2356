#include "platform/jet/check/CheckReaders.h"

#include <algorithm>
#include <utility>

namespace marrowkit::jet::check {

std::string RowText(RowId row) {
    return "row " + std::to_string(row.slot) + " of page " + std::to_string(row.page);
}

DataPage::DataPage(const Geometry& geometry, FilePage page)
    : geometry_(&geometry), page_(std::move(page)), slotCount_(0) {
    const ByteView bytes = page_.bytes;
    if (page_.Type() != PageType::Data || bytes.U8(1) != 1) {
        throw Damage(page_.number, "page " + std::to_string(page_.number) + " is not a data page");
    }
    slotCount_ = bytes.U16(geometry.dataHeaderBytes - 2);
    const std::uint32_t slotsEnd = geometry.dataHeaderBytes + 2 * slotCount_;
    if (slotCount_ > static_cast<unsigned>(kMaxRowsPerPage) || slotsEnd > geometry.pageBytes) {
        throw Damage(page_.number, "page " + std::to_string(page_.number) + " claims " +
                                       std::to_string(slotCount_) + " rows");
    }
    std::uint32_t end = geometry.pageBytes;
    for (unsigned slot = 0; slot < slotCount_; ++slot) {
        const std::uint32_t start = Start(slot);
        if (start > end || start < slotsEnd) {
            throw Damage(page_.number, RowText({page_.number, static_cast<std::uint8_t>(slot)}) +
                                           " does not lie in front of the row before it");
        }
        end = start;
    }
}

std::uint16_t DataPage::SlotWord(unsigned slot) const {
    return page_.bytes.U16(geometry_->dataHeaderBytes + 2 * std::size_t{slot});
}

std::uint32_t DataPage::ExactFreeBytes() const {
    const std::uint32_t lastStart = slotCount_ == 0 ? geometry_->pageBytes : Start(slotCount_ - 1);
    return lastStart - (geometry_->dataHeaderBytes + 2 * slotCount_);
}

std::uint32_t DataPage::Stamp() const {
    return geometry_->version == JetVersion::Jet3 ? 0 : page_.bytes.U32(8);
}

ByteView DataPage::Bytes(unsigned slot) const {
    if (slot >= slotCount_) {
        throw Damage(page_.number,
                     RowText({page_.number, static_cast<std::uint8_t>(slot)}) + " does not exist");
    }
    const std::uint32_t end = slot == 0 ? geometry_->pageBytes : Start(slot - 1);
    return page_.bytes.Sub(Start(slot), end - Start(slot));
}

FileRow ReadSlot(const CheckFile& file, RowId row, std::uint32_t owner, std::uint16_t flags) {
    const DataPage page(file.PageGeometry(), file.Read(row.page, PageType::Data));
    if (page.Owner() != owner) {
        throw Damage(row.page, RowText(row) + " lies on a page with owner " + std::to_string(page.Owner()) +
                                   " instead of " + std::to_string(owner));
    }
    const ByteView bytes = page.Bytes(row.slot);
    if (page.Flags(row.slot) != flags) {
        throw Damage(row.page, RowText(row) + " is " +
                                   (page.IsDeleted(row.slot) ? "deleted" : "of another kind") +
                                   " but still referred to");
    }
    return {page.Page(), bytes};
}

namespace {

void CollectBits(ByteView bitmap, PageNumber firstPage, PageNumber pageCount, StoredMap& map) {
    for (std::size_t i = 0; i < bitmap.Size(); ++i) {
        std::uint8_t byte = bitmap.All()[i];
        while (byte != 0) {
            const auto bit = static_cast<std::uint32_t>(std::countr_zero(byte));
            byte = static_cast<std::uint8_t>(byte & (byte - 1));
            const std::uint64_t page = std::uint64_t{firstPage} + i * 8 + bit;
            if (page < pageCount) {
                map.members.push_back(static_cast<PageNumber>(page));
            } else {
                ++map.beyondEnd;
            }
        }
    }
}

void CollectReference(const CheckFile& file, RowId where, ByteView row, bool isGlobal, StoredMap& map) {
    const std::uint32_t pagesPerBitmap = file.PageGeometry().PagesPerBitmap();
    if (row.Size() % 4 != 1) throw Damage(where.page, "a reference map has a broken length");
    std::uint64_t firstPage = 0;
    for (std::size_t at = 1; at + 4 <= row.Size(); at += 4, firstPage += pagesPerBitmap) {
        const PageNumber bitmap = row.U32(at);
        // A global map whose bitmap pages do not exist says that nothing is free, and Jet lives with it.
        if (bitmap == 0 || (isGlobal && bitmap >= file.PageCount())) continue;
        if (std::find(map.bitmapPages.begin(), map.bitmapPages.end(), bitmap) != map.bitmapPages.end()) {
            throw Damage(bitmap, "a reference map names a bitmap page twice");
        }
        map.bitmapPages.push_back(bitmap);
        const FilePage page = file.Read(bitmap, PageType::UsageBitmap);
        const std::uint64_t last = std::uint64_t{0xFFFFFFFF} - pagesPerBitmap;
        if (firstPage > last) throw Damage(bitmap, "a reference map is too long");
        CollectBits(page.bytes.From(4), static_cast<PageNumber>(firstPage), file.PageCount(), map);
    }
    map.bitCount = static_cast<std::uint32_t>(std::min<std::uint64_t>(firstPage, UINT32_MAX));
}

}  // namespace

StoredMap ReadMap(const CheckFile& file, RowId where, std::uint32_t owner) {
    const FileRow stored = ReadSlot(file, where, owner, 0);
    const ByteView row = stored.bytes;
    if (row.Size() < 5) throw Damage(where.page, "the usage map in " + RowText(where) + " is too short");
    StoredMap map;
    switch (row.U8(0)) {
        case 0:
            map.startPage = row.U32(1);
            map.bitCount = static_cast<std::uint32_t>((row.Size() - 5) * 8);
            CollectBits(row.From(5), map.startPage, file.PageCount(), map);
            return map;
        case 1:
            map.isReference = true;
            CollectReference(file, where, row, owner == kGlobalMapPage, map);
            return map;
        default:
            throw Damage(where.page, "the usage map in " + RowText(where) + " has unknown kind " +
                                         std::to_string(row.U8(0)));
    }
}

void RequireWithinFile(const StoredMap& map, RowId where) {
    if (map.beyondEnd != 0) throw Damage(where.page, "its usage map names pages beyond the file's end");
}

StoredDefinition ReadDefinition(const CheckFile& file, PageNumber page) {
    constexpr std::size_t kFramingBytes = 8;
    /// Far more than 255 columns, 32 indexes and their names can take.
    constexpr std::size_t kMaxPages = 128;
    const std::size_t pageBytes = file.PageGeometry().pageBytes;
    StoredDefinition definition;
    std::uint64_t length = kFramingBytes + 4;
    for (PageNumber next = page; definition.logical.size() < length;) {
        if (next == 0) throw Damage(page, "the table definition ends early");
        if (definition.pages.size() == kMaxPages) throw Damage(next, "the table definition has no end");
        const FilePage part = file.Read(next, PageType::TableDefinition);
        const std::size_t from = definition.pages.empty() ? 0 : kFramingBytes;
        definition.logical.insert(definition.logical.end(), part.bytes.Data() + from,
                                  part.bytes.Data() + pageBytes);
        definition.pages.push_back(next);
        next = part.bytes.U32(4);
        length = ByteView(definition.logical).U32(8);
        if (length < kFramingBytes + 4) throw Damage(page, "the table definition has no length");
        if (definition.logical.size() >= length && next != 0) {
            throw Damage(definition.pages.back(), "the table definition goes on behind its end");
        }
    }
    definition.logical.resize(static_cast<std::size_t>(length));
    return definition;
}

namespace {

void WalkChain(const CheckFile& file, const LongValueHeader& header,
               const std::function<void(const LongValuePiece&)>& visit) {
    std::uint32_t left = header.Length();
    RowId row = header.first;
    for (bool first = true; left > 0; first = false) {
        if (row.IsNull()) throw Damage(header.first.page, "a long value ends early");
        const DataPage page(file.PageGeometry(), file.Read(row.page, PageType::Data));
        const ByteView stored = page.Bytes(row.slot);
        // Every piece holds at least one byte of the value, so even a loop comes to an end.
        if (page.Owner() != kLongValueOwner || page.Flags(row.slot) != 0 || stored.Size() <= 4 ||
            stored.Size() - 4 > left) {
            throw Damage(row.page, "the piece of a long value in " + RowText(row) + " cannot be one");
        }
        if (first && page.Stamp() != header.stamp) {
            throw Damage(row.page, "the long value in " + RowText(row) + " has another stamp than its row");
        }
        visit({row, &page, stored.From(4)});
        left -= static_cast<std::uint32_t>(stored.Size() - 4);
        row = RowId::FromStored(stored.U32(0));
    }
    if (!row.IsNull()) throw Damage(header.first.page, "a long value goes on behind its end");
}

}  // namespace

void WalkLongValue(const CheckFile& file, ByteView inRow,
                   const std::function<void(const LongValuePiece&)>& visit) {
    if (inRow.Empty()) return visit({RowId{}, nullptr, inRow});
    if (inRow.Size() < LongValueHeader::kBytes) throw Damage(0, "a long value has no header");
    const LongValueHeader header(inRow);
    if (header.IsInline()) {
        if (inRow.Size() - LongValueHeader::kBytes != header.Length()) {
            throw Damage(0, "a long value in its row has another length than it says");
        }
        visit({RowId{}, nullptr, inRow.From(LongValueHeader::kBytes)});
        return;
    }
    if (!header.IsSingleRow()) return WalkChain(file, header, visit);
    const RowId row = header.first;
    const DataPage page(file.PageGeometry(), file.Read(row.page, PageType::Data));
    const ByteView stored = page.Bytes(row.slot);
    if (page.Owner() != kLongValueOwner || page.Flags(row.slot) != 0 || stored.Size() != header.Length()) {
        throw Damage(row.page, "the long value in " + RowText(row) + " is not what its row refers to");
    }
    visit({row, &page, stored});
}

std::vector<std::uint8_t> LoadLongValue(const CheckFile& file, ByteView inRow, std::size_t maxBytes) {
    std::vector<std::uint8_t> value;
    WalkLongValue(file, inRow, [&](const LongValuePiece& piece) {
        const std::size_t take = std::min(piece.bytes.Size(), maxBytes - value.size());
        value.insert(value.end(), piece.bytes.Data(), piece.bytes.Data() + take);
    });
    return value;
}

}  // namespace marrowkit::jet::check
