#include "SqliteCopy.h"

#include <numeric>

#include "Sqlite.h"
#include "platform/jet/engine/Database.h"
#include "platform/text/Text.h"

namespace marrowkit::benchmark {

namespace fs = std::filesystem;

namespace {

void Insert(const Sqlite& database, const std::string& table, const std::vector<jet::Row>& rows) {
    if (rows.empty()) return;
    std::string places = "?";
    for (std::size_t i = 1; i < rows.front().size(); ++i) places += ",?";
    SqliteStatement insert(database, "INSERT INTO [" + table + "] VALUES (" + places + ")");
    for (const jet::Row& row : rows) {
        int place = 1;
        for (const jet::Value& value : row) insert.Bind(place++, value);
        insert.Execute();
    }
}

std::string Declaration(const jet::Column& column) {
    if (column.autoNumber) return "[" + column.name + "] INTEGER PRIMARY KEY";
    const bool text = column.type == jet::ColumnType::Text || column.type == jet::ColumnType::Memo;
    return "[" + column.name + "]" + (text ? " TEXT COLLATE NOCASE" : " INTEGER");
}

std::string ColumnList(const jet::Index& index) {
    std::string list;
    for (const jet::Index::Part& part : index.parts) {
        list += (list.empty() ? "[" : ", [") + part.column + (part.ascending ? "]" : "] DESC");
    }
    return list;
}

}  // namespace

SqliteCopy::SqliteCopy(const fs::path& file) {
    const auto database = jet::Database::Open(file.string(), {.readOnly = true});
    const auto copy = [&](const std::string& name) {
        const auto table = database->OpenTable(name);
        TableCopy made;
        made.name = table->Name();
        for (const jet::Column& column : table->Columns()) made.declarations.push_back(Declaration(column));
        std::vector<std::size_t> columns(table->Columns().size());
        std::iota(columns.begin(), columns.end(), std::size_t{0});
        const auto scan = table->OpenScan(columns);
        while (scan->Next()) made.rows.push_back(scan->Values());
        return made;
    };
    games_ = copy("Games");
    for (const jet::Index& index : database->OpenTable("Games")->Indexes()) {
        // SQLite's own key is the primary key; an index that a relationship made stands beside none of ours.
        if (index.primaryKey || index.foreign) continue;
        games_.indexes.push_back(std::string("CREATE ") + (index.unique ? "UNIQUE " : "") + "INDEX [Games " +
                                 index.name + "] ON Games (" + ColumnList(index) + ")");
    }
    for (const jet::Relationship& reference : database->Relationships()) {
        if (!EqualNoCase(reference.foreignTable, "Games") || !reference.enforced) continue;
        lookups_.push_back(copy(reference.table));
        games_.declarations.push_back("FOREIGN KEY ([" + reference.columns.front().second +
                                      "]) REFERENCES [" + reference.table + "] ([" +
                                      reference.columns.front().first + "])");
    }
}

Cost SqliteCopy::CostToInsert(const fs::path& file) const {
    fs::remove(file);
    Cost cost;
    {
        Sqlite sqlite(file.string());
        sqlite.Run("PRAGMA foreign_keys=ON");
        const auto create = [&sqlite](const TableCopy& table) {
            std::string all;
            for (const std::string& declaration : table.declarations) {
                all += (all.empty() ? "" : ", ") + declaration;
            }
            sqlite.Run("CREATE TABLE [" + table.name + "] (" + all + ")");
            for (const std::string& index : table.indexes) sqlite.Run(index);
        };
        for (const TableCopy& table : lookups_) {
            create(table);
            sqlite.Run("BEGIN");
            Insert(sqlite, table.name, table.rows);
            sqlite.Run("COMMIT");
        }
        create(games_);
        cost = CostOf([&] {
            sqlite.Run("BEGIN");
            Insert(sqlite, games_.name, games_.rows);
            sqlite.Run("COMMIT");
        });
    }
    fs::remove(file);
    return cost;
}

}  // namespace marrowkit::benchmark
