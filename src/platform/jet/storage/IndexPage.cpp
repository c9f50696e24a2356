#include "platform/jet/storage/IndexPage.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string>

#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

/// Reads 64 bits of the bitmap at a byte. Behind the bitmap come the entries, so this never leaves the page;
/// callers cut off what is not bitmap.
std::uint64_t LoadBits(const std::uint8_t* bitmap, std::uint32_t byte) {
    std::uint64_t word = 0;
    std::memcpy(&word, bitmap + byte, sizeof word);
    return word;
}

/// Up to eight bytes as a number that sorts as they do; missing ones count as zeros. `readable` bytes may be
/// looked at.
std::uint64_t LeadingBytes(const std::uint8_t* bytes, std::size_t count, std::size_t readable) {
    constexpr std::size_t kBytes = sizeof(std::uint64_t);
    if (count == 0) return 0;
    std::uint8_t b[kBytes] = {};
    if (readable >= kBytes) {
        std::memcpy(b, bytes, kBytes);
    } else {
        std::memcpy(b, bytes, std::min(count, kBytes));
    }
    const std::uint64_t number = LoadBigEndian64(b);
    return count >= kBytes ? number : number & ~std::uint64_t{0} << (8 * (kBytes - count));
}

/// Asks the memory for what a search is likely to look at: all end marks, and the entries that its first
/// steps compare. One after the other they would make the processor wait a dozen times on a page that was not
/// met for a while.
void PrefetchForSearch([[maybe_unused]] const std::uint8_t* bitmap,
                       [[maybe_unused]] const std::uint8_t* entries, [[maybe_unused]] std::uint32_t used) {
#if defined(__GNUC__)
    constexpr std::uint32_t kLineBytes = 64;
    const std::uint32_t eighth = used / 8 + 1;
    for (std::uint32_t at = 0; at < used / 8; at += kLineBytes) __builtin_prefetch(bitmap + at);
    for (std::uint32_t at = eighth; at < used; at += eighth) __builtin_prefetch(entries + at);
#endif
}

/// The end marks of a page from one place to another, taken out to be shifted as one long number.
class EndMarks {
public:
    /// The words that hold the marks `from` to `to`.
    EndMarks(MutableByteView bitmap, std::uint32_t from, std::uint32_t to)
        : firstMark_(from / 64 * 64), size_(to / 64 - from / 64 + 1) {
        const std::size_t start = firstMark_ / 8;
        bytes_ = bitmap.Sub(start, std::min(size_ * 8, bitmap.Size() - start));
        words_[size_ - 1] = 0;
        std::memcpy(words_.data(), bytes_.Data(), bytes_.Size());
    }
    void Store() const { std::memcpy(bytes_.Data(), words_.data(), bytes_.Size()); }

    /// Moves all marks from `from` on up.
    void ShiftUp(std::uint32_t from, std::uint32_t count) {
        const std::uint64_t kept = words_[0] & LowBits(from - firstMark_);
        words_[0] ^= kept;
        const std::size_t words = count / 64;
        const std::uint32_t bits = count % 64;
        for (std::size_t i = size_ - 1; i > words; --i) {
            words_[i] = words_[i - words] << bits | words_[i - words - 1] >> 1U >> (63 - bits);
        }
        if (words < size_) words_[words] = words_[0] << bits;
        std::fill_n(words_.begin(), std::min(words, size_), 0);
        words_[0] |= kept;
    }

    /// Moves all marks from `from + count` on down to `from`; those in between are gone.
    void ShiftDown(std::uint32_t from, std::uint32_t count) {
        const std::uint64_t kept = words_[0] & LowBits(from - firstMark_);
        const std::uint32_t source = from + count - firstMark_;
        std::fill_n(words_.begin(), source / 64, 0);
        words_[source / 64] &= ~LowBits(source % 64);
        const std::size_t words = count / 64;
        const std::uint32_t bits = count % 64;
        const std::size_t last = size_ - 1 - words;
        for (std::size_t i = 0; i < last; ++i) {
            words_[i] = words_[i + words] >> bits | words_[i + words + 1] << 1U << (63 - bits);
        }
        words_[last] = words_[size_ - 1] >> bits;
        std::fill_n(words_.begin() + static_cast<std::ptrdiff_t>(last) + 1, words, 0);
        words_[0] |= kept;
    }

private:
    /// 453 bytes of bitmap, the most there are.
    static constexpr std::size_t kWords = 57;
    static std::uint64_t LowBits(std::uint32_t count) { return (std::uint64_t{1} << count) - 1; }

