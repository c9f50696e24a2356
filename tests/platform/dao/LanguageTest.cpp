// What somebody who knows the language tries first: statements by subject, each with what its published rules
// say comes out.

#include <gtest/gtest.h>

#include "SampleDatabase.h"
#include "platform/errors/RuntimeError.h"

namespace marrowkit::test {
namespace {

/// A statement with its records, "n rows" for the records it changes, or its error's number and text.
struct Statement {
    const char* sql;
    const char* outcome;
};

class Language : public testing::TestWithParam<jet::JetVersion> {
protected:
    Language() : sample_(GetParam()) {}

    std::string OutcomeOf(const std::string& sql) {
        try {
            if (sql.starts_with("SELECT")) return Records(sample_.Open(), sql);
            sample_.Execute(sql);
            return std::to_string(sample_.Open().RecordsAffected()) + " rows";
        } catch (const RuntimeError& error) {
            return std::to_string(error.number) + " " + error.description;
        }
    }

    /// One after the other, on the same database.
    template <std::size_t Count>
    void Expect(const Statement (&statements)[Count]) {
        for (const Statement& s : statements) EXPECT_EQ(OutcomeOf(s.sql), s.outcome) << s.sql;
        EXPECT_EQ(sample_.Check(), "");
    }

    SampleDatabase sample_;
};

constexpr const char* kMismatch = "3464 Data type mismatch in criteria expression.";

TEST_P(Language, PatternsOfLike) {
    static constexpr Statement kStatements[] = {
        {"SELECT GA_Id FROM Games WHERE Name LIKE 'z*'", "1"},
        {"SELECT GA_Id FROM Games WHERE Name LIKE '*'", "1;2;3;4;5;6"},
        {"SELECT GA_Id FROM Games WHERE Name LIKE ''", ""},
        {"SELECT GA_Id FROM Games WHERE Name LIKE '*o*p'", "4;5"},
        {"SELECT GA_Id FROM Games WHERE Name LIKE \"????\"", "5"},
        {"SELECT GA_Id FROM Games WHERE Name LIKE \"?????\"", "4;6"},
        {"SELECT GA_Id FROM Games WHERE Name LIKE '[!a-c]*'", "1;6"},
        {"SELECT GA_Id FROM Games WHERE Name LIKE '[zd]*'", "1;6"},
        {"SELECT GA_Id FROM Games WHERE Name LIKE 'Co-op'", "4"},
        {"SELECT GA_Id FROM Games WHERE Name LIKE 'Co[-]op'", "4"},
        {"SELECT GA_Id FROM Games WHERE Name LIKE '*#*'", ""},
        {"SELECT GA_Id FROM Games WHERE Name LIKE \"*le*\"", "3"},
        {"SELECT GA_Id FROM Games WHERE Name LIKE 'c' & '*'", "4;5"},
        {"SELECT GA_Id FROM Games WHERE NOT Name LIKE '*o*'", "1;2;6"},
        {"SELECT GA_Id FROM Games WHERE Name LIKE '%'", ""},
        {"SELECT 'a1' LIKE 'a#'", "-1"},
        {"SELECT 'ab' LIKE 'a#'", "0"},
        {"SELECT 'a*b' LIKE 'a[*]b'", "-1"},
        {"SELECT 'axb' LIKE 'a[*]b'", "0"},
        {"SELECT 'a?' LIKE 'a[?]', 'ab' LIKE 'a[?]'", "-1|0"},
        {"SELECT 'a#' LIKE 'a[#]', 'a1' LIKE 'a[#]'", "-1|0"},
        {"SELECT 'a[b' LIKE 'a[[]b'", "-1"},
        {"SELECT 'ABC' LIKE 'abc', 'abc' LIKE 'ABC'", "-1|-1"},
        {"SELECT '' LIKE '*', '' LIKE '?'", "-1|0"},
        {"SELECT 'b' LIKE '[!b]', 'c' LIKE '[!b]'", "0|-1"},
        {"SELECT 'f' LIKE '[a-f]', 'g' LIKE '[a-f]'", "-1|0"},
        {"SELECT 'aXbYc' LIKE 'a*b*c', 'aXbYd' LIKE 'a*b*c'", "-1|0"},
        // The characters of other dialects stand for themselves.
        {"SELECT 'ab' LIKE 'a%', 'ab' LIKE 'a_', 'a%' LIKE 'a%'", "0|0|-1"},
        {"SELECT Null LIKE '*', 'a' LIKE Null", "NULL|NULL"},
        {"SELECT 15 LIKE '1*'", "-1"},
        {"SELECT 'a' LIKE '[a'", "93 Invalid pattern string"},
    };
    Expect(kStatements);
}

TEST_P(Language, ThreeValuedLogic) {
    static constexpr Statement kStatements[] = {
        {"SELECT Null AND False, False AND Null", "0|0"},
        {"SELECT Null AND True, True AND Null", "NULL|NULL"},
        {"SELECT Null OR True, True OR Null", "-1|-1"},
        {"SELECT Null OR False, False OR Null", "NULL|NULL"},
        {"SELECT NOT Null", "NULL"},
        {"SELECT Null XOR True, Null EQV False", "NULL|NULL"},
        {"SELECT Null IMP True, False IMP Null, True IMP Null", "-1|-1|NULL"},
        {"SELECT Null = Null, Null <> Null, Null = 1", "NULL|NULL|NULL"},
        {"SELECT Null IS NULL, 1 IS NULL, '' IS NULL", "-1|0|0"},
        {"SELECT Null IS NOT NULL, 1 IS NOT NULL", "0|-1"},
        {"SELECT Null & 'a', 'a' & Null", "a|a"},
        {"SELECT Null + 'a', 1 + Null, Null * 0", "NULL|NULL|NULL"},
        {"SELECT Null IN (1, 2), 1 IN (1, Null)", "NULL|-1"},
        {"SELECT Null BETWEEN 1 AND 2, 1 BETWEEN Null AND 2", "NULL|NULL"},
        {"SELECT IIf(Null = 1, 'yes', 'no'), IIf(Null, 'yes', 'no')", "no|no"},
        {"SELECT IsNull(Null), IsNull(0)", "-1|0"},
        {"SELECT GA_Id FROM Games WHERE Score = Null", ""},
        {"SELECT GA_Id FROM Games WHERE NOT Score > 0", "6"},
        {"SELECT GA_Id FROM Games WHERE Score > 0 OR Score IS NULL", "1;2;3;4;5;7"},
        {"SELECT GA_Id FROM Games WHERE Name <> 'Delta'", "1;2;3;4;5"},
        {"SELECT GA_Id FROM Games WHERE NOT (Name = 'Delta')", "1;2;3;4;5"},
        {"SELECT GA_Id FROM Games WHERE Price + Score > 0", "1;2"},
        {"SELECT GA_Id FROM Games WHERE Len(Name & '') = 0", "7"},
        {"SELECT COUNT(*), COUNT(Name), COUNT(Score), COUNT(Price + Score) FROM Games", "7|6|4|2"},
    };
    Expect(kStatements);
}

TEST_P(Language, NumbersAndOperators) {
    static constexpr Statement kStatements[] = {
        {"SELECT 7 \\ 2, 7 / 2, 7 Mod 2, -7 \\ 2, -7 Mod 2", "3|3.5|1|-3|-1"},
        {"SELECT 7.5 \\ 2, 8.5 \\ 2, 7.5 Mod 3", "4|4|2"},
        {"SELECT 2 ^ 3 ^ 2, -2 ^ 2", "64|-4"},
        {"SELECT 2 + 3 * 4, (2 + 3) * 4, 10 - 4 - 3", "14|20|3"},
        {"SELECT 1 = 1, 1 = 2, 2 > 1, 1 <> 1", "-1|0|-1|0"},
        {"SELECT 1 < 2 AND 2 < 3, NOT 1 < 2", "-1|0"},
        // Numbers are true or false here; their bits do not count.
        {"SELECT NOT 5, 6 AND 3, 6 OR 3, 6 XOR 3, 0 OR 4", "0|-1|-1|0|-1"},
        {"SELECT True + True, -True, True * 3", "-2|1|-3"},
        {"SELECT '1' + '2', '1' & 2, 1 & 2", "12|12|12"},
        {"SELECT '3' * '4', '3' + 4", "12|7"},
        {"SELECT 1e3, .5, 1.50, &H10, &O10", "1000|0.5|1.5|16|8"},
        {"SELECT 1 / 0", "11 Division by zero"},
        {"SELECT 1 \\ 0", "11 Division by zero"},
        {"SELECT 5 Mod 0", "11 Division by zero"},
        {"SELECT 'a' * 2", kMismatch},
        {"SELECT 10 ^ 400", "6 Overflow"},
        {"SELECT 2147483647 + 1", "2147483648"},
        {"SELECT Round(2.5), Round(3.5), Int(-1.5), Fix(-1.5), Abs(-3), Sgn(-3)", "2|4|-2|-1|3|-1"},
        {"SELECT CLng(2.5), CLng(3.5), CInt('7'), CDbl('1.5'), CStr(5)", "2|4|7|1.5|5"},
        {"SELECT CInt(40000)", "6 Overflow"},
        {"SELECT Val('12 Monkeys'), Val('none'), Hex(255), Oct(8)", "12|0|FF|10"},
    };
    Expect(kStatements);
}

TEST_P(Language, Dates) {
    static constexpr Statement kStatements[] = {
        {"SELECT #1/15/1999#, #1999-01-15#, #15 Jan 1999#",
         "1999-01-15T00:00:00|1999-01-15T00:00:00|1999-01-15T00:00:00"},
        {"SELECT #1/15/1999 13:30#", "1999-01-15T13:30:00"},
        {"SELECT #1/15/1999# + 1", "1999-01-16T00:00:00"},
        {"SELECT #1/15/1999# - #1/1/1999#", "14"},
        {"SELECT GA_Id FROM Games WHERE Added BETWEEN #1/1/1999# AND #12/31/1999#", "1"},
        {"SELECT GA_Id FROM Games WHERE Added > #12/31/1998# AND Added < #1/16/1999#", "1"},
        {"SELECT GA_Id FROM Games WHERE Added <> #1/15/1999#", ""},
        {"SELECT GA_Id FROM Games WHERE Added IS NULL", "2;3;4;5;6;7"},
        {"SELECT GA_Id FROM Games WHERE CDate('1/15/1999') = Added", "1"},
        {"SELECT GA_Id FROM Games WHERE Added = '1/15/1999'", kMismatch},
        {"SELECT Year(Added), Month(Added), Day(Added), Weekday(Added) FROM Games WHERE GA_Id = 1",
         "1999|1|15|6"},
        {"SELECT DateAdd('m', 1, Added), DateDiff('d', #1/1/1999#, Added) FROM Games WHERE GA_Id = 1",
         "1999-02-15T00:00:00|14"},
        {"SELECT DateSerial(2000, 2, 30), DateSerial(1999, 12 + 1, 1)",
         "2000-03-01T00:00:00|2000-01-01T00:00:00"},
        {"SELECT Format(Added, 'yyyy-mm-dd'), Format(Added, 'mmm d, yyyy') FROM Games WHERE GA_Id = 1",
         "1999-01-15|Jan 15, 1999"},
        {"SELECT DatePart('q', #5/1/2000#), DatePart('y', #2/1/2000#)", "2|32"},
        {"SELECT IsDate('2/29/2000'), IsDate('2/29/1999')", "-1|0"},
        {"SELECT Year(#1/1/29#), Year(#1/1/30#)", "2029|1930"},
        {"SELECT #2/30/1999#", "3075 Syntax error in date in query expression '#2/30/1999#'."},
        {"SELECT #today#", "3075 Syntax error in date in query expression '#today#'."},
    };
    Expect(kStatements);
}

TEST_P(Language, TextFunctions) {
    static constexpr Statement kStatements[] = {
        {"SELECT Left(Name, 2), Right(Name, 2), Mid(Name, 2, 3) FROM Games WHERE GA_Id = 1", "Zy|ps|yna"},
        {"SELECT UCase(Name), LCase(Name) FROM Games WHERE GA_Id = 2", "ARMALYTE|armalyte"},
        {"SELECT Len(Name), Len(''), Len(Null) FROM Games WHERE GA_Id = 4", "5|0|NULL"},
        {"SELECT InStr(Name, 'BOB'), InStr(4, Name, 'b') FROM Games WHERE GA_Id = 3", "8|4"},
        {"SELECT Trim('  a '), LTrim('  a ') & '|', RTrim('  a ') & '!'", "a|a ||  a!"},
        {"SELECT Space(3) & 'x', String(3, '*')", "   x|***"},
        {"SELECT Chr(65), Asc('A'), StrComp('a', 'B'), StrComp('a', 'A')", "A|65|-1|0"},
        {"SELECT Replace('a-b-c', '-', '+'), StrReverse('abc')", "a+b+c|cba"},
        {"SELECT Left('abc', -1)", "5 Invalid procedure call or argument"},
        {"SELECT Left('abc')",
         "3075 Wrong number of arguments used with function in query expression 'Left('abc')'."},
        {"SELECT Frobnicate('abc')", "3085 Undefined function 'Frobnicate' in expression."},
        {"SELECT Choose(2, 'a', 'b', 'c'), Switch(1 = 2, 'x', 2 = 2, 'y')", "b|y"},
    };
    Expect(kStatements);
}

TEST_P(Language, TextsInQuotes) {
    static constexpr Statement kStatements[] = {
        {"SELECT 'it''s', \"say \"\"hi\"\"\", 'say \"hi\"', \"it's\"", "it's|say \"hi\"|say \"hi\"|it's"},
        {"SELECT '', \"\", ''''", "||'"},
        {"INSERT INTO Games (Name) VALUES ('O''Brien''s \"Best\"')", "1 rows"},
        {"SELECT Name FROM Games WHERE Name = \"O'Brien's \"\"Best\"\"\"", "O'Brien's \"Best\""},
        {"SELECT GA_Id FROM Games WHERE Name = 'o''brien''s \"best\"'", "8"},
        {"SELECT * FROM Publishers WHERE Publisher = \"a \"quoted\" name\"",
         "3075 Syntax error (missing operator) in query expression 'Publisher = \"a \"quoted\" name\"'."},
        {"SELECT * FROM Publishers WHERE Publisher = 'it's'",
         "3075 Syntax error (missing operator) in query expression 'Publisher = 'it's''."},
        {"SELECT * FROM Publishers WHERE Publisher = 'open",
         "3075 Syntax error in string in query expression 'Publisher = 'open'."},
        {"SELECT 'a' 'b'", "3075 Syntax error (missing operator) in query expression ''a' 'b''."},
        // Comments belong to other dialects.
        {"SELECT 1 -- one", "3061 Too few parameters. Expected 1."},
        {"SELECT 1 /* one */", "3075 Syntax error (missing operator) in query expression '1 /* one */'."},
    };
    Expect(kStatements);
}

TEST_P(Language, WhatTextsCompareAs) {
    static constexpr Statement kStatements[] = {
        {"SELECT 'a' = 'A', 'a' < 'B', 'Z' > 'a'", "-1|-1|-1"},
        {"SELECT 'a' = 'a  ', 'a' = ' a'", "-1|0"},
        {"SELECT '10' < '9', 10 < 9", "-1|0"},
        {"SELECT '' < 'a', '' = ' '", "-1|-1"},
        {"SELECT 'e' = '\xC3\xA9', 'e' < '\xC3\xA9', '\xC3\xA9' < 'f'", "0|-1|-1"},
        {"SELECT 1 = '1'", kMismatch},
        {"SELECT GA_Id FROM Games WHERE Name > 'D' ORDER BY Name", "6;1"},
        {"SELECT GA_Id FROM Games WHERE Name IN ('DELTA', 'zynaps ', 'nobody')", "1;6"},
        {"SELECT GA_Id FROM Games WHERE Name BETWEEN 'b' AND 'd'", "3;4;5"},
        {"SELECT Name FROM Games WHERE GA_Id = 1 AND Name = 'ZYNAPS   '", "Zynaps"},
    };
    Expect(kStatements);
}

TEST_P(Language, NamesAndAliases) {
    static constexpr Statement kStatements[] = {
        {"SELECT Name AS [select] FROM Games WHERE GA_Id = 1", "Zynaps"},
        {"SELECT [Games].[Name] FROM [Games] WHERE [Games].[GA_Id] = 1", "Zynaps"},
        {"SELECT G.Name FROM Games AS G WHERE G.GA_Id = 1", "Zynaps"},
        {"SELECT [G].Name FROM Games AS [G] WHERE GA_Id = 1", "Zynaps"},
        {"SELECT GAMES.NAME FROM games WHERE ga_id = 1", "Zynaps"},
        {"SELECT GA_Id, Len(Name) AS L FROM Games WHERE Name IS NOT NULL ORDER BY Len(Name) DESC, GA_Id",
         "3|13;2|8;1|6;4|5;6|5;5|4"},
        {"SELECT GA_Id AS L FROM Games WHERE GA_Id < 3 ORDER BY L DESC", "2;1"},
        {"SELECT GA_Id AS n, n * 2 AS m, m + 1 FROM Games WHERE GA_Id = 3", "3|6|7"},
        {"SELECT Games.GA_Id FROM Games AS G", "3061 Too few parameters. Expected 1."},
        {"SELECT GA_Id AS ID FROM Games WHERE ID = 1", "3061 Too few parameters. Expected 1."},
        {"SELECT PU_Id FROM Games INNER JOIN Publishers ON Games.PU_Id = Publishers.PU_Id",
         "3079 The specified field 'PU_Id' could refer to more than one table listed in the FROM clause of "
         "your SQL statement."},
        {"SELECT A.Name FROM Games AS A, Games AS B WHERE Name = 'x'",
         "3079 The specified field 'Name' could refer to more than one table listed in the FROM clause of "
         "your "
         "SQL statement."},
        {"SELECT [Year] FROM Games WHERE [Year] = 1990", "1990"},
        {"SELECT Year FROM Games WHERE Year = 1990", "1990"},
        {"SELECT Memo FROM Games WHERE GA_Id = 1", "long text"},
        {"SELECT Select FROM Games",
         "3141 The SELECT statement includes a reserved word or an argument name that is misspelled or "
         "missing, "
         "or the punctuation is incorrect."},
        {"SELECT [Name FROM Games", "3126 Invalid bracketing of name '[Name FROM Games'."},
        {"SELECT Name FROM [Ga mes]",
         "3078 The Microsoft Jet database engine cannot find the input table or query 'Ga mes'. Make sure it "
         "exists and that its name is spelled correctly."},
    };
    Expect(kStatements);
}

TEST_P(Language, UnknownNamesAreParameters) {
    static constexpr Statement kStatements[] = {
        {"SELECT * FROM Games WHERE Name = Zynaps", "3061 Too few parameters. Expected 1."},
        {"SELECT * FROM Games WHERE Name = [Which game?]", "3061 Too few parameters. Expected 1."},
        {"SELECT * FROM Games WHERE a = 1 AND b = 2 AND c = 3", "3061 Too few parameters. Expected 3."},
        {"SELECT * FROM Games WHERE a = 1 OR a = 2 OR A = 3", "3061 Too few parameters. Expected 1."},
        {"SELECT x, y FROM Games ORDER BY z", "3061 Too few parameters. Expected 3."},
        {"SELECT Left(x, y) FROM Games", "3061 Too few parameters. Expected 2."},
        {"SELECT SUM(x) FROM Games GROUP BY y HAVING MAX(z) > 1", "3061 Too few parameters. Expected 3."},
        {"UPDATE Games SET Name = Zynaps WHERE GA_Id = 1", "3061 Too few parameters. Expected 1."},
        {"UPDATE Games SET x = y WHERE z = 1", "3061 Too few parameters. Expected 3."},
        {"DELETE * FROM Games WHERE x = 1 AND y = 2", "3061 Too few parameters. Expected 2."},
        {"INSERT INTO Games (Name) VALUES (x)", "3061 Too few parameters. Expected 1."},
        {"INSERT INTO Games (Name) SELECT x FROM Publishers", "3061 Too few parameters. Expected 1."},
        {"SELECT COUNT(*) FROM Games", "7"},
    };
    Expect(kStatements);
}

TEST_P(Language, ReservedWordsInBrackets) {
    static constexpr Statement kStatements[] = {
        {"CREATE TABLE [Order] ([Select] COUNTER PRIMARY KEY, [From] TEXT(20), [Group By] LONG, [Date] "
         "DATETIME)",
         "0 rows"},
        {"INSERT INTO [Order] ([From], [Group By], [Date]) VALUES ('here', 7, #2/1/2003#)", "1 rows"},
        {"INSERT INTO [Order] ([From], [Group By]) VALUES ('there', 8)", "1 rows"},
        {"SELECT [Select], [From], [Group By], [Date] FROM [Order] ORDER BY [From]",
         "1|here|7|2003-02-01T00:00:00;2|there|8|NULL"},
        {"SELECT [Order].[From] FROM [Order] WHERE [Order].[Group By] > 7", "there"},
        {"UPDATE [Order] SET [From] = 'nowhere' WHERE [Select] = 2", "1 rows"},
        {"SELECT SUM([Group By]) AS [Sum] FROM [Order]", "15"},
        {"CREATE INDEX [Where] ON [Order] ([From])", "0 rows"},
        {"SELECT [Select] FROM [Order] WHERE [From] = 'NOWHERE'", "2"},
        {"DELETE * FROM [Order] WHERE [Date] IS NULL", "1 rows"},
        {"DROP INDEX [Where] ON [Order]", "0 rows"},
        {"DROP TABLE [Order]", "0 rows"},
        {"SELECT * FROM [Order]",
         "3078 The Microsoft Jet database engine cannot find the input table or query 'Order'. Make sure it "
         "exists and that its name is spelled correctly."},
    };
    Expect(kStatements);
}

TEST_P(Language, Joins) {
    static constexpr Statement kStatements[] = {
        {"SELECT G.GA_Id, P.Publisher FROM Publishers AS P INNER JOIN Games AS G ON P.PU_Id = G.PU_Id WHERE "
         "P.PU_Id = 1 ORDER BY G.GA_Id",
         "1|Ocean;4|Ocean;5|Ocean"},
        {"SELECT G.GA_Id FROM Games AS G LEFT JOIN Publishers AS P ON G.PU_Id = P.PU_Id WHERE P.PU_Id IS "
         "NULL "
         "ORDER BY G.GA_Id",
         "6;7"},
        {"SELECT P.Publisher FROM Games AS G RIGHT OUTER JOIN Publishers AS P ON G.PU_Id = P.PU_Id WHERE "
         "G.GA_Id IS NULL",
         "NULL"},
        {"SELECT A.GA_Id, B.GA_Id FROM Games AS A INNER JOIN Games AS B ON A.[Year] = B.[Year] WHERE A.GA_Id "
         "< "
         "B.GA_Id ORDER BY A.GA_Id, B.GA_Id",
         "1|3;1|6;3|6"},
        {"SELECT A.GA_Id FROM (Games AS A INNER JOIN Publishers AS P ON A.PU_Id = P.PU_Id) INNER JOIN Games "
         "AS "
         "B ON B.PU_Id = P.PU_Id WHERE B.GA_Id = 4 ORDER BY A.GA_Id",
         "1;4;5"},
        {"SELECT COUNT(*) FROM Games AS A, Games AS B, Publishers", "196"},
        {"SELECT COUNT(*) FROM Games AS A INNER JOIN Games AS B ON A.GA_Id <= B.GA_Id", "28"},
        {"SELECT G.Name, P.Publisher FROM Games G, Publishers P WHERE G.PU_Id = P.PU_Id AND P.Publisher LIKE "
         "'U*'",
         "armalyte|U.S. Gold"},
        {"SELECT P.Publisher, COUNT(*) AS n FROM Games AS G INNER JOIN Publishers AS P ON G.PU_Id = P.PU_Id "
         "GROUP BY P.Publisher HAVING COUNT(*) > 1",
         "Ocean|3"},
        {"SELECT * FROM Games FULL OUTER JOIN Publishers ON Games.PU_Id = Publishers.PU_Id",
         "3131 Syntax error in FROM clause."},
        {"SELECT * FROM Games INNER JOIN Publishers USING (PU_Id)", "3135 Syntax error in JOIN operation."},
    };
    Expect(kStatements);
}

TEST_P(Language, LongTexts) {
    const std::string widest(255, 'w');
    EXPECT_EQ(OutcomeOf("INSERT INTO Games (Name) VALUES ('" + widest + "')"), "1 rows");
    EXPECT_EQ(OutcomeOf("SELECT GA_Id FROM Games WHERE Name = '" + widest + "'"), "8");
    EXPECT_TRUE(OutcomeOf("INSERT INTO Games (Name) VALUES ('" + widest + "w')").starts_with("3163"));
    EXPECT_TRUE(OutcomeOf("UPDATE Games SET Name = Name & 'w' WHERE GA_Id = 8").starts_with("3163"));
    const std::string longest(60000, 'm');
    EXPECT_EQ(OutcomeOf("UPDATE Games SET [Memo] = '" + longest + "' WHERE GA_Id = 2"), "1 rows");
    EXPECT_EQ(OutcomeOf("SELECT Len([Memo]) FROM Games WHERE GA_Id = 2"), "60000");
    EXPECT_EQ(OutcomeOf("SELECT GA_Id FROM Games WHERE [Memo] = '" + longest + "'"), "2");
    EXPECT_EQ(OutcomeOf("SELECT GA_Id FROM Games WHERE [Memo] = '" + longest + "m'"), "");
    EXPECT_EQ(OutcomeOf("UPDATE Games SET [Memo] = [Memo] & [Memo] WHERE GA_Id = 2"), "1 rows");
    EXPECT_EQ(OutcomeOf("SELECT Len([Memo]) FROM Games WHERE GA_Id = 2"), "120000");
    std::string list = "SELECT COUNT(*) FROM Games WHERE GA_Id IN (0";
    for (int i = 1; i < 3000; ++i) list += ", " + std::to_string(i * 2);
    EXPECT_EQ(OutcomeOf(list + ")"), "4");
    EXPECT_EQ(sample_.Check(), "");
}

TEST_P(Language, Updates) {
    static constexpr Statement kStatements[] = {
        {"UPDATE Games SET Games.Name = 'one' WHERE Games.GA_Id = 1", "1 rows"},
        {"UPDATE [Games] SET [Name] = 'uno' WHERE [GA_Id] = 1", "1 rows"},
        {"UPDATE Games SET Name = Null WHERE GA_Id = 1", "1 rows"},
        {"SELECT Name FROM Games WHERE GA_Id = 1", "NULL"},
        {"UPDATE Games SET Score = Score + 1, Price = Price * 2 WHERE GA_Id = 2", "1 rows"},
        {"SELECT Score, Price FROM Games WHERE GA_Id = 2", "10|19.98"},
        {"UPDATE Games SET Fav = Not Fav", "7 rows"},
        {"SELECT GA_Id FROM Games WHERE NOT Fav", "1"},
        {"UPDATE Games SET Fav = 0 WHERE Fav <> 0", "6 rows"},
        {"UPDATE Games SET [Year] = '1991' WHERE [Year] IS NULL", "2 rows"},
        {"SELECT GA_Id FROM Games WHERE [Year] = 1991 ORDER BY GA_Id", "5;7"},
        {"UPDATE Games SET [Year] = 40000", kMismatch},
        {"UPDATE Games SET [Year] = 'soon'", kMismatch},
        {"UPDATE Games SET Added = '2/3/2004' WHERE GA_Id = 2", "1 rows"},
        {"SELECT Added FROM Games WHERE GA_Id = 2", "2004-02-03T00:00:00"},
        {"UPDATE Games SET Name = GA_Id WHERE GA_Id = 3", "1 rows"},
        {"SELECT Name FROM Games WHERE GA_Id = 3", "3"},
        {"UPDATE Games SET PU_Id = IIf(PU_Id Is Null, 0, PU_Id)", "7 rows"},
        {"SELECT COUNT(*) FROM Games WHERE PU_Id = 0", "1"},
        {"UPDATE Games SET Name = 'none' WHERE GA_Id = 99", "0 rows"},
        {"UPDATE Games SET Name = 'none' WHERE (0)", "0 rows"},
        {"UPDATE Games SET Name = 'all' WHERE (1)", "7 rows"},
        {"UPDATE Publishers SET Publisher = 'OCEAN' WHERE PU_Id = 1", "1 rows"},
        {"SELECT Publisher FROM Publishers WHERE PU_Id = 1", "OCEAN"},
    };
    Expect(kStatements);
}

TEST_P(Language, InsertsAndDeletes) {
    static constexpr Statement kStatements[] = {
        {"INSERT INTO Games (Name, [Year]) VALUES ('New', 2001)", "1 rows"},
        {"INSERT INTO Games ([Name]) VALUES (\"Newer\")", "1 rows"},
        {"INSERT INTO Games (Name, PU_Id) SELECT Publisher, PU_Id FROM Publishers WHERE PU_Id < 3", "2 rows"},
        {"SELECT GA_Id, Name, PU_Id FROM Games WHERE GA_Id > 7",
         "8|New|NULL;9|Newer|NULL;10|Ocean|1;11|U.S. Gold|2"},
        {"INSERT INTO Games (Name, PU_Id) VALUES ('x' & 1 + 1, 2 * 3)", "1 rows"},
        {"SELECT Name, PU_Id FROM Games WHERE GA_Id = 12", "x2|6"},
        {"INSERT INTO Games (GA_Id, Name) VALUES (1, 'again')",
         "3022 The changes you requested to the table were not successful because they would create "
         "duplicate "
         "values in the index, primary key, or relationship. Change the data in the field or fields that "
         "contain duplicate data, remove the index, or redefine the index to permit duplicate entries and "
         "try "
         "again."},
        {"INSERT INTO Games (GA_Id, Name) VALUES (100, 'hundred')", "1 rows"},
        {"INSERT INTO Games (Name) VALUES ('next')", "1 rows"},
        {"SELECT MAX(GA_Id) FROM Games", "101"},
        {"INSERT INTO Games (Name, Name2) VALUES ('a', 'b')",
         "3127 The INSERT INTO statement contains the following unknown field name: 'Name2'. Make sure you "
         "have typed the name correctly, and try the operation again."},
        {"INSERT INTO Games (Name) VALUES ('a'), ('b')", "3142 Characters found after end of SQL statement."},
        {"DELETE FROM Games WHERE Name LIKE 'new*'", "2 rows"},
        {"DELETE * FROM Games WHERE GA_Id >= 100", "2 rows"},
        {"DELETE FROM Games WHERE PU_Id IN (1, 2) AND GA_Id > 7", "2 rows"},
        {"DELETE FROM Games WHERE GA_Id = 12;", "1 rows"},
        {"SELECT COUNT(*) FROM Games", "7"},
        {"DELETE FROM Games WHERE Name = 5", kMismatch},
        {"SELECT COUNT(*) FROM Games", "7"},
    };
    Expect(kStatements);
}

INSTANTIATE_TEST_SUITE_P(Formats, Language, testing::Values(jet::JetVersion::Jet3, jet::JetVersion::Jet4),
                         [](const auto& format) {
                             return format.param == jet::JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit::test
