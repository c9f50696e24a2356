#include "platform/jet/storage/BTree.h"

#include <algorithm>
#include <string>

#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/IndexPage.h"

namespace marrowkit::jet {

namespace {

/// The entry of a node: what the leaf entry says, followed by the child.
std::vector<std::uint8_t> NodeEntry(KeyView entry, PageNumber child) {
    std::vector<std::uint8_t> bytes(entry.begin(), entry.end());
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<std::uint8_t>(child >> shift));
    return bytes;
}

PageNumber ChildOf(EntryView nodeEntry) {
    return ByteView(nodeEntry).U32BigEndian(nodeEntry.size() - kChildBytes);
}

/// Where to cut a list of entries so that both sides take about the same room.
std::size_t Middle(const EntryList& entries, std::uint32_t prefix) {
    const std::size_t count = entries.Size();
    const std::uint32_t half = entries.StoredBytes(0, count, prefix) / 2;
    std::uint32_t bytes = 0;
    std::size_t at = 0;
    while (at + 1 < count && bytes < half) {
        bytes += static_cast<std::uint32_t>(entries[at].size()) - (at == 0 ? 0 : prefix);
        ++at;
    }
    return std::max<std::size_t>(at, 1);
}

/// Entries [from, to) of a page and what is stored once of them.
struct Part {
    std::size_t from;
    std::size_t to;
    std::uint32_t prefix;
};

/// The part with the prefix that the whole list has, when it fits so, else with its own, longer one; nullopt
/// when it needs more than a page.
std::optional<Part> PartThatFits(const EntryList& entries, std::size_t from, std::size_t to,
                                 std::uint32_t sharedPrefix, const IndexPage& page) {
    for (const std::uint32_t prefix : {sharedPrefix, entries.CommonPrefix(from, to)}) {
        const std::uint32_t stored = std::min(prefix, page.MaxPrefixBytes());
        if (entries.StoredBytes(from, to, stored) <= page.Capacity()) return Part{from, to, stored};
    }
    return std::nullopt;
}

/// Cuts a page's entries, one of them just added at `added`, into two parts that fit on a page each: in the
/// middle when that will do. A new first or last entry may end what all others begin with and make them too
/// long to stand beside it, and a few long entries may not be halved evenly; beside the new entry there is
/// always a place to cut, because what was on the page fits and the new entry takes no more than half a page.
std::pair<Part, Part> CutInTwo(const EntryList& entries, std::size_t added, const IndexPage& page) {
    const std::size_t count = entries.Size();
    const std::uint32_t shared = std::min(entries.CommonPrefix(0, count), page.MaxPrefixBytes());
    for (const std::size_t cut : {Middle(entries, shared), added + 1, added}) {
        if (cut == 0 || cut >= count) continue;
        const auto left = PartThatFits(entries, 0, cut, shared, page);
        const auto right = PartThatFits(entries, cut, count, shared, page);
        if (left && right) return {*left, *right};
    }
    throw OutOfBounds{};
}

}  // namespace

BTree::BTree(Pager& pager, PageNumber table, PageNumber root, RowId pageMap)
    : pager_(&pager), table_(table), root_(root), pages_(pager, pageMap) {}

PageNumber BTree::CreateRoot(Pager& pager, PageNumber table, RowId pageMap) {
    const PageEdit page = pager.Allocate();
    IndexPageEdit::Format(pager, page, table, 0);
    UsageMap(pager, pageMap).Add(page.Number());
    return page.Number();
}

void BTree::FormEntry(KeyView key, RowId row) {
    entry_.assign(key.begin(), key.end());
    entry_.push_back(static_cast<std::uint8_t>(row.page >> 16));
    entry_.push_back(static_cast<std::uint8_t>(row.page >> 8));
    entry_.push_back(static_cast<std::uint8_t>(row.page));
    entry_.push_back(row.slot);
}

// ---- Finding

