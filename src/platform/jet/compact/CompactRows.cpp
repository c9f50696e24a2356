#include "platform/jet/compact/CompactRows.h"

#include <algorithm>
#include <cstring>

namespace marrowkit::jet::compact {

using check::Damage;
using check::LongValueHeader;
using check::LongValuePiece;

namespace {

constexpr std::size_t kOpenLongValuePages = 4;

/// Pages with less room than this are left out of the maps of pages with room, like Jet leaves them out.
std::uint32_t UsefulRoomBytes(const Geometry& geometry) {
    return geometry.version == JetVersion::Jet3 ? 128 : 256;
}

}  // namespace

void ContentHash::Add(std::span<const std::uint8_t> bytes) {
    const std::size_t inTail = static_cast<std::size_t>(bytes_ % 8);
    bytes_ += bytes.size();
    if (inTail != 0) {
        const std::size_t take = std::min(8 - inTail, bytes.size());
        std::memcpy(tail_.data() + inTail, bytes.data(), take);
        bytes = bytes.subspan(take);
        if (inTail + take < 8) return;
        std::uint64_t word = 0;
        std::memcpy(&word, tail_.data(), 8);
        hash_ = check::StepHash(hash_, word);
    }
    for (; bytes.size() >= 8; bytes = bytes.subspan(8)) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data(), 8);
        hash_ = check::StepHash(hash_, word);
    }
    std::copy(bytes.begin(), bytes.end(), tail_.begin());
}

std::uint64_t ContentHash::Value() const {
    std::uint64_t word = 0;
    std::memcpy(&word, tail_.data(), static_cast<std::size_t>(bytes_ % 8));
    return check::MixHash(check::MixHash(hash_, word), bytes_);
}

RowId RowWriter::Append(std::span<const std::uint8_t> row) {
    if (number_ != 0 && !page_.Fits(row.size())) Finish();
    if (number_ == 0) {
        number_ = target_->Allocate();
        pages_.push_back(number_);
        if (!page_.Fits(row.size())) throw Damage(0, "a row is longer than a page");
    }
    return {number_, page_.Append(row)};
}

void RowWriter::Finish() {
    if (number_ == 0) return;
    target_->Put(number_, page_.Bytes());
    if (page_.FreeBytes() >= UsefulRoomBytes(target_->PageGeometry())) withRoom_.push_back(number_);
    page_.Clear();
    number_ = 0;
}

PageNumber LongValueWriter::Allocate() {
    pages_.push_back(target_->Allocate());
    return pages_.back();
}

LongValueWriter::Copied LongValueWriter::Copy(const check::CheckFile& source, ByteView inRow) {
    const LongValueHeader header(inRow);
    ContentHash hash;
    RowId where;
    std::uint32_t word = header.Length();
    if (header.Length() <= target_->PageGeometry().MaxLongValueRowBytes()) {
        const std::vector<std::uint8_t> value = check::LoadLongValue(source, inRow);
        hash.Add(value);
        where = AppendRow(value);
        word |= LongValueHeader::kSingleRowFlag;
    } else {
        where = CopyChain(source, inRow, hash);
    }
    Copied copied{{}, hash.Value()};
    const MutableByteView bytes(copied.header);
    bytes.PutU32(0, word);
    bytes.PutU32(4, where.Stored());
    return copied;
}

RowId LongValueWriter::AppendRow(std::span<const std::uint8_t> value) {
    for (OpenPage& open : open_) {
        if (open.page.Fits(value.size())) return {open.number, open.page.Append(value)};
    }
    if (open_.size() == kOpenLongValuePages) {
        const auto fullest =
            std::min_element(open_.begin(), open_.end(), [](const OpenPage& left, const OpenPage& right) {
                return left.page.FreeBytes() < right.page.FreeBytes();
            });
        Close(*fullest);
        open_.erase(fullest);
    }
    open_.push_back({Allocate(), DataPageBuilder(target_->PageGeometry(), kLongValueOwner)});
    return {open_.back().number, open_.back().page.Append(value)};
}

RowId LongValueWriter::CopyChain(const check::CheckFile& source, ByteView inRow, ContentHash& hash) {
    const std::size_t pieceBytes = target_->PageGeometry().MaxLongValueRowBytes() - 4;
    const PageNumber first = Allocate();
    PageNumber current = first;
    std::vector<std::uint8_t> piece;
    check::WalkLongValue(source, inRow, [&](const LongValuePiece& part) {
        hash.Add(part.bytes.All());
        for (auto bytes = part.bytes.All(); !bytes.empty();) {
            if (piece.size() == pieceBytes) {
                const PageNumber next = Allocate();
                PutChainPage(current, next, piece);
                current = next;
                piece.clear();
            }
            const std::size_t take = std::min(pieceBytes - piece.size(), bytes.size());
            piece.insert(piece.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(take));
            bytes = bytes.subspan(take);
        }
    });
    PutChainPage(current, 0, piece);
    return {first, 0};
}

void LongValueWriter::PutChainPage(PageNumber number, PageNumber next, std::span<const std::uint8_t> bytes) {
    std::vector<std::uint8_t> row(4 + bytes.size());
    MutableByteView(row).PutU32(0, next == 0 ? 0 : RowId{next, 0}.Stored());
    std::copy(bytes.begin(), bytes.end(), row.begin() + 4);
    DataPageBuilder page(target_->PageGeometry(), kLongValueOwner);
    page.Append(row);
    target_->Put(number, page.Bytes());
}

void LongValueWriter::Close(OpenPage& open) {
    target_->Put(open.number, open.page.Bytes());
    if (open.page.FreeBytes() >= UsefulRoomBytes(target_->PageGeometry())) withRoom_.push_back(open.number);
}

void LongValueWriter::Finish() {
    for (OpenPage& open : open_) Close(open);
    open_.clear();
    std::sort(withRoom_.begin(), withRoom_.end());
}

std::uint64_t CombineDigest(std::span<const std::uint8_t> blankedRow,
                            std::span<const std::uint64_t> longValues) {
    std::uint64_t digest = check::HashBytes(blankedRow, 0);
    for (const std::uint64_t hash : longValues) digest = check::MixHash(digest, hash);
    return digest;
}

RowDigest::RowDigest(const check::CheckFile& file, const TableDefinition& table)
    : file_(&file), table_(&table) {
    for (const ColumnDefinition& column : table.columns) {
        if (column.IsLongValue()) longColumns_.push_back(&column);
    }
}

std::uint64_t RowDigest::Of(ByteView bytes) {
    if (longColumns_.empty()) return CombineDigest(bytes.All(), {});
    std::vector<std::uint64_t> longValues;
    std::vector<std::size_t> headers;
    const RowView view(file_->PageGeometry(), *table_, bytes);
    for (const ColumnDefinition* column : longColumns_) {
        const ByteView value = view.Bytes(*column);
        if (value.Size() < LongValueHeader::kBytes || LongValueHeader(value).IsInline()) continue;
        ContentHash hash;
        check::WalkLongValue(*file_, value,
                             [&](const LongValuePiece& piece) { hash.Add(piece.bytes.All()); });
        longValues.push_back(hash.Value());
        headers.push_back(static_cast<std::size_t>(value.Data() - bytes.Data()));
    }
    if (headers.empty()) return CombineDigest(bytes.All(), {});
    blanked_.assign(bytes.All().begin(), bytes.All().end());
    for (const std::size_t at : headers) {
        MutableByteView(blanked_).Fill(at, LongValueHeader::kBytes, 0);
    }
    return CombineDigest(blanked_, longValues);
}

}  // namespace marrowkit::jet::compact
