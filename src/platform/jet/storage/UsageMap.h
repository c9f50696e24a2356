#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/jet/storage/Bitmap.h"
#include "platform/jet/storage/MapRow.h"
#include "platform/jet/storage/Pager.h"

namespace marrowkit::jet {

/// A set of page numbers, stored as a row on a map page and named by that row's pointer. The global map (bits
/// mean "free") belongs to the pager; all others (bits mean "member") are handled here.
///
/// Throws 3049 when the row or its bitmap pages cannot be a map.
class UsageMap {
public:
    UsageMap(Pager& pager, RowId where) : pager_(&pager), where_(where) {}

    RowId Where() const { return where_; }

    bool Contains(PageNumber page) const;
    /// The smallest member >= `from`. May lie beyond the end of a file that was cut off: reading it is an
    /// error then, so that what is left of an object is not taken for the whole of it.
    std::optional<PageNumber> Next(PageNumber from) const;
    /// The greatest member < `before` that the file has.
    std::optional<PageNumber> Previous(PageNumber before) const;
    /// All members, ascending; see Next.
    std::vector<PageNumber> Members() const;

    // REQUIRES: a unit is open. Adding may turn an inline map into a reference map (which allocates pages).
    void Add(PageNumber page);
    void Remove(PageNumber page);
    /// A page about to be added to a map that has a bit for it: all that can fail is done.
    struct Addition {
        PageEdit page;
        std::uint8_t* byte;
        std::uint8_t bit;
        void Apply() const noexcept { *byte |= bit; }
    };
    /// nullopt when the map would have to be laid out anew.
    std::optional<Addition> PrepareAdd(PageNumber page);
    /// Makes the set empty and releases its bitmap pages.
    void Clear();

    /// The bitmap pages of a reference map (none for an inline one).
    std::vector<PageNumber> BitmapPages() const;

    /// Makes `count` new, empty inline maps; several share a map page (owner 0) while it has room.
    static std::vector<RowId> CreateMaps(Pager& pager, std::size_t count);
    /// Empties the map and marks its row deleted; a map page with no live row left is released.
    static void Destroy(Pager& pager, RowId where);

private:
    MapRow Open() const;
    MutableByteView EditRow(PageEdit& page) const;
    PageRef ReadBitmap(PageNumber page) const;
    void AddToReference(PageNumber page);
    bool MoveInlineStart(PageNumber page);
    void ConvertToReference();

    Pager* pager_;
    RowId where_;
};

}  // namespace marrowkit::jet
