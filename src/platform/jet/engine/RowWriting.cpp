#include "platform/jet/engine/RowWriting.h"

#include "platform/jet/engine/RandomNumbers.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/format/TextCodec.h"

namespace marrowkit::jet {

namespace {

// Longer memos are stored plain, as writers that Access is known to get along with do.
constexpr std::size_t kMaxCompressedChars = 1024;

std::vector<std::uint8_t> LongValueBytes(const TableLayout& layout, const ColumnStorage& storage,
                                         const Value& value) {
    if (const auto* bytes = std::get_if<Binary>(&value)) return *bytes;
    const auto& text = std::get<std::string>(value);
    const bool compress =
        storage.definition->IsCompressed() && TextLength(layout.Version(), text) <= kMaxCompressedChars;
    return EncodeText(layout.Version(), text, compress);
}

}  // namespace

void EncodeColumn(const TableLayout& layout, RowDraft& draft, std::size_t column) {
    const ColumnStorage& storage = layout.storage[column];
    StoredColumn& encoded = draft.encoded[storage.descriptor];
    const Value& value = draft[column];
    if (IsNull(value)) {
        encoded.reset();
    } else {
        encoded = EncodeValue(layout.PageGeometry(), *storage.definition, value);
    }
}

void StoreLongValue(TableLayout& layout, RowDraft& draft, std::size_t column) {
    ColumnStorage& storage = layout.storage[column];
    StoredColumn& encoded = draft.encoded[storage.descriptor];
    const Value& value = draft[column];
    if (IsNull(value)) {
        encoded.reset();
    } else {
        encoded = storage.longValues->Store(LongValueBytes(layout, storage, value));
    }
}

Value NextAutoNumber(const TableLayout& layout, std::size_t column) {
    if (layout.columns[column].type == ColumnType::Guid) return RandomGuid();
    if (layout.columns[column].randomAutoNumber) return RandomAutoNumber();
    return static_cast<std::int32_t>(layout.definition.lastAutoNumber + 1);
}

void RaiseAutoNumberCounter(TableLayout& layout, std::size_t column, const Value& value) {
    if (layout.columns[column].randomAutoNumber) return;
    const auto* number = std::get_if<std::int32_t>(&value);
    if (number != nullptr && *number > static_cast<std::int32_t>(layout.definition.lastAutoNumber)) {
        layout.definition.lastAutoNumber = static_cast<std::uint32_t>(*number);
    }
}

void PrepareKey(const TableLayout& layout, RowDraft& draft, std::size_t realIndex,
                std::optional<RowId> exceptRow) {
    const IndexStorage& index = layout.realIndexes[realIndex];
    if (!index.buildable) RaiseUnknownSortOrder(layout, index);
    RowKey& key = draft.keys[realIndex];
    BuildRowKey(
        layout.Version(), index, [&](std::size_t column) -> const Value& { return draft[column]; }, key);
    if (key.anyNull && index.refusesNulls) RaiseJet(JetError::NullInIndex);
    // Any number of rows may have nothing but Null in a unique index.
    if (index.unique && !key.allNull && index.tree.ContainsKey(key.bytes, exceptRow)) {
        RaiseJet(JetError::DuplicateKey);
    }
}

void AddIndexEntry(TableLayout& layout, const RowKey& key, std::size_t realIndex, RowId row) {
    IndexStorage& index = layout.realIndexes[realIndex];
    if (!key.IsStored(index)) return;
    if (index.tree.Insert(key.bytes, row)) ++layout.definition.realIndexes[realIndex].distinctStatistic;
}

void RemoveIndexEntry(TableLayout& layout, const RowKey& key, std::size_t realIndex, RowId row) {
    IndexStorage& index = layout.realIndexes[realIndex];
    if (!key.IsStored(index)) return;
    if (index.buildable && index.tree.Erase(key.bytes, row)) return;
    if (index.tree.EraseRow(row)) return;
    RaiseCorrupt(layout.pager->Path(), "table " + layout.name + ": real index " + std::to_string(realIndex) +
                                           " has no entry for row " + std::to_string(row.page) + ":" +
                                           std::to_string(row.slot));
}

}  // namespace marrowkit::jet
