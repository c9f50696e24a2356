#include "platform/jet/check/CheckRows.h"

#include <algorithm>
#include <cstring>

#include "platform/jet/format/IndexKey.h"

namespace marrowkit::jet::check {

std::uint64_t MixHash(std::uint64_t left, std::uint64_t right) {
    std::uint64_t mixed = (left ^ (left >> 32) ^ right) * 0xD6E8FEB86659FD93U;
    mixed = (mixed ^ (mixed >> 32)) * 0xD6E8FEB86659FD93U;
    return mixed ^ (mixed >> 32);
}

std::uint64_t HashBytes(std::span<const std::uint8_t> bytes, std::uint64_t seed) {
    std::uint64_t hash = StepHash(seed, bytes.size());
    while (bytes.size() >= 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data(), 8);
        hash = StepHash(hash, word);
        bytes = bytes.subspan(8);
    }
    // What is left, read from both of its ends.
    std::uint32_t front = 0;
    std::uint32_t back = 0;
    if (bytes.size() >= 4) {
        std::memcpy(&front, bytes.data(), 4);
        std::memcpy(&back, bytes.data() + bytes.size() - 4, 4);
    } else if (!bytes.empty()) {
        front = static_cast<std::uint32_t>(bytes[0] << 8 | bytes[bytes.size() / 2]);
        back = bytes.back();
    }
    return MixHash(hash, std::uint64_t{back} << 32 | front);
}

void RowWalk::Run(const Visit& visit, const Problem& problem) const {
    for (const PageNumber number : *ownedPages_) {
        try {
            const DataPage page(file_->PageGeometry(), file_->Read(number, PageType::Data));
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
        columns_.push_back(column);
        ascending_.push_back(part.ascending);
        canBuild_ = canBuild_ && CanBuildKey(*column);
    }
}

void KeyBuilder::Build(const RowView& row) {
    /// More than the 255 characters that count, in any encoding of them.
    constexpr std::size_t kKeyTextBytes = 2048;
    key_.clear();
    anyNull_ = false;
    allNull_ = true;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const ColumnDefinition& column = *columns_[i];
        const ByteView stored = row.Bytes(column);
        const bool isNull = stored.Empty() && column.type != ColumnType::Boolean && row.IsNull(column);
        anyNull_ = anyNull_ || isNull;
        allNull_ = allNull_ && isNull;
        if (!canBuild_ || AppendStoredKey(column, ascending_[i], stored, key_)) continue;
        if (column.IsLongValue()) {
            value_ = ReadValue(*file_, row, column, kKeyTextBytes);
        } else {
            row.DecodeInto(column, value_);
        }
        AppendKeyColumn(file_->Header().version, column, ascending_[i], value_, key_);
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
