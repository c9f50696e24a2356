#include "SqliteGames.h"

namespace marrowkit::benchmark {

namespace {

std::string DeclarationOf(const jet::Column& column) {
    if (column.autoNumber) return column.name + " INTEGER PRIMARY KEY AUTOINCREMENT";
    for (const Lookup& lookup : Lookups()) {
        if (lookup.key == column.name) {
            return column.name + " INTEGER REFERENCES " + lookup.table + "(" + lookup.key + ")";
        }
    }
    switch (column.type) {
        case jet::ColumnType::Text:
        case jet::ColumnType::Memo:
            return column.name + " TEXT COLLATE NOCASE";
        default:
            return column.name + " INTEGER";
    }
}

}  // namespace

SqliteGames::SqliteGames(const std::string& path, Existing /*unused*/) : database_(path) {
    Run("PRAGMA foreign_keys=ON");
    Run("PRAGMA cache_size=-65536");  // KiB
}

SqliteGames::SqliteGames(const std::string& path) : SqliteGames(path, kExisting) {
    for (const Lookup& lookup : Lookups()) {
        Run("CREATE TABLE " + lookup.table + " (" + lookup.key + " INTEGER PRIMARY KEY, Name TEXT)");
        for (int i = 1; i <= kLookupRows; ++i) {
            Run("INSERT INTO " + lookup.table + " VALUES (" + std::to_string(i) + ", 'Entry')");
        }
    }
    std::string columns;
    for (const jet::Column& column : GamesColumns()) {
        columns += (columns.empty() ? "" : ", ") + DeclarationOf(column);
    }
    Run("CREATE TABLE Games (" + columns + ")");
    for (const std::string& column : IndexedColumns()) {
        Run("CREATE INDEX Games" + column + " ON Games (" + column + ")");
    }
}

void SqliteGames::Insert(int first, int last, jet::Row (*rowOf)(int)) {
    rows_ = last;
    std::string places = "?";
    for (std::size_t i = 1; i < GamesColumns().size(); ++i) places += ",?";
    Run("BEGIN");
    {
        SqliteStatement insert(database_, "INSERT INTO Games VALUES (" + places + ")");
        for (int n = first; n <= last; ++n) {
            const jet::Row row = rowOf(n);
            for (std::size_t i = 0; i < row.size(); ++i) insert.Bind(static_cast<int>(i) + 1, row[i]);
            insert.Execute();
        }
    }
    Run("COMMIT");
}

void SqliteGames::UpdateEach(const char* sql, int rows) {
    Run("BEGIN");
    {
        SqliteStatement update(database_, sql);
        for (int n = 1; n <= rows; ++n) {
            update.Bind(1, n);
            update.Execute();
        }
    }
    Run("COMMIT");
}

void SqliteGames::UpdateUnindexed() {
    UpdateEach("UPDATE Games SET TimesPlayed = TimesPlayed + 1 WHERE GA_Id = ?", rows_);
}

void SqliteGames::UpdateIndexed() {
    UpdateEach("UPDATE Games SET PU_Id = PU_Id % 40 + 1 WHERE GA_Id = ?", rows_);
}

void SqliteGames::DeleteEverySecond() {
    UpdateEach("DELETE FROM Games WHERE GA_Id = ? * 2", rows_ / 2);
}

std::size_t SqliteGames::Scan(const char* sql) {
    SqliteStatement select(database_, sql);
    std::size_t bytes = 0;
    while (select.Step()) bytes += select.TakeRow();
    return bytes;
}

std::size_t SqliteGames::OpenAndReadOne(const std::string& path, int key) {
    Sqlite database(path);
    SqliteStatement select(database, "SELECT Name FROM Games WHERE GA_Id = ?");
    select.Bind(1, key);
    return select.Step() ? select.TakeRow() : 0;
}

std::size_t SqliteGames::Check(const std::string& path) {
    Sqlite database(path);
    SqliteStatement check(database, "SELECT 'x' FROM pragma_integrity_check WHERE integrity_check <> 'ok'");
    std::size_t problems = 0;
    while (check.Step()) ++problems;
    return problems;
}

}  // namespace marrowkit::benchmark
