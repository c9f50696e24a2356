#include "platform/jet/compact/CompactIndex.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet::compact {

namespace {

using Entry = std::vector<std::uint8_t>;  ///< key and row pointer
constexpr std::size_t kRowBytes = 4;      ///< of the pointer

/// A finished page and the greatest entry under it.
struct Child {
    Entry last;
    PageNumber page;
};

/// How many of the first `limit` bytes are the same.
std::size_t CommonPrefix(const std::uint8_t* left, const std::uint8_t* right, std::size_t limit) {
    if (std::memcmp(left, right, limit) == 0) return limit;
    return static_cast<std::size_t>(std::mismatch(left, left + limit, right).first - left);
}

class IndexBuilder {
public:
    IndexBuilder(CompactTarget& target, PageNumber table)
        : target_(&target),
          geometry_(&target.PageGeometry()),
          isJet3_(geometry_->version == JetVersion::Jet3),
          table_(table),
          room_(geometry_->pageBytes - geometry_->indexEntriesStart),
          page_(geometry_->pageBytes) {}

    BuiltIndex Run(EntrySorter& sorted) {
        leafNumber_ = Allocate();
        while (sorted.Next()) {
            const auto key = sorted.Key();
            const bool isNew = result_.entries == 0 ||
                               !std::ranges::equal(key, std::span(entry_).first(entry_.size() - kRowBytes));
            if (isNew) ++result_.distinct;
            ++result_.entries;
            MakeEntry(key, sorted.Row());
            AddToLeaf();
        }
        PutLeaf(0);
        std::vector<Child> children = std::move(leaves_);
        for (unsigned level = 1; children.size() > 1; ++level) children = PutLevel(level, children);
        result_.root = children.front().page;
        return std::move(result_);
    }

private:
    void MakeEntry(std::span<const std::uint8_t> key, RowId row) {
        entry_.resize(key.size() + kRowBytes);
        std::copy(key.begin(), key.end(), entry_.begin());
        std::uint8_t* const pointer = entry_.data() + key.size();
        pointer[0] = static_cast<std::uint8_t>(row.page >> 16);
        pointer[1] = static_cast<std::uint8_t>(row.page >> 8);
        pointer[2] = static_cast<std::uint8_t>(row.page);
        pointer[3] = row.slot;
    }

    PageNumber Allocate() {
        result_.pages.push_back(target_->Allocate());
        return result_.pages.back();
    }

    /// What all entries of the leaf would share with entry_ among them. Sorted entries share what the first
    /// and the last of them share, so it can only become less.
    std::size_t PrefixWithEntry() const {
        const std::size_t limit = ends_.empty() ? std::min(entry_.size(), isJet3_ ? 255 : entry_.size())
                                                : std::min(entry_.size(), prefix_);
        return ends_.empty() ? limit : CommonPrefix(leaf_.data(), entry_.data(), limit);
    }

    void AddToLeaf() {
        std::size_t prefix = PrefixWithEntry();
        const std::size_t whole = leaf_.size() + entry_.size();
        if (!ends_.empty() && whole - ends_.size() * prefix > room_) {
            const PageNumber next = Allocate();
            PutLeaf(next);
            previousLeaf_ = std::exchange(leafNumber_, next);
            leaf_.clear();
            ends_.clear();
            prefix = PrefixWithEntry();
        }
        if (entry_.size() > room_) RaiseJet(JetError::RecordTooLarge);
        prefix_ = prefix;
        leaf_.insert(leaf_.end(), entry_.begin(), entry_.end());
        ends_.push_back(leaf_.size());
    }

    struct Links {
        PageNumber previous;
        PageNumber next;
        PageNumber tail;
    };

    void StartPage(PageType type, unsigned level, const Links& links, std::size_t prefix) {
        std::fill(page_.begin(), page_.end(), std::uint8_t{0});
        used_ = 0;
        const MutableByteView page(page_);
        page.PutU8(0, static_cast<std::uint8_t>(type));
        page.PutU8(1, 1);
        page.PutU32(4, table_);
        const std::size_t linksAt = isJet3_ ? 8 : 12;
        page.PutU32(linksAt, links.previous);
        page.PutU32(linksAt + 4, links.next);
        page.PutU32(linksAt + 8, links.tail);
        if (isJet3_) {
            page.PutU8(20, static_cast<std::uint8_t>(prefix));
            page.PutU8(21, static_cast<std::uint8_t>(level));
        } else {
            page.PutU16(24, static_cast<std::uint16_t>(prefix));
            page.PutU8(26, static_cast<std::uint8_t>(level));
        }
    }

