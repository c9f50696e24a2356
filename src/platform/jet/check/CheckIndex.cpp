#include "platform/jet/check/CheckIndex.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace marrowkit::jet::check {

namespace {

constexpr std::size_t kRowPointerBytes = 4;
constexpr std::size_t kChildBytes = 4;

std::string PageText(PageNumber page) {
    return "index page " + std::to_string(page);
}

}  // namespace

IndexEntry::IndexEntry(std::span<const std::uint8_t> bytes) {
    const ByteView view(bytes);
    const std::size_t keyBytes = bytes.size() - kRowPointerBytes;
    key = bytes.first(keyBytes);
    row = {view.U24BigEndian(keyBytes), view.U8(keyBytes + 3)};
}

IndexPage::IndexPage(const Geometry& geometry, FilePage page)
    : page_(std::move(page)),
      isNode_(page_.Type() == PageType::IndexNode),
      entriesStart_(geometry.indexEntriesStart) {
    if ((!isNode_ && page_.Type() != PageType::IndexLeaf) || page_.bytes.U8(1) != 1) {
        throw Damage(page_.number, "page " + std::to_string(page_.number) + " is not an index page");
    }
    const bool isJet3 = geometry.version == JetVersion::Jet3;
    const std::size_t links = isJet3 ? 8 : 12;
    previous_ = page_.bytes.U32(links);
    next_ = page_.bytes.U32(links + 4);
    tail_ = page_.bytes.U32(links + 8);
    prefixBytes_ = isJet3 ? page_.bytes.U8(20) : page_.bytes.U16(24);
    level_ = page_.bytes.U8(isJet3 ? 21 : 26);
    ReadEnds(geometry);
}

void IndexPage::ReadEnds(const Geometry& geometry) {
    const std::size_t bitmapStart = geometry.version == JetVersion::Jet3 ? 22 : 27;
    const std::uint32_t room = geometry.pageBytes - entriesStart_;
    const std::size_t pointerBytes = kRowPointerBytes + (isNode_ ? kChildBytes : 0);
    constexpr std::uint32_t kUsualEntryBytes = 8;  // or a few more: most keys are whole numbers
    ends_.reserve(room / kUsualEntryBytes);
    std::size_t start = 0;
    for (std::size_t at = bitmapStart; at < entriesStart_; ++at) {
        std::uint8_t byte = page_.bytes.U8(at);
        while (byte != 0) {
            const std::size_t end = (at - bitmapStart) * 8 + static_cast<std::size_t>(std::countr_zero(byte));
            byte = static_cast<std::uint8_t>(byte & (byte - 1));
            const std::size_t whole = end - start + (ends_.empty() ? 0 : prefixBytes_);
            if (end > room || end == start || whole < pointerBytes) {
                throw Damage(page_.number, PageText(page_.number) +
                                               " has an entry that is too short or "
                                               "reaches beyond the page");
            }
            if (ends_.empty() && end - start < prefixBytes_) {
                throw Damage(page_.number,
                             PageText(page_.number) + " has a prefix longer than its first entry");
            }
            ends_.push_back(static_cast<std::uint16_t>(end));
            start = end;
        }
    }
    if (page_.bytes.U16(2) != room - start) {
        throw Damage(page_.number, PageText(page_.number) + " says " + std::to_string(page_.bytes.U16(2)) +
                                       " free bytes, there are " + std::to_string(room - start));
    }
}

ByteView IndexPage::Stored(std::size_t entry) const {
    const std::size_t start = entry == 0 ? 0 : ends_[entry - 1];
    return page_.bytes.Sub(entriesStart_ + start, ends_[entry] - start);
}

void IndexPage::ReadEntry(std::size_t entry, std::vector<std::uint8_t>& bytes) const {
    bytes.clear();
    if (entry > 0 && prefixBytes_ > 0) {
        const std::span<const std::uint8_t> prefix = Stored(0).All().first(prefixBytes_);
        bytes.insert(bytes.end(), prefix.begin(), prefix.end());
    }
    std::span<const std::uint8_t> own = Stored(entry).All();
    if (isNode_) own = own.first(own.size() - std::min(own.size(), kChildBytes));
    bytes.insert(bytes.end(), own.begin(), own.end());
}

void IndexPage::ReadNextEntry(std::size_t entry, std::vector<std::uint8_t>& bytes) const {
    if (entry == 0 || isNode_) return ReadEntry(entry, bytes);
    const ByteView own = Stored(entry);
    bytes.resize(prefixBytes_ + own.Size());
    std::memcpy(bytes.data() + prefixBytes_, own.Data(), own.Size());
}

bool IndexPage::IsInOrder(std::size_t entry) const {
    // They share the prefix, which the page stores with its first entry.
    ByteView before = Stored(entry - 1);
    if (entry == 1) before = before.From(prefixBytes_);
    const ByteView own = Stored(entry);
    const std::size_t common = std::min(before.Size(), own.Size());
    const int order = std::memcmp(before.Data(), own.Data(), common);
    return order != 0 ? order < 0 : before.Size() < own.Size();
}

