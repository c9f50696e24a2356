#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/jet/storage/Pager.h"
#include "platform/jet/storage/UsageMap.h"

namespace marrowkit::jet {

/// Values of one Memo or OLE column that are too long to lie in their rows: one row on a shared long-value
/// page, or a chain of pages.
class LongValueStore {
public:
    /// Bytes of the header that every value has in its row.
    static constexpr std::size_t kHeaderBytes = 12;

    /// A null `freeMap` is legal: then every value gets a page of its own.
    LongValueStore(Pager& pager, RowId ownedMap, RowId freeMap);

    /// The bytes that go into the row's variable part: a 12-byte header, followed by the value itself when it
    /// is short enough (32 bytes in Jet 3, 64 in Jet 4) to stay inline. REQUIRES: a unit is open when the
    /// value is longer.
    std::vector<std::uint8_t> Store(std::span<const std::uint8_t> value);
    /// The value that a row's variable part stands for. Throws 3049 on a chain that loops, leaves the
    /// column's pages or does not add up to its length.
    std::vector<std::uint8_t> Load(ByteView inRow) const;
    /// Length in bytes, from the header alone; 0 for a header that is cut short.
    static std::uint32_t Length(ByteView inRow);
    static bool IsInline(ByteView inRow);
    /// Frees what the header points to; nothing for an inline value. REQUIRES: a unit is open.
    void Free(ByteView inRow);

private:
    RowId StoreSingle(std::span<const std::uint8_t> value);
    RowId StoreChain(std::span<const std::uint8_t> value);
    PageNumber FindRoom(std::size_t bytes);
    void EraseRow(RowId row);
    PageRef ReadOwn(PageNumber page) const;

    Pager* pager_;
    UsageMap owned_;
    UsageMap free_;
    bool hasFreeMap_;
    PageNumber lastPage_ = 0;
    PageNumber searchFrom_ = 0;
    std::uint64_t hintEpoch_ = 0;
};

}  // namespace marrowkit::jet
