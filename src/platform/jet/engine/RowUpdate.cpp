#include <algorithm>

#include "platform/jet/engine/DefinitionPages.h"
#include "platform/jet/engine/LocalTable.h"
#include "platform/jet/engine/RowDecoding.h"
#include "platform/jet/engine/RowReferences.h"
#include "platform/jet/engine/RowRules.h"
#include "platform/jet/engine/RowWriting.h"
#include "platform/jet/engine/TableScans.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

/// Cascades go as deep as relationships are linked, not as rows are; deeper ones run in a circle.
constexpr int kMaxCascadeDepth = 64;

/// A foreign row's columns and what the changed primary row puts there.
struct Follower {
    LocalTable* table;
    RowId row;
    std::vector<Assignment> values;
};

/// One change of one row.
class RowUpdate {
public:
    RowUpdate(LocalTable& table, RowDraft& draft, RowId row, int depth, bool mayNumber = false)
        : table_(table),
          layout_(table.Layout()),
          draft_(draft),
          row_(row),
          depth_(depth),
          mayNumber_(mayNumber) {
        const std::optional<StoredRow> stored = layout_.rows.Read(row);
        if (!stored) RaiseJet(JetError::RecordDeleted);
        // A copy: the page changes while the row is replaced.
        bytes_.assign(stored->bytes.All().begin(), stored->bytes.All().end());
        view_.emplace(layout_.PageGeometry(), layout_.definition, ByteView(bytes_));
    }

    void Run(ChangeScope& scope, std::span<const Assignment> values) {
        draft_.BeginOver(layout_, *view_);
        for (const Assignment& assignment : values) draft_.Set(assignment.column, assignment.value);
        for (std::size_t column = 0; column < layout_.columns.size(); ++column) {
            if (draft_.IsSet(column)) NoteChange(column);
        }
        if (changed_.empty()) return;
        FollowOwnKey();
        CheckRules();
        PrepareKeys();
        CheckReferences();
        CollectFollowers();

        scope.MarkChanging();
        Write();
        for (const Follower& follower : followers_) Cascade(scope, follower);
    }

private:
    void NoteChange(std::size_t column);
    void FollowOwnKey();
    void CheckRules();
    void PrepareKeys();
    void CheckReferences();
    void CollectFollowers();
    void Write();
    void WriteRow();
    bool WriteInPlace();
    void ReplaceLongValue(std::size_t column);
    void Cascade(ChangeScope& scope, const Follower& follower);

    bool IsChanged(std::size_t column) const { return std::ranges::count(changed_, column) != 0; }
    bool AnyChanged(const IndexStorage& index) const {
        return std::ranges::any_of(index.columns, [&](std::size_t column) { return IsChanged(column); });
    }
    Value OldValue(std::size_t column) const {
        Value value;
        DecodeColumn(layout_, *view_, column, value);
        return value;
    }
    std::vector<Value> OldKey(const IndexStorage& index) const {
        std::vector<Value> values;
        for (const std::size_t column : index.columns) values.push_back(OldValue(column));
        return values;
    }

    LocalTable& table_;
    TableLayout& layout_;
    RowDraft& draft_;
    RowId row_;
    int depth_;
    bool mayNumber_;  ///< whether AutoNumbers may be changed, too
    std::vector<std::uint8_t> bytes_;
    std::optional<RowView> view_;
    std::vector<std::size_t> changed_;  ///< columns whose value becomes another one
    struct ChangedKey {
        std::size_t realIndex;
        RowKey oldKey;
    };
    std::vector<ChangedKey> changedKeys_;
    std::vector<Follower> followers_;
};

void RowUpdate::NoteChange(std::size_t column) {
    const Column& design = layout_.columns[column];
    if (!layout_.storage[column].longValues && OldValue(column) == draft_[column]) {
        draft_.Unset(column);
        return;
    }
    if (design.autoNumber && !mayNumber_) {
        throw RuntimeError(3113, "Cannot update '" + design.name + "'; field not updatable.");
    }
    changed_.push_back(column);
}

