#include "platform/dao/RecordsetState.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao {

const std::string& Field::Name() const {
    recordset_->CheckOpen();
    return recordset_->names.NameOf(column_);
}

jet::ColumnType Field::Type() const {
    recordset_->CheckOpen();
    return recordset_->result->Columns()[column_].type;
}

jet::Value Field::Value() const {
    recordset_->CheckOpen();
    return recordset_->Read(column_);
}

void Field::SetValue(jet::Value value) {
    recordset_->CheckOpen();
    recordset_->Write(column_, std::move(value));
}

Recordset::Recordset(std::unique_ptr<State> state) : state_(std::move(state)) {}
Recordset::~Recordset() = default;
Recordset::Recordset(Recordset&&) noexcept = default;
Recordset& Recordset::operator=(Recordset&&) noexcept = default;

Recordset::State& Recordset::Open() const {
    if (!state_) jet::RaiseJet(jet::JetError::ObjectInvalid);
    state_->CheckOpen();
    return *state_;
}

bool Recordset::BOF() const {
    const State& state = Open();
    return state.empty_ || state.place_ == State::Place::BeforeFirst;
}

bool Recordset::EOF_() const {
    const State& state = Open();
    return state.empty_ || state.place_ == State::Place::BehindLast;
}

void Recordset::MoveFirst() {
    Open().MoveFirst();
}

void Recordset::MoveLast() {
    Open().MoveLast();
}

void Recordset::MoveNext() {
    Open().MoveNext();
}

void Recordset::MovePrevious() {
    Open().MovePrevious();
}

std::int32_t Recordset::RecordCount() const {
    return Open().RecordCount();
}

Field Recordset::Fields(std::string_view name) {
    State& state = Open();
    const auto position = state.names.Find(name);
    if (!position) jet::RaiseJet(jet::JetError::ItemNotFound);
    return {&state, *position};
}

Field Recordset::Fields(std::size_t position) {
    State& state = Open();
    if (position >= state.names.Size()) jet::RaiseJet(jet::JetError::ItemNotFound);
    return {&state, position};
}

std::size_t Recordset::FieldCount() const {
    return Open().names.Size();
}

void Recordset::AddNew() {
    Open().AddNew();
}

void Recordset::Edit() {
    Open().Edit();
}

void Recordset::Update() {
    Open().Update();
}

void Recordset::CancelUpdate() {
    Open().CancelUpdate();
}

void Recordset::Delete() {
    Open().Delete();
}

void Recordset::Close() {
    Open().Close();
}

}  // namespace marrowkit::dao
