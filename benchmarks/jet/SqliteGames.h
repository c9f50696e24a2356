#pragma once

#include <string>

#include "GamesTable.h"
#include "Sqlite.h"

namespace marrowkit::benchmark {

/// The same workload on SQLite through its C interface: same columns, same indexes, foreign keys enforced,
/// as much memory for pages.
class SqliteGames {
public:
    struct Existing {};
    static constexpr Existing kExisting{};

    explicit SqliteGames(const std::string& path);
    /// Opens a file that the other constructor made.
    SqliteGames(const std::string& path, Existing /*unused*/);
    void Insert(int rows) { Insert(1, rows); }
    /// The games `first` to `last`, in one transaction.
    void Insert(int first, int last, jet::Row (*rowOf)(int) = GameRow);
    void UpdateUnindexed();
    void UpdateIndexed();
    void DeleteEverySecond();
    std::size_t ScanAll() { return Scan("SELECT * FROM Games"); }
    std::size_t ScanTwo() { return Scan("SELECT Name, CRC FROM Games"); }
    void Vacuum() { Run("VACUUM"); }
    void Close() { database_.Close(); }
    static std::size_t OpenAndReadOne(const std::string& path, int key);
    /// How many problems the check of the whole file finds.
    static std::size_t Check(const std::string& path);

private:
    void Run(const std::string& sql) { database_.Run(sql); }
    /// One prepared statement per row, as a program that walks its rows has it.
    void UpdateEach(const char* sql, int rows);
    std::size_t Scan(const char* sql);

    Sqlite database_;
    int rows_ = 0;
};

}  // namespace marrowkit::benchmark
