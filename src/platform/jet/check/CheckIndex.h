#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "platform/jet/check/CheckFile.h"
#include "platform/jet/check/CheckReport.h"
#include "platform/jet/format/Format.h"

namespace marrowkit::jet::check {

/// One page of an index taken apart.
class IndexPage {
public:
    /// Throws Damage unless bitmap, free word and entry lengths agree.
    IndexPage(const Geometry& geometry, FilePage page);

    bool IsNode() const { return isNode_; }
    unsigned Level() const { return level_; }
    PageNumber Table() const { return page_.bytes.U32(4); }
    PageNumber Previous() const { return previous_; }
    PageNumber Next() const { return next_; }
    PageNumber Tail() const { return tail_; }
    std::size_t EntryCount() const { return ends_.size(); }

    /// Key and row pointer of an entry, with the page's prefix put in front; without the child number.
    void ReadEntry(std::size_t entry, std::vector<std::uint8_t>& bytes) const;
    /// The same. REQUIRES: the bytes are those of the entry before it, unless it is the first one.
    void ReadNextEntry(std::size_t entry, std::vector<std::uint8_t>& bytes) const;
    /// Whether an entry is greater than the one before it on the page. REQUIRES: it is not the first one.
    bool IsInOrder(std::size_t entry) const;
    /// REQUIRES: a node.
    PageNumber Child(std::size_t entry) const;

private:
    void ReadEnds(const Geometry& geometry);
    ByteView Stored(std::size_t entry) const;

    FilePage page_;
    bool isNode_;
    std::uint32_t entriesStart_;
    unsigned level_ = 0;
    std::uint32_t prefixBytes_ = 0;
    PageNumber previous_ = 0;
    PageNumber next_ = 0;
    PageNumber tail_ = 0;
    std::vector<std::uint16_t> ends_;  ///< relative to entriesStart_
};

/// The key part of an entry, and the row it stands for.
struct IndexEntry {
    explicit IndexEntry(std::span<const std::uint8_t> bytes);
    std::span<const std::uint8_t> key;
    RowId row;
};

/// Walks a tree from its root, checks what every page says about itself and its neighbours, and hands over
/// each leaf entry in order.
class TreeWalk {
public:
    struct Visitor {
        /// Called before a page is taken apart; false keeps the walk out of it (already seen, not the
        /// index's).
        std::function<bool(PageNumber)> enter;
        std::function<void(PageNumber leaf, const IndexEntry&)> entry;
        std::function<void(const Damage&)> problem;
    };

    TreeWalk(const CheckFile& file, PageNumber table, Visitor visitor)
        : file_(&file), table_(table), visitor_(std::move(visitor)) {}
    void Run(PageNumber root);

private:
    void Walk(PageNumber page, int expectedLevel, PageNumber expectedPrevious);
    void WalkNode(PageNumber number, const IndexPage& page);
    void WalkLeaf(PageNumber number, const IndexPage& page);
    void Say(PageNumber page, std::string what) const { visitor_.problem(Damage(page, std::move(what))); }

    const CheckFile* file_;
    PageNumber table_;
    Visitor visitor_;
    /// The greatest entry so far, or the greater separator behind it: what follows must be greater.
    std::vector<std::uint8_t> floor_;
    bool hasFloor_ = false;
    PageNumber lastLeaf_ = 0;
    PageNumber lastLeafNext_ = 0;
};

/// Reads the leaf entries of a sound tree from the first to the last.
class LeafReader {
public:
    LeafReader(const CheckFile& file, PageNumber root);
    bool Next();
    IndexEntry Entry() const { return IndexEntry(bytes_); }

private:
    const CheckFile* file_;
    std::vector<IndexPage> leaf_;  ///< the current one, or none
    std::size_t entry_ = 0;
    std::uint32_t leavesLeft_;
    std::vector<std::uint8_t> bytes_;
};

}  // namespace marrowkit::jet::check
