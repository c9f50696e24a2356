#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/BTree.h"
#include "platform/jet/storage/IndexPage.h"

namespace marrowkit::jet {

namespace {

/// A finished page and the last entry below it.
struct Built {
    std::vector<std::uint8_t> last;
    PageNumber page;
};

/// Entries in one block of memory, in the order they came.
class EntryBuffer {
public:
    void Add(EntryView entry) {
        bytes_.insert(bytes_.end(), entry.begin(), entry.end());
        ends_.push_back(bytes_.size());
    }
    void Clear() {
        bytes_.clear();
        ends_.clear();
    }
    std::size_t Count() const { return ends_.size(); }
    std::size_t Bytes() const { return bytes_.size(); }
    EntryView operator[](std::size_t i) const {
        const std::size_t start = i == 0 ? 0 : ends_[i - 1];
        return EntryView(bytes_).subspan(start, ends_[i] - start);
    }
    EntryView Last() const { return (*this)[Count() - 1]; }
    std::vector<EntryView> All() const {
        std::vector<EntryView> entries;
        entries.reserve(Count());
        for (std::size_t i = 0; i < Count(); ++i) entries.push_back((*this)[i]);
        return entries;
    }

private:
    std::vector<std::uint8_t> bytes_;
    std::vector<std::size_t> ends_;
};

std::size_t SharedPrefix(EntryView left, EntryView right, std::size_t most) {
    most = std::min({most, left.size(), right.size()});
    std::size_t shared = 0;
    while (shared < most && left[shared] == right[shared]) ++shared;
    return shared;
}

}  // namespace

/// Fills leaves from the first entry to the last, then one level of nodes after the other on top of them. A
/// level that turns out to be a single page goes into the root.
class BTree::Builder {
public:
    explicit Builder(BTree& tree)
        : tree_(&tree),
          capacity_(tree.pager_->PageGeometry().pageBytes - tree.pager_->PageGeometry().indexEntriesStart),
          mostPrefix_(tree.pager_->PageGeometry().version == JetVersion::Jet3 ? 0xFF : 0xFFFF) {}

    void Add(EntryView entry) {
        if (entry.size() + kChildBytes > capacity_ / 2) RaiseJet(JetError::RecordTooLarge);
        if (leaf_.Count() > 0 && !Fits(entry)) CloseLeaf(false);
        leaf_.Add(entry);
    }

    void Finish() {
        CloseLeaf(true);
        for (std::uint32_t level = 1; below_.size() > 1; ++level) BuildLevel(level);
    }

private:
    bool Fits(EntryView entry) const {
        if (leaf_.Bytes() + entry.size() <= capacity_) return true;
        const std::size_t prefix = SharedPrefix(leaf_[0], entry, mostPrefix_);
        return leaf_.Bytes() + entry.size() - prefix * leaf_.Count() <= capacity_;
    }

    void CloseLeaf(bool isLast) {
        const bool isRoot = isLast && below_.empty();
        PageEdit page = isRoot ? tree_->pager_->Edit(tree_->root_) : tree_->NewPage(0);
        const IndexPageEdit index = isRoot ? IndexPageEdit::Format(*tree_->pager_, page, tree_->table_, 0)
                                           : IndexPageEdit(*tree_->pager_, page);
        if (leaf_.Count() == 0) return;
        const bool compressed = leaf_.Bytes() > capacity_;
        const std::vector<EntryView> entries = leaf_.All();
        index.Assign(entries, compressed ? static_cast<std::uint32_t>(
                                               SharedPrefix(entries.front(), entries.back(), mostPrefix_))
                                         : 0);
        Remember(page, index);
        below_.push_back({{leaf_.Last().begin(), leaf_.Last().end()}, page.Number()});
        previous_ = std::move(page);
        leaf_.Clear();
    }

    /// Links a page with the one built before it on the same level.
    void Remember(const PageEdit& page, const IndexPageEdit& index) {
        if (!previous_) return;
        index.PutPrevious(previous_.Number());
        IndexPageEdit(*tree_->pager_, previous_).PutNext(page.Number());
    }

    /// How many children, from `first` on, one node takes: all but the last have an entry of their own.
    std::size_t ChildrenThatFit(std::size_t first) const {
        std::size_t bytes = 0;
        std::size_t count = 1;
        while (first + count < below_.size()) {
            bytes += below_[first + count - 1].last.size() + kChildBytes;
            if (bytes > capacity_) break;
            ++count;
        }
        // The next node needs two children as well.
        if (first + count + 1 == below_.size()) --count;
        return count;
    }

    void BuildLevel(std::uint32_t level) {
        std::vector<Built> built;
        for (std::size_t first = 0; first < below_.size();) {
            const std::size_t count = ChildrenThatFit(first);
            const bool isRoot = count == below_.size();
            PageEdit page = isRoot ? tree_->pager_->Edit(tree_->root_) : tree_->NewPage(level);
            const IndexPageEdit node = isRoot
                                           ? IndexPageEdit::Format(*tree_->pager_, page, tree_->table_, level)
                                           : IndexPageEdit(*tree_->pager_, page);
            FillNode(node, first, count, level);
            built.push_back({std::move(below_[first + count - 1].last), page.Number()});
            first += count;
        }
        below_ = std::move(built);
    }

    void FillNode(const IndexPageEdit& node, std::size_t first, std::size_t count, std::uint32_t level) {
        EntryBuffer entries;
        for (std::size_t i = first; i + 1 < first + count; ++i) {
            std::vector<std::uint8_t> entry = below_[i].last;
            for (int shift = 24; shift >= 0; shift -= 8) {
                entry.push_back(static_cast<std::uint8_t>(below_[i].page >> shift));
            }
            entries.Add(entry);
            // Nodes are linked with those of the same parent only.
            if (level > 1) tree_->LinkNodes(below_[i].page, below_[i + 1].page);
        }
        node.Assign(entries.All(), 0);
        node.PutTail(below_[first + count - 1].page);
    }

    BTree* tree_;
    std::size_t capacity_;
    std::size_t mostPrefix_;
    EntryBuffer leaf_;
    PageEdit previous_;
    std::vector<Built> below_;
};

BTree::BuildResult BTree::Build(const std::function<bool(Entry&)>& next) {
    BuildResult result;
    Builder builder(*this);
    Entry entry;
    std::vector<std::uint8_t> lastKey;
    std::vector<std::uint8_t> lastEntry;
    while (next(entry)) {
        FormEntry(entry.key, entry.row);
        if (result.entries > 0 && CompareBytes(lastEntry, entry_) >= 0) {
            RaiseCorrupt(pager_->Path(), "index at page " + std::to_string(root_) + ": entries out of order");
        }
        if (result.entries == 0 || entry.key != lastKey) ++result.distinct;
        ++result.entries;
        builder.Add(entry_);
        lastKey = entry.key;
        lastEntry = entry_;
    }
    builder.Finish();
    return result;
}

}  // namespace marrowkit::jet
