#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/DatabaseHeader.h"
#include "platform/jet/format/Format.h"
#include "platform/jet/storage/Storage.h"

namespace marrowkit::jet::check {

/// Something in a file that cannot be. `page` is 0 when no single page is to blame.
struct Damage : std::exception {
    Damage(PageNumber page_, std::string what_) : page(page_), description(std::move(what_)) {}
    const char* what() const noexcept override { return description.c_str(); }

    PageNumber page;
    std::string description;
};

/// A decoded page. The bytes live as long as this does.
struct FilePage {
    PageNumber number = 0;
    ByteView bytes;
    std::shared_ptr<const std::uint8_t[]> keeper;

    PageType Type() const { return static_cast<PageType>(bytes.U8(0)); }
};

/// A database file read page by page, past the pager: the verifier must not share code with what it verifies.
/// Never writes, takes no locks, ignores the journal.
class CheckFile {
public:
    /// Throws what Storage::Open throws, 3343 for a file that is no Jet 3 or Jet 4 database.
    CheckFile(Storage& storage, const std::string& path);

    const std::string& Path() const { return path_; }
    const DatabaseHeader& Header() const { return header_; }
    const Geometry& PageGeometry() const { return header_.PageGeometry(); }
    std::uint64_t SizeBytes() const { return sizeBytes_; }
    /// Whole pages only.
    PageNumber PageCount() const { return pageCount_; }

    /// Throws Damage for a page beyond the end.
    FilePage Read(PageNumber page) const;
    /// The same, and Damage unless the page has this type.
    FilePage Read(PageNumber page, PageType type) const;

private:
    using Chunk = std::shared_ptr<const std::uint8_t[]>;
    Chunk LoadChunk(std::uint32_t chunk) const;
    void NoteLoad(std::uint32_t chunk) const;

    std::string path_;
    std::unique_ptr<StorageFile> file_;
    DatabaseHeader header_;
    std::uint64_t sizeBytes_ = 0;
    PageNumber pageCount_ = 0;
    struct Slot {
        std::uint32_t chunk = 0;
        Chunk bytes;
    };
    /// Direct mapped: chunk number modulo size. Small as long as pages are read one behind the other, so that
    /// few buffers are used again and again; it grows when chunks are wanted that were dropped.
    mutable std::vector<Slot> cache_;
    mutable std::vector<bool> wasLoaded_;  ///< per chunk
    mutable std::size_t loadedAgain_ = 0;  ///< since the cache grew
};

}  // namespace marrowkit::jet::check
