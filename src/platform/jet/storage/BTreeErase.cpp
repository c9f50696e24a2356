#include <vector>

#include "platform/jet/storage/BTree.h"
#include "platform/jet/storage/IndexPage.h"

// Removing entries. A page that becomes empty leaves the tree at once. All leaves stay at the same depth, so
// a node that is left with its tail child only gives that child to a neighbour, or takes one from it when the
// neighbour is full.

namespace marrowkit::jet {

namespace {

std::vector<std::uint8_t> Copy(EntryView entry) {
    return {entry.begin(), entry.end()};
}

/// A node's entry without its child.
std::vector<std::uint8_t> KeyAt(const IndexPage& node, std::uint32_t position) {
    const EntryView stored = node.Stored(position);
    return Copy(stored.first(stored.size() - kChildBytes));
}

std::vector<std::uint8_t> WithChild(std::vector<std::uint8_t> entry, PageNumber child) {
    for (int shift = 24; shift >= 0; shift -= 8) entry.push_back(static_cast<std::uint8_t>(child >> shift));
    return entry;
}

}  // namespace

bool BTree::Erase(KeyView key, RowId row) {
    if (const auto removal = PrepareErase(key, row)) {
        Erase(*removal);
        return true;
    }
    Path path = Descend(entry_);
    const Step leaf = path.Leaf();
    {
        const PageRef ref = pager_->Read(leaf.page);
        const IndexPage index(*pager_, ref);
        if (leaf.position >= index.UsedBytes() || index.Compare(leaf.position, entry_) != 0) return false;
    }
    // The leaf's only entry.
    Unlink(leaf.page);
    ReleasePage(leaf.page);
    RemoveChild(path, path.Size() - 2);
    return true;
}

std::optional<BTree::Removal> BTree::PrepareErase(KeyView key, RowId row) {
    FormEntry(key, row);
    if (erasesInRuns_ && IsUsable(lastErased_)) {
        const PageRef last = pager_->Read(lastErased_.page);
        if (IsOwnLeaf(last)) {
            if (auto removal = PrepareOn(last)) return removal;
        }
    }
    const PageNumber leaf = FindLeaf(entry_);
    // Looking at the last leaf first pays only where entries do go from one leaf after the other.
    erasesInRuns_ = leaf == lastErased_.page;
    lastErased_ = {leaf, pager_->LayoutEpoch()};
    return PrepareOn(pager_->Read(leaf));
}

/// Makes `entry_` ready for removal when it is on this leaf and not alone there.
std::optional<BTree::Removal> BTree::PrepareOn(const PageRef& leaf) {
    const IndexPage index(*pager_, leaf);
    const std::uint32_t used = index.UsedBytes();
    const std::uint32_t position = index.LowerBound(entry_);
    if (position >= used || index.Compare(position, entry_) != 0) return std::nullopt;
    const bool isAlone = position == 0 && index.After(0) == used;
    if (isAlone && leaf.Number() != root_) return std::nullopt;
    return Removal{pager_->Edit(leaf.Number()), position};
}

void BTree::Erase(const Removal& removal) noexcept {
    IndexPageEdit(*pager_, removal.leaf).Erase(removal.position);
}

bool BTree::EraseRow(RowId row) {
    std::vector<std::uint8_t> found;
    {
        Cursor cursor(*this);
        cursor.SeekBefore({});
        while (cursor.Next()) {
            if (cursor.Row() != row) continue;
            found = Copy(cursor.Key());
            break;
        }
        if (found.empty()) return false;
    }
    return Erase(found, row);
}

void BTree::Clear() {
    for (const PageNumber page : pages_.Members()) {
        if (page != root_) ReleasePage(page);
    }
    const PageEdit root = pager_->Edit(root_);
    IndexPageEdit::Format(*pager_, root, table_, 0);
    lastInserted_ = {};
    lastErased_ = {};
}

void BTree::Destroy(Pager& pager, PageNumber root, RowId pageMap) {
    UsageMap pages(pager, pageMap);
    std::vector<PageNumber> members = pages.Members();
    if (!pages.Contains(root)) members.push_back(root);
    UsageMap::Destroy(pager, pageMap);
    for (const PageNumber page : members) pager.Release(page);
}

void BTree::ReleasePage(PageNumber page) {
    pages_.Remove(page);
    pager_->Release(page);
}

void BTree::Unlink(PageNumber page) {
    PageNumber previous = 0;
    PageNumber next = 0;
    {
        const PageRef ref = pager_->Read(page);
        const IndexPage index(*pager_, ref);
        previous = index.Previous();
        next = index.Next();
    }
    LinkNodes(previous, next);
}

/// Makes two pages of a level neighbours; 0 is the end on that side.
void BTree::LinkNodes(PageNumber left, PageNumber right) {
    if (left != 0) {
        const PageEdit edit = pager_->Edit(left);
        IndexPageEdit(*pager_, edit).PutNext(right);
    }
    if (right != 0) {
        const PageEdit edit = pager_->Edit(right);
        IndexPageEdit(*pager_, edit).PutPrevious(left);
    }
}

/// Takes the place that the path has at `depth` out of that node; the page it led to is released already.
void BTree::RemoveChild(Path& path, std::size_t depth) {
    {
        const PageEdit page = pager_->Edit(path[depth].page);
        const IndexPageEdit node(*pager_, page);
        std::uint32_t position = path[depth].position;
        if (position >= node.UsedBytes()) {
            position = node.Before(node.UsedBytes());
            node.PutTail(node.Child(position));
        }
        node.Erase(position);
        if (!node.IsEmpty()) return;
    }
    if (depth == 0) return CollapseRoot();
    DissolveNode(path, depth);
}

/// The root has one child left: it becomes that child.
void BTree::CollapseRoot() {
    PageNumber child = 0;
    {
        const PageEdit root = pager_->Edit(root_);
        child = IndexPageEdit(*pager_, root).Tail();
        const PageRef ref = pager_->Read(child);
        const IndexPage check(*pager_, ref);
        IndexPageEdit(*pager_, root).CopyFrom(ref);
    }
    ReleasePage(child);
}

/// The node at `depth` has its tail child only.
void BTree::DissolveNode(Path& path, std::size_t depth) {
    if (path[depth - 1].position > 0) {
        MergeIntoLeft(path, depth);
    } else {
        MergeIntoRight(path, depth);
    }
}

void BTree::MergeIntoLeft(Path& path, std::size_t depth) {
    const Step above = path[depth - 1];
    const PageNumber lonely = path[depth].page;
    PageNumber moved = 0;
    bool childrenAreNodes = false;
    {
        const PageEdit lonelyPage = pager_->Edit(lonely);
        const IndexPageEdit lonelyNode(*pager_, lonelyPage);
        const PageEdit parentPage = pager_->Edit(above.page);
        const IndexPageEdit parent(*pager_, parentPage);
        const std::uint32_t leftPosition = parent.Before(above.position);
        const PageNumber left = parent.Child(leftPosition);
        const PageEdit leftPage = pager_->Edit(left);
        const IndexPageEdit leftNode(*pager_, leftPage);
        const std::vector<std::uint8_t> separator = KeyAt(parent, leftPosition);
        const PageNumber leftTail = leftNode.Tail();
        moved = lonelyNode.Tail();
        childrenAreNodes = lonelyNode.Level() > 1;

        if (!leftNode.Insert(leftNode.UsedBytes(), WithChild(separator, leftTail))) {
            // The left neighbour is full: its last child comes over.
            const std::uint32_t last = leftNode.Before(leftNode.UsedBytes());
            const std::vector<std::uint8_t> lastKey = KeyAt(leftNode, last);
            lonelyNode.Insert(0, WithChild(separator, leftTail));
            const PageNumber newTail = leftNode.Child(last);
            leftNode.PutTail(newTail);
            leftNode.Erase(last);
            if (childrenAreNodes) {
                LinkNodes(newTail, 0);
                LinkNodes(0, leftTail);
                LinkNodes(leftTail, moved);
            }
            parent.Erase(leftPosition);
            path[depth - 1].position = leftPosition;
            return InsertChild(path, depth - 1, lastKey, left, lonely);
        }
        leftNode.PutTail(moved);
        if (childrenAreNodes) LinkNodes(leftTail, moved);
        parent.PutChild(above.position, left);
        path[depth - 1].position = leftPosition;
    }
    Unlink(lonely);
    ReleasePage(lonely);
    // The left neighbour's own entry goes; it is reached through the place that led to the dissolved node.
    RemoveChild(path, depth - 1);
}

void BTree::MergeIntoRight(Path& path, std::size_t depth) {
    const Step above = path[depth - 1];
    const PageNumber lonely = path[depth].page;
    {
        const PageEdit lonelyPage = pager_->Edit(lonely);
        const IndexPageEdit lonelyNode(*pager_, lonelyPage);
        const PageEdit parentPage = pager_->Edit(above.page);
        const IndexPageEdit parent(*pager_, parentPage);
        const PageNumber right = parent.Child(parent.After(above.position));
        const PageEdit rightPage = pager_->Edit(right);
        const IndexPageEdit rightNode(*pager_, rightPage);
        const std::vector<std::uint8_t> separator = KeyAt(parent, above.position);
        const PageNumber moved = lonelyNode.Tail();
        const PageNumber rightFirst = rightNode.Child(0);
        const bool childrenAreNodes = lonelyNode.Level() > 1;

        if (!rightNode.Insert(0, WithChild(separator, moved))) {
            // The right neighbour is full: its first child comes over.
            const std::vector<std::uint8_t> firstKey = KeyAt(rightNode, 0);
            lonelyNode.Insert(0, WithChild(separator, moved));
            lonelyNode.PutTail(rightFirst);
            rightNode.Erase(0);
            if (childrenAreNodes) {
                LinkNodes(moved, rightFirst);
                LinkNodes(rightFirst, 0);
                LinkNodes(0, rightNode.Child(0));
            }
            parent.Erase(above.position);
            return InsertChild(path, depth - 1, firstKey, lonely, right);
        }
        if (childrenAreNodes) LinkNodes(moved, rightFirst);
    }
    Unlink(lonely);
    ReleasePage(lonely);
    RemoveChild(path, depth - 1);
}

}  // namespace marrowkit::jet
