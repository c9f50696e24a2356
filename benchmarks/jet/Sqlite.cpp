#include "Sqlite.h"

#include <cstdio>
#include <cstdlib>
#include <sqlite3.h>

namespace marrowkit::benchmark {

namespace {

void Check(sqlite3* database, int result) {
    if (result == SQLITE_OK || result == SQLITE_DONE || result == SQLITE_ROW) return;
    std::fprintf(stderr, "sqlite: %s\n", sqlite3_errmsg(database));
    std::exit(1);
}

}  // namespace

Sqlite::Sqlite(const std::string& path) {
    Check(database_, sqlite3_open(path.c_str(), &database_));
}

void Sqlite::Run(const std::string& sql) {
    Check(database_, sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, nullptr));
}

void Sqlite::Close() {
    sqlite3_close(database_);
    database_ = nullptr;
}

SqliteStatement::SqliteStatement(const Sqlite& database, const std::string& sql)
    : database_(database.Handle()) {
    Check(database_, sqlite3_prepare_v2(database_, sql.c_str(), -1, &statement_, nullptr));
}

SqliteStatement::~SqliteStatement() {
    sqlite3_finalize(statement_);
}

void SqliteStatement::Bind(int at, const jet::Value& value) {
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

bool SqliteStatement::Step() {
    const int result = sqlite3_step(statement_);
    Check(database_, result);
    return result == SQLITE_ROW;
}

void SqliteStatement::Reset() {
    sqlite3_reset(statement_);
}

void SqliteStatement::Execute() {
    Step();
    Reset();
}

std::size_t SqliteStatement::TakeRow() {
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

}  // namespace marrowkit::benchmark