    std::uint32_t firstMark_;
    std::size_t size_;
    MutableByteView bytes_;
    std::array<std::uint64_t, kWords> words_;  // only the first size_ are ever looked at
};

std::uint32_t CommonLength(EntryView left, EntryView right) {
    const std::size_t most = std::min(left.size(), right.size());
    const auto [end, unused] =
        std::mismatch(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(most), right.begin());
    return static_cast<std::uint32_t>(end - left.begin());
}

}  // namespace

int CompareBytes(EntryView left, EntryView right) {
    const std::size_t most = std::min(left.size(), right.size());
    const int order = most == 0 ? 0 : std::memcmp(left.data(), right.data(), most);
    if (order != 0) return order;
    return left.size() < right.size() ? -1 : left.size() > right.size() ? 1 : 0;
}

const IndexPage::Layout& IndexPage::LayoutOf(JetVersion version) {
    static constexpr Layout kJet3{8, 20, false, 21, 22};
    static constexpr Layout kJet4{12, 24, true, 26, 27};
    return version == JetVersion::Jet3 ? kJet3 : kJet4;
}

IndexPage::IndexPage(const Pager& pager, const PageRef& page)
    : geometry_(&pager.PageGeometry()), layout_(&LayoutOf(geometry_->version)), bytes_(page.Bytes()) {
    const bool isIndex = page.Type() == PageType::IndexLeaf || page.Type() == PageType::IndexNode;
    if (isIndex && page.IsChecked()) return;
    if (!isIndex || !IsSound()) {
        RaiseCorrupt(pager.Path(), "page " + std::to_string(page.Number()) +
                                       (isIndex ? ": index entries that cannot be" : ": not an index page"));
    }
    page.MarkChecked();
}

/// Whether free word, bitmap, prefix and the lengths of all entries agree with each other.
bool IndexPage::IsSound() const {
    if (bytes_.U16(2) > Capacity()) return false;
    const std::uint32_t used = UsedBytes();
    const std::uint32_t prefix = PrefixBytes();
    const bool leaf = IsLeaf();
    if (leaf != (Level() == 0) || (!leaf && (Tail() == 0 || used == 0))) return false;
    std::uint32_t position = 0;
    while (position < used) {
        const std::uint32_t end = FirstEndAfter(position);
        if (end > used) return false;
        const std::uint32_t whole = end - position + (position == 0 ? 0 : prefix);
        if (whole < TrailerBytes() || (position == 0 && prefix > end)) return false;
        position = end;
    }
    return FirstEndAfter(used) > Capacity();
}

/// The first end mark behind `position`; beyond the capacity when there is none.
std::uint32_t IndexPage::FirstEndAfter(std::uint32_t position) const {
    const std::uint8_t* bits = bytes_.Data() + layout_->bitmap;
    const std::uint32_t limit = Capacity();
    for (std::uint32_t k = position + 1; k <= limit;) {
        const std::uint64_t word = LoadBits(bits, k / 8) >> (k % 8);
        if (word != 0) {
            const std::uint32_t end = k + static_cast<std::uint32_t>(std::countr_zero(word));
            return end <= limit ? end : limit + 1;
        }
        k = (k / 8) * 8 + 64;
    }
    return limit + 1;
}

/// The last end mark at or before `position`; 0 when there is none.
std::uint32_t IndexPage::LastEndUpTo(std::uint32_t position) const {
    // Words that end with the position's byte and before; the header in front of the bitmap is long enough
    // for the first word to begin there, and bits of it are no marks.
    constexpr std::uint32_t kWordBytes = sizeof(std::uint64_t);
    const std::uint8_t* bits = bytes_.Data() + layout_->bitmap - (kWordBytes - 1);
    std::uint32_t byte = position / 8;
    std::uint64_t word = LoadBits(bits, byte) << (7 - position % 8);
    std::int64_t last = position;
    while (word == 0) {
        if (byte < kWordBytes) return 0;
        byte -= kWordBytes;
        word = LoadBits(bits, byte);
        last = std::int64_t{byte} * 8 + 7;
    }
    return static_cast<std::uint32_t>(std::max<std::int64_t>(last - std::countl_zero(word), 0));
}