/// A row that refers to itself keeps doing so when its key changes and updates cascade.
void RowUpdate::FollowOwnKey() {
    for (RelationshipSide& side : layout_.referencedBy) {
        const IndexStorage& index = layout_.realIndexes[side.realIndex];
        if (side.partnerTable != table_.DefinitionPage() || !side.cascadesUpdates || !AnyChanged(index)) {
            continue;
        }
        const Dependents dependents = FindDependents(table_, side, OldKey(index));
        if (std::ranges::count(dependents.rows, row_) == 0) continue;
        for (std::size_t i = 0; i < dependents.columns.size(); ++i) {
            const std::size_t column = dependents.columns[i];
            if (draft_.IsSet(column)) continue;
            draft_.SetOwn(column, draft_[index.columns[i]]);
            changed_.push_back(column);
        }
    }
}

void RowUpdate::CheckRules() {
    for (const std::size_t column : changed_) {
        CheckColumnRules(layout_, draft_, column);
        if (!layout_.storage[column].longValues) EncodeColumn(layout_, draft_, column);
    }
    CheckTableRule(layout_, draft_);
}

void RowUpdate::PrepareKeys() {
    for (std::size_t i = 0; i < layout_.realIndexes.size(); ++i) {
        const IndexStorage& index = layout_.realIndexes[i];
        if (!AnyChanged(index)) continue;
        RowKey oldKey = KeyOfStoredRow(layout_, index, *view_);
        BuildKey(layout_, draft_, i);
        CheckKey(layout_, draft_, i, row_);
        if (draft_.keys[i].bytes != oldKey.bytes) changedKeys_.push_back({i, std::move(oldKey)});
    }
}

void RowUpdate::CheckReferences() {
    for (RelationshipSide& side : layout_.references) {
        const bool keyChanged = std::ranges::any_of(
            changedKeys_, [&](const ChangedKey& key) { return key.realIndex == side.realIndex; });
        if (keyChanged) CheckReference(table_, layout_, side, draft_, row_);
    }
}

/// Lists the foreign rows that must follow, or refuses. A key that changes only in case is no new identity,
/// so nothing is refused then, but cascading writes it through.
void RowUpdate::CollectFollowers() {
    for (RelationshipSide& side : layout_.referencedBy) {
        const IndexStorage& index = layout_.realIndexes[side.realIndex];
        if (!AnyChanged(index)) continue;
        const bool keyChanged = std::ranges::any_of(
            changedKeys_, [&](const ChangedKey& key) { return key.realIndex == side.realIndex; });
        if (!keyChanged && !side.cascadesUpdates) continue;
        const Dependents dependents = FindDependents(table_, side, OldKey(index),
                                                     side.cascadesUpdates ? static_cast<std::size_t>(-1) : 2);
        for (const RowId row : dependents.rows) {
            const bool isSelf = dependents.table == &table_ && row == row_;
            if (isSelf && std::ranges::any_of(dependents.columns,
                                              [&](std::size_t column) { return IsChanged(column); })) {
                continue;  // its reference changes in this very step, and was checked
            }
            if (!side.cascadesUpdates) {
                RaiseJet(depth_ > 0 ? JetError::CascadeRelatedExists : JetError::RelatedRecordsExist,
                         {dependents.table->Name()});
            }
            Follower follower{dependents.table, row, {}};
            for (std::size_t i = 0; i < dependents.columns.size(); ++i) {
                follower.values.push_back({dependents.columns[i], draft_[index.columns[i]]});
            }
            followers_.push_back(std::move(follower));
        }
    }
}

void RowUpdate::ReplaceLongValue(std::size_t column) {
    ColumnStorage& storage = layout_.storage[column];
    StoreLongValue(layout_, draft_, column);
    if (view_->IsNull(*storage.definition)) return;
    const ByteView old = view_->Bytes(*storage.definition);
    if (!old.Empty()) storage.longValues->Free(old);
}

/// Numbers that become other numbers leave everything else in the row where it is.
bool RowUpdate::WriteInPlace() {
    for (const std::size_t column : changed_) {
        const ColumnDefinition& definition = *layout_.storage[column].definition;
        if (!definition.IsFixed() || definition.type == ColumnType::Boolean || view_->IsNull(definition) ||
            IsNull(draft_[column])) {
            return false;
        }
    }
    for (const std::size_t column : changed_) {
        const ColumnStorage& storage = layout_.storage[column];
        const ByteView old = view_->Bytes(*storage.definition);
        const std::vector<std::uint8_t>& encoded = draft_.encoded[storage.descriptor].value();
        std::ranges::copy(encoded, bytes_.begin() + (old.Data() - bytes_.data()));
    }
    layout_.rows.Replace(row_, bytes_);
    return true;
}

