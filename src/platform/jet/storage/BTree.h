#pragma once

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
/// number never changes. Equal keys are allowed; uniqueness is the caller's business (see ContainsKey).
class BTree {
public:
    BTree(Pager& pager, PageNumber table, PageNumber root, RowId pageMap);

    /// A new empty tree: allocates the root leaf and puts it into the map. Returns the root page.
    static PageNumber CreateRoot(Pager& pager, PageNumber table, RowId pageMap);

    // REQUIRES for all changes: a unit is open.

    /// Returns true when no other entry has this key (so the distinct statistic grows).
    bool Insert(KeyView key, RowId row);
    /// False when there is no such entry (the caller then reports damage, or searches by row; see EraseRow).
    bool Erase(KeyView key, RowId row);
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
    Pager* pager_;
    PageNumber table_;
    PageNumber root_;
    UsageMap pages_;
};

}  // namespace marrowkit::jet