std::uint32_t IndexPage::After(std::uint32_t position) const {
    const std::uint32_t end = FirstEndAfter(position);
    if (end > UsedBytes()) throw OutOfBounds{};
    return end;
}

std::uint32_t IndexPage::Before(std::uint32_t position) const {
    return LastEndUpTo(position - 1);
}

EntryView IndexPage::Stored(std::uint32_t position) const {
    return bytes_.All().subspan(geometry_->indexEntriesStart + position, After(position) - position);
}

void IndexPage::Whole(std::uint32_t position, std::vector<std::uint8_t>& entry) const {
    entry.clear();
    if (position != 0) {
        const auto prefix = bytes_.Sub(geometry_->indexEntriesStart, PrefixBytes()).All();
        entry.insert(entry.end(), prefix.begin(), prefix.end());
    }
    const EntryView stored = Stored(position);
    entry.insert(entry.end(), stored.begin(), stored.end());
}

int IndexPage::Compare(std::uint32_t position, EntryView entry) const {
    EntryView stored = Stored(position);
    stored = stored.first(stored.size() - (IsLeaf() ? 0 : kChildBytes));
    if (position == 0) return CompareBytes(stored, entry);
    const EntryView prefix = bytes_.Sub(geometry_->indexEntriesStart, PrefixBytes()).All();
    const std::size_t shared = std::min(prefix.size(), entry.size());
    const int order = CompareBytes(prefix, entry.first(shared));
    return order != 0 ? order : CompareBytes(stored, entry.subspan(shared));
}

PageNumber IndexPage::Child(std::uint32_t position) const {
    if (position >= UsedBytes()) return Tail();
    return bytes_.U32BigEndian(geometry_->indexEntriesStart + After(position) - kChildBytes);
}

std::uint32_t IndexPage::LowerBound(EntryView entry) const {
    const std::uint32_t used = UsedBytes();
    if (used == 0) return 0;
    const std::uint32_t prefix = PrefixBytes();
    const std::uint32_t childBytes = IsLeaf() ? 0 : kChildBytes;
    const std::uint8_t* data = bytes_.Data() + geometry_->indexEntriesStart;
    PrefetchForSearch(bytes_.Data() + layout_->bitmap, data, used);
    if (prefix != 0) {
        // An entry that is not within the common prefix stands before all entries or behind all.
        const int order =
            CompareBytes(entry.first(std::min<std::size_t>(entry.size(), prefix)), {data, prefix});
        if (order < 0) return 0;
        if (order > 0) return used;
        entry = entry.subspan(prefix);
    }
    // All entries before `low` are smaller, the one at `high` and those behind are not. Where the first eight
    // bytes differ they tell the order, and nearly always they do.
    const std::uint64_t leading = LeadingBytes(entry.data(), entry.size(), entry.size());
    std::uint32_t low = 0;
    std::uint32_t high = used;
    while (low < high) {
        const std::uint32_t middle = LastEndUpTo(low + (high - low) / 2);
        const std::uint32_t start = std::max(middle, low);
        const std::uint32_t end = FirstEndAfter(start);
        const std::uint32_t skip = start == 0 ? prefix : 0;
        const EntryView stored{data + start + skip, end - start - skip - childBytes};
        const std::uint64_t storedLeading =
            LeadingBytes(stored.data(), stored.size(), Capacity() - start - skip);
        const bool isLess =
            storedLeading != leading ? storedLeading < leading : CompareBytes(stored, entry) < 0;
        if (isLess) {
            low = end;
        } else {
            high = start;
        }
    }
    return low;
}

std::uint32_t IndexPage::CountBefore(std::uint32_t position) const {
    std::uint32_t count = 0;
    for (std::uint32_t at = 0; at < position; at = After(at)) ++count;
    return count;
}

bool IndexPage::HasKey(std::uint32_t position, EntryView key) const {
    EntryView stored = Stored(position);
    if (position != 0) {
        const auto prefix = bytes_.Sub(geometry_->indexEntriesStart, PrefixBytes()).All();
        if (prefix.size() + stored.size() != key.size() + TrailerBytes()) return false;
        const std::size_t shared = std::min(prefix.size(), key.size());
        if (CompareBytes(prefix.first(shared), key.first(shared)) != 0) return false;
        key = key.subspan(shared);
        // The prefix may reach into the row pointer; then nothing of the key is left.
        return key.empty() || CompareBytes(stored.first(key.size()), key) == 0;
    }
    return stored.size() == key.size() + TrailerBytes() && CompareBytes(stored.first(key.size()), key) == 0;
}

