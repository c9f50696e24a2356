#include "platform/jet/engine/RowWriting.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/jet/engine/RandomNumbers.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/format/TextCodec.h"

namespace marrowkit::jet {

namespace {

// Longer memos are stored plain, as writers that Access is known to get along with do.
constexpr std::size_t kMaxCompressedChars = 1024;
// A shorter text would not become shorter.
constexpr std::size_t kMinCompressedChars = 3;
constexpr std::array<std::uint8_t, 2> kCompressionMark{0xFF, 0xFE};

std::vector<std::uint8_t> LongValueBytes(const TableLayout& layout, const ColumnStorage& storage,
                                         const Value& value) {
    if (const auto* bytes = std::get_if<Binary>(&value)) return *bytes;
    const auto& text = std::get<std::string>(value);
    const bool compress =
        storage.definition->IsCompressed() && TextLength(layout.Version(), text) <= kMaxCompressedChars;
    return EncodeText(layout.Version(), text, compress);
}

using Bytes = std::vector<std::uint8_t>;

/// The column's buffer of the row before, emptied: most columns need no new memory.
Bytes& BufferOf(StoredColumn& encoded) {
    if (!encoded) encoded.emplace();
    return *encoded;
}

template <typename T>
bool PutNumber(const Value& value, StoredColumn& encoded) {
    const T* number = std::get_if<T>(&value);
    if (number == nullptr) return false;
    Bytes& bytes = BufferOf(encoded);
    bytes.resize(sizeof(T));
    std::memcpy(bytes.data(), number, sizeof(T));
    return true;
}

/// Texts that are stored byte by byte: ASCII, in Jet 4 with compression. False for all others.
bool PutAscii(JetVersion version, const ColumnDefinition& column, const Value& value, StoredColumn& encoded) {
    const auto* text = std::get_if<std::string>(&value);
    const bool jet4 = version == JetVersion::Jet4;
    if (text == nullptr || column.IsFixed() || text->size() > column.lengthBytes / (jet4 ? 2U : 1U)) {
        return false;
    }
    if (jet4 && !text->empty() && (text->size() < kMinCompressedChars || !column.IsCompressed()))
        return false;
    const bool ascii = std::ranges::all_of(*text, [](char c) { return static_cast<signed char>(c) > 0; });
    if (!ascii) return false;
    Bytes& bytes = BufferOf(encoded);
    bytes.clear();
    if (jet4 && !text->empty()) bytes.assign(kCompressionMark.begin(), kCompressionMark.end());
    bytes.insert(bytes.end(), text->begin(), text->end());
    return true;
}

/// The common cases of EncodeValue, into memory that is there already. False for all others.
bool EncodeQuickly(JetVersion version, const ColumnDefinition& column, const Value& value,
                   StoredColumn& encoded) {
    switch (column.type) {
        case ColumnType::Boolean:
            return PutNumber<bool>(value, encoded);
        case ColumnType::Byte:
            return PutNumber<std::uint8_t>(value, encoded);
        case ColumnType::Integer:
            return PutNumber<std::int16_t>(value, encoded);
        case ColumnType::Long:
            return PutNumber<std::int32_t>(value, encoded);
        case ColumnType::Double:
            return PutNumber<double>(value, encoded);
        case ColumnType::Text:
            return PutAscii(version, column, value, encoded);
        default:
            return false;
    }
}

}  // namespace

void EncodeColumn(const TableLayout& layout, RowDraft& draft, std::size_t column) {
    const ColumnStorage& storage = layout.storage[column];
    StoredColumn& encoded = draft.encoded[storage.descriptor];
    const Value& value = draft[column];
    if (IsNull(value)) {
        encoded.reset();
    } else if (!EncodeQuickly(layout.Version(), *storage.definition, value, encoded)) {
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
    if (number == nullptr) return;
    const std::uint32_t last = layout.definition.lastAutoNumber;
    // Behind the greatest number comes the smallest: the one that is next counts whatever its sign.
    const bool isNext = static_cast<std::uint32_t>(*number) == last + 1;
    if (isNext || *number > static_cast<std::int32_t>(last)) {
        layout.definition.lastAutoNumber = static_cast<std::uint32_t>(*number);
    }
}

void BuildKey(const TableLayout& layout, RowDraft& draft, std::size_t realIndex) {
    const IndexStorage& index = layout.realIndexes[realIndex];
    if (!index.buildable) RaiseUnknownSortOrder(layout, index);
    BuildRowKey(
        layout.Version(), index, [&](std::size_t column) -> const Value& { return draft[column]; },
        draft.keys[realIndex]);
}

void CheckKey(const TableLayout& layout, const RowDraft& draft, std::size_t realIndex,
              std::optional<RowId> exceptRow) {
    const IndexStorage& index = layout.realIndexes[realIndex];
    const RowKey& key = draft.keys[realIndex];
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
