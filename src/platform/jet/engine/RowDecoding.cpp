#include "platform/jet/engine/RowDecoding.h"

#include <string>

#include "platform/jet/format/TextCodec.h"

namespace marrowkit::jet {

namespace {

// In front of a long value that lies in its row.
constexpr std::size_t kLongValueHeaderBytes = 12;

bool IsPlainAscii(std::span<const std::uint8_t> bytes) {
    // A zero byte wraps to 0xFF, so both it and everything above 0x7F leave the top bit set.
    std::uint8_t seen = 0;
    for (const std::uint8_t byte : bytes) {
        seen = static_cast<std::uint8_t>(seen | byte | static_cast<std::uint8_t>(byte - 1));
    }
    return (seen & 0x80) == 0;
}

std::string& TextOf(Value& value) {
    if (auto* text = std::get_if<std::string>(&value)) return *text;
    return value.emplace<std::string>();
}

/// Most texts are compressed ASCII (or code page bytes that are), and need no decoding at all.
void DecodeTextInto(JetVersion version, ByteView stored, Value& value) {
    std::span<const std::uint8_t> bytes = stored.All();
    if (bytes.empty()) {
        TextOf(value).clear();
        return;
    }
    const bool compressed = bytes.size() >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE;
    if (compressed && version == JetVersion::Jet4) bytes = bytes.subspan(2);
    if ((compressed || version == JetVersion::Jet3) && IsPlainAscii(bytes)) {
        TextOf(value).assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        return;
    }
    TextOf(value) = DecodeText(version, stored);
}

void DecodeWholeLongValue(const TableLayout& layout, const ColumnDefinition& definition, ByteView bytes,
                          Value& value) {
    if (definition.type == ColumnType::Memo) {
        DecodeTextInto(layout.Version(), bytes, value);
    } else {
        value = DecodeValue(layout.PageGeometry(), definition, bytes);
    }
}

void DecodeLongValue(const TableLayout& layout, const ColumnStorage& storage, ByteView inRow, Value& value) {
    if (inRow.Empty()) {
        // Some writers store an empty memo as no bytes at all.
        DecodeWholeLongValue(layout, *storage.definition, inRow, value);
    } else if (LongValueStore::IsInline(inRow)) {
        const ByteView bytes = inRow.Sub(kLongValueHeaderBytes, LongValueStore::Length(inRow));
        DecodeWholeLongValue(layout, *storage.definition, bytes, value);
    } else {
        const std::vector<std::uint8_t> bytes = storage.longValues->Load(inRow);
        DecodeWholeLongValue(layout, *storage.definition, ByteView(bytes), value);
    }
}

/// A row's values are overwritten again and again, nearly always by values of the same type.
template <typename T>
void Assign(Value& value, T number) {
    if (T* held = std::get_if<T>(&value)) {
        *held = number;
    } else {
        value = number;
    }
}

}  // namespace

void DecodeColumn(const TableLayout& layout, const RowView& row, std::size_t column, Value& value) {
    const ColumnStorage& storage = layout.storage[column];
    const ColumnDefinition& definition = *storage.definition;
    if (definition.type == ColumnType::Boolean) {
        Assign(value, std::get<bool>(row.Decode(definition)));
        return;
    }
    const ByteView bytes = row.Bytes(definition);
    if (bytes.Empty() && row.IsNull(definition)) {
        value = Null{};
        return;
    }
    switch (definition.type) {
        case ColumnType::Byte:
            Assign(value, bytes.U8(0));
            break;
        case ColumnType::Integer:
            Assign(value, bytes.I16(0));
            break;
        case ColumnType::Long:
            Assign(value, bytes.I32(0));
            break;
        case ColumnType::Double:
            Assign(value, bytes.F64(0));
            break;
        case ColumnType::Text:
            if (definition.IsFixed()) {
                value = row.Decode(definition);
            } else {
                DecodeTextInto(layout.Version(), bytes, value);
            }
            break;
        case ColumnType::Memo:
        case ColumnType::Ole:
            DecodeLongValue(layout, storage, bytes, value);
            break;
        default:
            value = row.Decode(definition);
    }
}

void DecodeColumns(const TableLayout& layout, ByteView row, std::span<const std::size_t> columns,
                   Row& values) {
    const RowView view(layout.PageGeometry(), layout.definition, row);
    values.resize(columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i) DecodeColumn(layout, view, columns[i], values[i]);
}

}  // namespace marrowkit::jet