void RowUpdate::WriteRow() {
    if (WriteInPlace()) return;
    for (std::size_t column = 0; column < layout_.columns.size(); ++column) {
        ColumnStorage& storage = layout_.storage[column];
        const ColumnDefinition& definition = *storage.definition;
        if (IsChanged(column)) {
            // Anything else was encoded when it was checked.
            if (storage.longValues) ReplaceLongValue(column);
            continue;
        }
        StoredColumn& encoded = draft_.encoded[storage.descriptor];
        if (definition.type == ColumnType::Boolean) {
            encoded.emplace(1, std::get<bool>(view_->Decode(definition)) ? std::uint8_t{1} : std::uint8_t{0});
        } else if (view_->IsNull(definition)) {
            encoded.reset();
        } else {
            const ByteView bytes = view_->Bytes(definition);
            encoded.emplace(bytes.All().begin(), bytes.All().end());
        }
    }
    layout_.rows.Replace(row_, EncodeRow(layout_.PageGeometry(), layout_.definition, draft_.encoded));
}

void RowUpdate::Write() {
    WriteRow();
    if (changedKeys_.empty()) return;
    table_.KeysVanished();
    for (const ChangedKey& key : changedKeys_) {
        RemoveIndexEntry(layout_, key.oldKey, key.realIndex, row_);
        AddIndexEntry(layout_, draft_.keys[key.realIndex], key.realIndex, row_);
    }
    SaveCounters(*layout_.pager, layout_.definition);
}

/// What refuses a cascaded change is told with the numbers that cascades have.
[[noreturn]] void RaiseCascaded(const RuntimeError& error, const Follower& follower) {
    const std::string& table = follower.table->Name();
    const Column& column = follower.table->Columns()[follower.values.front().column];
    switch (static_cast<JetError>(error.number)) {
        case JetError::RelatedRecordsExist:
            RaiseJet(JetError::CascadeRelatedExists, {table});
        case JetError::RelatedRecordRequired:
            RaiseJet(JetError::CascadeRelatedRequired, {table});
        case JetError::FieldRule:
            RaiseJet(JetError::CascadeRule, {column.validationRule, column.name});
        case JetError::FieldTooSmall:
            RaiseJet(JetError::CascadeTooLarge, {table, column.name});
        default:
            throw error;
    }
}

void UpdateAtDepth(LocalTable& table, ChangeScope& scope, RowId row, std::span<const Assignment> values,
                   int depth) {
    if (depth > kMaxCascadeDepth) RaiseJet(JetError::TooComplex);
    try {
        // A cascade may lead back to the same table while its draft is in use.
        RowDraft own;
        RowUpdate(table, depth == 0 ? table.UpdateDraft() : own, row, depth).Run(scope, values);
    } catch (const OutOfBounds&) {
        RaiseDamagedRow(table.Layout(), row);
    }
}

void RowUpdate::Cascade(ChangeScope& scope, const Follower& follower) {
    try {
        UpdateAtDepth(*follower.table, scope, follower.row, follower.values, depth_ + 1);
    } catch (const RuntimeError& error) {
        RaiseCascaded(error, follower);
    }
}

}  // namespace

void LocalTable::UpdateRow(ChangeScope& scope, RowId row, std::span<const Assignment> values) {
    UpdateAtDepth(*this, scope, row, values, 0);
}

void LocalTable::NumberRows(ChangeScope& scope, std::string_view column) {
    const std::size_t position = Layout().FindColumn(column).value();
    std::vector<RowId> rows;
    for (RowStore::Cursor cursor(Layout().rows); cursor.Next();) rows.push_back(cursor.Id());
    TableLayout& layout = Layout();
    for (const RowId row : rows) {
        const Assignment number{position, NextAutoNumber(layout, position)};
        RowUpdate(*this, updateDraft_, row, 0, true).Run(scope, std::span(&number, 1));
        RaiseAutoNumberCounter(layout, position, number.value);
    }
    SaveCounters(*layout.pager, layout.definition);
}

}  // namespace marrowkit::jet
