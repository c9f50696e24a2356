#include "platform/jet/engine/RowDecoding.h"

#include <string>

#include "platform/jet/format/TextCodec.h"

namespace marrowkit::jet {

namespace {

// In front of a long value that lies in its row.
constexpr std::size_t kLongValueHeaderBytes = 12;

void DecodeTextInto(JetVersion version, ByteView stored, Value& value) {
    auto* text = std::get_if<std::string>(&value);
    if (text == nullptr) text = &value.emplace<std::string>();
    if (stored.Empty()) {
        text->clear();
    } else {
        DecodeText(version, stored, *text);
    }
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
    if (!definition.IsLongValue()) {
        row.DecodeInto(definition, value);
    } else if (row.IsNull(definition)) {
        value = Null{};
    } else {
        DecodeLongValue(layout, storage, row.Bytes(definition), value);
    }
}

Row DecodeColumns(const TableLayout& layout, ByteView row, std::span<const std::size_t> columns) {
    const RowView view(layout.PageGeometry(), layout.definition, row);
    Row values(columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i) DecodeColumn(layout, view, columns[i], values[i]);
    return values;
}

// ---- Row after row

RowDecoder::RowDecoder(const TableLayout& layout, std::span<const std::size_t> columns) : layout_(&layout) {
    steps_.reserve(columns.size());
    for (const std::size_t column : columns) {
        const ColumnDefinition& definition = *layout.storage[column].definition;
        steps_.push_back({StoringOf(definition), definition.number,
                          definition.IsFixed() ? definition.fixedOffset : definition.variableIndex, column});
    }
}

RowDecoder::Storing RowDecoder::StoringOf(const ColumnDefinition& definition) {
    switch (definition.type) {
        case ColumnType::Boolean:
            return Storing::MaskBit;
        case ColumnType::Byte:
            return definition.IsFixed() ? Storing::FixedByte : Storing::Other;
        case ColumnType::Integer:
            return definition.IsFixed() ? Storing::FixedInteger : Storing::Other;
        case ColumnType::Long:
            return definition.IsFixed() ? Storing::FixedLong : Storing::Other;
        case ColumnType::Text:
            return definition.IsFixed() ? Storing::Other : Storing::VariableText;
        case ColumnType::Memo:
            return definition.IsFixed() ? Storing::Other : Storing::Memo;
        default:
            return Storing::Other;
    }
}

void RowDecoder::Decode(ByteView row, Row& values) const {
    const RowView view(layout_->PageGeometry(), layout_->definition, row);
    values.resize(steps_.size());
    for (std::size_t i = 0; i < steps_.size(); ++i) DecodeStep(steps_[i], view, values[i]);
}

inline void RowDecoder::DecodeStep(const Step& step, const RowView& row, Value& value) const {
    if (step.storing == Storing::MaskBit) return Assign(value, row.MaskBit(step.number));
    if (step.storing == Storing::Other) return DecodeColumn(*layout_, row, step.column, value);
    if (!row.MaskBit(step.number)) {
        value = Null{};
        return;
    }
    switch (step.storing) {
        case Storing::FixedByte:
            return Assign(value, row.FixedPart(step.place, 1).U8(0));
        case Storing::FixedInteger:
            return Assign(value, row.FixedPart(step.place, 2).I16(0));
        case Storing::FixedLong:
            return Assign(value, row.FixedPart(step.place, 4).I32(0));
        default:
            return DecodeVariable(step, row, value);
    }
}

void RowDecoder::DecodeVariable(const Step& step, const RowView& row, Value& value) const {
    if (!row.HasVariablePart(step.place)) {
        value = Null{};
    } else if (step.storing == Storing::Memo) {
        DecodeLongValue(*layout_, layout_->storage[step.column], row.VariablePart(step.place), value);
    } else {
        DecodeTextInto(layout_->Version(), row.VariablePart(step.place), value);
    }
}

}  // namespace marrowkit::jet
