#include "platform/dao/RecordsetState.h"

#include <algorithm>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao {
namespace {

using jet::JetError;
using jet::RaiseJet;

std::vector<std::string> NamesOf(const sql::Result& result) {
    std::vector<std::string> names;
    for (const sql::OutputColumn& column : result.Columns()) names.push_back(column.name);
    return names;
}

}  // namespace

Recordset::State::State(std::shared_ptr<Connection> itsConnection, RecordsetType itsType,
                        std::unique_ptr<sql::Result> itsResult)
    : connection(std::move(itsConnection)),
      type(itsType),
      result(std::move(itsResult)),
      names(NamesOf(*result)),
      table_(result->ItsTable()) {
    assigned_.resize(result->Columns().size());
    if (result->Reach(0)) {
        empty_ = false;
        Visit(0);
    }
    connection->session->Enter(this);
    connection->recordsets.insert(this);
}

Recordset::State::~State() {
    // A failure to write must be met by Close; a destructor has nobody to tell.
    try {
        Close();
    } catch (const RuntimeError&) {
        return;
    }
}

void Recordset::State::Close() {
    if (!connection) return;
    connection->session->Leave(this);
    connection->recordsets.erase(this);
    const std::shared_ptr<Connection> closing = std::move(connection);
    connection.reset();
    result.reset();
    table_.reset();
    if (changed_) closing->Flush();
}

void Recordset::State::CheckOpen() const {
    if (!connection) RaiseJet(JetError::ObjectInvalid);
}

void Recordset::State::CheckCurrent() const {
    if (place_ != Place::AtRecord) RaiseJet(JetError::NoCurrentRecord);
    if (!IsLive(record_)) RaiseJet(JetError::RecordDeleted);
}

void Recordset::State::CheckUpdatable() const {
    if (type == RecordsetType::Snapshot) RaiseJet(JetError::NotSupported);
    if (!table_) RaiseJet(JetError::ReadOnly);
}

void Recordset::State::LeaveMode() {
    if (mode_ == Mode::Reading) return;
    mode_ = Mode::Reading;
    assignments_.clear();
    std::fill(assigned_.begin(), assigned_.end(), kNotAssigned);
}

void Recordset::State::Visit(std::size_t record) {
    place_ = Place::AtRecord;
    record_ = record;
    visited_ = std::max(visited_, record + 1);
}

/// To the first record from here on that is left, or behind the last.
void Recordset::State::StepForward(std::size_t from) {
    while (result->Reach(from)) {
        if (IsLive(from)) return Visit(from);
        ++from;
    }
    place_ = Place::BehindLast;
}

void Recordset::State::MoveFirst() {
    LeaveMode();
    while (deleted_.contains(firstLive_)) ++firstLive_;
    StepForward(firstLive_);
    empty_ = place_ != Place::AtRecord;
    if (empty_) RaiseJet(JetError::NoCurrentRecord);
}

void Recordset::State::MoveLast() {
    LeaveMode();
    std::size_t behind = result->CountAll();
    visited_ = std::max(visited_, behind);
    while (behind > 0 && !IsLive(behind - 1)) --behind;
    empty_ = behind == 0;
    if (empty_) {
        place_ = Place::BehindLast;
        RaiseJet(JetError::NoCurrentRecord);
    }
    Visit(behind - 1);
}

void Recordset::State::MoveNext() {
    LeaveMode();
    if (place_ == Place::BehindLast) RaiseJet(JetError::NoCurrentRecord);
    StepForward(place_ == Place::BeforeFirst ? firstLive_ : record_ + 1);
}

void Recordset::State::MovePrevious() {
    LeaveMode();
    if (place_ == Place::BeforeFirst || empty_) RaiseJet(JetError::NoCurrentRecord);
    std::size_t behind = place_ == Place::BehindLast ? result->CountAll() : record_;
    while (behind > firstLive_ && !IsLive(behind - 1)) --behind;
    if (behind > firstLive_)
        Visit(behind - 1);
    else
        place_ = Place::BeforeFirst;
}

