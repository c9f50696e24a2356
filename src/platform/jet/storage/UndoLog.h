#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <vector>

#include "platform/jet/format/Format.h"
#include "platform/jet/storage/PageTable.h"
#include "platform/jet/storage/TemporaryFile.h"

namespace marrowkit::jet {

/// What pages held before the open units changed them, one image per page and unit. Images beyond a bound go
/// to a temporary file without a name.
class UndoLog {
public:
    explicit UndoLog(std::uint32_t pageBytes) : pageBytes_(pageBytes) {}

    bool IsEmpty() const { return depth_ == 0; }
    std::size_t Depth() const { return depth_; }

    /// `pageCount`: pages that the file has now; those added later are not saved.
    void Begin(PageNumber pageCount);
    /// Pages of the file when the innermost unit began.
    PageNumber PageCount() const { return Innermost().pageCount; }
    bool NeedsImage(PageNumber page) const {
        return page < PageCount() && !Innermost().images.Contains(page);
    }
    /// REQUIRES: NeedsImage(page). Throws 3026 / 3043 when the temporary file cannot take it.
    void Save(PageNumber page, std::span<const std::uint8_t> image);
    /// Ends the innermost unit; what it saved passes to the one around it as far as that one needs it. When
    /// it throws, for lack of memory, nothing has changed.
    void Merge();
    /// Ends the innermost unit and forgets what it saved.
    void Drop();

    /// Calls `restore(page, bytes)` for every image of the innermost unit.
    template <typename Restore>
    void ForEach(const Restore& restore) {
        std::vector<std::uint8_t> image(pageBytes_);
        for (const auto& [page, index] : Innermost().images.Entries()) {
            Load(index, image);
            restore(page, std::span<const std::uint8_t>(image));
        }
    }

private:
    struct Level {
        PageTable images;  ///< page to number of its image
        std::size_t firstImage = 0;
        PageNumber pageCount = 0;
    };
    Level& Innermost() { return levels_[depth_ - 1]; }
    const Level& Innermost() const { return levels_[depth_ - 1]; }
    void Store(std::size_t index, std::span<const std::uint8_t> image);
    void AddBlock();
    std::uint8_t* InMemory(std::size_t index) const;
    void Write(std::size_t index, std::span<const std::uint8_t> images);
    void Load(std::size_t index, std::span<std::uint8_t> image) const;

    std::uint32_t pageBytes_;
    std::vector<Level> levels_;  ///< the open ones, and behind them some that are kept to be used again
    std::size_t depth_ = 0;
    std::size_t imageCount_ = 0;
    std::deque<std::unique_ptr<std::uint8_t[]>> blocks_;  ///< images in memory, in order
    std::size_t writtenBlocks_ = 0;                       ///< before them, in the file
    TemporaryFile file_;
};

}  // namespace marrowkit::jet
