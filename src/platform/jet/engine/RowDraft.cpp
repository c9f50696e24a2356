#include "platform/jet/engine/RowDraft.h"

#include "platform/jet/engine/RowDecoding.h"

namespace marrowkit::jet {

namespace {

const Value kNull;
const Value kFalse = false;

}  // namespace

void RowDraft::Begin(const TableLayout& layout) {
    layout_ = &layout;
    row_ = nullptr;
    values_.assign(layout.columns.size(), nullptr);
    own_.resize(layout.columns.size());
    keys.resize(layout.realIndexes.size());
    encoded.resize(layout.definition.columns.size());
}

void RowDraft::BeginOver(const TableLayout& layout, const RowView& row) {
    Begin(layout);
    row_ = &row;
}

void RowDraft::Set(std::size_t column, const Value& value) {
    const Column& target = layout_->columns[column];
    if (IsNull(value) && target.type == ColumnType::Boolean) {
        values_[column] = &kFalse;
    } else if (NeedsConversion(target, value)) {
        SetOwn(column, ConvertFor(target, value));
    } else {
        values_[column] = &value;
    }
}

void RowDraft::SetOwn(std::size_t column, Value value) {
    own_[column] = std::move(value);
    values_[column] = &own_[column];
}

const Value& RowDraft::operator[](std::size_t column) {
    if (values_[column] != nullptr) return *values_[column];
    if (row_ == nullptr) return layout_->columns[column].type == ColumnType::Boolean ? kFalse : kNull;
    DecodeColumn(*layout_, *row_, column, own_[column]);
    return own_[column];
}

}  // namespace marrowkit::jet
