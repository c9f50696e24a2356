#include "JetGames.h"

#include <numeric>

#include "platform/jet/check/Check.h"

namespace marrowkit::benchmark {

namespace {

jet::Index MakeIndex(const std::string& name, const std::string& column, bool primary = false) {
    jet::Index index;
    index.name = name;
    index.parts.push_back({column, true});
    index.primaryKey = primary;
    index.unique = primary;
    return index;
}

std::size_t TextBytes(const jet::Row& row) {
    std::size_t bytes = 0;
    for (const jet::Value& value : row) {
        if (const auto* text = std::get_if<std::string>(&value)) bytes += text->size();
    }
    return bytes;
}

std::size_t PrimaryKeyOf(const jet::Table& table) {
    for (std::size_t i = 0; i < table.Indexes().size(); ++i) {
        if (table.Indexes()[i].primaryKey) return i;
    }
    return 0;
}

}  // namespace

JetGames::JetGames(const std::string& path, jet::JetVersion version)
    : path_(path), database_(jet::Database::Create(path, version)) {
    jet::TableDesign games{"Games", GamesColumns(), {MakeIndex("PrimaryKey", "GA_Id", true)}, "", ""};
    for (const std::string& column : IndexedColumns()) games.indexes.push_back(MakeIndex(column, column));
    database_->CreateTable(games);
    games_ = database_->OpenTable("Games");
    for (const Lookup& lookup : Lookups()) {
        jet::Column key;
        key.name = lookup.key;
        jet::Column name;
        name.name = "Name";
        name.type = jet::ColumnType::Text;
        name.size = 100;
        database_->CreateTable(
            {lookup.table, {key, name}, {MakeIndex("PrimaryKey", lookup.key, true)}, "", ""});
        const auto table = database_->OpenTable(lookup.table);
        for (int i = 1; i <= kLookupRows; ++i) {
            const jet::Assignment values[] = {{0, i}, {1, "Entry " + std::to_string(i)}};
            table->Insert(values);
        }
        jet::Relationship relationship;
        relationship.name = lookup.table + "Games";
        relationship.table = lookup.table;
        relationship.foreignTable = "Games";
        relationship.columns.emplace_back(lookup.key, lookup.key);
        database_->CreateRelationship(relationship);
    }
    database_->GetPager().Flush();
}

JetGames::JetGames(const std::string& path)
    : path_(path), database_(jet::Database::Open(path)), games_(database_->OpenTable("Games")) {}

void JetGames::Insert(int first, int last, jet::Row (*rowOf)(int)) {
    jet::Unit unit(database_->GetPager());
    std::vector<jet::Assignment> values;
    for (int n = first; n <= last; ++n) {
        jet::Row row = rowOf(n);
        values.clear();
        for (std::size_t i = 1; i < row.size(); ++i) values.push_back({i, std::move(row[i])});
        games_->Insert(values);
    }
    unit.Commit();
    database_->GetPager().Flush();
}

template <typename Change>
void JetGames::ForEachRow(std::size_t column, Change change) {
    jet::Unit unit(database_->GetPager());
    const auto scan = games_->OpenScan({column});
    while (scan->Next()) change(scan->Id(), scan->Values().front());
    unit.Commit();
    database_->GetPager().Flush();
}

void JetGames::UpdateUnindexed() {
    const std::size_t rating = games_->FindColumn("TimesPlayed").value();
    ForEachRow(rating, [&](jet::RowId row, const jet::Value& value) {
        const jet::Assignment change{rating, std::get<std::int32_t>(value) + 1};
        games_->Update(row, std::span(&change, 1));
    });
}

void JetGames::UpdateIndexed() {
    const std::size_t publisher = games_->FindColumn("PU_Id").value();
    ForEachRow(publisher, [&](jet::RowId row, const jet::Value& value) {
        const jet::Assignment change{publisher, std::get<std::int32_t>(value) % kLookupRows + 1};
        games_->Update(row, std::span(&change, 1));
    });
}

void JetGames::DeleteEverySecond() {
    ForEachRow(0, [&](jet::RowId row, const jet::Value& value) {
        if (std::get<std::int32_t>(value) % 2 == 0) games_->Delete(row);
    });
}

std::size_t JetGames::ScanAll() {
    std::vector<std::size_t> columns(games_->Columns().size());
    std::iota(columns.begin(), columns.end(), std::size_t{0});
    std::size_t bytes = 0;
    const auto scan = games_->OpenScan(columns);
    while (scan->Next()) bytes += TextBytes(scan->Values());
    return bytes;
}

std::size_t JetGames::ScanTwo() {
    std::size_t bytes = 0;
    const auto scan = games_->OpenScan({1, 20});
    while (scan->Next()) bytes += TextBytes(scan->Values());
    return bytes;
}

void JetGames::Close() {
    games_.reset();
    database_.reset();
}

std::size_t JetGames::OpenAndReadOne(const std::string& path, int key) {
    jet::OpenOptions options;
    options.readOnly = true;
    const auto database = jet::Database::Open(path, options);
    const auto games = database->OpenTable("Games");
    const auto scan = games->OpenIndexScan(PrimaryKeyOf(*games), jet::IndexRange::Equal({key}), {1}, false);
    return scan->Next() ? TextBytes(scan->Values()) : 0;
}

std::size_t JetGames::Check(const std::string& path) {
    return jet::Check(path).size();
}

}  // namespace marrowkit::benchmark
