#pragma once

#include <string>

struct sqlite3;

namespace marrowkit::benchmark {

/// The same workload on SQLite through its C interface: same columns, same indexes, foreign keys enforced.
class SqliteGames {
public:
    explicit SqliteGames(const std::string& path);
    SqliteGames(const SqliteGames&) = delete;
    SqliteGames& operator=(const SqliteGames&) = delete;
    ~SqliteGames();
    void Insert(int rows);
    void UpdateUnindexed();
    void UpdateIndexed();
    void DeleteEverySecond();
    std::size_t ScanAll() { return Scan("SELECT * FROM Games"); }
    std::size_t ScanTwo() { return Scan("SELECT Name, CRC FROM Games"); }
    void Close();
    static std::size_t OpenAndReadOne(const std::string& path, int key);

private:
    void Run(const std::string& sql);
    /// One prepared statement per row, as a program that walks its rows has it.
    void UpdateEach(const char* sql, int rows);
    std::size_t Scan(const char* sql);

    sqlite3* database_ = nullptr;
    int rows_ = 0;
};

}  // namespace marrowkit::benchmark