    /// Appends bytes and marks their end in the page's bitmap.
    void PutEntry(std::span<const std::uint8_t> entry) {
        MutableByteView(page_).PutBytes(geometry_->indexEntriesStart + used_, entry);
        used_ += entry.size();
        page_[(isJet3_ ? 22U : 27U) + used_ / 8] |= static_cast<std::uint8_t>(1U << used_ % 8);
    }

    void PutPage(PageNumber number) {
        MutableByteView(page_).PutU16(2, static_cast<std::uint16_t>(room_ - used_));
        target_->Put(number, page_);
    }

    std::span<const std::uint8_t> LeafEntry(std::size_t entry) const {
        const std::size_t start = entry == 0 ? 0 : ends_[entry - 1];
        return std::span(leaf_).subspan(start, ends_[entry] - start);
    }

    void PutLeaf(PageNumber next) {
        const std::size_t prefix = leaf_.size() <= room_ ? 0 : prefix_;
        StartPage(PageType::IndexLeaf, 0, {previousLeaf_, next, 0}, prefix);
        for (std::size_t i = 0; i < ends_.size(); ++i) PutEntry(LeafEntry(i).subspan(i == 0 ? 0 : prefix));
        PutPage(leafNumber_);
        Entry last;
        if (!ends_.empty()) {
            const auto bytes = LeafEntry(ends_.size() - 1);
            last.assign(bytes.begin(), bytes.end());
        }
        leaves_.push_back({std::move(last), leafNumber_});
    }

    /// Distributes children over nodes: each takes entries until it is full, and the child after them as its
    /// tail. Returns how many children each node has.
    std::vector<std::size_t> Distribute(const std::vector<Child>& children) const {
        std::vector<std::size_t> counts;
        std::size_t used = 0;
        std::size_t count = 0;
        for (const Child& child : children) {
            ++count;
            used += child.last.size() + 4;
            if (used > room_) {
                // This one became the tail.
                counts.push_back(count);
                count = 0;
                used = 0;
            }
        }
        if (count > 0) counts.push_back(count);
        // A node needs an entry beside its tail.
        if (counts.size() > 1 && counts.back() == 1) {
            --counts[counts.size() - 2];
            ++counts.back();
        }
        return counts;
    }

    /// Writes one level of nodes. Nodes are linked with those beside them under the same parent only, so the
    /// distribution of the next level is settled before the pages are written.
    std::vector<Child> PutLevel(unsigned level, std::vector<Child>& children) {
        const std::vector<std::size_t> counts = Distribute(children);
        std::vector<Child> nodes;
        std::size_t last = 0;
        for (const std::size_t count : counts) {
            last += count;
            nodes.push_back({children[last - 1].last, Allocate()});
        }
        std::vector<Links> links(nodes.size(), Links{0, 0, 0});
        std::size_t first = 0;
        for (const std::size_t siblings : Distribute(nodes)) {
            for (std::size_t i = first; i + 1 < first + siblings; ++i) {
                links[i].next = nodes[i + 1].page;
                links[i + 1].previous = nodes[i].page;
            }
            first += siblings;
        }
        first = 0;
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            PutNode(level, nodes[i].page, links[i], std::span(children).subspan(first, counts[i]));
            first += counts[i];
        }
        return nodes;
    }

    void PutNode(unsigned level, PageNumber number, Links links, std::span<const Child> children) {
        links.tail = children.back().page;
        StartPage(PageType::IndexNode, level, links, 0);
        for (const Child& child : children.first(children.size() - 1)) {
            Entry entry = child.last;
            for (const unsigned shift : {24U, 16U, 8U, 0U}) {
                entry.push_back(static_cast<std::uint8_t>(child.page >> shift));
            }
            PutEntry(entry);
        }
        PutPage(number);
    }

    CompactTarget* target_;
    const Geometry* geometry_;
    bool isJet3_;
    PageNumber table_;
    std::size_t room_;
    BuiltIndex result_;
    std::vector<std::uint8_t> page_;  ///< the one being made
    std::size_t used_ = 0;            ///< bytes of its entries
    Entry entry_;                     ///< the one being added
    std::vector<std::uint8_t> leaf_;  ///< whole entries of the open leaf
    std::vector<std::size_t> ends_;
    std::size_t prefix_ = 0;  ///< what they share
    PageNumber leafNumber_ = 0;
    PageNumber previousLeaf_ = 0;
    std::vector<Child> leaves_;
};

}  // namespace

BuiltIndex BuildIndex(CompactTarget& target, PageNumber table, EntrySorter& sorted) {
    return IndexBuilder(target, table).Run(sorted);
}

}  // namespace marrowkit::jet::compact
