#include "platform/dao/sql/TableResult.h"

#include <algorithm>

#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao::sql {
namespace {

constexpr std::size_t kNowhere = std::numeric_limits<std::size_t>::max();

}  // namespace

RowReader::RowReader(std::shared_ptr<jet::Table> table) : table_(std::move(table)) {
    places_.assign(table_->Columns().size(), kNowhere);
}

std::size_t RowReader::Use(std::size_t column) {
    if (places_.size() <= column) places_.resize(column + 1, kNowhere);
    if (places_[column] == kNowhere) {
        places_[column] = columns_.size();
        columns_.push_back(column);
    }
    return places_[column];
}

jet::RowId Result::IdOf(std::size_t) const {
    jet::RaiseJet(jet::JetError::ReadOnly);
}

std::size_t Result::Append(jet::RowId) {
    jet::RaiseJet(jet::JetError::ReadOnly);
}

TableResult::TableResult(Plan plan) : plan_(std::move(plan)) {
    for (const TableOutput& output : plan_.outputs) columns_.push_back(output.column);
}

TableResult::TableResult(Plan plan, std::vector<jet::RowId> rows) : TableResult(std::move(plan)) {
    rows_ = std::move(rows);
    walk_ = Walk::Done;
}

bool TableResult::FindNext() {
    if (walk_ == Walk::Done) return false;
    if (walk_ == Walk::Suspended) {
        FindRest();
        return true;
    }
    if (walk_ == Walk::NotBegun) {
        stream_ = std::make_unique<SourceStream>(*plan_.scope, 0, plan_.path, plan_.conditions);
        walk_ = Walk::UnderWay;
    }
    if (rows_.size() < plan_.limit && stream_->Next()) {
        rows_.push_back(stream_->Id());
        return true;
    }
    stream_.reset();
    walk_ = Walk::Done;
    return false;
}

/// Goes on after the table has changed: walks it again and takes what is not known yet, in front of the rows
/// that were appended.
void TableResult::FindRest() {
    const std::size_t found = rows_.size() - appended_;
    const std::vector<jet::RowId> appended(rows_.end() - static_cast<std::ptrdiff_t>(appended_), rows_.end());
    std::vector<std::uint32_t> known;
    known.reserve(rows_.size());
    for (const jet::RowId row : rows_) known.push_back(row.Stored());
    std::sort(known.begin(), known.end());
    SourceStream stream(*plan_.scope, 0, plan_.path, plan_.conditions);
    rows_.resize(found);
    while (rows_.size() < plan_.limit && stream.Next()) {
        const jet::RowId row = stream.Id();
        if (!std::binary_search(known.begin(), known.end(), row.Stored())) rows_.push_back(row);
    }
    rows_.insert(rows_.end(), appended.begin(), appended.end());
    walk_ = Walk::Done;
}

bool TableResult::Reach(std::size_t record) {
    // Rows that were appended come behind all others, so the others must be found first.
    while (record >= rows_.size() - appended_ && walk_ != Walk::Done)
        if (!FindNext()) break;
    return record < rows_.size();
}

std::size_t TableResult::CountAll() {
    while (walk_ != Walk::Done && FindNext()) {
    }
    return rows_.size();
}

void TableResult::Load(std::size_t record) {
    if (current_ != record) values_ = plan_.reader.Read(rows_[record]);
    current_ = record;
    if (!values_) jet::RaiseJet(jet::JetError::RecordDeleted);
}

jet::Value TableResult::Compute(std::size_t column) {
    const TableOutput& output = plan_.outputs[column];
    if (output.column.tableColumn) {
        const std::size_t place = plan_.reader.Use(*output.column.tableColumn);
        // A column asked for the first time: read the row again, now with it.
        if (place >= values_->size()) {
            values_ = plan_.reader.Read(rows_[current_]);
            if (!values_) jet::RaiseJet(jet::JetError::RecordDeleted);
        }
        return (*values_)[place];
    }
    jet::Value value = output.expression.Evaluate(*values_);
    if (const auto* truth = std::get_if<bool>(&value))
        return std::int16_t{static_cast<std::int16_t>(*truth ? -1 : 0)};
    return value;
}

jet::Value TableResult::Read(std::size_t record, std::size_t column) {
    if (frozen_) return frozen_->Read(record, column);
    Load(record);
    return Compute(column);
}

std::size_t TableResult::Append(jet::RowId row) {
    rows_.push_back(row);
    ++appended_;
    return rows_.size() - 1;
}

void TableResult::Suspend() {
    current_ = kNoRecord;
    if (walk_ == Walk::Done) return;
    stream_.reset();
    walk_ = Walk::Suspended;
}

void TableResult::Freeze() {
    if (frozen_) return;
    CountAll();
    auto frozen = std::make_unique<PackedRows>();
    jet::Row row(columns_.size());
    for (std::size_t record = 0; record < rows_.size(); ++record) {
        for (std::size_t column = 0; column < row.size(); ++column) row[column] = Read(record, column);
        frozen->Append(row);
    }
    frozen_ = std::move(frozen);
}

std::unique_ptr<Result> OpenTableResult(const std::shared_ptr<jet::Table>& table) {
    auto scope = std::make_shared<Scope>();
    scope->AddOpenTable(table);
    TableResult::Plan plan{std::move(scope), {}, {}, {}, RowReader(table)};
    for (std::size_t i = 0; i < table->Columns().size(); ++i) {
        TableOutput output;
        output.column = {table->Columns()[i].name, table->Columns()[i].type, i};
        plan.outputs.push_back(std::move(output));
    }
    return std::make_unique<TableResult>(std::move(plan));
}

}  // namespace marrowkit::dao::sql