PageNumber IndexPage::Child(std::size_t entry) const {
    const ByteView stored = Stored(entry);
    if (stored.Size() < kChildBytes)
        throw Damage(page_.number, PageText(page_.number) + " has a broken entry");
    return stored.U32BigEndian(stored.Size() - kChildBytes);
}

void TreeWalk::Run(PageNumber root) {
    constexpr int kAnyLevel = -1;
    Walk(root, kAnyLevel, 0);
    if (lastLeafNext_ != 0) Say(lastLeaf_, "the last leaf has a next leaf");
}

void TreeWalk::Walk(PageNumber number, int expectedLevel, PageNumber expectedPrevious) {
    if (!visitor_.enter(number)) return;
    try {
        const IndexPage page(file_->PageGeometry(), file_->Read(number));
        const int level = static_cast<int>(page.Level());
        if ((expectedLevel >= 0 && level != expectedLevel) || page.IsNode() != (level > 0)) {
            // Going on would be walking without a bound on the depth.
            throw Damage(number, PageText(number) + " has level " + std::to_string(level) + " as a " +
                                     (page.IsNode() ? "node" : "leaf"));
        }
        if (page.Table() != table_) {
            Say(number, PageText(number) + " names table definition " + std::to_string(page.Table()));
        }
        if (page.IsNode()) {
            if (page.Previous() != 0 && page.Previous() != expectedPrevious) {
                Say(number, PageText(number) + " has a wrong previous page");
            }
            WalkNode(number, page);
        } else {
            WalkLeaf(number, page);
        }
    } catch (const Damage& damage) {
        visitor_.problem(damage);
    } catch (const OutOfBounds& outside) {
        Say(number, PageText(number) + ": " + outside.what());
    }
}

void TreeWalk::WalkNode(PageNumber number, const IndexPage& page) {
    if (page.Tail() == 0) Say(number, PageText(number) + " has no tail child");
    const int childLevel = static_cast<int>(page.Level()) - 1;
    PageNumber previousChild = 0;
    std::vector<std::uint8_t> separator;
    for (std::size_t i = 0; i < page.EntryCount(); ++i) {
        Walk(page.Child(i), childLevel, previousChild);
        previousChild = page.Child(i);
        page.ReadEntry(i, separator);
        if (hasFloor_ && floor_ > separator) {
            Say(number, PageText(number) + ": the entry of child " + std::to_string(page.Child(i)) +
                            " is smaller than what the child holds");
        }
        floor_ = separator;
        hasFloor_ = true;
    }
    if (page.Tail() != 0) Walk(page.Tail(), childLevel, previousChild);
}

void TreeWalk::WalkLeaf(PageNumber number, const IndexPage& page) {
    if (page.Tail() != 0) Say(number, PageText(number) + " is a leaf with a tail child");
    if (page.Previous() != lastLeaf_ || (lastLeaf_ != 0 && lastLeafNext_ != number)) {
        Say(number, PageText(number) + " is not linked with the leaf before it");
    }
    lastLeaf_ = number;
    lastLeafNext_ = page.Next();
    if (page.EntryCount() == 0) return;
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < page.EntryCount(); ++i) {
        page.ReadNextEntry(i, bytes);
        const bool isInOrder = i > 0 ? page.IsInOrder(i) : !hasFloor_ || floor_ < bytes;
        if (!isInOrder) {
            Say(number, PageText(number) + ": entry " + std::to_string(i) + " is out of order");
        }
        visitor_.entry(number, IndexEntry(bytes));
    }
    floor_.swap(bytes);
    hasFloor_ = true;
}

LeafReader::LeafReader(const CheckFile& file, PageNumber root) : file_(&file), leavesLeft_(file.PageCount()) {
    IndexPage page(file.PageGeometry(), file.Read(root));
    for (unsigned depth = 0; page.IsNode(); ++depth) {
        if (depth > 255) throw Damage(root, "an index has no leaves");
        const PageNumber child = page.EntryCount() > 0 ? page.Child(0) : page.Tail();
        page = IndexPage(file.PageGeometry(), file.Read(child));
    }
    leaf_.push_back(std::move(page));
}

bool LeafReader::Next() {
    while (!leaf_.empty() && entry_ == leaf_.front().EntryCount()) {
        const PageNumber next = leaf_.front().Next();
        if (next == 0 || leavesLeft_-- == 0) {
            leaf_.clear();
            break;
        }
        leaf_.front() = IndexPage(file_->PageGeometry(), file_->Read(next));
        if (leaf_.front().IsNode()) throw Damage(next, "a leaf is followed by a node");
        entry_ = 0;
    }
    if (leaf_.empty()) return false;
    leaf_.front().ReadNextEntry(entry_++, bytes_);
    return true;
}

}  // namespace marrowkit::jet::check