std::int32_t Recordset::State::RecordCount() const {
    if (type == RecordsetType::Table) return static_cast<std::int32_t>(table_->RowCount());
    const auto gone = std::count_if(deleted_.begin(), deleted_.end(),
                                    [this](std::size_t record) { return record < visited_; });
    return static_cast<std::int32_t>(visited_ - static_cast<std::size_t>(gone));
}

std::size_t Recordset::State::TableColumn(std::size_t field) const {
    const auto column = result->Columns()[field].tableColumn;
    if (!column) RaiseJet(JetError::RecordLocked);
    return *column;
}

Value Recordset::State::Read(std::size_t field) const {
    if (mode_ != Mode::Reading && assigned_[field] != kNotAssigned) {
        return assignments_[assigned_[field] - 1].value;
    }
    if (mode_ == Mode::Adding) {
        const auto column = result->Columns()[field].tableColumn;
        return column ? table_->DefaultOf(*column) : Value();
    }
    CheckCurrent();
    return result->Read(record_, field);
}

void Recordset::State::Write(std::size_t field, Value&& value) {
    if (mode_ == Mode::Reading) RaiseJet(JetError::UpdateWithoutEdit);
    const std::size_t position = TableColumn(field);
    const jet::Column& column = table_->Columns()[position];
    if (mode_ == Mode::Editing && column.autoNumber) RaiseJet(JetError::RecordLocked);
    if (jet::NeedsConversion(column, value)) value = jet::ConvertFor(column, value);
    Assign(field, position, std::move(value));
}

void Recordset::State::Assign(std::size_t field, std::size_t column, Value&& value) {
    if (assigned_[field] == kNotAssigned) {
        assignments_.push_back({column, std::move(value)});
        assigned_[field] = assignments_.size();
    } else {
        assignments_[assigned_[field] - 1].value = std::move(value);
    }
}

void Recordset::State::AddNew() {
    CheckUpdatable();
    LeaveMode();
    mode_ = Mode::Adding;
    const std::vector<jet::Column>& columns = table_->Columns();
    for (std::size_t field = 0; field < assigned_.size(); ++field) {
        const auto column = result->Columns()[field].tableColumn;
        if (!column || !columns[*column].autoNumber) continue;
        if (const auto number = table_->TakeAutoNumber()) Assign(field, *column, *number);
        changed_ = true;
        break;
    }
}

void Recordset::State::Edit() {
    CheckUpdatable();
    CheckCurrent();
    LeaveMode();
    // Reading makes sure that nobody else deleted the record.
    result->Forget();
    if (!assigned_.empty()) result->Read(record_, 0);
    mode_ = Mode::Editing;
}

/// The current record stays the current one, also behind AddNew.
void Recordset::State::Update() {
    if (mode_ == Mode::Reading) RaiseJet(JetError::UpdateWithoutEdit);
    changed_ = true;
    if (mode_ == Mode::Adding) {
        connection->session->BeforeInsert(*table_);
        const std::size_t added = result->Append(table_->Insert(assignments_));
        visited_ = std::max(visited_, added + 1);
    } else {
        connection->session->BeforeChange(*table_);
        table_->Update(result->IdOf(record_), assignments_);
    }
    result->Forget();
    LeaveMode();
}

void Recordset::State::CancelUpdate() {
    if (mode_ == Mode::Reading) RaiseJet(JetError::UpdateWithoutEdit);
    LeaveMode();
}

void Recordset::State::Delete() {
    CheckUpdatable();
    CheckCurrent();
    LeaveMode();
    connection->session->BeforeChange(*table_);
    changed_ = true;
    table_->Delete(result->IdOf(record_));
    result->Forget();
    deleted_.insert(record_);
}

}  // namespace marrowkit::dao
