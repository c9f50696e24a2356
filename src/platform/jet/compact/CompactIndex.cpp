#include "platform/jet/compact/CompactIndex.h"

#include <algorithm>
#include <utility>

#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet::compact {

namespace {

using Entry = std::vector<std::uint8_t>;  ///< key and row pointer

/// A finished page and the greatest entry under it.
struct Child {
    Entry last;
    PageNumber page;
};

std::size_t CommonPrefix(const Entry& left, const Entry& right) {
    const std::size_t limit = std::min(left.size(), right.size());
    return static_cast<std::size_t>(
        std::mismatch(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(limit), right.begin()).first -
        left.begin());
}

class IndexBuilder {
public:
    IndexBuilder(CompactTarget& target, PageNumber table)
        : target_(&target),
          geometry_(&target.PageGeometry()),
          isJet3_(geometry_->version == JetVersion::Jet3),
          table_(table),
          room_(geometry_->pageBytes - geometry_->indexEntriesStart) {}

    BuiltIndex Run(EntrySorter& sorted) {
        leafNumber_ = Allocate();
        Entry previousKey;
        while (sorted.Next()) {
            const auto key = sorted.Key();
            if (result_.entries == 0 || !std::ranges::equal(key, previousKey)) {
                ++result_.distinct;
                previousKey.assign(key.begin(), key.end());
            }
            ++result_.entries;
            AddToLeaf(MakeEntry(key, sorted.Row()));
        }
        PutLeaf(0);
        std::vector<Child> children = std::move(leaves_);
        for (unsigned level = 1; children.size() > 1; ++level) children = PutLevel(level, children);
        result_.root = children.front().page;
        return std::move(result_);
    }

private:
    static Entry MakeEntry(std::span<const std::uint8_t> key, RowId row) {
        Entry entry(key.begin(), key.end());
        for (const std::uint32_t byte : {row.page >> 16, row.page >> 8, row.page}) {
            entry.push_back(static_cast<std::uint8_t>(byte));
        }
        entry.push_back(row.slot);
        return entry;
    }

    PageNumber Allocate() {
        result_.pages.push_back(target_->Allocate());
        return result_.pages.back();
    }

    std::size_t PrefixOfLeaf(const Entry& last) const {
        const std::size_t prefix = CommonPrefix(leaf_.front(), last);
        return isJet3_ ? std::min<std::size_t>(prefix, 255) : prefix;
    }

    void AddToLeaf(Entry entry) {
        if (!leaf_.empty()) {
            // Sorted entries share what the first and the last of them share.
            const std::size_t packed = leafBytes_ + entry.size() - leaf_.size() * PrefixOfLeaf(entry);
            if (std::min(packed, leafBytes_ + entry.size()) > room_) {
                const PageNumber next = Allocate();
                PutLeaf(next);
                previousLeaf_ = std::exchange(leafNumber_, next);
                leaf_.clear();
                leafBytes_ = 0;
            }
        }
        if (entry.size() > room_) RaiseJet(JetError::RecordTooLarge);
        leafBytes_ += entry.size();
        leaf_.push_back(std::move(entry));
    }

    struct Links {
        PageNumber previous;
        PageNumber next;
        PageNumber tail;
    };

    std::vector<std::uint8_t> StartPage(PageType type, unsigned level, const Links& links,
                                        std::size_t prefix) const {
        std::vector<std::uint8_t> bytes(geometry_->pageBytes, 0);
        const MutableByteView page(bytes);
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
        return bytes;
    }

    /// Appends bytes at `used` and marks their end in the page's bitmap.
    void PutEntry(std::vector<std::uint8_t>& bytes, std::size_t& used,
                  std::span<const std::uint8_t> entry) const {
        MutableByteView(bytes).PutBytes(geometry_->indexEntriesStart + used, entry);
        used += entry.size();
        bytes[(isJet3_ ? 22U : 27U) + used / 8] |= static_cast<std::uint8_t>(1U << used % 8);
    }

    void PutPage(PageNumber number, std::vector<std::uint8_t>& bytes, std::size_t used) const {
        MutableByteView(bytes).PutU16(2, static_cast<std::uint16_t>(room_ - used));
        target_->Put(number, bytes);
    }

    void PutLeaf(PageNumber next) {
        const std::size_t prefix = leafBytes_ <= room_ ? 0 : PrefixOfLeaf(leaf_.back());
        std::vector<std::uint8_t> bytes = StartPage(PageType::IndexLeaf, 0, {previousLeaf_, next, 0}, prefix);
        std::size_t used = 0;
        for (std::size_t i = 0; i < leaf_.size(); ++i) {
            PutEntry(bytes, used, std::span(leaf_[i]).subspan(i == 0 ? 0 : prefix));
        }
        PutPage(leafNumber_, bytes, used);
        leaves_.push_back({leaf_.empty() ? Entry{} : std::move(leaf_.back()), leafNumber_});
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

    void PutNode(unsigned level, PageNumber number, Links links, std::span<const Child> children) const {
        links.tail = children.back().page;
        std::vector<std::uint8_t> bytes = StartPage(PageType::IndexNode, level, links, 0);
        std::size_t used = 0;
        for (const Child& child : children.first(children.size() - 1)) {
            Entry entry = child.last;
            for (const unsigned shift : {24U, 16U, 8U, 0U}) {
                entry.push_back(static_cast<std::uint8_t>(child.page >> shift));
            }
            PutEntry(bytes, used, entry);
        }
        PutPage(number, bytes, used);
    }

    CompactTarget* target_;
    const Geometry* geometry_;
    bool isJet3_;
    PageNumber table_;
    std::size_t room_;
    BuiltIndex result_;
    std::vector<Entry> leaf_;
    std::size_t leafBytes_ = 0;  ///< without a shared prefix
    PageNumber leafNumber_ = 0;
    PageNumber previousLeaf_ = 0;
    std::vector<Child> leaves_;
};

}  // namespace

BuiltIndex BuildIndex(CompactTarget& target, PageNumber table, EntrySorter& sorted) {
    return IndexBuilder(target, table).Run(sorted);
}

}  // namespace marrowkit::jet::compact
