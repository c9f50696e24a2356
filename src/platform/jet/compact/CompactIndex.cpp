#include "platform/jet/compact/CompactIndex.h"

#include <algorithm>
#include <bit>
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

/// Entries are a few bytes long: they are compared and copied in whole words, which may reach this far behind
/// their ends.
constexpr std::size_t kSlackBytes = 16;

/// How many of the first `limit` bytes are the same. REQUIRES: both can be read kSlackBytes beyond that.
std::size_t CommonPrefix(const std::uint8_t* left, const std::uint8_t* right, std::size_t limit) {
    for (std::size_t at = 0; at < limit; at += 8) {
        const std::uint64_t differing = LoadBigEndian64(left + at) ^ LoadBigEndian64(right + at);
        if (differing == 0) continue;
        return std::min(limit, at + static_cast<std::size_t>(std::countl_zero(differing)) / 8);
    }
    return limit;
}

/// REQUIRES: kSlackBytes behind the end can be read and written on either side.
void CopyShort(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
    if (count <= kSlackBytes) {
        std::memcpy(to, from, kSlackBytes);
    } else {
        std::memcpy(to, from, count);
    }
}

class IndexBuilder {
public:
    IndexBuilder(CompactTarget& target, PageNumber table)
        : target_(&target),
          geometry_(&target.PageGeometry()),
          isJet3_(geometry_->version == JetVersion::Jet3),
          table_(table),
          room_(geometry_->pageBytes - geometry_->indexEntriesStart),
          page_(geometry_->pageBytes + kSlackBytes),
          leaf_(2 * std::size_t{geometry_->pageBytes}) {}

    BuiltIndex Run(EntrySorter& sorted) {
        leafNumber_ = Allocate();
        while (sorted.Next()) AddToLeaf(sorted.Key(), sorted.Row());
        result_.entries = static_cast<std::uint32_t>(sorted.Count());
        PutLeaf(0);
        std::vector<Child> children = std::move(leaves_);
        for (unsigned level = 1; children.size() > 1; ++level) children = PutLevel(level, children);
        result_.root = children.front().page;
        return std::move(result_);
    }

private:
    PageNumber Allocate() {
        result_.pages.push_back(target_->Allocate());
        return result_.pages.back();
    }

    std::size_t LeafBytes() const { return ends_.empty() ? 0 : ends_.back(); }
    std::size_t LastStart() const { return ends_.size() < 2 ? 0 : ends_[ends_.size() - 2]; }

    /// Puts an entry behind those of the open leaf, without counting it in. Returns its length.
    std::size_t PutBehindLeaf(std::span<const std::uint8_t> key, RowId row) {
        const std::size_t length = key.size() + kRowBytes;
        const std::size_t start = LeafBytes();
        if (start + length + kSlackBytes > leaf_.size()) {
            leaf_.resize(2 * (start + length + kSlackBytes));
        }
        std::uint8_t* const entry = leaf_.data() + start;
        std::memcpy(entry, key.data(), key.size());
        std::uint8_t* const pointer = entry + key.size();
        pointer[0] = static_cast<std::uint8_t>(row.page >> 16);
        pointer[1] = static_cast<std::uint8_t>(row.page >> 8);
        pointer[2] = static_cast<std::uint8_t>(row.page);
        pointer[3] = row.slot;
        return length;
    }

    void AddToLeaf(std::span<const std::uint8_t> key, RowId row) {
        const std::size_t length = PutBehindLeaf(key, row);
        if (length > room_) RaiseJet(JetError::RecordTooLarge);
        CountKey(length);
        // Sorted entries share what the first and the last of them share, so it can only become less.
        std::size_t prefix = isJet3_ ? std::min<std::size_t>(length, 255) : length;
        if (!ends_.empty()) {
            const std::size_t limit = std::min(length, prefix_);
            prefix = CommonPrefix(leaf_.data(), leaf_.data() + LeafBytes(), limit);
            if (LeafBytes() + length - ends_.size() * prefix > room_) {
                BeginLeaf(length);
                prefix = isJet3_ ? std::min<std::size_t>(length, 255) : length;
            }
        }
        prefix_ = prefix;
        ends_.push_back(LeafBytes() + length);
    }

