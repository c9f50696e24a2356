// The same random statements here and in SQLite, on the same rows: same answers. What the two languages
// understand alike is used as it is; text is compared ignoring case in both (Jet by its collation, SQLite by
// NOCASE, which agree on letters and digits). MARROWKIT_TEST_SCALE multiplies the number of statements.

#include <cstdlib>
#include <memory>
#include <random>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/dao/SampleDatabase.h"

namespace marrowkit {
namespace {

using test::SampleDatabase;

constexpr int kStatements = 1500;
constexpr int kRows = 150;

int Statements() {
    const char* scale = std::getenv("MARROWKIT_TEST_SCALE");
    return kStatements * (scale != nullptr ? std::max(1, std::atoi(scale)) : 1);
}

class Sqlite {
public:
    Sqlite() { Require(sqlite3_open(":memory:", &database_)); }
    Sqlite(const Sqlite&) = delete;
    Sqlite& operator=(const Sqlite&) = delete;
    ~Sqlite() { sqlite3_close(database_); }

    /// Returns the number of rows changed.
    int Execute(const std::string& sql) {
        Require(sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, nullptr));
        return sqlite3_changes(database_);
    }
    /// Values with "|" between them, rows with ";".
    std::string Records(const std::string& sql) {
        sqlite3_stmt* statement = nullptr;
        Require(sqlite3_prepare_v2(database_, sql.c_str(), -1, &statement, nullptr));
        std::string rows;
        while (sqlite3_step(statement) == SQLITE_ROW) {
            if (!rows.empty()) rows += ";";
            for (int i = 0; i < sqlite3_column_count(statement); ++i) {
                if (i > 0) rows += "|";
                const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
                rows += text != nullptr ? text : "NULL";
            }
        }
        sqlite3_finalize(statement);
        return rows;
    }

private:
    void Require(int code) {
        if (code != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(database_));
    }
    sqlite3* database_ = nullptr;
};

/// Makes up statements that both languages read the same way.
class Generator {
public:
    explicit Generator(unsigned seed) : random_(seed) {}

    int Below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }

    std::string Number() { return std::to_string(Below(41) - 20); }
    std::string Text() {
        static const std::vector<std::string> words{"ant",  "Bee", "bee", "CAT", "cat2", "dog", "Eel",
                                                    "eels", "x9",  "7up", "Zoo", "",     "mid", "Middle"};
        return "'" + words[static_cast<std::size_t>(Below(static_cast<int>(words.size())))] + "'";
    }
    std::string NumberOrNull() { return Below(5) == 0 ? "NULL" : Number(); }
    std::string TextOrNull() { return Below(5) == 0 ? "NULL" : Text(); }

