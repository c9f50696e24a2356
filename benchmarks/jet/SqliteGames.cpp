#include "SqliteGames.h"

#include <cstdio>
#include <cstdlib>
#include <sqlite3.h>

#include "GamesTable.h"

namespace marrowkit::benchmark {

namespace {

void Check(sqlite3* database, int result) {
    if (result == SQLITE_OK || result == SQLITE_DONE || result == SQLITE_ROW) return;
    std::fprintf(stderr, "sqlite: %s\n", sqlite3_errmsg(database));
    std::exit(1);
}

class Statement {
public:
    Statement(sqlite3* database, const char* sql) : database_(database) {
        Check(database, sqlite3_prepare_v2(database, sql, -1, &statement_, nullptr));
    }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement() { sqlite3_finalize(statement_); }

    void Bind(int at, const jet::Value& value) {
        if (const auto* text = std::get_if<std::string>(&value)) {
            sqlite3_bind_text(statement_, at, text->data(), static_cast<int>(text->size()), SQLITE_STATIC);
        } else if (const auto* number = std::get_if<std::int32_t>(&value)) {
            sqlite3_bind_int(statement_, at, *number);
        } else if (const auto* small = std::get_if<std::int16_t>(&value)) {
            sqlite3_bind_int(statement_, at, *small);
        } else if (const auto* flag = std::get_if<bool>(&value)) {
            sqlite3_bind_int(statement_, at, *flag ? 1 : 0);
        } else {
            sqlite3_bind_null(statement_, at);
        }
    }
    bool Step() {
        const int result = sqlite3_step(statement_);
        Check(database_, result);
        return result == SQLITE_ROW;
    }
    void Execute() {
        Step();
        sqlite3_reset(statement_);
    }
    /// Takes every column out, as a reader of rows does.
    std::size_t TakeRow() {
        std::size_t bytes = 0;
        for (int i = 0; i < sqlite3_column_count(statement_); ++i) {
            if (sqlite3_column_type(statement_, i) == SQLITE_TEXT) {
                sqlite3_column_text(statement_, i);
                bytes += static_cast<std::size_t>(sqlite3_column_bytes(statement_, i));
            } else {
                bytes += sqlite3_column_int(statement_, i) == -1 ? 1U : 0U;
            }
        }
        return bytes;
    }

private:
    sqlite3* database_;
    sqlite3_stmt* statement_ = nullptr;
};

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

SqliteGames::SqliteGames(const std::string& path) {
    Check(database_, sqlite3_open(path.c_str(), &database_));
    Run("PRAGMA foreign_keys=ON");
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

SqliteGames::~SqliteGames() {
    Close();
}

void SqliteGames::Close() {
    sqlite3_close(database_);
    database_ = nullptr;
}

void SqliteGames::Run(const std::string& sql) {
    Check(database_, sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, nullptr));
}

void SqliteGames::Insert(int rows) {
    rows_ = rows;
    std::string places = "?";
    for (std::size_t i = 1; i < GamesColumns().size(); ++i) places += ",?";
    Run("BEGIN");
    {
        Statement insert(database_, ("INSERT INTO Games VALUES (" + places + ")").c_str());
        for (int n = 1; n <= rows; ++n) {
            const jet::Row row = GameRow(n);
            for (std::size_t i = 0; i < row.size(); ++i) insert.Bind(static_cast<int>(i) + 1, row[i]);
            insert.Execute();
        }
    }
    Run("COMMIT");
}

void SqliteGames::UpdateEach(const char* sql, int rows) {
    Run("BEGIN");
    {
        Statement update(database_, sql);
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
    Statement select(database_, sql);
    std::size_t bytes = 0;
    while (select.Step()) bytes += select.TakeRow();
    return bytes;
}

std::size_t SqliteGames::OpenAndReadOne(const std::string& path, int key) {
    sqlite3* database = nullptr;
    Check(database, sqlite3_open(path.c_str(), &database));
    std::size_t bytes = 0;
    {
        Statement select(database, "SELECT Name FROM Games WHERE GA_Id = ?");
        select.Bind(1, key);
        if (select.Step()) bytes = select.TakeRow();
    }
    sqlite3_close(database);
    return bytes;
}

}  // namespace marrowkit::benchmark