    /// Of the entry behind the open leaf, beside the one before it.
    void CountKey(std::size_t length) {
        if (ends_.empty()) {
            result_.distinct = 1;
            return;
        }
        const std::size_t start = LastStart();
        const std::size_t keyBytes = length - kRowBytes;
        const bool isSame =
            LeafBytes() - start == length &&
            CommonPrefix(leaf_.data() + start, leaf_.data() + LeafBytes(), keyBytes) == keyBytes;
        if (!isSame) ++result_.distinct;
    }

    /// Puts the open leaf; the entry behind it becomes the first one of the next.
    void BeginLeaf(std::size_t length) {
        const std::size_t start = LeafBytes();
        const PageNumber next = Allocate();
        PutLeaf(next);
        previousLeaf_ = std::exchange(leafNumber_, next);
        std::memmove(leaf_.data(), leaf_.data() + start, length);
        ends_.clear();
    }

    struct Links {
        PageNumber previous;
        PageNumber next;
        PageNumber tail;
    };

    void StartPage(PageType type, unsigned level, const Links& links, std::size_t prefix) {
        std::fill_n(page_.begin(), geometry_->indexEntriesStart, std::uint8_t{0});
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

    /// Appends bytes and marks their end in the page's bitmap. REQUIRES: kSlackBytes behind them can be read.
    void PutEntry(const std::uint8_t* entry, std::size_t length) {
        if (length > room_ - used_) RaiseJet(JetError::RecordTooLarge);
        CopyShort(page_.data() + geometry_->indexEntriesStart + used_, entry, length);
        used_ += length;
        page_[(isJet3_ ? 22U : 27U) + used_ / 8] |= static_cast<std::uint8_t>(1U << used_ % 8);
    }

    void PutPage(PageNumber number) {
        const auto entriesEnd =
            page_.begin() + static_cast<std::ptrdiff_t>(geometry_->indexEntriesStart + used_);
        std::fill(entriesEnd, page_.end(), std::uint8_t{0});
        MutableByteView(page_).PutU16(2, static_cast<std::uint16_t>(room_ - used_));
        target_->Put(number, std::span(page_).first(geometry_->pageBytes));
    }

    void PutLeaf(PageNumber next) {
        const std::size_t prefix = LeafBytes() <= room_ ? 0 : prefix_;
        StartPage(PageType::IndexLeaf, 0, {previousLeaf_, next, 0}, prefix);
        std::size_t start = 0;
        std::size_t skip = 0;
        for (const std::size_t end : ends_) {
            PutEntry(leaf_.data() + start + skip, end - start - skip);
            start = end;
            skip = prefix;
        }
        PutPage(leafNumber_);
        Entry last;
        last.assign(leaf_.data() + LastStart(), leaf_.data() + LeafBytes());
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
            const std::size_t length = entry.size();
            entry.resize(length + kSlackBytes);
            PutEntry(entry.data(), length);
        }
        PutPage(number);
    }

    CompactTarget* target_;
    const Geometry* geometry_;
    bool isJet3_;
    PageNumber table_;
    std::size_t room_;
    BuiltIndex result_;
    std::vector<std::uint8_t> page_;  ///< the one being made, with slack
    std::size_t used_ = 0;            ///< bytes of its entries
    std::vector<std::uint8_t> leaf_;  ///< whole entries of the open leaf, one behind the other, and slack
    std::vector<std::size_t> ends_;   ///< of those
    std::size_t prefix_ = 0;          ///< what they share
    PageNumber leafNumber_ = 0;
    PageNumber previousLeaf_ = 0;
    std::vector<Child> leaves_;
};

}  // namespace

BuiltIndex BuildIndex(CompactTarget& target, PageNumber table, EntrySorter& sorted) {
    return IndexBuilder(target, table).Run(sorted);
}

}  // namespace marrowkit::jet::compact
