#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/jet/storage/Pager.h"
#include "platform/jet/storage/UsageMap.h"

namespace marrowkit::jet {

using KeyView = std::span<const std::uint8_t>;

/// One real index: a B-tree of (key, row) entries in plain byte order of key, page, slot. The root's page
/// number never changes. Equal keys are allowed; uniqueness is the caller's business (see ContainsKey). No
/// key of an index may be the beginning of another one, which holds for every encoding of the format.
///
/// Throws 3049 for pages that cannot belong to the tree.
class BTree {
public:
    BTree(Pager& pager, PageNumber table, PageNumber root, RowId pageMap);

    /// A new empty tree: allocates the root leaf and puts it into the map. Returns the root page.
    static PageNumber CreateRoot(Pager& pager, PageNumber table, RowId pageMap);

    // REQUIRES for all changes: a unit is open.

    /// Returns true when no other entry has this key (so the distinct statistic grows). Throws 3047 for a key
    /// that does not fit twice on a page.
    bool Insert(KeyView key, RowId row);
    /// False when there is no such entry (the caller then reports damage, or searches by row; see EraseRow).
    bool Erase(KeyView key, RowId row);
    /// An entry about to be removed from a leaf that keeps others: found, its page ready for the change.
    struct Removal {
        PageEdit leaf;
        std::uint32_t position;
    };
    /// Finds an entry whose removal changes nothing but its leaf. nullopt for all others, and when there is
    /// no such entry. Good until the tree changes.
    std::optional<Removal> PrepareErase(KeyView key, RowId row);
    void Erase(const Removal& removal) noexcept;
    /// Removes the entry of this row wherever it stands; walks the whole index. For entries whose key was
    /// built by other rules than ours.
    bool EraseRow(RowId row);
    /// Releases every page but the root, which becomes an empty leaf.
    void Clear();
    /// Fills an empty tree from entries in ascending order; leaves are packed full. `next` returns false at
    /// the end.
    struct Entry {
        std::vector<std::uint8_t> key;
        RowId row;
    };
    struct BuildResult {
        std::uint32_t entries = 0;
        std::uint32_t distinct = 0;
    };
    BuildResult Build(const std::function<bool(Entry&)>& next);

    /// Whether an entry with exactly this key exists, for another row than `except`.
    bool ContainsKey(KeyView key, std::optional<RowId> except = std::nullopt) const;

    /// Walks entries in order. A cursor stays valid when the tree changes: it finds its place again by its
    /// entry.
    class Cursor {
    public:
        explicit Cursor(const BTree& tree);
        ~Cursor();
        Cursor(Cursor&&) noexcept;
        Cursor& operator=(Cursor&&) noexcept;

        /// Before the first entry whose key is >= `key` (compared as byte strings; a key's prefix finds all
        /// keys that begin with it). An empty key stands before everything.
        void SeekBefore(KeyView key);
        void SeekAfterLast();
        bool Next();
        bool Previous();
        /// REQUIRES: Next or Previous returned true. Key valid until the next call.
        KeyView Key() const;
        RowId Row() const;

    private:
        struct State;
        std::unique_ptr<State> state_;
    };

    /// Releases every page, root and map included.
    static void Destroy(Pager& pager, PageNumber root, RowId pageMap);

private:
    friend class Cursor;

    /// The way to a page: each step a page and the position in it that leads on.
    struct Step {
        PageNumber page;
        std::uint32_t position;
    };
    /// More levels than a 2 GB file could fill even with two entries on every node.
    static constexpr std::size_t kMostLevels = 32;
    /// The steps from the root to a leaf.
    class Path {
    public:
        std::size_t Size() const { return size_; }
        Step& operator[](std::size_t depth) { return steps_[depth]; }
        const Step& Leaf() const { return steps_[size_ - 1]; }
        /// REQUIRES: Size() <= kMostLevels.
        void Append(Step step) { steps_[size_++] = step; }
        void Prepend(Step step) {
            std::copy_backward(steps_.begin(), steps_.begin() + size_, steps_.begin() + size_ + 1);
            steps_[0] = step;
            ++size_;
        }

    private:
        std::array<Step, kMostLevels + 1> steps_;  // one more for a root that grows
        std::size_t size_ = 0;
    };
    /// A leaf that is likely to be met again: entries often come and go beside the one before.
    struct LeafHint {
        PageNumber page = 0;
        std::uint64_t epoch = 0;  ///< good while this is the pager's
    };

    void FormEntry(KeyView key, RowId row);
    Path Descend(KeyView entry) const;
    PageNumber FindLeaf(KeyView entry) const;
    PageNumber FindLastLeaf() const;

    bool IsUsable(const LeafHint& hint) const;
    bool IsOwnLeaf(const PageRef& page) const;
    std::optional<bool> InsertNearLast(KeyView key);
    bool IsNewKey(const PageRef& leaf, std::uint32_t position, KeyView key) const;
    void InsertOverflowing(Path& path, KeyView entry);
    void SplitLeaf(Path& path, KeyView entry);
    void InsertChild(Path& path, std::size_t depth, KeyView entry, PageNumber left, PageNumber right);
    void SplitNode(Path& path, std::size_t depth, KeyView entry);
    void GrowRoot(Path& path);
    PageEdit NewPage(std::uint32_t level);
    void LinkBefore(PageNumber newPage, PageNumber page);
    void Unlink(PageNumber page);
    void LinkNodes(PageNumber left, PageNumber right);
    void ReleasePage(PageNumber page);

    std::optional<Removal> PrepareOn(const PageRef& leaf);
    void RemoveChild(Path& path, std::size_t depth);
    void CollapseRoot();
    void DissolveNode(Path& path, std::size_t depth);
    void MergeIntoLeft(Path& path, std::size_t depth);
    void MergeIntoRight(Path& path, std::size_t depth);

    class Builder;

    Pager* pager_;
    PageNumber table_;
    PageNumber root_;
    UsageMap pages_;
    std::vector<std::uint8_t> entry_;  ///< the entry that is being inserted or erased
    LeafHint lastInserted_;
    LeafHint lastErased_;
    bool erasesInRuns_ = false;
};

}  // namespace marrowkit::jet
