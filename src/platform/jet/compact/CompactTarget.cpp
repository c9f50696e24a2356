#include "platform/jet/compact/CompactTarget.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet::compact {

namespace {

constexpr std::uint32_t kPagesPerRun = 256;

/// Bitmap bytes of an inline map as Jet makes it, and the most that its own longer ones were seen with.
std::uint32_t InlineBitmapBytes(const Geometry& geometry) {
    return geometry.version == JetVersion::Jet3 ? 128 : 64;
}
std::uint32_t LongestInlineBitmapBytes(const Geometry& geometry) {
    return geometry.version == JetVersion::Jet3 ? 184 : 124;
}

constexpr std::size_t kInlineMapHeaderBytes = 5;

std::vector<std::uint8_t> InlineRow(PageNumber start, std::uint32_t bitmapBytes,
                                    std::span<const PageNumber> pages) {
    std::vector<std::uint8_t> row(kInlineMapHeaderBytes + bitmapBytes, 0);
    MutableByteView(row).PutU32(1, start);
    for (const PageNumber page : pages) {
        const PageNumber bit = page - start;
        row[kInlineMapHeaderBytes + bit / 8] |= static_cast<std::uint8_t>(1U << bit % 8);
    }
    return row;
}

std::vector<std::uint8_t> NewBitmapPage(const Geometry& geometry, std::uint8_t fill) {
    std::vector<std::uint8_t> page(geometry.pageBytes, fill);
    page[0] = static_cast<std::uint8_t>(PageType::UsageBitmap);
    page[1] = 1;
    page[2] = 0;
    page[3] = 0;
    return page;
}

}  // namespace

CompactTarget::CompactTarget(std::unique_ptr<StorageFile> file, const DatabaseHeader& header)
    : file_(std::move(file)), geometry_(&header.PageGeometry()), databaseKey_(header.databaseKey) {}

PageNumber CompactTarget::Allocate() {
    if (next_ >= geometry_->maxFileBytes / geometry_->pageBytes) RaiseJet(JetError::DatabaseFull);
    return next_++;
}

CompactTarget::Run& CompactTarget::RunOf(PageNumber page) {
    Run& run = waiting_[page / kPagesPerRun];
    if (run.bytes.empty()) {
        if (spare_.empty()) spare_.emplace_back(std::size_t{kPagesPerRun} * geometry_->pageBytes);
        run.bytes = std::move(spare_.back());
        spare_.pop_back();
    }
    return run;
}

void CompactTarget::Put(PageNumber page, std::span<const std::uint8_t> bytes) {
    Run& run = RunOf(page);
    const auto place = std::span(run.bytes).subspan(std::size_t{page % kPagesPerRun} * geometry_->pageBytes,
                                                    geometry_->pageBytes);
    std::memcpy(place.data(), bytes.data(), place.size());
    ApplyPageEncoding(databaseKey_, page, place);
    if (++run.pages == kPagesPerRun) {
        const std::uint32_t number = page / kPagesPerRun;
        Write(number, run);
        spare_.push_back(std::move(run.bytes));
        waiting_.erase(number);
    }
}

void CompactTarget::Write(std::uint32_t run, const Run& content) {
    const PageNumber first = run * kPagesPerRun;
    const std::size_t pages = std::min(kPagesPerRun, next_ - first);
    const std::uint64_t offset = std::uint64_t{first} * geometry_->pageBytes;
    const std::size_t bytes = pages * geometry_->pageBytes;
    file_->Write(offset, std::span(content.bytes).first(bytes));
    // Pages are put once, so the disk can work while the next ones are made.
    file_->BeginStoring(offset, bytes);
}

void CompactTarget::Finish() {
    for (const auto& [number, run] : waiting_) Write(number, run);
    waiting_.clear();
    spare_.clear();
    file_->Sync();
}

DataPageBuilder::DataPageBuilder(const Geometry& geometry, std::uint32_t owner)
    : geometry_(&geometry), owner_(owner), start_(geometry.pageBytes), page_(geometry.pageBytes, 0) {}

std::uint32_t DataPageBuilder::FreeBytes() const {
    return start_ - geometry_->dataHeaderBytes - 2 * slots_;
}

bool DataPageBuilder::Fits(std::size_t rowBytes) const {
    return slots_ < static_cast<std::uint32_t>(kMaxRowsPerPage) && rowBytes + 2 <= FreeBytes();
}

std::uint8_t DataPageBuilder::Append(std::span<const std::uint8_t> row) {
    start_ -= static_cast<std::uint32_t>(row.size());
    const MutableByteView page(page_);
    page.PutBytes(start_, row);
    page.PutU16(geometry_->dataHeaderBytes + std::size_t{2} * slots_, static_cast<std::uint16_t>(start_));
    return static_cast<std::uint8_t>(slots_++);
}

std::span<const std::uint8_t> DataPageBuilder::Bytes() {
    const MutableByteView page(page_);
    page.PutU8(0, static_cast<std::uint8_t>(PageType::Data));
    page.PutU8(1, 1);
    page.PutU16(2, static_cast<std::uint16_t>(FreeBytes()));
    page.PutU32(4, owner_);
    page.PutU16(geometry_->dataHeaderBytes - 2, static_cast<std::uint16_t>(slots_));
    return page_;
}

