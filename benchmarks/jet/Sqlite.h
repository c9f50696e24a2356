#pragma once

#include <cstddef>
#include <string>

#include "platform/jet/format/Value.h"

struct sqlite3;
struct sqlite3_stmt;

namespace marrowkit::benchmark {

/// A SQLite database. Every error ends the program with SQLite's message: a benchmark has nothing to recover.
class Sqlite {
public:
    explicit Sqlite(const std::string& path);
    Sqlite(const Sqlite&) = delete;
    Sqlite& operator=(const Sqlite&) = delete;
    ~Sqlite() { Close(); }

    sqlite3* Handle() const { return database_; }
    void Run(const std::string& sql);
    void Close();

private:
    sqlite3* database_ = nullptr;
};

/// One prepared statement.
class SqliteStatement {
public:
    SqliteStatement(const Sqlite& database, const std::string& sql);
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;
    ~SqliteStatement();

    /// Places count from 1. The value must live until the statement has run.
    void Bind(int at, const jet::Value& value);
    /// True when there is a row to take.
    bool Step();
    void Reset();
    void Execute();
    /// Takes every column out, as a reader of rows does; bytes of text met.
    std::size_t TakeRow();

private:
    sqlite3* database_;
    sqlite3_stmt* statement_ = nullptr;
};

}  // namespace marrowkit::benchmark
