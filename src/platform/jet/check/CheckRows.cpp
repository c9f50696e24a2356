#include "platform/jet/check/CheckRows.h"

#include <algorithm>
#include <cstring>

#include "platform/jet/format/IndexKey.h"

namespace marrowkit::jet::check {

namespace {

std::uint64_t WordAt(const std::uint8_t* bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

}  // namespace

std::uint64_t HashWords(std::span<const std::uint8_t>& bytes, std::uint64_t seed) {
    constexpr std::size_t kWordBytes = 8;
    // A step has to wait for the one before it; four rows of steps do not wait for each other.
    constexpr std::size_t kLanes = 4;
    constexpr std::size_t kFewBytes = 2 * kLanes * kWordBytes;
    std::uint64_t hash = seed;
    if (bytes.size() >= kFewBytes) {
        std::uint64_t lanes[kLanes] = {hash, hash + 1, hash + 2, hash + 3};
        for (; bytes.size() >= kLanes * kWordBytes; bytes = bytes.subspan(kLanes * kWordBytes)) {
            for (std::size_t i = 0; i < kLanes; ++i) {
                lanes[i] = StepHash(lanes[i], WordAt(bytes.data() + i * kWordBytes));
            }
        }
        for (const std::uint64_t lane : lanes) hash = StepHash(hash, lane);
    }
    for (; bytes.size() >= kWordBytes; bytes = bytes.subspan(kWordBytes)) {
        hash = StepHash(hash, WordAt(bytes.data()));
    }
    return hash;
}

void RowWalk::Run(const Visit& visit, const Problem& problem, const SeePage& seePage) const {
    for (const PageNumber number : *ownedPages_) {
        try {
            const DataPage page(file_->PageGeometry(), file_->Read(number, PageType::Data));
            if (seePage) seePage(page);
            if (page.Owner() != table_) {
                throw Damage(number, "page " + std::to_string(number) + " names table definition " +
                                         std::to_string(page.Owner()) + " as its owner");
            }
            for (unsigned slot = 0; slot < page.SlotCount(); ++slot) VisitRow(page, slot, visit, problem);
        } catch (const Damage& damage) {
            problem(damage);
        }
    }
}

void RowWalk::VisitRow(const DataPage& page, unsigned slot, const Visit& visit,
                       const Problem& problem) const {
    const std::uint16_t flags = page.Flags(slot);
    if ((flags & DataPage::kTargetFlag) != 0) return;
    const RowId id{page.Number(), static_cast<std::uint8_t>(slot)};
    try {
        if (flags == DataPage::kMovedFlag) {
            const FileRow target = ReadTarget(id, page.Bytes(slot));
            visit(id, target.bytes);
        } else {
            visit(id, page.Bytes(slot));
        }
    } catch (const Damage& damage) {
        problem(Damage(id.page, RowText(id) + ": " + damage.description));
    } catch (const OutOfBounds& outside) {
        problem(Damage(id.page, RowText(id) + ": " + outside.what()));
    }
}

FileRow RowWalk::ReadTarget(RowId row, ByteView pointer) const {
    if (pointer.Size() < 4) throw Damage(row.page, "a moved row has no pointer");
    const RowId target = RowId::FromStored(pointer.U32(0));
    if (!std::binary_search(ownedPages_->begin(), ownedPages_->end(), target.page)) {
        throw Damage(row.page, "moved to " + RowText(target) + ", which is not a page of the table");
    }
    return ReadSlot(*file_, target, table_, DataPage::kTargetFlag);
}

FileRow RowWalk::Read(RowId row) const {
    if (!lastRead_ || lastRead_->Number() != row.page) {
        lastRead_.emplace(file_->PageGeometry(), file_->Read(row.page, PageType::Data));
    }
    const DataPage& page = *lastRead_;
    if (page.Owner() != table_) throw Damage(row.page, RowText(row) + " belongs to another table");
    const ByteView bytes = page.Bytes(row.slot);
    if (page.Flags(row.slot) == DataPage::kMovedFlag) return ReadTarget(row, bytes);
    if (page.Flags(row.slot) != 0) throw Damage(row.page, RowText(row) + " is deleted");
    return {page.Page(), bytes};
}

KeyBuilder::KeyBuilder(const CheckFile& file, const TableDefinition& table, const RealIndex& index)
    : file_(&file), ignoresNulls_(index.IgnoresNulls()) {
    for (const IndexColumn& part : index.columns) {
        const ColumnDefinition* column = table.ColumnByNumber(part.columnNumber);
        parts_.push_back({column, ColumnPlace(*column), part.ascending});
        canBuild_ = canBuild_ && CanBuildKey(*column);
    }
    const ColumnType first = parts_.empty() ? ColumnType::Boolean : parts_.front().column->type;
    if (parts_.size() == 1 && (first == ColumnType::Long || first == ColumnType::Integer)) {
        wholeNumberBytes_ = FixedWidth(first);
    }
}

void KeyBuilder::BuildAny(const RowView& row) {
    /// More than the 255 characters that count, in any encoding of them.
    constexpr std::size_t kKeyTextBytes = 2048;
    const JetVersion version = file_->Header().version;
    key_.clear();
    anyNull_ = false;
    allNull_ = true;
    for (const Part& part : parts_) {
        const ColumnDefinition& column = *part.column;
        const ByteView stored = row.Bytes(part.place);
        const bool isNull = stored.Empty() && !part.place.isBoolean && row.IsNull(part.place);
        anyNull_ = anyNull_ || isNull;
        allNull_ = allNull_ && isNull;
        if (!canBuild_) continue;
        if (!isNull && AppendStoredKey(version, column, part.ascending, stored, key_)) continue;
        if (column.IsLongValue()) {
            value_ = ReadValue(*file_, row, column, kKeyTextBytes);
        } else {
            row.DecodeInto(column, value_);
        }
        AppendKeyColumn(version, column, part.ascending, value_, key_);
    }
}

Value ReadValue(const CheckFile& file, const RowView& row, const ColumnDefinition& column,
                std::size_t maxLongBytes) {
    if (!column.IsLongValue()) return row.Decode(column);
    if (row.IsNull(column)) return Null{};
    const std::vector<std::uint8_t> stored = LoadLongValue(file, row.Bytes(column), maxLongBytes);
    return DecodeValue(file.PageGeometry(), column, ByteView(stored));
}

bool IsAllNullKey(std::span<const std::uint8_t> key, const RealIndex& index) {
    if (key.size() != index.columns.size()) return false;
    for (std::size_t i = 0; i < key.size(); ++i) {
        if (key[i] != (index.columns[i].ascending ? 0x00 : 0xFF)) return false;
    }
    return true;
}

}  // namespace marrowkit::jet::check
