#include "platform/dao/sql/Design.h"

#include <algorithm>

#include "platform/jet/expression/Characters.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao::sql {
namespace {

using expression::SameName;
using jet::JetError;
using jet::RaiseJet;

const jet::Index* FindIndex(const jet::Table& table, std::string_view name) {
    const auto& indexes = table.Indexes();
    const auto found = std::find_if(indexes.begin(), indexes.end(),
                                    [&](const jet::Index& index) { return SameName(index.name, name); });
    return found == indexes.end() ? nullptr : &*found;
}

std::shared_ptr<jet::Table> NeedTable(jet::Database& database, const std::string& name) {
    std::shared_ptr<jet::Table> table = database.FindTable(name);
    if (!table) RaiseJet(JetError::NoSuchConstraint);
    return table;
}

/// A name for a constraint that was given none, not in use among the table's indexes and the relationships.
std::string FreeName(jet::Database& database, const std::vector<jet::Index>& indexes,
                     const std::string& start) {
    const std::vector<jet::Relationship> relationships = database.Relationships();
    for (int number = 0;; ++number) {
        std::string name = number == 0 ? start : start + std::to_string(number);
        const bool used = std::any_of(indexes.begin(), indexes.end(),
                                      [&](const jet::Index& index) { return SameName(index.name, name); }) ||
                          std::any_of(relationships.begin(), relationships.end(),
                                      [&](const jet::Relationship& r) { return SameName(r.name, name); });
        if (!used) return name;
    }
}

void NameIndexes(jet::Database& database, const std::vector<jet::Index>& existing,
                 std::vector<jet::Index>& indexes) {
    std::vector<jet::Index> all = existing;
    for (jet::Index& index : indexes) {
        if (index.name.empty())
            index.name =
                FreeName(database, all, index.primaryKey ? "PrimaryKey" : index.parts.front().column);
        all.push_back(index);
    }
}

/// Fills in what a REFERENCES left open.
void Complete(jet::Database& database, const std::string& table, jet::Relationship& relationship) {
    relationship.foreignTable = table;
    const std::shared_ptr<jet::Table> primary = NeedTable(database, relationship.table);
    relationship.table = primary->Name();
    if (relationship.columns.front().first.empty()) {
        const auto& indexes = primary->Indexes();
        const auto key = std::find_if(indexes.begin(), indexes.end(),
                                      [](const jet::Index& index) { return index.primaryKey; });
        if (key == indexes.end() || key->parts.size() != relationship.columns.size())
            RaiseJet(JetError::RelationshipMismatch);
        for (std::size_t i = 0; i < key->parts.size(); ++i)
            relationship.columns[i].first = key->parts[i].column;
    }
    if (relationship.name.empty()) {
        const std::shared_ptr<jet::Table> foreign = database.FindTable(table);
        relationship.name = FreeName(database, foreign ? foreign->Indexes() : std::vector<jet::Index>{},
                                     relationship.table + table);
    }
}

void CreateRelationships(jet::Database& database, const std::string& table,
                         std::vector<jet::Relationship> relationships) {
    for (jet::Relationship& relationship : relationships) {
        Complete(database, table, relationship);
        database.CreateRelationship(relationship);
    }
}

}  // namespace

void RunDesign(jet::Database& database, const CreateTable& create) {
    jet::Unit unit(database.GetPager());
    jet::TableDesign design = create.design;
    NameIndexes(database, {}, design.indexes);
    database.CreateTable(design);
    CreateRelationships(database, design.name, create.relationships);
    unit.Commit();
}

void RunDesign(jet::Database& database, const AddColumn& add) {
    jet::Unit unit(database.GetPager());
    const std::shared_ptr<jet::Table> table = NeedTable(database, add.table);
    database.AddColumn(add.table, add.column);
    std::vector<jet::Index> indexes = add.indexes;
    NameIndexes(database, table->Indexes(), indexes);
    for (const jet::Index& index : indexes) database.CreateIndex(add.table, index);
    CreateRelationships(database, table->Name(), add.relationships);
    unit.Commit();
}

void RunDesign(jet::Database& database, const AddConstraint& add) {
    jet::Unit unit(database.GetPager());
    const std::shared_ptr<jet::Table> table = NeedTable(database, add.table);
    if (add.index) {
        std::vector<jet::Index> indexes{*add.index};
        NameIndexes(database, table->Indexes(), indexes);
        database.CreateIndex(add.table, indexes.front());
    } else {
        CreateRelationships(database, table->Name(), {*add.relationship});
    }
    unit.Commit();
}

void RunDesign(jet::Database& database, const DropColumn& drop) {
    jet::Unit unit(database.GetPager());
    NeedTable(database, drop.table);
    database.DropColumn(drop.table, drop.column);
    unit.Commit();
}

/// A constraint is a relationship of the table, or one of its indexes.
void RunDesign(jet::Database& database, const DropConstraint& drop) {
    jet::Unit unit(database.GetPager());
    const std::shared_ptr<jet::Table> table = NeedTable(database, drop.table);
    const std::vector<jet::Relationship> relationships = database.Relationships();
    const bool relationship =
        std::any_of(relationships.begin(), relationships.end(), [&](const jet::Relationship& r) {
            return SameName(r.name, drop.name) && SameName(r.foreignTable, table->Name());
        });
    if (relationship)
        database.DropRelationship(drop.name);
    else if (FindIndex(*table, drop.name))
        database.DropIndex(drop.table, drop.name);
    else
        RaiseJet(JetError::NoSuchConstraint);
    unit.Commit();
}

void RunDesign(jet::Database& database, const CreateIndex& create) {
    jet::Unit unit(database.GetPager());
    NeedTable(database, create.table);
    database.CreateIndex(create.table, create.index);
    unit.Commit();
}

void RunDesign(jet::Database& database, const DropIndex& drop) {
    jet::Unit unit(database.GetPager());
    const std::shared_ptr<jet::Table> table = NeedTable(database, drop.table);
    if (!FindIndex(*table, drop.index)) RaiseJet(JetError::NoSuchIndexOnTable, {drop.index, drop.table});
    database.DropIndex(drop.table, drop.index);
    unit.Commit();
}

void RunDesign(jet::Database& database, const DropTable& drop) {
    jet::Unit unit(database.GetPager());
    if (!database.FindTable(drop.table)) RaiseJet(JetError::TableDoesNotExist, {drop.table});
    database.DropTable(drop.table);
    unit.Commit();
}

}  // namespace marrowkit::dao::sql