void DataPageBuilder::Clear() {
    std::fill(page_.begin(), page_.end(), std::uint8_t{0});
    slots_ = 0;
    start_ = geometry_->pageBytes;
}

MapWriter::MapWriter(CompactTarget& target) : target_(&target), page_(target.PageGeometry(), 0) {}

RowId MapWriter::Add(std::span<const PageNumber> pages) {
    const Geometry& geometry = target_->PageGeometry();
    const std::uint32_t usual = InlineBitmapBytes(geometry);
    if (pages.empty()) return AddRow(InlineRow(0, usual, pages));
    if (pages.back() < usual * 8) return AddRow(InlineRow(0, usual, pages));
    const PageNumber start = pages.front() & ~PageNumber{7};
    // Longer rows grow in steps of four bytes.
    const std::uint32_t needed = ((pages.back() - start) / 8 + 1 + 3) & ~3U;
    if (needed <= LongestInlineBitmapBytes(geometry)) {
        return AddRow(InlineRow(start, std::max(usual, needed), pages));
    }
    return AddRow(ReferenceRow(pages));
}

std::vector<std::uint8_t> MapWriter::ReferenceRow(std::span<const PageNumber> pages) {
    const Geometry& geometry = target_->PageGeometry();
    const std::uint32_t pagesPerBitmap = geometry.PagesPerBitmap();
    std::vector<std::uint8_t> row(kInlineMapHeaderBytes + InlineBitmapBytes(geometry), 0);
    row[0] = 1;
    for (std::size_t i = 0; i < pages.size();) {
        const std::uint32_t stretch = pages[i] / pagesPerBitmap;
        std::vector<std::uint8_t> bitmap = NewBitmapPage(geometry, 0);
        for (; i < pages.size() && pages[i] / pagesPerBitmap == stretch; ++i) {
            const std::uint32_t bit = pages[i] % pagesPerBitmap;
            bitmap[4 + bit / 8] |= static_cast<std::uint8_t>(1U << bit % 8);
        }
        const PageNumber number = target_->Allocate();
        target_->Put(number, bitmap);
        MutableByteView(row).PutU32(1 + std::size_t{4} * stretch, number);
    }
    return row;
}

RowId MapWriter::AddRow(std::span<const std::uint8_t> row) {
    if (number_ != 0 && !page_.Fits(row.size())) Finish();
    if (number_ == 0) number_ = target_->Allocate();
    return {number_, page_.Append(row)};
}

void MapWriter::Finish() {
    if (number_ == 0) return;
    target_->Put(number_, page_.Bytes());
    page_.Clear();
    number_ = 0;
}

namespace {

/// Inline as long as page 1 has room beside the second map: one bit for each page, set behind the last one.
std::vector<std::uint8_t> InlineGlobalRow(const Geometry& geometry, PageNumber pageCount) {
    const std::uint32_t bytes = std::max(InlineBitmapBytes(geometry), (pageCount + 31) / 32 * 4);
    std::vector<std::uint8_t> row(kInlineMapHeaderBytes + bytes, 0);
    for (std::uint32_t bit = pageCount; bit < bytes * 8; ++bit) {
        row[kInlineMapHeaderBytes + bit / 8] |= static_cast<std::uint8_t>(1U << bit % 8);
    }
    return row;
}

std::vector<std::uint8_t> ReferenceGlobalRow(CompactTarget& target) {
    const Geometry& geometry = target.PageGeometry();
    const std::uint32_t pagesPerBitmap = geometry.PagesPerBitmap();
    std::vector<PageNumber> bitmaps;
    // The bitmap pages are pages of the file themselves.
    while (std::uint64_t{bitmaps.size()} * pagesPerBitmap < target.PageCount()) {
        bitmaps.push_back(target.Allocate());
    }
    std::vector<std::uint8_t> row(kInlineMapHeaderBytes + InlineBitmapBytes(geometry), 0);
    row[0] = 1;
    for (std::size_t i = 0; i < bitmaps.size(); ++i) {
        std::vector<std::uint8_t> page = NewBitmapPage(geometry, 0);
        for (std::uint32_t bit = 0; bit < pagesPerBitmap; ++bit) {
            if (i * pagesPerBitmap + bit >= target.PageCount()) {
                page[4 + bit / 8] |= static_cast<std::uint8_t>(1U << bit % 8);
            }
        }
        target.Put(bitmaps[i], page);
        MutableByteView(row).PutU32(1 + 4 * i, bitmaps[i]);
    }
    return row;
}

}  // namespace

void PutGlobalMap(CompactTarget& target) {
    const Geometry& geometry = target.PageGeometry();
    DataPageBuilder page(geometry, kGlobalMapPage);
    const std::vector<std::uint8_t> second = InlineRow(0, InlineBitmapBytes(geometry), {});
    std::vector<std::uint8_t> first = InlineGlobalRow(geometry, target.PageCount());
    if (first.size() + second.size() + 4 > page.FreeBytes()) first = ReferenceGlobalRow(target);
    page.Append(first);
    page.Append(second);
    target.Put(kGlobalMapPage, page.Bytes());
}

}  // namespace marrowkit::jet::compact