// ---- Changing

IndexPageEdit::IndexPageEdit(const Pager& pager, const PageEdit& page)
    : IndexPage(pager, page), mutable_(page.Mutable()) {}

IndexPageEdit IndexPageEdit::Format(const Pager& pager, const PageEdit& page, PageNumber table,
                                    std::uint32_t level) {
    const Geometry& geometry = pager.PageGeometry();
    const MutableByteView bytes = page.Mutable();
    bytes.Fill(0, bytes.Size(), 0);
    bytes.PutU8(0, static_cast<std::uint8_t>(level == 0 ? PageType::IndexLeaf : PageType::IndexNode));
    bytes.PutU8(1, 1);
    bytes.PutU16(2, static_cast<std::uint16_t>(geometry.pageBytes - geometry.indexEntriesStart));
    bytes.PutU32(4, table);
    bytes.PutU8(LayoutOf(geometry.version).level, static_cast<std::uint8_t>(level));
    page.MarkChecked();  // a node gets its tail before anyone else sees it
    return IndexPageEdit(pager, page);
}

void IndexPageEdit::PutPrefixBytes(std::uint32_t bytes) const {
    if (layout_->wordPrefix) {
        mutable_.PutU16(layout_->prefix, static_cast<std::uint16_t>(bytes));
    } else {
        mutable_.PutU8(layout_->prefix, static_cast<std::uint8_t>(bytes));
    }
}

void IndexPageEdit::PutChild(std::uint32_t position, PageNumber child) const {
    if (position >= UsedBytes()) return PutTail(child);
    const std::size_t at = geometry_->indexEntriesStart + After(position) - kChildBytes;
    for (std::uint32_t i = 0; i < kChildBytes; ++i) {
        mutable_.PutU8(at + i, static_cast<std::uint8_t>(child >> (24 - 8 * i)));
    }
}

void IndexPageEdit::SetEnd(std::uint32_t position, bool value) const {
    const std::size_t at = layout_->bitmap + position / 8;
    const auto mask = static_cast<std::uint8_t>(1U << (position % 8));
    const std::uint8_t old = bytes_.U8(at);
    mutable_.PutU8(at, static_cast<std::uint8_t>(value ? old | mask : old & ~mask));
}

/// Opens a gap of `count` bytes at `position`; the end marks greater than `marksBehind` move with the bytes.
void IndexPageEdit::InsertBytes(std::uint32_t position, std::uint32_t marksBehind,
                                std::uint32_t count) const {
    const std::uint32_t used = UsedBytes();
    const std::uint32_t start = geometry_->indexEntriesStart;
    mutable_.Move(start + position + count, start + position, used - position);
    EndMarks marks(mutable_.Sub(layout_->bitmap, start - layout_->bitmap), marksBehind + 1, used + count);
    marks.ShiftUp(marksBehind + 1, count);
    marks.Store();
    PutUsedBytes(used + count);
}

/// Takes out `count` bytes together with the end mark `mark`; greater marks move with the bytes.
void IndexPageEdit::EraseBytes(std::uint32_t position, std::uint32_t mark, std::uint32_t count) const {
    const std::uint32_t used = UsedBytes();
    const std::uint32_t start = geometry_->indexEntriesStart;
    mutable_.Move(start + position, start + position + count, used - position - count);
    mutable_.Fill(start + used - count, count, 0);
    // Within the bytes that go no other entry ends than the one whose mark goes.
    EndMarks marks(mutable_.Sub(layout_->bitmap, start - layout_->bitmap), mark + 1 - count, used + 1);
    marks.ShiftDown(mark + 1 - count, count);
    marks.Store();
    PutUsedBytes(used - count);
}