BTree::Path BTree::Descend(KeyView entry) const {
    Path path;
    PageNumber number = root_;
    std::uint32_t level = 0;
    for (;;) {
        const PageRef ref = pager_->Read(number);
        const IndexPage page(*pager_, ref);
        if ((path.Size() != 0 && page.Level() + 1 != level) || path.Size() >= kMostLevels) {
            RaiseCorrupt(pager_->Path(), "index page " + std::to_string(number) + ": on the wrong level");
        }
        level = page.Level();
        const std::uint32_t position = page.LowerBound(entry);
        path.Append({number, position});
        if (page.IsLeaf()) return path;
        number = page.Child(position);
    }
}

PageNumber BTree::FindLeaf(KeyView entry) const {
    PageNumber number = root_;
    for (std::size_t depth = 0; depth < kMostLevels; ++depth) {
        const PageRef ref = pager_->Read(number);
        const IndexPage page(*pager_, ref);
        if (page.IsLeaf()) return number;
        number = page.Child(page.LowerBound(entry));
    }
    RaiseCorrupt(pager_->Path(), "index at page " + std::to_string(root_) + ": its pages form a circle");
}

PageNumber BTree::FindLastLeaf() const {
    PageNumber number = root_;
    for (std::size_t depth = 0; depth < kMostLevels; ++depth) {
        const PageRef ref = pager_->Read(number);
        const IndexPage page(*pager_, ref);
        if (page.IsLeaf()) return number;
        number = page.Tail();
    }
    RaiseCorrupt(pager_->Path(), "index at page " + std::to_string(root_) + ": its pages form a circle");
}

/// Whether the page behind the hint is still the leaf of this tree that it was.
bool BTree::IsUsable(const LeafHint& hint) const {
    return hint.page != 0 && hint.epoch == pager_->LayoutEpoch();
}

bool BTree::IsOwnLeaf(const PageRef& page) const {
    return page.Type() == PageType::IndexLeaf && IndexPage(*pager_, page).Table() == table_;
}

bool BTree::ContainsKey(KeyView key, std::optional<RowId> except) const {
    PageNumber number = FindLeaf(key);
    bool first = true;
    // The count ends a walk through leaves that damage has linked in a circle.
    for (PageNumber pages = 0; number != 0 && pages <= pager_->PageCount(); ++pages) {
        const PageRef ref = pager_->Read(number);
        const IndexPage page(*pager_, ref);
        for (std::uint32_t at = first ? page.LowerBound(key) : 0; at < page.UsedBytes();
             at = page.After(at)) {
            if (!page.HasKey(at, key)) return false;
            if (!except) return true;
            std::vector<std::uint8_t> whole;
            page.Whole(at, whole);
            const ByteView pointer = ByteView(whole).From(key.size());
            if (RowId{pointer.U24BigEndian(0), pointer.U8(3)} != *except) return true;
        }
        number = page.Next();
        first = false;
    }
    return false;
}

// ---- Inserting

bool BTree::Insert(KeyView key, RowId row) {
    FormEntry(key, row);
    const Geometry& geometry = pager_->PageGeometry();
    if (entry_.size() + kChildBytes > (geometry.pageBytes - geometry.indexEntriesStart) / 2) {
        RaiseJet(JetError::RecordTooLarge);
    }
    if (const auto isNew = InsertNearLast(key)) return *isNew;

    Path path = Descend(entry_);
    const Step leaf = path.Leaf();
    bool isNew = false;
    bool inserted = false;
    {
        const PageEdit page = pager_->Edit(leaf.page);
        const IndexPageEdit index(*pager_, page);
        if (leaf.position < index.UsedBytes() && index.Compare(leaf.position, entry_) == 0) {
            RaiseCorrupt(pager_->Path(), "index at page " + std::to_string(root_) + " has the row already");
        }
        isNew = IsNewKey(page, leaf.position, key);
        inserted = index.Insert(leaf.position, entry_);
    }
    lastInserted_.page = leaf.page;
    if (!inserted) InsertOverflowing(path, entry_);
    lastInserted_.epoch = pager_->LayoutEpoch();
    return isNew;
}

