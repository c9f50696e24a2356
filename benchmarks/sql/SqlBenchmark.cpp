// Statements that the program lives on, measured through DAO:
//
//   repairs   the Null repairs on a database of games that needs none and on one that needs many; the measure
//             is one scan of Games with all its columns, through the engine
//   look-up   SELECT ... WHERE Publisher = "x" with 50,000 publishers, beside SQLite with an index
//   sorting   SELECT ... ORDER BY on a text column without an index, read to the end, beside SQLite
//
//   sql_benchmark [rows] [repetitions] [look-up | sorting | repairs]
//
// SQLite compares its texts with NOCASE, which folds the case of ASCII letters and compares bytes: less than
// Jet's collation does, and the closest that SQLite brings along.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <numeric>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "GamesTable.h"
#include "Sqlite.h"
#include "creation/TemplateDatabase.h"
#include "maintenance/NullRepairs.h"
#include "platform/dao/Dao.h"
#include "platform/jet/engine/Database.h"

namespace marrowkit::benchmark {
namespace {

namespace fs = std::filesystem;

constexpr int kPublishers = 50'000;
constexpr int kLookups = 5'000;

volatile std::size_t g_sink = 0;

double Seconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The best of several runs: what disturbs a run can only make it longer.
double Best(int repetitions, const std::function<void()>& work) {
    double best = Seconds(work);
    for (int i = 1; i < repetitions; ++i) best = std::min(best, Seconds(work));
    return best;
}

/// A database of the frontend with games, every second of which has Nulls where it could, if wanted.
void MakeFrontendDatabase(const std::string& path, int rows, bool withNulls) {
    CreateTemplateDatabase(path, jet::JetVersion::Jet4, kNewestSchemaVersion);
    const auto database = jet::Database::Open(path);
    const auto games = database->OpenTable("Games");
    std::vector<std::size_t> columns;
    for (const jet::Column& column : GamesColumns()) {
        columns.push_back(games->FindColumn(column.name).value_or(games->Columns().size()));
    }
    jet::Unit unit(database->GetPager());
    std::vector<jet::Assignment> values;
    for (int n = 1; n <= rows; ++n) {
        jet::Row row = GameRow(n);
        values.clear();
        for (std::size_t i = 0; i < row.size(); ++i) {
            const bool isText = std::holds_alternative<std::string>(row[i]);
            if (columns[i] == games->Columns().size() || jet::IsNull(row[i])) continue;
            // Keys of lookup records, of which the template has few, stay Null.
            const std::string& name = GamesColumns()[i].name;
            if (name.ends_with("_Id") || name.ends_with("_ID") || (withNulls && n % 2 == 0 && isText))
                continue;
            values.push_back({columns[i], std::move(row[i])});
        }
        games->Insert(values);
    }
    unit.Commit();
    database->GetPager().Flush();
}

std::size_t ScanGames(const std::string& path) {
    jet::OpenOptions options;
    options.readOnly = true;
    const auto database = jet::Database::Open(path, options);
    const auto games = database->OpenTable("Games");
    std::vector<std::size_t> columns(games->Columns().size());
    std::iota(columns.begin(), columns.end(), std::size_t{0});
    std::size_t values = 0;
    const auto scan = games->OpenScan(columns);
    while (scan->Next()) {
        for (const jet::Value& value : scan->Values()) values += jet::IsNull(value) ? 0 : 1;
    }
    return values;
}

void MeasureRepairs(const fs::path& folder, int rows, int repetitions) {
    for (const bool withNulls : {false, true}) {
        const std::string path = (folder / (withNulls ? "nulls.mdb" : "clean.mdb")).string();
        MakeFrontendDatabase(path, rows, withNulls);
        const double scan = Best(repetitions, [&] { g_sink = ScanGames(path); });
        std::printf("\n%s, %d games: %.1f ms for a scan of all columns\n",
                    withNulls ? "Nulls in every second game" : "nothing to repair", rows, scan * 1e3);
        std::printf("%-72s %10s %10s %12s\n", "", "records", "ms", "to one scan");
        dao::Database database = dao::DBEngine().OpenDatabase(path);
        double total = 0;
        for (const std::string_view statement : NullRepairs(2.5F)) {
            std::int32_t affected = 0;
            // A repair that found something finds nothing the next time.
            const double seconds = Best(withNulls ? 1 : repetitions, [&] {
                database.Execute(statement);
                affected = database.RecordsAffected();
            });
            total += seconds;
            std::printf("%-72s %10d %10.2f %11.2fx\n", std::string(statement).c_str(), affected,
                        seconds * 1e3, seconds / scan);
        }
        database.Close();
        std::printf("%-72s %10s %10.2f %11.2fx\n", "all", "", total * 1e3, total / scan);
    }
}

std::string PublisherName(int n) {
    return "Publisher " + std::to_string(static_cast<std::uint32_t>(n) * 2654435761U) + " Ltd";
}

void PrintPair(const char* what, double ours, double peer, double count) {
    std::printf("%-40s %14.2f %14.2f %11.2fx\n", what, ours * 1e6 / count, peer * 1e6 / count, ours / peer);
}

void MeasureLookup(const fs::path& folder, int repetitions) {
    const std::string path = (folder / "lookup.mdb").string();
    dao::Database database = dao::DBEngine().CreateDatabase(path);
    database.Execute(
        "CREATE TABLE Publishers (PU_Id COUNTER CONSTRAINT PrimaryKey PRIMARY KEY, Publisher TEXT(100))");
    database.Execute("CREATE INDEX Publisher ON Publishers (Publisher)");
    Sqlite sqlite((folder / "lookup.sqlite").string());
    sqlite.Run("CREATE TABLE Publishers (PU_Id INTEGER PRIMARY KEY, Publisher TEXT COLLATE NOCASE)");
    sqlite.Run("CREATE INDEX Publisher ON Publishers (Publisher)");
    sqlite.Run("BEGIN");
    {
        SqliteStatement insert(sqlite, "INSERT INTO Publishers (Publisher) VALUES (?)");
        dao::Recordset records = database.OpenRecordset("Publishers", dao::RecordsetType::Table);
        for (int n = 0; n < kPublishers; ++n) {
            const jet::Value name = PublisherName(n);
            insert.Bind(1, name);
            insert.Execute();
            records.AddNew();
            records.Fields("Publisher").SetValue(name);
            records.Update();
        }
    }
    sqlite.Run("COMMIT");
    const double ours = Best(repetitions, [&] {
        for (int n = 0; n < kLookups; ++n) {
            dao::Recordset found = database.OpenRecordset("SELECT * FROM Publishers WHERE Publisher = \"" +
                                                          PublisherName(n * 7 % kPublishers) + "\"");
            if (found.EOF_()) std::exit(1);
            g_sink = static_cast<std::size_t>(std::get<std::int32_t>(found.Fields("PU_Id").Value()));
        }
    });
    const double peer = Best(repetitions, [&] {
        for (int n = 0; n < kLookups; ++n) {
            SqliteStatement found(sqlite, "SELECT * FROM Publishers WHERE Publisher = '" +
                                              PublisherName(n * 7 % kPublishers) + "'");
            if (!found.Step()) std::exit(1);
            g_sink = found.TakeRow();
        }
    });
    PrintPair("look-up among 50,000 publishers, each", ours, peer, kLookups);
}

void MeasureSorting(const fs::path& folder, int rows, int repetitions) {
    const std::string path = (folder / "sorting.mdb").string();
    dao::Database database = dao::DBEngine().CreateDatabase(path);
    database.Execute("CREATE TABLE Games (GA_Id COUNTER CONSTRAINT PrimaryKey PRIMARY KEY, Name TEXT(255))");
    Sqlite sqlite((folder / "sorting.sqlite").string());
    sqlite.Run("CREATE TABLE Games (GA_Id INTEGER PRIMARY KEY, Name TEXT COLLATE NOCASE)");
    sqlite.Run("BEGIN");
    {
        SqliteStatement insert(sqlite, "INSERT INTO Games (Name) VALUES (?)");
        dao::Recordset records = database.OpenRecordset("Games", dao::RecordsetType::Table);
        for (int n = 1; n <= rows; ++n) {
            const jet::Value name = GameRow(n)[1];
            insert.Bind(1, name);
            insert.Execute();
            records.AddNew();
            records.Fields("Name").SetValue(name);
            records.Update();
        }
    }
    sqlite.Run("COMMIT");
    const double ours = Best(repetitions, [&] {
        std::size_t bytes = 0;
        dao::Recordset found =
            database.OpenRecordset("SELECT Name FROM Games ORDER BY Name", dao::RecordsetType::Snapshot);
        dao::Field name = found.Fields("Name");
        for (; !found.EOF_(); found.MoveNext()) bytes += std::get<std::string>(name.Value()).size();
        g_sink = bytes;
    });
    const double peer = Best(repetitions, [&] {
        std::size_t bytes = 0;
        SqliteStatement found(sqlite, "SELECT Name FROM Games ORDER BY Name");
        while (found.Step()) bytes += found.TakeRow();
        g_sink = bytes;
    });
    const std::string what = "ORDER BY over " + std::to_string(rows) + " texts, all";
    PrintPair(what.c_str(), ours, peer, 1);
}

int Main(int rows, int repetitions, const std::string& only) {
    const fs::path folder = fs::temp_directory_path() / ("marrowkit-sql-" + std::to_string(getpid()));
    fs::create_directories(folder);
    std::printf("# %u cores, best of %d%s\n", std::thread::hardware_concurrency(), repetitions,
#ifdef NDEBUG
                "");
#else
                "  WARNING: not an optimised build");
#endif
    std::printf("%-40s %14s %14s %12s\n", "microseconds", "jet4", "sqlite", "to sqlite");
    if (only.empty() || only == "look-up") MeasureLookup(folder, repetitions);
    if (only.empty() || only == "sorting") MeasureSorting(folder, rows, repetitions);
    if (only.empty() || only == "repairs") MeasureRepairs(folder, rows, repetitions);
    fs::remove_all(folder);
    return 0;
}

}  // namespace
}  // namespace marrowkit::benchmark

int main(int argc, char** argv) {
    return marrowkit::benchmark::Main(argc > 1 ? std::atoi(argv[1]) : 100'000,
                                      argc > 2 ? std::atoi(argv[2]) : 3, argc > 3 ? argv[3] : "");
}
