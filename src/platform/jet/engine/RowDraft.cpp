#include "platform/jet/engine/RowDraft.h"

#include "platform/jet/engine/RowDecoding.h"
#include "platform/jet/format/TextCodec.h"

namespace marrowkit::jet {

namespace {

const Value kNull;
const Value kFalse = false;

/// How many bytes at the front of a text cannot be stored.
std::size_t UnstorableBytes(JetVersion version, const Value& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text == nullptr ? 0 : text->size() - StorableText(version, *text).size();
}

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
    } else if (UnstorableBytes(layout_->Version(), value) != 0) {
        SetOwn(column, value);
    } else {
        values_[column] = &value;
    }
}

void RowDraft::SetOwn(std::size_t column, Value value) {
    const std::size_t unstorable = UnstorableBytes(layout_->Version(), value);
    own_[column] = std::move(value);
    if (unstorable != 0) std::get<std::string>(own_[column]).erase(0, unstorable);
    values_[column] = &own_[column];
}

const Value& RowDraft::operator[](std::size_t column) {
    if (values_[column] != nullptr) return *values_[column];
    if (row_ == nullptr) return layout_->columns[column].type == ColumnType::Boolean ? kFalse : kNull;
    DecodeColumn(*layout_, *row_, column, own_[column]);
    return own_[column];
}

}  // namespace marrowkit::jet
