#pragma once

#include <functional>
#include <optional>

#include "platform/jet/storage/MapRow.h"
#include "platform/jet/storage/Pager.h"

namespace marrowkit::jet {

/// The map of free pages, row 0 of page 1: a set bit means that the page is free. Pages behind the end of the
/// file that the bits reach are set too. Row 1, a second map, is kept and never used.
///
/// An inline map is lengthened as the file grows, by 4 bytes for every 32 pages, until page 1 is full; then
/// it becomes a reference map. A stretch of a reference map without a bitmap page has no free page.
class GlobalMap {
public:
    /// `appendPage` adds a zeroed page at the end of the file without asking the map.
    GlobalMap(Pager& pager, std::function<PageEdit()> appendPage)
        : pager_(&pager), appendPage_(std::move(appendPage)) {}

    /// Fills page 1 of a new database that has `pages` pages, none of them free.
    static void Format(const Pager& pager, const PageEdit& page, PageNumber pages);

    bool IsFree(PageNumber page) const;
    /// Takes the lowest free page; nullopt when there is none.
    std::optional<PageNumber> Take();
    /// Notes that a page was added at the end of the file.
    void NoteAppended(PageNumber page);
    /// Makes a page free. Throws 3049 when it is free already.
    void Give(PageNumber page);
    /// Forgets what it remembers about free pages; for when pages changed under it.
    void ForgetHint() { searchFrom_ = 0; }

private:
    MapRow Open() const;
    std::optional<PageNumber> FindFree(PageNumber from) const;
    void PutBit(PageNumber page, bool isFree);
    bool Lengthen(PageNumber pages);
    void ConvertToReference();
    PageNumber AddBitmapPage(std::size_t entry);

    Pager* pager_;
    std::function<PageEdit()> appendPage_;
    PageNumber searchFrom_ = 0;  ///< no page below is free
};

}  // namespace marrowkit::jet
