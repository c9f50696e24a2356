#include <gtest/gtest.h>

#include "SampleDatabase.h"
#include "platform/errors/RuntimeError.h"

namespace marrowkit::test {
namespace {

struct ErrorCase {
    const char* sql;
    const char* error;
};

class StatementError : public testing::TestWithParam<jet::JetVersion> {
protected:
    template <std::size_t Count>
    void Expect(const ErrorCase (&cases)[Count]) {
        SampleDatabase sample(GetParam());
        for (const ErrorCase& c : cases) EXPECT_EQ(ErrorOf(sample.Open(), c.sql), c.error) << c.sql;
        EXPECT_EQ(Records(sample.Open(), "SELECT COUNT(*) FROM Games"), "7");
        EXPECT_EQ(Records(sample.Open(), "SELECT COUNT(*) FROM Publishers"), "4");
        EXPECT_EQ(sample.Check(), "");
    }
};

constexpr const char* kNoStatement =
    "3129 Invalid SQL statement; expected 'DELETE', 'INSERT', 'PROCEDURE', 'SELECT', or 'UPDATE'.";
constexpr const char* kSelectSyntax =
    "3141 The SELECT statement includes a reserved word or an argument name that is misspelled or missing, "
    "or "
    "the punctuation is incorrect.";
constexpr const char* kFromSyntax = "3131 Syntax error in FROM clause.";
constexpr const char* kInsertSyntax = "3134 Syntax error in INSERT INTO statement.";
constexpr const char* kUpdateSyntax = "3144 Syntax error in UPDATE statement.";
constexpr const char* kMismatch = "3464 Data type mismatch in criteria expression.";
constexpr const char* kOneParameter = "3061 Too few parameters. Expected 1.";
constexpr const char* kTwoParameters = "3061 Too few parameters. Expected 2.";

TEST_P(StatementError, Shape) {
    static constexpr ErrorCase kCases[] = {
        {"", kNoStatement},
        {";", kNoStatement},
        {"Games", kNoStatement},
        {"SELEC * FROM Games", kNoStatement},
        {"EXPLAIN SELECT 1", kNoStatement},
        {"SELECT", kSelectSyntax},
        {"SELECT FROM Games", kSelectSyntax},
        {"SELECT , FROM Games", kSelectSyntax},
        {"SELECT Name, FROM Games", kSelectSyntax},
        {"SELECT Name AS FROM Games", kSelectSyntax},
        {"SELECT Name AS a b FROM Games", kSelectSyntax},
        {"SELECT * Name FROM Games", kSelectSyntax},
        {"SELECT * FROM", kFromSyntax},
        {"SELECT * FROM WHERE Name = 'a'", kFromSyntax},
        {"SELECT * FROM Games,", kFromSyntax},
        {"SELECT * FROM 'Games'", kFromSyntax},
        {"SELECT * FROM Games G H", kFromSyntax},
        {"SELECT * FROM (Games", kFromSyntax},
        {"SELECT * FROM Games INNER Publishers ON 1=1", kFromSyntax},
        {"SELECT * FROM Games INNER JOIN Publishers", "3135 Syntax error in JOIN operation."},
        {"SELECT * FROM Games WHERE", "3145 Syntax error in WHERE clause."},
        {"SELECT * FROM Games ORDER Name", "3138 Syntax error in ORDER BY clause."},
        {"SELECT * FROM Games ORDER BY", "3138 Syntax error in ORDER BY clause."},
        {"SELECT * FROM Games ORDER BY Name,", "3138 Syntax error in ORDER BY clause."},
        {"SELECT Name FROM Games ORDER BY 2", "3138 Syntax error in ORDER BY clause."},
        {"SELECT Name FROM Games GROUP Name", "3132 Syntax error in GROUP BY clause."},
        {"SELECT Name FROM Games GROUP BY", "3132 Syntax error in GROUP BY clause."},
        {"SELECT * FROM Games; SELECT 1", "3142 Characters found after end of SQL statement."},
        {"DELETE * FROM Games; DELETE * FROM Games", "3142 Characters found after end of SQL statement."},
        {"SELECT *", "3067 Query input must contain at least one table or query."},
        {"DELETE Games", "3128 Specify the table containing the records you want to delete."},
        {"DELETE * Games", "3130 Syntax error in DELETE statement."},
        {"DELETE FROM", kFromSyntax},
        {"DELETE FROM Games Name = 'a'", kFromSyntax},
        {"INSERT Games (Name) VALUES ('a')", kInsertSyntax},
        {"INSERT INTO (Name) VALUES ('a')", kInsertSyntax},
        {"INSERT INTO Games (Name VALUES ('a')", kInsertSyntax},
        {"INSERT INTO Games (Name) VALUES 'a'", kInsertSyntax},
        {"INSERT INTO Games (Name) VALUES ('a'", kInsertSyntax},
        {"INSERT INTO Games (Name) VALUES ()", kInsertSyntax},
        {"INSERT INTO Games (Name)", kInsertSyntax},
        {"INSERT INTO Games (Name, Name) VALUES ('a', 'b')", kInsertSyntax},
        {"UPDATE Games", kUpdateSyntax},
        {"UPDATE Games SET", kUpdateSyntax},
        {"UPDATE Games SET Name", kUpdateSyntax},
        {"UPDATE Games SET Name =", kUpdateSyntax},
        {"UPDATE Games SET Name = 'a',", kUpdateSyntax},
        {"UPDATE SET Name = 'a'", kUpdateSyntax},
        {"UPDATE Games Name = 'a'", kUpdateSyntax},
        {"UPDATE Games INNER JOIN Publishers ON Games.PU_Id = Publishers.PU_Id SET Name = 'a'",
         "3073 Operation must use an updatable query."},
    };
    Expect(kCases);
}

TEST_P(StatementError, Expressions) {
    static constexpr ErrorCase kCases[] = {
        {"SELECT * FROM Publishers WHERE Publisher = \"The \"Best\" Ltd\"",
         "3075 Syntax error (missing operator) in query expression 'Publisher = \"The \"Best\" Ltd\"'."},
        {"SELECT * FROM Publishers WHERE Publisher = \"Best",
         "3075 Syntax error in string in query expression 'Publisher = \"Best'."},
        {"SELECT * FROM Publishers WHERE Publisher = \"Best\"\"",
         "3075 Syntax error in string in query expression 'Publisher = \"Best\"\"'."},
        {"SELECT * FROM Publishers WHERE Publisher = 'O'Brien'",
         "3075 Syntax error (missing operator) in query expression 'Publisher = 'O'Brien''."},
        {"SELECT a b FROM Games", "3075 Syntax error (missing operator) in query expression 'a b'."},
        {"SELECT * FROM Games WHERE Name =",
         "3075 Syntax error (missing operator) in query expression 'Name ='."},
        {"SELECT * FROM Games WHERE Name = 'a' ORDER BY Name Desc Asc", kFromSyntax},
        {"SELECT * FROM Games WHERE (Name = 'a'",
         "3075 Missing ), ], or Item in query expression '(Name = 'a''."},
        {"SELECT * FROM Games WHERE Name = 'a')", "3075 Extra ) in query expression 'Name = 'a')'."},
        {"SELECT * FROM Games WHERE GA_Id = 1, 2",
         "3075 Syntax error (comma) in query expression 'GA_Id = 1, 2'."},
        {"SELECT * FROM Games WHERE Added = #45/45/45#",
         "3075 Syntax error in date in query expression 'Added = #45/45/45#'."},
        {"UPDATE Games SET Name = 'a' 'b'",
         "3075 Syntax error (missing operator) in query expression ''a' 'b''."},
        {"DELETE * FROM Games WHERE Name == 'a'",
         "3075 Syntax error (missing operator) in query expression 'Name == 'a''."},
        {"SELECT Frob(1) FROM Games", "3085 Undefined function 'Frob' in expression."},
        {"DELETE * FROM Games WHERE Frob(Name)", "3085 Undefined function 'Frob' in expression."},
        {"SELECT * FROM Games WHERE Name = 5", kMismatch},
        {"SELECT * FROM Games WHERE GA_Id = '5'", kMismatch},
        {"SELECT * FROM Games WHERE Added = 'x'", kMismatch},
        {"SELECT * FROM Games WHERE GA_Id IN (1, 'a')", kMismatch},
        {"UPDATE Games SET Name = 'a' WHERE PU_Id = 'a'", kMismatch},
        {"UPDATE Games SET PU_Id = 'a' WHERE GA_Id = 1", kMismatch},
        {"INSERT INTO Games (PU_Id) VALUES ('a')", kMismatch},
        {"SELECT * FROM Games WHERE 1 / (GA_Id - 1) > 0", "11 Division by zero"},
        {"SELECT * FROM Games INNER JOIN Publishers ON Games.Name = Publishers.PU_Id",
         "3615 Type mismatch in JOIN expression."},
        {"SELECT [Name FROM Games", "3126 Invalid bracketing of name '[Name FROM Games'."},
    };
    Expect(kCases);
}

TEST_P(StatementError, Subqueries) {
    static constexpr const char* kSeveralFields =
        "3306 You have written a subquery that can return more than one field without using the EXISTS "
        "reserved word in the main query's FROM clause. Revise the SELECT statement of the subquery to "
        "request "
        "only one field.";
    static constexpr const char* kSeveralRecords =
        "3354 At most one record can be returned by this subquery.";
    static constexpr ErrorCase kCases[] = {
        {"SELECT * FROM Games WHERE PU_Id IN (SELECT * FROM Publishers)", kSeveralFields},
        {"SELECT * FROM Games WHERE PU_Id = (SELECT PU_Id, Publisher FROM Publishers)", kSeveralFields},
        {"SELECT * FROM Games WHERE PU_Id = (SELECT PU_Id FROM Publishers)", kSeveralRecords},
        {"DELETE * FROM Games WHERE PU_Id = (SELECT PU_Id FROM Publishers)", kSeveralRecords},
        {"SELECT * FROM Games WHERE PU_Id IN (SELECT Publisher FROM Publishers)", kMismatch},
        {"SELECT * FROM Games WHERE Name IN (SELECT PU_Id FROM Publishers WHERE PU_Id > 100)", kMismatch},
        {"SELECT * FROM Games WHERE Name = (SELECT 1)", kMismatch},
        {"SELECT * FROM Games WHERE PU_Id IN (SELECT Nosuch FROM Publishers)", kOneParameter},
        // A subquery knows nothing of the columns around it.
        {"SELECT * FROM Games WHERE PU_Id IN (SELECT PU_Id FROM Publishers WHERE Publisher = Games.Name)",
         kOneParameter},
        {"SELECT * FROM Games WHERE PU_Id IN (SELECT PU_Id FROM Nosuch)",
         "3078 The Microsoft Jet database engine cannot find the input table or query 'Nosuch'. Make sure it "
         "exists and that its name is spelled correctly."},
        {"SELECT * FROM Games WHERE PU_Id IN (SELECT PU_Id INTO T FROM Publishers)", kSelectSyntax},
        {"SELECT * FROM Games WHERE PU_Id IN (SELECT)", kSelectSyntax},
        {"SELECT * FROM Games WHERE PU_Id IN (SELECT PU_Id FROM Publishers",
         "3075 Missing ), ], or Item in query expression 'PU_Id IN (SELECT PU_Id FROM Publishers'."},
        {"UPDATE Games SET PU_Id = (SELECT MAX(PU_Id) FROM Publishers)",
         "3073 Operation must use an updatable query."},
        {"INSERT INTO Games (PU_Id) VALUES ((SELECT 1))",
         "3067 Query input must contain at least one table or query."},
    };
    Expect(kCases);
    SampleDatabase sample(GetParam());
    std::string deep = "SELECT 1";
    for (int level = 0; level < 200; ++level) deep = "SELECT 1 FROM Games WHERE 1 IN (" + deep + ")";
    EXPECT_TRUE(ErrorOf(sample.Open(), deep).starts_with("3071 ")) << ErrorOf(sample.Open(), deep);
}

TEST_P(StatementError, Names) {
    static constexpr ErrorCase kCases[] = {
        {"SELECT * FROM Nosuch",
         "3078 The Microsoft Jet database engine cannot find the input table or query 'Nosuch'. Make sure it "
         "exists and that its name is spelled correctly."},
        {"DELETE * FROM Nosuch",
         "3078 The Microsoft Jet database engine cannot find the input table or query 'Nosuch'. Make sure it "
         "exists and that its name is spelled correctly."},
        {"UPDATE Nosuch SET a = 1",
         "3078 The Microsoft Jet database engine cannot find the input table or query 'Nosuch'. Make sure it "
         "exists and that its name is spelled correctly."},
        {"INSERT INTO Nosuch (a) VALUES (1)", "3192 Could not find output table 'Nosuch'."},
        {"SELECT Nosuch FROM Games", kOneParameter},
        {"SELECT Nosuch, Other FROM Games", kTwoParameters},
        {"SELECT Nosuch, NOSUCH FROM Games WHERE Nosuch = 1", kOneParameter},
        {"SELECT * FROM Games WHERE Nosuch = 1", kOneParameter},
        {"SELECT * FROM Games WHERE Name = abc AND Other = 1 ORDER BY Name", kTwoParameters},
        {"SELECT * FROM Games ORDER BY Nosuch", kOneParameter},
        {"SELECT COUNT(Nosuch) FROM Games", kOneParameter},
        {"SELECT Name FROM Games GROUP BY Name, Nosuch", kOneParameter},
        {"SELECT * FROM Games INNER JOIN Publishers ON Games.x = Publishers.y", kTwoParameters},
        {"SELECT Publishers.Name FROM Games", kOneParameter},
        {"UPDATE Games SET Nosuch = 1", kOneParameter},
        {"UPDATE Games SET Nosuch = Other WHERE Name = 'x'", kTwoParameters},
        {"UPDATE Games SET Korvo = \"\" WHERE Korvo IS NULL", kOneParameter},
        {"DELETE * FROM Games WHERE Nosuch = 1", kOneParameter},
        {"INSERT INTO Games (Name) VALUES (Nosuch)", kOneParameter},
        {"INSERT INTO Games (Nosuch) VALUES (1)",
         "3127 The INSERT INTO statement contains the following unknown field name: 'Nosuch'. Make sure you "
         "have typed the name correctly, and try the operation again."},
        {"INSERT INTO Games (Name) VALUES ('a', 'b')",
         "3346 Number of query values and destination fields are not the same."},
        {"INSERT INTO Publishers VALUES (1)",
         "3346 Number of query values and destination fields are not the same."},
        {"INSERT INTO Games (Name) SELECT PU_Id, Publisher FROM Publishers",
         "3346 Number of query values and destination fields are not the same."},
        {"INSERT INTO Games SELECT Publisher FROM Publishers",
         "3127 The INSERT INTO statement contains the following unknown field name: 'Publisher'. Make sure "
         "you have typed the name correctly, and try the operation again."},
        {"SELECT PU_Id FROM Games, Publishers",
         "3079 The specified field 'PU_Id' could refer to more than one table listed in the FROM clause of "
         "your SQL statement."},
        {"SELECT Name FROM Games INNER JOIN Publishers ON Games.PU_Id = Publishers.PU_Id ORDER BY PU_Id",
         "3079 The specified field 'PU_Id' could refer to more than one table listed in the FROM clause of "
         "your SQL statement."},
        {"SELECT Nosuch.* FROM Games",
         "3078 The Microsoft Jet database engine cannot find the input table or query 'Nosuch'. Make sure it "
         "exists and that its name is spelled correctly."},
        {"SELECT a + 1 AS b, b + 1 AS a FROM Games",
         "3103 Circular reference caused by alias 'b' in query definition's SELECT list."},
    };
    Expect(kCases);
}

TEST_P(StatementError, Aggregates) {
    static constexpr ErrorCase kCases[] = {
        {"SELECT Name, COUNT(*) FROM Games",
         "3122 You tried to execute a query that does not include the specified expression 'Name' as part of "
         "an aggregate function."},
        {"SELECT Name & '!', COUNT(*) FROM Games GROUP BY PU_Id",
         "3122 You tried to execute a query that does not include the specified expression 'Name & '!'' as "
         "part of an aggregate function."},
        {"SELECT PU_Id FROM Games GROUP BY PU_Id ORDER BY Name",
         "3122 You tried to execute a query that does not include the specified expression 'Name' as part of "
         "an aggregate function."},
        {"SELECT Name FROM Games WHERE COUNT(*) > 1",
         "3096 Cannot have aggregate function in WHERE clause (COUNT(*) > 1)."},
        {"SELECT SUM(COUNT(*)) FROM Games",
         "3095 Cannot have aggregate function in expression (SUM(COUNT(*)))."},
        {"SELECT SUM(Name) FROM Games", kMismatch},
        {"SELECT DISTINCT Name FROM Games ORDER BY PU_Id",
         "3093 ORDER BY clause (PU_Id) conflicts with DISTINCT."},
    };
    Expect(kCases);
}

TEST_P(StatementError, WhatCannotBeExecuted) {
    SampleDatabase sample(GetParam());
    dao::Database& database = sample.Open();
    try {
        database.Execute("SELECT * FROM Games");
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 3065);
        EXPECT_EQ(error.description, "Cannot execute a select query.");
    }
    for (const char* statement : {"DELETE * FROM Games", "UPDATE Games SET Name = 'a'", "DROP TABLE Games",
                                  "INSERT INTO Games (Name) VALUES ('a')"}) {
        try {
            database.OpenRecordset(statement);
            ADD_FAILURE() << statement;
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 3219) << statement;
        }
    }
    EXPECT_EQ(Records(database, "SELECT COUNT(*) FROM Games"), "7");
}

TEST_P(StatementError, DeepNestingIsRefusedInEveryPlace) {
    SampleDatabase sample(GetParam());
    const std::string deep(5000, '(');
    for (const std::string& statement :
         {"SELECT " + deep, "SELECT * FROM " + deep, "SELECT * FROM Games WHERE " + deep,
          "UPDATE Games SET Name = " + deep, "SELECT * FROM Games ORDER BY " + deep}) {
        const std::string error = ErrorOf(sample.Open(), statement);
        EXPECT_TRUE(error.starts_with("3071")) << error;
    }
    std::string joins = "SELECT * FROM Games AS A0";
    for (int i = 1; i < 40; ++i) joins += ", Games AS A" + std::to_string(i);
    EXPECT_TRUE(ErrorOf(sample.Open(), joins).starts_with("3071"));
}

INSTANTIATE_TEST_SUITE_P(Formats, StatementError,
                         testing::Values(jet::JetVersion::Jet3, jet::JetVersion::Jet4),
                         [](const auto& format) {
                             return format.param == jet::JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit::test