/// The quick way for entries that belong onto the page that took the last one: nullopt when this one does not
/// for certain, or when it does not fit.
std::optional<bool> BTree::InsertNearLast(KeyView key) {
    if (!IsUsable(lastInserted_)) return std::nullopt;
    std::uint32_t position = 0;
    {
        const PageRef ref = pager_->Read(lastInserted_.page);
        if (!IsOwnLeaf(ref)) return std::nullopt;
        const IndexPage page(*pager_, ref);
        const std::uint32_t used = page.UsedBytes();
        if (used == 0 || (page.Previous() != 0 && page.Compare(0, entry_) >= 0) ||
            (page.Next() != 0 && page.Compare(page.Before(used), entry_) < 0)) {
            return std::nullopt;
        }
        position = page.LowerBound(entry_);
        if (position < used && page.Compare(position, entry_) == 0) return std::nullopt;
        if (used + entry_.size() - page.PrefixBytes() > page.Capacity()) return std::nullopt;
    }
    const PageEdit page = pager_->Edit(lastInserted_.page);
    const bool isNew = IsNewKey(page, position, key);
    if (!IndexPageEdit(*pager_, page).Insert(position, entry_)) return std::nullopt;
    return isNew;
}

/// Whether the entries on both sides of a place have other keys.
bool BTree::IsNewKey(const PageRef& leaf, std::uint32_t position, KeyView key) const {
    const IndexPage page(*pager_, leaf);
    if (position > 0) {
        if (page.HasKey(page.Before(position), key)) return false;
    } else if (page.Previous() != 0) {
        const PageRef ref = pager_->Read(page.Previous());
        const IndexPage previous(*pager_, ref);
        if (!previous.IsEmpty() && previous.HasKey(previous.Before(previous.UsedBytes()), key)) return false;
    }
    if (position < page.UsedBytes()) return !page.HasKey(position, key);
    if (page.Next() == 0) return true;
    const PageRef ref = pager_->Read(page.Next());
    const IndexPage next(*pager_, ref);
    return next.IsEmpty() || !next.HasKey(0, key);
}

/// The leaf at the end of the path has no room: store it with the prefix that all its entries share, and when
/// that does not help, split it.
void BTree::InsertOverflowing(Path& path, KeyView entry) {
    {
        const PageEdit page = pager_->Edit(path.Leaf().page);
        const IndexPageEdit index(*pager_, page);
        EntryList entries(index);
        entries.Insert(index.CountBefore(path.Leaf().position), entry);
        const std::uint32_t prefix =
            std::min(entries.CommonPrefix(0, entries.Size()), index.MaxPrefixBytes());
        if (entries.StoredBytes(0, entries.Size(), prefix) <= index.Capacity()) {
            return index.Assign(entries.Range(0, entries.Size()), prefix);
        }
    }
    SplitLeaf(path, entry);
}

void BTree::SplitLeaf(Path& path, KeyView entry) {
    if (path.Size() == 1) GrowRoot(path);
    const Step leaf = path.Leaf();
    const PageEdit page = pager_->Edit(leaf.page);
    const IndexPageEdit index(*pager_, page);
    EntryList entries(index);
    const std::size_t at = index.CountBefore(leaf.position);
    const PageEdit added = NewPage(0);
    const IndexPageEdit addedIndex(*pager_, added);

    if (index.Next() == 0 && at == entries.Size()) {
        // Entries that come in ascending order leave full pages behind.
        addedIndex.Assign(std::span(&entry, 1), 0);
        addedIndex.PutPrevious(page.Number());
        index.PutNext(added.Number());
        lastInserted_.page = added.Number();
        const std::vector<std::uint8_t> last(entries[at - 1].begin(), entries[at - 1].end());
        return InsertChild(path, path.Size() - 2, last, page.Number(), added.Number());
    }
    entries.Insert(at, entry);
    const auto [left, right] = CutInTwo(entries, at, index);
    addedIndex.Assign(entries.Range(left.from, left.to), left.prefix);
    index.Assign(entries.Range(right.from, right.to), right.prefix);
    LinkBefore(added.Number(), page.Number());
    lastInserted_.page = at < left.to ? added.Number() : page.Number();
    InsertChild(path, path.Size() - 2, entries[left.to - 1], added.Number(), page.Number());
}

