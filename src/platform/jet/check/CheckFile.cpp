#include "platform/jet/check/CheckFile.h"

#include <algorithm>

#include "platform/jet/format/JetErrors.h"
#include "platform/process/StopRequest.h"

namespace marrowkit::jet::check {

namespace {

/// Pages are read and kept in runs of this many: scans stay sequential, walks through an index in key order
/// do not read the disk page by page.
constexpr std::uint32_t kPagesPerChunk = 16;
constexpr std::size_t kSmallCacheBytes = std::size_t{1} << 20;
constexpr std::size_t kGreatestCacheBytes = std::size_t{128} << 20;

bool IsAllZero(std::span<const std::uint8_t> bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; });
}

}  // namespace

CheckFile::CheckFile(Storage& storage, const std::string& path)
    : path_(path), file_(storage.Open(path, OpenMode::ReadOnly)) {
    sizeBytes_ = file_->Size();
    std::vector<std::uint8_t> start(static_cast<std::size_t>(
        std::min<std::uint64_t>(sizeBytes_, GeometryOf(JetVersion::Jet4).pageBytes)));
    start.resize(file_->Read(0, start));
    header_ = ParseDatabaseHeader(ByteView(start), path);
    const Geometry& geometry = PageGeometry();
    pageCount_ = static_cast<PageNumber>(std::min<std::uint64_t>(sizeBytes_, geometry.maxFileBytes) /
                                         geometry.pageBytes);
    const std::size_t chunkBytes = std::size_t{kPagesPerChunk} * geometry.pageBytes;
    wasLoaded_.resize(pageCount_ / kPagesPerChunk + 1);
    cache_.resize(std::min(kSmallCacheBytes / chunkBytes, wasLoaded_.size()));
}

FilePage CheckFile::Read(PageNumber page) const {
    if (page >= pageCount_) {
        throw Damage(page, "page " + std::to_string(page) + " lies beyond the end of the file");
    }
    const std::uint32_t chunk = page / kPagesPerChunk;
    const Slot* slot = &cache_[chunk % cache_.size()];
    if (!slot->bytes || slot->chunk != chunk) {
        NoteLoad(chunk);
        Slot& place = cache_[chunk % cache_.size()];
        place.bytes.reset();
        place.bytes = LoadChunk(chunk);
        place.chunk = chunk;
        slot = &place;
    }
    const std::size_t pageBytes = PageGeometry().pageBytes;
    const std::span bytes(slot->bytes.get() + page % kPagesPerChunk * pageBytes, pageBytes);
    return {page, ByteView(bytes), slot->bytes};
}

void CheckFile::NoteLoad(std::uint32_t chunk) const {
    if (!wasLoaded_[chunk]) {
        wasLoaded_[chunk] = true;
        return;
    }
    const std::size_t chunkBytes = std::size_t{kPagesPerChunk} * PageGeometry().pageBytes;
    const std::size_t greatest = std::min(kGreatestCacheBytes / chunkBytes, wasLoaded_.size());
    if (++loadedAgain_ <= cache_.size() || cache_.size() == greatest) return;
    loadedAgain_ = 0;
    std::vector<Slot> larger(std::min(cache_.size() * 2, greatest));
    for (Slot& slot : cache_) {
        if (slot.bytes) larger[slot.chunk % larger.size()] = std::move(slot);
    }
    cache_.swap(larger);
}

FilePage CheckFile::Read(PageNumber page, PageType type) const {
    FilePage result = Read(page);
    if (result.Type() != type) {
        throw Damage(page, "page " + std::to_string(page) + " has type " +
                               std::to_string(result.bytes.U8(0)) + " where type " +
                               std::to_string(static_cast<int>(type)) + " belongs");
    }
    return result;
}

CheckFile::Chunk CheckFile::LoadChunk(std::uint32_t chunk) const {
    LeaveIfStopRequested();
    const PageNumber first = chunk * kPagesPerChunk;
    const std::size_t pageBytes = PageGeometry().pageBytes;
    const std::size_t pages = std::min(kPagesPerChunk, pageCount_ - first);
    auto bytes = std::make_shared_for_overwrite<std::uint8_t[]>(pages * pageBytes);
    const std::span<std::uint8_t> chunkBytes(bytes.get(), pages * pageBytes);
    const std::size_t got = file_->Read(std::uint64_t{first} * pageBytes, chunkBytes);
    if (got != chunkBytes.size()) throw Damage(first, "the file became shorter while it was read");
    if (header_.databaseKey != 0) {
        for (std::size_t i = 0; i < pages; ++i) {
            const std::span<std::uint8_t> page = chunkBytes.subspan(i * pageBytes, pageBytes);
            // Pages of an encoded file that were never written hold plain zeros.
            if (!IsAllZero(page)) {
                ApplyPageEncoding(header_.databaseKey, first + static_cast<PageNumber>(i), page);
            }
        }
    }
    return bytes;
}

}  // namespace marrowkit::jet::check