    std::string NumberExpression(int depth) {
        switch (Below(depth > 0 ? 6 : 4)) {
            case 0:
                return Number();
            case 1:
            case 2:
                return "A";
            case 3:
                return "B";
            case 4:
                return "(" + NumberExpression(depth - 1) + (Below(2) ? " + " : " - ") +
                       NumberExpression(depth - 1) + ")";
            default:
                return "(" + NumberExpression(0) + " * " + NumberExpression(0) + ")";
        }
    }
    std::string Condition(int depth) {
        if (depth > 0) {
            switch (Below(4)) {
                case 0:
                    return "(" + Condition(depth - 1) + " AND " + Condition(depth - 1) + ")";
                case 1:
                    return "(" + Condition(depth - 1) + " OR " + Condition(depth - 1) + ")";
                case 2:
                    return "(NOT " + Condition(depth - 1) + ")";
                default:
                    break;
            }
        }
        static const char* const comparisons[] = {" = ", " <> ", " < ", " > ", " <= ", " >= "};
        const std::string comparison = comparisons[Below(6)];
        switch (Below(8)) {
            case 0:
                return "(A IS NULL)";
            case 1:
                return "(S IS NOT NULL)";
            case 2:
                return "(S" + comparison + Text() + ")";
            case 3:
                return Between();
            case 4:
                return "(A IN (" + Number() + ", " + Number() + ", " + Number() + "))";
            case 5:
                return "(A" + comparison + Number() + ")";
            case 6:
                return Subquery();
            default:
                return "(" + NumberExpression(1) + comparison + NumberExpression(1) + ")";
        }
    }
    std::string Subquery() {
        static const char* const pairs[][2] = {{"A", "B"}, {"B", "A"}, {"A", "A + 1"}, {"S", "S"}};
        const auto& [value, column] = pairs[Below(4)];
        return std::string("(") + value + (Below(2) ? " IN" : " NOT IN") + " (SELECT " + column +
               " FROM T WHERE " + Condition(0) + "))";
    }
    /// Jet takes the bounds in either order, SQLite only the smaller one first.
    std::string Between() {
        const int low = Below(41) - 20;
        return "(A BETWEEN " + std::to_string(low) + " AND " + std::to_string(low + Below(15)) + ")";
    }
    std::string Select() {
        static const char* const columns[] = {
            "Id, A, S", "Id, B", "Id, A + 1 AS Z", "COUNT(*)", "COUNT(A), MIN(A), MAX(A)", "SUM(A)"};
        const int chosen = Below(6);
        std::string sql = std::string("SELECT ") + columns[chosen] + " FROM T WHERE " + Condition(2);
        if (chosen < 3) {
            static const char* const orders[] = {"Id", "A, Id", "A DESC, Id", "S, Id", "S DESC, Id", "B, Id"};
            sql += std::string(" ORDER BY ") + orders[Below(6)];
        }
        return sql;
    }
    std::string Insert(int id) {
        return "INSERT INTO T (Id, A, B, S) VALUES (" + std::to_string(id) + ", " + NumberOrNull() + ", " +
               (Below(5) == 0 ? "NULL" : Number() + ".5") + ", " + TextOrNull() + ")";
    }
    std::string Update() {
        switch (Below(3)) {
            case 0:
                return "UPDATE T SET A = " + NumberOrNull() + " WHERE " + Condition(2);
            case 1:
                return "UPDATE T SET S = " + TextOrNull() + ", B = " + Number() + ".25 WHERE " + Condition(2);
            default:
                return "UPDATE T SET A = " + Number() + ", S = " + Text() + " WHERE A < " + Number();
        }
    }

private:
    std::mt19937 random_;
};

class Differential : public ::testing::TestWithParam<jet::JetVersion> {};

TEST_P(Differential, RandomStatementsGiveWhatSqliteGives) {
    SampleDatabase sample(GetParam());
    Sqlite sqlite;
    dao::Database& ours = sample.Open();
    ours.Execute("CREATE TABLE T (Id LONG CONSTRAINT PrimaryKey PRIMARY KEY, A LONG, B DOUBLE, S TEXT(30))");
    ours.Execute("CREATE INDEX ByA ON T (A)");
    ours.Execute("CREATE INDEX ByS ON T (S DESC)");
    sqlite.Execute("CREATE TABLE T (Id INTEGER PRIMARY KEY, A INTEGER, B REAL, S TEXT COLLATE NOCASE)");

    Generator generate(GetParam() == jet::JetVersion::Jet3 ? 3U : 4U);
    int nextId = 1;
    const auto both = [&](const std::string& sql) {
        ours.Execute(sql);
        EXPECT_EQ(ours.RecordsAffected(), sqlite.Execute(sql)) << sql;
    };
    while (nextId <= kRows) both(generate.Insert(nextId++));

    const int statements = Statements();
    for (int i = 0; i < statements && !HasFailure(); ++i) {
        const int kind = generate.Below(20);
        if (kind < 15) {
            const std::string sql = generate.Select();
            EXPECT_EQ(test::Records(ours, sql), sqlite.Records(sql)) << sql;
        } else if (kind < 18) {
            both(generate.Update());
        } else if (kind == 18) {
            both("DELETE FROM T WHERE " + generate.Condition(2) + " AND " + generate.Condition(1));
        } else {
            for (int n = 0; n < 20; ++n) both(generate.Insert(nextId++));
        }
    }
    EXPECT_EQ(sample.Check(), "");
}

INSTANTIATE_TEST_SUITE_P(Formats, Differential,
                         ::testing::Values(jet::JetVersion::Jet3, jet::JetVersion::Jet4),
                         [](const auto& tested) {
                             return tested.param == jet::JetVersion::Jet3 ? std::string("Jet3")
                                                                          : std::string("Jet4");
                         });

}  // namespace
}  // namespace marrowkit