/// In the node at `depth`: the place that led to a split page leads to `right` now, and a new entry in front
/// of it to `left`.
void BTree::InsertChild(Path& path, std::size_t depth, KeyView entry, PageNumber left, PageNumber right) {
    const std::vector<std::uint8_t> nodeEntry = NodeEntry(entry, left);
    {
        const PageEdit page = pager_->Edit(path[depth].page);
        const IndexPageEdit node(*pager_, page);
        node.PutChild(path[depth].position, right);
        if (node.Insert(path[depth].position, nodeEntry)) return;
    }
    SplitNode(path, depth, nodeEntry);
}

/// Splits the node at `depth` around one of its entries, which moves up; `entry` is to be added at the
/// position that the path has.
void BTree::SplitNode(Path& path, std::size_t depth, KeyView entry) {
    if (depth == 0) {
        GrowRoot(path);
        depth = 1;
    }
    const PageEdit page = pager_->Edit(path[depth].page);
    const IndexPageEdit node(*pager_, page);
    EntryList entries(node);
    const std::size_t at = node.CountBefore(path[depth].position);
    entries.Insert(at, entry);
    const std::size_t count = entries.Size();
    // At the right end of the tree the left page stays as full as can be, like leaves do.
    const bool ascending = at + 1 == count && node.Next() == 0;
    // The entry that moves up is the one that the middle of the bytes falls into, so either side fits.
    const std::size_t middle =
        ascending ? count - 2 : std::clamp<std::size_t>(Middle(entries, 0) - 1, 1, count - 2);

    const PageEdit added = NewPage(node.Level());
    const IndexPageEdit addedNode(*pager_, added);
    addedNode.Assign(entries.Range(0, middle), 0);
    addedNode.PutTail(ChildOf(entries[middle]));
    node.Assign(entries.Range(middle + 1, count), 0);
    LinkBefore(added.Number(), page.Number());
    if (node.Level() > 1) {
        // Nodes are linked with those of the same parent only, and these two have different ones now.
        LinkNodes(ChildOf(entries[middle]), 0);
        LinkNodes(0, ChildOf(entries[middle + 1]));
    }
    const EntryView up = entries[middle].first(entries[middle].size() - kChildBytes);
    InsertChild(path, depth - 1, up, added.Number(), page.Number());
}

/// Moves the root's entries one level down, so that the root's page number can stay.
void BTree::GrowRoot(Path& path) {
    const PageEdit root = pager_->Edit(root_);
    const std::uint32_t level = IndexPageEdit(*pager_, root).Level();
    const PageEdit child = NewPage(level);
    IndexPageEdit(*pager_, child).CopyFrom(root);
    IndexPageEdit::Format(*pager_, root, table_, level + 1).PutTail(child.Number());
    path[0].page = child.Number();
    path.Prepend({root_, 0});
}

PageEdit BTree::NewPage(std::uint32_t level) {
    PageEdit page = pager_->Allocate();
    IndexPageEdit::Format(*pager_, page, table_, level);
    pages_.Add(page.Number());
    return page;
}

void BTree::LinkBefore(PageNumber newPage, PageNumber page) {
    PageNumber previous = 0;
    {
        const PageEdit edit = pager_->Edit(page);
        const IndexPageEdit index(*pager_, edit);
        previous = index.Previous();
        index.PutPrevious(newPage);
    }
    {
        const PageEdit edit = pager_->Edit(newPage);
        const IndexPageEdit index(*pager_, edit);
        index.PutPrevious(previous);
        index.PutNext(page);
    }
    if (previous == 0) return;
    const PageEdit edit = pager_->Edit(previous);
    IndexPageEdit(*pager_, edit).PutNext(newPage);
}

}  // namespace marrowkit::jet
