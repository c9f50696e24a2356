#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/jet/check/CheckReaders.h"
#include "platform/jet/check/CheckRows.h"
#include "platform/jet/compact/CompactTarget.h"
#include "platform/jet/format/TableDefinition.h"

namespace marrowkit::jet::compact {

/// Hashes bytes that come in pieces; where they were cut makes no difference.
class ContentHash {
public:
    void Add(std::span<const std::uint8_t> bytes);
    std::uint64_t Value() const;

private:
    std::uint64_t hash_ = 0;
    std::uint64_t bytes_ = 0;
    std::array<std::uint8_t, 8> tail_{};
};

/// Data pages of one owner, filled one behind the other in the order of the calls.
class RowWriter {
public:
    RowWriter(CompactTarget& target, std::uint32_t owner)
        : target_(&target), page_(target.PageGeometry(), owner) {}

    RowId Append(std::span<const std::uint8_t> row);
    void Finish();

    /// After Finish, ascending: all pages, and those with room for more rows.
    const std::vector<PageNumber>& Pages() const { return pages_; }
    const std::vector<PageNumber>& PagesWithRoom() const { return withRoom_; }

private:
    CompactTarget* target_;
    DataPageBuilder page_;
    PageNumber number_ = 0;
    std::vector<PageNumber> pages_;
    std::vector<PageNumber> withRoom_;
};

/// Long values of one column in the new file.
class LongValueWriter {
public:
    explicit LongValueWriter(CompactTarget& target) : target_(&target) {}

    struct Copied {
        std::array<std::uint8_t, check::LongValueHeader::kBytes> header;  ///< for the new row
        std::uint64_t contentHash;
    };
    /// Copies the value that a header in the source stands for. REQUIRES: it is not inline. Throws Damage.
    Copied Copy(const check::CheckFile& source, ByteView inRow);
    void Finish();

    const std::vector<PageNumber>& Pages() const { return pages_; }
    const std::vector<PageNumber>& PagesWithRoom() const { return withRoom_; }

private:
    /// A few pages stay open, so that a long value does not leave a half-empty page behind.
    struct OpenPage {
        PageNumber number;
        DataPageBuilder page;
    };
    RowId AppendRow(std::span<const std::uint8_t> value);
    RowId CopyChain(const check::CheckFile& source, ByteView inRow, ContentHash& hash);
    void PutChainPage(PageNumber number, PageNumber next, std::span<const std::uint8_t> bytes);
    void Close(OpenPage& open);
    PageNumber Allocate();

    CompactTarget* target_;
    std::vector<OpenPage> open_;
    std::vector<PageNumber> pages_;
    std::vector<PageNumber> withRoom_;
};

/// Reads out of a file what must be the same in both: a row's bytes, except for where its long values lie,
/// and what those hold.
class RowDigest {
public:
    /// Both must outlive the digest.
    RowDigest(const check::CheckFile& file, const TableDefinition& table);
    /// Throws Damage or OutOfBounds.
    std::uint64_t Of(ByteView row);

private:
    const check::CheckFile* file_;
    const TableDefinition* table_;
    std::vector<const ColumnDefinition*> longColumns_;
    std::vector<std::uint8_t> blanked_;
};

/// Finishes a digest from the blanked row and the hashes of its long values, in column order.
std::uint64_t CombineDigest(std::span<const std::uint8_t> blankedRow,
                            std::span<const std::uint64_t> longValues);

}  // namespace marrowkit::jet::compact