bool IndexPageEdit::Insert(std::uint32_t position, EntryView entry) const {
    const std::uint32_t used = UsedBytes();
    const std::uint32_t start = geometry_->indexEntriesStart;
    const auto length = static_cast<std::uint32_t>(entry.size());
    if (used == 0) {
        if (length > Capacity()) return false;
        Assign(std::span(&entry, 1), 0);
        return true;
    }
    const std::uint32_t prefix = PrefixBytes();
    if (prefix != 0) {
        const std::uint32_t common = CommonLength(entry, bytes_.Sub(start, prefix).All());
        if (common < prefix) {
            const std::uint32_t longer = (CountBefore(used) - 1) * (prefix - common);
            if (used + longer + length - common > Capacity()) return false;
            std::uint32_t before = CountBefore(position);
            ShortenPrefix(common);
            position = 0;
            for (; before > 0; --before) position = After(position);
            return Insert(position, entry);
        }
    }
    if (used + length - prefix > Capacity()) return false;
    if (position == 0) {
        // The new first entry is stored whole; the one that was first keeps what is behind the prefix.
        InsertBytes(prefix, 0, length - prefix);
        mutable_.PutBytes(start, entry);
        SetEnd(length, true);
    } else {
        InsertBytes(position, position, length - prefix);
        mutable_.PutBytes(start + position, entry.subspan(prefix));
        SetEnd(position + length - prefix, true);
    }
    return true;
}

void IndexPageEdit::ShortenPrefix(std::uint32_t bytes) const {
    const EntryList entries(*this);
    Assign(entries.Range(0, entries.Size()), bytes);
}

void IndexPageEdit::Erase(std::uint32_t position) const {
    const std::uint32_t end = After(position);
    if (position == 0 && end == UsedBytes()) return Assign({}, 0);
    // A new first entry is stored whole: the prefix stays, the rest of the old one goes.
    const std::uint32_t from = position == 0 ? PrefixBytes() : position;
    EraseBytes(from, end, end - from);
}

void IndexPageEdit::Assign(std::span<const EntryView> entries, std::uint32_t prefixBytes) const {
    const std::uint32_t start = geometry_->indexEntriesStart;
    mutable_.Fill(layout_->bitmap, geometry_->pageBytes - layout_->bitmap, 0);
    PutPrefixBytes(entries.size() > 1 ? prefixBytes : 0);
    std::uint32_t used = 0;
    for (const EntryView& entry : entries) {
        const EntryView stored = used == 0 ? entry : entry.subspan(prefixBytes);
        mutable_.PutBytes(start + used, stored);
        used += static_cast<std::uint32_t>(stored.size());
        SetEnd(used, true);
    }
    PutUsedBytes(used);
}

void IndexPageEdit::Append(EntryView entry) const {
    const std::uint32_t used = UsedBytes();
    const EntryView stored = used == 0 ? entry : entry.subspan(PrefixBytes());
    mutable_.PutBytes(geometry_->indexEntriesStart + used, stored);
    SetEnd(used + static_cast<std::uint32_t>(stored.size()), true);
    PutUsedBytes(used + static_cast<std::uint32_t>(stored.size()));
}

void IndexPageEdit::CopyFrom(const PageRef& other) const {
    mutable_.PutBytes(0, other.Bytes().All());
    PutPrevious(0);
    PutNext(0);
}

// ---- Lists

EntryList::EntryList(const IndexPage& page) {
    const std::uint32_t used = page.UsedBytes();
    std::vector<std::uint32_t> lengths;
    std::vector<std::uint8_t> whole;
    for (std::uint32_t position = 0; position < used; position = page.After(position)) {
        page.Whole(position, whole);
        lengths.push_back(static_cast<std::uint32_t>(whole.size()));
        bytes_.insert(bytes_.end(), whole.begin(), whole.end());
    }
    entries_.reserve(lengths.size() + 1);
    std::size_t at = 0;
    for (const std::uint32_t length : lengths) {
        entries_.emplace_back(bytes_.data() + at, length);
        at += length;
    }
}

void EntryList::Insert(std::size_t at, EntryView entry) {
    entries_.insert(entries_.begin() + static_cast<std::ptrdiff_t>(at), entry);
}

std::uint32_t EntryList::CommonPrefix(std::size_t from, std::size_t to) const {
    // Sorted, so what the first and the last share all share.
    return from == to ? 0 : CommonLength(entries_[from], entries_[to - 1]);
}

std::uint32_t EntryList::StoredBytes(std::size_t from, std::size_t to, std::uint32_t prefixBytes) const {
    std::uint32_t bytes = 0;
    for (std::size_t i = from; i < to; ++i) {
        bytes += static_cast<std::uint32_t>(entries_[i].size()) - (i == from ? 0 : prefixBytes);
    }
    return bytes;
}

}  // namespace marrowkit::jet
