#include "platform/dao/sql/Scope.h"

#include <algorithm>

#include "platform/dao/sql/SqlErrors.h"
#include "platform/jet/expression/Characters.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao::sql {

using expression::Node;
using expression::NodeKind;
using jet::JetError;
using jet::RaiseJet;

std::size_t BoundSource::ColumnCount() const {
    return table ? table->Columns().size() : rows->Columns().size();
}

std::string BoundSource::ColumnName(std::size_t column) const {
    return table ? table->Columns()[column].name : rows->Columns()[column].name;
}

jet::ColumnType BoundSource::ColumnType(std::size_t column) const {
    return table ? table->Columns()[column].type : rows->Columns()[column].type;
}

std::optional<std::size_t> BoundSource::FindColumn(std::string_view name) const {
    if (table) return table->FindColumn(name);
    const auto& list = rows->Columns();
    const auto found = std::find_if(list.begin(), list.end(), [&](const OutputColumn& column) {
        return expression::SameName(column.name, name);
    });
    if (found == list.end()) return std::nullopt;
    return static_cast<std::size_t>(found - list.begin());
}

std::size_t Scope::AddTable(jet::Database& database, const std::string& table, const std::string& alias) {
    BoundSource source;
    source.alias = alias;
    source.table = database.FindTable(table);
    if (!source.table) RaiseJet(JetError::InputTableNotFound, {table});
    return Add(std::move(source));
}

std::size_t Scope::AddOpenTable(std::shared_ptr<jet::Table> table) {
    BoundSource source;
    source.alias = table->Name();
    source.table = std::move(table);
    return Add(std::move(source));
}

std::size_t Scope::AddRows(std::shared_ptr<Result> rows, const std::string& alias) {
    BoundSource source;
    source.alias = alias;
    source.rows = std::move(rows);
    return Add(std::move(source));
}

std::size_t Scope::Add(BoundSource source) {
    if (FindSource(source.alias)) RaiseSql(SqlError::DuplicateAlias, {source.alias});
    if (sources_.size() == kMaxSources) RaiseJet(JetError::TooComplex);
    sources_.push_back(std::move(source));
    return sources_.size() - 1;
}

std::optional<std::size_t> Scope::FindSource(std::string_view alias) const {
    for (std::size_t i = 0; i < sources_.size(); ++i)
        if (expression::SameName(sources_[i].alias, alias)) return i;
    return std::nullopt;
}

std::optional<Scope::Place> Scope::Find(std::string_view qualifier, std::string_view name) const {
    std::optional<Place> found;
    for (std::size_t i = 0; i < sources_.size(); ++i) {
        if (!qualifier.empty() && !expression::SameName(sources_[i].alias, qualifier)) continue;
        const auto column = sources_[i].FindColumn(name);
        if (!column) continue;
        if (found) RaiseJet(JetError::AmbiguousField, {std::string(name)});
        found = Place{i, *column};
    }
    return found;
}

expression::BoundName Scope::Use(Place place) {
    BoundSource& source = sources_[place.source];
    const auto known = std::find(source.columns.begin(), source.columns.end(), place.column);
    std::optional<jet::ColumnType> type = source.ColumnType(place.column);
    if (known != source.columns.end())
        return {source.slots[static_cast<std::size_t>(known - source.columns.begin())], type};
    const std::size_t slot = slotSources_.size();
    source.columns.push_back(place.column);
    source.slots.push_back(slot);
    slotSources_.push_back(place.source);
    slotPlaces_.push_back(place);
    return {slot, type};
}

std::size_t Scope::UseId(std::size_t source) {
    const std::size_t slot = slotSources_.size();
    sources_[source].idSlot = slot;
    slotSources_.push_back(source);
    slotPlaces_.push_back({source, sources_[source].ColumnCount()});
    return slot;
}

expression::NameResolver Scope::Resolver() {
    return [this](std::string_view qualifier, std::string_view name) -> std::optional<expression::BoundName> {
        const auto place = Find(qualifier, name);
        if (!place) return std::nullopt;
        return Use(*place);
    };
}

SourceSet Scope::SourcesOf(const Node& bound) const {
    SourceSet set = 0;
    if (bound.kind == NodeKind::Slot && bound.slot < slotSources_.size())
        set = SourceSet{1} << slotSources_[bound.slot];
    for (const NodePtr& child : bound.children) set |= SourcesOf(*child);
    return set;
}

void SplitConjunction(NodePtr condition, std::vector<NodePtr>& parts) {
    if (!condition) return;
    if (condition->kind == NodeKind::Binary && condition->op == expression::Operator::And) {
        SplitConjunction(std::move(condition->children[0]), parts);
        SplitConjunction(std::move(condition->children[1]), parts);
        return;
    }
    parts.push_back(std::move(condition));
}

}  // namespace marrowkit::dao::sql
