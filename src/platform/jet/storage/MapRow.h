#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "platform/jet/storage/Bitmap.h"
#include "platform/jet/storage/Pager.h"

namespace marrowkit::jet {

/// A usage map's row on its pinned page. An inline map holds bits itself, a reference map the numbers of
/// bitmap pages, each of which has the bits of a stretch of pages.
///
/// Bitmap pages are read by what the caller passes: PageRef(PageNumber).
struct MapRow {
    static constexpr std::uint8_t kReference = 1;
    /// An inline row: type byte, first page, then the bits.
    static constexpr std::size_t kInlineBits = 5;
    /// A bitmap page's bits begin behind its type and three fixed bytes.
    static constexpr std::size_t kBitmapPageBits = 4;

    PageRef page;
    ByteView row;

    bool IsKnownKind() const { return row.Size() >= kInlineBits && row.U8(0) <= kReference; }
    bool IsReference() const { return row.U8(0) == kReference; }
    PageNumber Start() const { return row.U32(1); }
    ByteView InlineBits() const { return row.From(kInlineBits); }
    std::size_t InlineBitCount() const { return (row.Size() - kInlineBits) * 8; }
    std::size_t EntryCount() const { return (row.Size() - 1) / 4; }
    /// The bitmap page of a stretch; 0 when it has none.
    PageNumber Entry(std::size_t i) const { return i < EntryCount() ? row.U32(1 + 4 * i) : 0; }

    bool ReachesInline(PageNumber number) const {
        return number >= Start() && number - Start() < InlineBitCount();
    }

    template <class ReadBitmap>
    bool Contains(PageNumber number, std::uint32_t stretch, const ReadBitmap& readBitmap) const {
        if (!IsReference()) return ReachesInline(number) && bitmap::Test(InlineBits(), number - Start());
        const PageNumber bits = Entry(number / stretch);
        if (bits == 0) return false;
        const PageRef bitmapPage = readBitmap(bits);
        return bitmap::Test(bitmapPage.Bytes().From(kBitmapPageBits), number % stretch);
    }

    /// The smallest member >= `from` and < `end`.
    template <class ReadBitmap>
    std::optional<PageNumber> Next(PageNumber from, PageNumber end, std::uint32_t stretch,
                                   const ReadBitmap& readBitmap) const {
        if (!IsReference()) {
            const PageNumber start = Start();
            if (start >= end) return std::nullopt;
            const auto found = bitmap::FindNext(InlineBits(), from > start ? from - start : 0,
                                                std::min<std::size_t>(InlineBitCount(), end - start));
            if (!found) return std::nullopt;
            return start + static_cast<PageNumber>(*found);
        }
        for (std::size_t entry = from / stretch; entry < EntryCount() && entry * stretch < end; ++entry) {
            if (Entry(entry) == 0) continue;
            const PageRef bitmapPage = readBitmap(Entry(entry));
            const auto first = static_cast<PageNumber>(entry * stretch);
            const auto found =
                bitmap::FindNext(bitmapPage.Bytes().From(kBitmapPageBits), from > first ? from - first : 0,
                                 std::min(stretch, end - first));
            if (found) return first + static_cast<PageNumber>(*found);
        }
        return std::nullopt;
    }
};

}  // namespace marrowkit::jet
