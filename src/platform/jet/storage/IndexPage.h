#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/Format.h"
#include "platform/jet/storage/Pager.h"

namespace marrowkit::jet {

/// An entry's bytes: key, page and slot of the row (big-endian); on node pages followed by the child page.
using EntryView = std::span<const std::uint8_t>;

/// Bytes of page and slot behind every key, and of the child page behind those in nodes.
inline constexpr std::uint32_t kRowPointerBytes = 4;
inline constexpr std::uint32_t kChildBytes = 4;

/// <0, 0, >0: plain byte order, a prefix before what it begins.
int CompareBytes(EntryView left, EntryView right);

/// One page of an index, seen for reading.
///
/// Entries stand back to back from a fixed place. A bitmap marks the byte behind each entry's last one. A
/// position is the offset of an entry's first stored byte, counted from there; the end position is
/// UsedBytes(). The first entry is stored whole, all others without the prefix that they share with it.
class IndexPage {
public:
    /// Checks the structure once per page read from the file. Throws 3049 for other pages and for damage.
    IndexPage(const Pager& pager, const PageRef& page);

    bool IsLeaf() const { return bytes_.U8(0) == static_cast<std::uint8_t>(PageType::IndexLeaf); }
    PageNumber Table() const { return bytes_.U32(4); }
    PageNumber Previous() const { return bytes_.U32(layout_->previous); }
    PageNumber Next() const { return bytes_.U32(layout_->previous + 4); }
    PageNumber Tail() const { return bytes_.U32(layout_->previous + 8); }
    std::uint32_t Level() const { return bytes_.U8(layout_->level); }
    std::uint32_t PrefixBytes() const {
        return layout_->wordPrefix ? bytes_.U16(layout_->prefix) : bytes_.U8(layout_->prefix);
    }
    /// Longest prefix that the page can record.
    std::uint32_t MaxPrefixBytes() const { return layout_->wordPrefix ? 0xFFFF : 0xFF; }
    std::uint32_t Capacity() const { return geometry_->pageBytes - geometry_->indexEntriesStart; }
    std::uint32_t UsedBytes() const { return Capacity() - bytes_.U16(2); }
    bool IsEmpty() const { return UsedBytes() == 0; }
    /// Bytes behind the key: the row pointer, and in nodes the child.
    std::uint32_t TrailerBytes() const {
        return IsLeaf() ? kRowPointerBytes : kRowPointerBytes + kChildBytes;
    }

    /// The position behind the entry at `position`. REQUIRES: position < UsedBytes().
    std::uint32_t After(std::uint32_t position) const;
    /// The position of the entry before. REQUIRES: position > 0.
    std::uint32_t Before(std::uint32_t position) const;
    /// What is stored of the entry: everything for the first, the part behind the prefix for the others.
    EntryView Stored(std::uint32_t position) const;
    /// The whole entry, put together in `entry`.
    void Whole(std::uint32_t position, std::vector<std::uint8_t>& entry) const;
    /// Order of the entry there against `entry` (key and row pointer), as CompareBytes tells it. Node entries
    /// compare without their child.
    int Compare(std::uint32_t position, EntryView entry) const;
    /// The child that a node's entry leads to; at the end position the tail.
    PageNumber Child(std::uint32_t position) const;
    /// The first entry that is not smaller than `entry` (key and row pointer, or part of it), else the end.
    /// Node entries compare without their child.
    std::uint32_t LowerBound(EntryView entry) const;
    /// How many entries stand before the position; REQUIRES: position <= UsedBytes().
    std::uint32_t CountBefore(std::uint32_t position) const;
    /// Whether the entry has exactly this key, whatever its row.
    bool HasKey(std::uint32_t position, EntryView key) const;

protected:
    /// Where fields stand that differ between the formats.
    struct Layout {
        std::uint32_t previous;
        std::uint32_t prefix;
        bool wordPrefix;
        std::uint32_t level;
        std::uint32_t bitmap;
    };
    static const Layout& LayoutOf(JetVersion version);

    std::uint32_t FirstEndAfter(std::uint32_t position) const;
    std::uint32_t LastEndUpTo(std::uint32_t position) const;
    bool IsSound() const;

    const Geometry* geometry_;
    const Layout* layout_;
    ByteView bytes_;
};

/// The same for writing. The bitmap, the free word and the zeroed rest of the page are exact after every
/// call.
class IndexPageEdit : public IndexPage {
public:
    IndexPageEdit(const Pager& pager, const PageEdit& page);

    /// Makes a page an index page without entries.
    static IndexPageEdit Format(const Pager& pager, const PageEdit& page, PageNumber table,
                                std::uint32_t level);

    void PutPrevious(PageNumber page) const { mutable_.PutU32(layout_->previous, page); }
    void PutNext(PageNumber page) const { mutable_.PutU32(layout_->previous + 4, page); }
    void PutTail(PageNumber page) const { mutable_.PutU32(layout_->previous + 8, page); }
    /// The child of a node's entry, or the tail at the end position.
    void PutChild(std::uint32_t position, PageNumber child) const;

    /// Puts a whole entry in front of `position`; false, and nothing changed, when the page cannot take it
    /// with the prefix it has (or the shorter one that the entry leaves).
    bool Insert(std::uint32_t position, EntryView entry) const;
    void Erase(std::uint32_t position) const;
    /// Replaces all entries. They must fit with a prefix of this length.
    void Assign(std::span<const EntryView> entries, std::uint32_t prefixBytes) const;
    /// Puts one entry behind the others; for building pages from sorted entries. The entry begins with the
    /// page's prefix and fits.
    void Append(EntryView entry) const;
    void PutPrefixBytes(std::uint32_t bytes) const;
    /// Makes this page a copy of the other but for the links to its neighbours, which become none.
    void CopyFrom(const PageRef& other) const;

private:
    void PutUsedBytes(std::uint32_t used) const {
        mutable_.PutU16(2, static_cast<std::uint16_t>(Capacity() - used));
    }
    void InsertBytes(std::uint32_t position, std::uint32_t marksBehind, std::uint32_t count) const;
    void EraseBytes(std::uint32_t position, std::uint32_t mark, std::uint32_t count) const;
    void SetEnd(std::uint32_t position, bool value) const;
    void ShortenPrefix(std::uint32_t bytes) const;
    MutableByteView mutable_;
};

/// A page's entries taken out of it, for laying them out anew.
class EntryList {
public:
    explicit EntryList(const IndexPage& page);
    void Insert(std::size_t at, EntryView entry);
    std::size_t Size() const { return entries_.size(); }
    EntryView operator[](std::size_t i) const { return entries_[i]; }
    std::span<const EntryView> Range(std::size_t from, std::size_t to) const {
        return std::span(entries_).subspan(from, to - from);
    }
    /// Length of what entries [from, to) all begin with.
    std::uint32_t CommonPrefix(std::size_t from, std::size_t to) const;
    /// Bytes that entries [from, to) take when stored with this prefix.
    std::uint32_t StoredBytes(std::size_t from, std::size_t to, std::uint32_t prefixBytes) const;

private:
    std::vector<std::uint8_t> bytes_;
    std::vector<EntryView> entries_;
};

}  // namespace marrowkit::jet
