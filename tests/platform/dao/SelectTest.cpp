#include <gtest/gtest.h>

#include "SampleDatabase.h"

namespace marrowkit::test {
namespace {

struct SelectCase {
    const char* sql;
    const char* records;
};

class Select : public testing::TestWithParam<jet::JetVersion> {
protected:
    static SampleDatabase& Sample(jet::JetVersion version) {
        static SampleDatabase jet3(jet::JetVersion::Jet3);
        static SampleDatabase jet4(jet::JetVersion::Jet4);
        return version == jet::JetVersion::Jet3 ? jet3 : jet4;
    }

    template <std::size_t Count>
    void Expect(const SelectCase (&cases)[Count]) {
        dao::Database& database = Sample(GetParam()).Open();
        for (const SelectCase& c : cases) {
            for (const auto type : {dao::RecordsetType::Snapshot, dao::RecordsetType::Dynaset}) {
                try {
                    EXPECT_EQ(Records(database, c.sql, type), c.records) << c.sql;
                } catch (const std::exception& error) {
                    ADD_FAILURE() << c.sql << " raised " << error.what();
                }
            }
        }
    }
};

TEST_P(Select, ColumnsAndStars) {
    static constexpr SelectCase kCases[] = {
        {"SELECT PU_Id FROM Publishers", "1;2;3;4"},
        {"SELECT * FROM Publishers", "1|Ocean;2|U.S. Gold;3|ocean soft;4|NULL"},
        {"SELECT Publishers.* FROM Publishers", "1|Ocean;2|U.S. Gold;3|ocean soft;4|NULL"},
        {"select publisher , pu_id from PUBLISHERS where pu_id = 1;", "Ocean|1"},
        {"SELECT [PU_Id], [Publishers].[Publisher] FROM [Publishers] WHERE [PU_Id]=2", "2|U.S. Gold"},
        {"SELECT Publishers!PU_Id FROM Publishers WHERE Publishers!PU_Id = 3", "3"},
        {"SELECT P.PU_Id FROM Publishers AS P WHERE P.PU_Id > 3", "4"},
        {"SELECT P.PU_Id FROM Publishers P WHERE P.PU_Id > 3", "4"},
        {"SELECT PU_Id AS ID, Publisher AS Name FROM Publishers WHERE PU_Id < 3", "1|Ocean;2|U.S. Gold"},
        {"SELECT PU_Id*2 AS Twice, Twice+1 AS More FROM Publishers WHERE PU_Id<3", "2|3;4|5"},
        {"SELECT ALL PU_Id FROM Publishers WHERE PU_Id=1", "1"},
        {"SELECT DISTINCTROW PU_Id FROM Publishers WHERE PU_Id=1", "1"},
        {"SELECT 1+1", "2"},
        {"SELECT 'a' AS x, Null, True", "a|NULL|-1"},
        {"SELECT PU_Id > 2 FROM Publishers", "0;0;-1;-1"},
        {"SELECT Fav FROM Games WHERE GA_Id < 4", "True;False;False"},
        {"SELECT *, PU_Id FROM Publishers WHERE PU_Id = 1", "1|Ocean|1"},
        {"SELECT Price, Added FROM Games WHERE GA_Id = 1", "9.99|1999-01-15T00:00:00"},
        {"(SELECT PU_Id FROM Publishers WHERE PU_Id=1)", "1"},
        {"SELECT Len(Publisher) FROM Publishers", "5;9;10;NULL"},
        {"SELECT IIf(Publisher Is Null, 'none', Publisher) FROM Publishers",
         "Ocean;U.S. Gold;ocean soft;none"},
        {"SELECT Publisher & '!' FROM Publishers", "Ocean!;U.S. Gold!;ocean soft!;!"},
        {"SELECT Publisher + '!' FROM Publishers", "Ocean!;U.S. Gold!;ocean soft!;NULL"},
        {"SELECT Memo FROM Games WHERE GA_Id IN (1, 7)", "long text;"},
    };
    Expect(kCases);
}

TEST_P(Select, Conditions) {
    static constexpr SelectCase kCases[] = {
        {"SELECT GA_Id FROM Games WHERE (1)", "1;2;3;4;5;6;7"},
        {"SELECT GA_Id FROM Games WHERE (0)", ""},
        {"SELECT GA_Id FROM Games WHERE Null", ""},
        {"SELECT GA_Id FROM Games WHERE Name = 'ARMALYTE'", "2"},
        {"SELECT GA_Id FROM Games WHERE Name = 'armalyte '", "2"},
        {"SELECT GA_Id FROM Games WHERE Name = \"Coop\"", "5"},
        {"SELECT GA_Id FROM Games WHERE Name <> 'Coop'", "1;2;3;4;6"},
        {"SELECT GA_Id FROM Games WHERE NOT (GA_Id = 1 OR GA_Id = 3)", "2;4;5;6;7"},
        {"SELECT GA_Id FROM Games WHERE NOT (PU_Id = 1)", "2;3;7"},
        {"SELECT GA_Id FROM Games WHERE PU_Id IS NULL", "6"},
        {"SELECT GA_Id FROM Games WHERE PU_Id IS NOT NULL", "1;2;3;4;5;7"},
        {"SELECT GA_Id FROM Games WHERE PU_Id = Null", ""},
        {"SELECT GA_Id FROM Games WHERE PU_Id <> Null", ""},
        {"SELECT GA_Id FROM Games WHERE PU_Id = 1", "1;4;5"},
        {"SELECT GA_Id FROM Games WHERE 1 = PU_Id", "1;4;5"},
        {"SELECT GA_Id FROM Games WHERE PU_Id = 1.5", ""},
        {"SELECT GA_Id FROM Games WHERE PU_Id > 1 AND PU_Id < 9", "2;3"},
        {"SELECT GA_Id FROM Games WHERE PU_Id >= 2 AND PU_Id <= 3", "2;3"},
        {"SELECT GA_Id FROM Games WHERE PU_Id BETWEEN 2 AND 9", "2;3;7"},
        {"SELECT GA_Id FROM Games WHERE PU_Id BETWEEN 9 AND 2", "2;3;7"},
        {"SELECT GA_Id FROM Games WHERE PU_Id NOT BETWEEN 2 AND 9", "1;4;5"},
        {"SELECT GA_Id FROM Games WHERE PU_Id IN (1, 9) ORDER BY GA_Id", "1;4;5;7"},
        {"SELECT GA_Id FROM Games WHERE PU_Id NOT IN (1, 9)", "2;3"},
        {"SELECT GA_Id FROM Games WHERE PU_Id < 2147483648 ORDER BY GA_Id", "1;2;3;4;5;7"},
        {"SELECT GA_Id FROM Games WHERE [Year] = 1987 AND Name = 'Delta'", "6"},
        {"SELECT GA_Id FROM Games WHERE [Year] = 1987 AND Name > 'c' ORDER BY GA_Id", "1;6"},
        {"SELECT GA_Id FROM Games WHERE [Year] = 1987 AND Name IS NULL", ""},
        {"SELECT GA_Id FROM Games WHERE [Year] IS NULL AND Name IS NULL", "7"},
        {"SELECT GA_Id FROM Games WHERE [Year] IS NULL ORDER BY GA_Id", "5;7"},
        {"SELECT GA_Id FROM Games WHERE [Year] > 1987 ORDER BY GA_Id", "2;4"},
        {"SELECT GA_Id FROM Games WHERE [Year] < 0", ""},
        {"SELECT GA_Id FROM Games WHERE Fav", "1"},
        {"SELECT GA_Id FROM Games WHERE Fav = True", "1"},
        {"SELECT GA_Id FROM Games WHERE Fav = Yes", "1"},
        {"SELECT GA_Id FROM Games WHERE Fav = -1", "1"},
        {"SELECT GA_Id FROM Games WHERE Fav = False AND GA_Id < 4", "2;3"},
        {"SELECT GA_Id FROM Games WHERE Not Fav AND GA_Id < 4", "2;3"},
        {"SELECT GA_Id FROM Games WHERE Price = 9.99", "1;2"},
        {"SELECT GA_Id FROM Games WHERE Price IS NULL", "3;5;6;7"},
        {"SELECT GA_Id FROM Games WHERE Score > 8", "2;3"},
        {"SELECT GA_Id FROM Games WHERE Score < 0", "6"},
        {"SELECT GA_Id FROM Games WHERE Added = #1/15/1999#", "1"},
        {"SELECT GA_Id FROM Games WHERE Added = #1999-01-15#", "1"},
        {"SELECT GA_Id FROM Games WHERE Year(Added) = 1999", "1"},
        {"SELECT GA_Id FROM Games WHERE Name LIKE 'Co*'", "4;5"},
        {"SELECT GA_Id FROM Games WHERE Name LIKE '*b?b*'", "3"},
        {"SELECT GA_Id FROM Games WHERE Name LIKE '[a-c]*' ORDER BY GA_Id", "2;3;4;5"},
        {"SELECT GA_Id FROM Games WHERE Name NOT LIKE '[a-c]*'", "1;6"},
        {"SELECT GA_Id FROM Games WHERE Memo = ''", "7"},
        {"SELECT GA_Id FROM Games WHERE Memo LIKE 'long*'", "1"},
        {"SELECT GA_Id FROM Games WHERE InStr(Name, 'o') > 0 AND Len(Name) < 6", "4;5"},
        {"SELECT GA_Id FROM Games WHERE PU_Id = 1 OR Name = 'Delta'", "1;4;5;6"},
        {"SELECT GA_Id FROM Games WHERE PU_Id = 1 AND (Name = 'Coop' OR Score > 7)", "1;5"},
        {"SELECT GA_Id FROM Games WHERE ((((GA_Id))=3))", "3"},
        {"SELECT GA_Id FROM Games WHERE GA_Id Mod 2 = 0", "2;4;6"},
        {"SELECT GA_Id FROM Games WHERE PU_Id = 1 XOR [Year] = 1987", "3;4"},
        {"SELECT PU_Id FROM Publishers WHERE Publisher = 'OCEAN'", "1"},
        {"SELECT PU_Id FROM Publishers WHERE Publisher >= 'ocean' ORDER BY PU_Id", "1;2;3"},
        {"SELECT PU_Id FROM Publishers WHERE Publisher > 'ocean' ORDER BY PU_Id", "2;3"},
        {"SELECT PU_Id FROM Publishers WHERE Publisher < 'p' ORDER BY PU_Id", "1;3"},
        {"SELECT PU_Id FROM Publishers WHERE Publisher BETWEEN 'p' AND 'o' ORDER BY PU_Id", "1;3"},
        {"SELECT PU_Id FROM Publishers WHERE NOT (PU_ID = 1 OR PU_ID = 4) ORDER BY Publisher", "3;2"},
        {"SELECT GA_Id FROM Games WHERE PU_Id = 1 AND PU_Id = 2", ""},
        {"SELECT GA_Id FROM Games WHERE PU_Id > 5 AND PU_Id < 3", ""},
    };
    Expect(kCases);
}

TEST_P(Select, Order) {
    static constexpr SelectCase kCases[] = {
        {"SELECT GA_Id FROM Games ORDER BY Name", "7;2;3;5;4;6;1"},
        {"SELECT GA_Id FROM Games ORDER BY Name ASC", "7;2;3;5;4;6;1"},
        {"SELECT GA_Id FROM Games ORDER BY Name DESC", "1;6;4;5;3;2;7"},
        {"SELECT GA_Id FROM Games ORDER BY GA_Id DESC", "7;6;5;4;3;2;1"},
        {"SELECT GA_Id FROM Games ORDER BY [Year], Name", "7;5;3;6;1;2;4"},
        {"SELECT GA_Id FROM Games ORDER BY [Year] DESC, Name DESC", "4;2;1;6;3;5;7"},
        {"SELECT GA_Id FROM Games ORDER BY [Year] DESC, Name", "4;2;3;6;1;7;5"},
        {"SELECT GA_Id FROM Games WHERE [Year] = 1987 ORDER BY Name", "3;6;1"},
        {"SELECT GA_Id FROM Games WHERE [Year] = 1987 ORDER BY Name DESC", "1;6;3"},
        {"SELECT GA_Id FROM Games ORDER BY Score, GA_Id", "4;5;7;6;1;3;2"},
        {"SELECT GA_Id FROM Games ORDER BY 1 DESC", "7;6;5;4;3;2;1"},
        {"SELECT GA_Id AS n FROM Games ORDER BY n DESC", "7;6;5;4;3;2;1"},
        {"SELECT GA_Id FROM Games ORDER BY -GA_Id", "7;6;5;4;3;2;1"},
        {"SELECT GA_Id FROM Games ORDER BY Len(Name), GA_Id", "7;5;4;6;1;2;3"},
        {"SELECT GA_Id FROM Games ORDER BY Fav, GA_Id", "1;2;3;4;5;6;7"},
        {"SELECT GA_Id FROM Games WHERE Price > 0 ORDER BY Price, GA_Id DESC", "4;2;1"},
        {"SELECT TOP 3 GA_Id FROM Games ORDER BY GA_Id", "1;2;3"},
        {"SELECT TOP 0 GA_Id FROM Games", ""},
        {"SELECT TOP 2 GA_Id FROM Games", "1;2"},
        {"SELECT TOP 50 PERCENT GA_Id FROM Games ORDER BY GA_Id", "1;2;3;4"},
        {"SELECT TOP 1 GA_Id FROM Games WHERE [Year] > 0 ORDER BY [Year]", "3;6;1"},
        {"SELECT TOP 99 GA_Id FROM Games", "1;2;3;4;5;6;7"},
        {"SELECT Publisher FROM Publishers ORDER BY Publisher", "NULL;Ocean;ocean soft;U.S. Gold"},
        {"SELECT Publisher FROM Publishers ORDER BY Publisher DESC", "U.S. Gold;ocean soft;Ocean;NULL"},
    };
    if (GetParam() == jet::JetVersion::Jet4) {
        Expect(kCases);
        return;
    }
    // In Jet 3 the hyphen is a character like others and comes before the letters.
    static constexpr SelectCase kJet3Cases[] = {
        {"SELECT GA_Id FROM Games ORDER BY Name", "7;2;3;4;5;6;1"},
        {"SELECT GA_Id FROM Games ORDER BY Name DESC", "1;6;5;4;3;2;7"},
        {"SELECT GA_Id FROM Games ORDER BY [Year] DESC, Name", "4;2;3;6;1;7;5"},
    };
    Expect(kJet3Cases);
}

TEST_P(Select, Aggregates) {
    static constexpr SelectCase kCases[] = {
        {"SELECT COUNT(*) FROM Games", "7"},
        {"SELECT Count(*) FROM Games WHERE PU_Id = 1", "3"},
        {"SELECT COUNT(PU_Id) FROM Games", "6"},
        {"SELECT COUNT(*), COUNT(Price), MIN(Price), MAX(Price), SUM(Price) FROM Games",
         "7|3|2.5|9.99|22.48"},
        {"SELECT SUM(Score), AVG(Score) FROM Games", "24|6"},
        {"SELECT AVG([Year]) FROM Games WHERE [Year] = 1987", "1987"},
        {"SELECT MIN(Name), MAX(Name) FROM Games", "armalyte|Zynaps"},
        {"SELECT MIN(Added), MAX(Added) FROM Games", "1999-01-15T00:00:00|1999-01-15T00:00:00"},
        {"SELECT COUNT(*), SUM(Score), MIN(Name) FROM Games WHERE GA_Id > 99", "0|NULL|NULL"},
        {"SELECT COUNT(*)*2+1 FROM Games", "15"},
        {"SELECT First(Name), Last(Name) FROM Games WHERE GA_Id < 4", "Zynaps|Bubble Bobble"},
        {"SELECT Var(GA_Id), VarP(GA_Id) FROM Games WHERE GA_Id < 4", "1|0.6666666666666666"},
        {"SELECT StDev(GA_Id) FROM Games WHERE GA_Id = 1", "NULL"},
        {"SELECT PU_Id, COUNT(*) FROM Games GROUP BY PU_Id", "NULL|1;1|3;2|1;3|1;9|1"},
        {"SELECT PU_Id, COUNT(*) AS n FROM Games GROUP BY PU_Id HAVING COUNT(*) > 1", "1|3"},
        {"SELECT PU_Id FROM Games GROUP BY PU_Id ORDER BY COUNT(*) DESC, PU_Id", "1;NULL;2;3;9"},
        {"SELECT [Year], SUM(Score) FROM Games WHERE [Year] IS NOT NULL GROUP BY [Year] ORDER BY [Year] DESC",
         "1990|NULL;1988|9;1987|15"},
        {"SELECT [Year] \\ 10 AS Decade, COUNT(*) FROM Games GROUP BY [Year] \\ 10", "NULL|2;198|4;199|1"},
        {"SELECT Left(Name,1) AS c, COUNT(*) FROM Games GROUP BY Left(Name,1) ORDER BY COUNT(*) DESC, "
         "Left(Name,1)",
         "C|2;NULL|1;a|1;B|1;D|1;Z|1"},
        {"SELECT PU_Id + 1, COUNT(*) FROM Games WHERE PU_Id < 3 GROUP BY PU_Id", "2|3;3|1"},
        {"SELECT Games.PU_Id, COUNT(*) FROM Games WHERE PU_Id = 1 GROUP BY PU_Id", "1|3"},
        {"SELECT Fav, COUNT(*) FROM Games GROUP BY Fav", "True|1;False|6"},
        {"SELECT 'x' FROM Games GROUP BY PU_Id HAVING MAX(GA_Id) = 7", "x"},
        {"SELECT MAX(GA_Id) - MIN(GA_Id) FROM Games", "6"},
        {"SELECT COUNT(*) FROM Games HAVING COUNT(*) > 10", ""},
        {"SELECT IIf(COUNT(*) > 5, 'many', 'few') FROM Games", "many"},
    };
    Expect(kCases);
}

TEST_P(Select, Distinct) {
    static constexpr SelectCase kCases[] = {
        {"SELECT DISTINCT PU_Id FROM Games", "NULL;1;2;3;9"},
        {"SELECT DISTINCT PU_Id FROM Games ORDER BY PU_Id DESC", "9;3;2;1;NULL"},
        {"SELECT DISTINCT [Year], Price FROM Games WHERE [Year] = 1987", "1987|NULL;1987|9.99"},
        {"SELECT DISTINCT Price FROM Games", "NULL;2.5;9.99"},
        {"SELECT DISTINCT TOP 2 PU_Id FROM Games ORDER BY PU_Id", "NULL;1"},
        {"SELECT DISTINCT Left(Publisher, 5) FROM Publishers WHERE PU_Id IN (1,3)", "Ocean"},
        {"SELECT DISTINCT COUNT(*) FROM Games GROUP BY PU_Id", "1;3"},
    };
    Expect(kCases);
}

TEST_P(Select, Joins) {
    static constexpr SelectCase kCases[] = {
        {"SELECT Name, Publisher FROM Games INNER JOIN Publishers ON Games.PU_Id = Publishers.PU_Id ORDER BY "
         "GA_Id",
         "Zynaps|Ocean;armalyte|U.S. Gold;Bubble Bobble|ocean soft;Co-op|Ocean;Coop|Ocean"},
        {"SELECT Name, Publisher FROM Games, Publishers WHERE Games.PU_Id = Publishers.PU_Id AND GA_Id < 3 "
         "ORDER BY GA_Id",
         "Zynaps|Ocean;armalyte|U.S. Gold"},
        {"SELECT GA_Id, Publisher FROM Games LEFT JOIN Publishers ON Games.PU_Id = Publishers.PU_Id ORDER BY "
         "GA_Id",
         "1|Ocean;2|U.S. Gold;3|ocean soft;4|Ocean;5|Ocean;6|NULL;7|NULL"},
        {"SELECT P.PU_Id, GA_Id FROM Games AS G RIGHT JOIN Publishers AS P ON G.PU_Id = P.PU_Id ORDER BY "
         "P.PU_Id, GA_Id",
         "1|1;1|4;1|5;2|2;3|3;4|NULL"},
        {"SELECT P.PU_Id FROM Publishers AS P LEFT JOIN Games AS G ON P.PU_Id = G.PU_Id WHERE G.GA_Id IS "
         "NULL",
         "4"},
        {"SELECT GA_Id FROM Games INNER JOIN Publishers ON Games.PU_Id = Publishers.PU_Id WHERE Publisher "
         "LIKE 'Ocean' ORDER BY GA_Id",
         "1;4;5"},
        {"SELECT COUNT(*) FROM Games, Publishers", "28"},
        {"SELECT COUNT(*) FROM Games G INNER JOIN Publishers P ON G.PU_Id < P.PU_Id", "12"},
        {"SELECT Publisher, COUNT(GA_Id) FROM Publishers LEFT JOIN Games ON Publishers.PU_Id = Games.PU_Id "
         "GROUP BY Publisher ORDER BY Publisher",
         "NULL|0;Ocean|3;ocean soft|1;U.S. Gold|1"},
        {"SELECT A.GA_Id, B.GA_Id FROM Games AS A INNER JOIN Games AS B ON A.PU_Id = B.PU_Id "
         "WHERE A.GA_Id < B.GA_Id ORDER BY A.GA_Id, B.GA_Id",
         "1|4;1|5;4|5"},
        {"SELECT G.*, P.Publisher FROM Games G INNER JOIN Publishers P ON G.PU_Id = P.PU_Id WHERE GA_Id = 4",
         "4|Co-op|1|1990|2.5|NULL|False|NULL|NULL|Ocean"},
        {"SELECT C.GA_Id FROM (Games AS A INNER JOIN Publishers AS P ON A.PU_Id = P.PU_Id) "
         "INNER JOIN Games AS C ON P.PU_Id = C.PU_Id WHERE A.GA_Id = 1 ORDER BY C.GA_Id",
         "1;4;5"},
        {"SELECT A.GA_Id FROM Games A LEFT JOIN (Publishers P INNER JOIN Games C ON P.PU_Id = C.PU_Id) "
         "ON A.GA_Id = C.GA_Id WHERE P.PU_Id IS NULL ORDER BY A.GA_Id",
         "6;7"},
        {"SELECT GA_Id FROM Games LEFT JOIN Publishers ON (Games.PU_Id = Publishers.PU_Id AND Publisher = "
         "'Ocean') "
         "WHERE Publisher IS NULL ORDER BY GA_Id",
         "2;3;6;7"},
        {"SELECT GA_Id FROM Games INNER JOIN Publishers ON (Games.PU_Id = Publishers.PU_Id) AND (Games.GA_Id "
         "= Publishers.PU_Id)",
         "1;2;3"},
        {"SELECT GA_Id FROM Games INNER JOIN Publishers ON Games.Name = Publishers.Publisher", ""},
        {"SELECT n FROM (SELECT GA_Id AS n, Name FROM Games WHERE PU_Id = 1) AS S WHERE S.n > 1", "4;5"},
        {"SELECT P.Publisher, S.n FROM Publishers AS P INNER JOIN (SELECT PU_Id, COUNT(*) AS n FROM Games "
         "GROUP BY PU_Id) "
         "AS S ON P.PU_Id = S.PU_Id ORDER BY S.n DESC, P.PU_Id",
         "Ocean|3;U.S. Gold|1;ocean soft|1"},
        {"SELECT DISTINCT Publisher FROM Games INNER JOIN Publishers ON Games.PU_Id = Publishers.PU_Id",
         "Ocean;ocean soft;U.S. Gold"},
        {"SELECT TOP 2 GA_Id FROM Games INNER JOIN Publishers ON Games.PU_Id = Publishers.PU_Id ORDER BY "
         "GA_Id DESC",
         "5;4"},
    };
    Expect(kCases);
}

/// A row of the tables that show is given once, however many rows of the others it meets; not to be mixed up
/// with rows of equal values.
TEST_P(Select, DistinctRowOfJoins) {
    static constexpr SelectCase kCases[] = {
        {"SELECT P.PU_Id FROM Publishers AS P INNER JOIN Games AS G ON P.PU_Id = G.PU_Id", "1;1;1;2;3"},
        {"SELECT DISTINCTROW P.PU_Id FROM Publishers AS P INNER JOIN Games AS G ON P.PU_Id = G.PU_Id",
         "1;2;3"},
        {"SELECT DISTINCTROW P.PU_Id FROM Games AS G INNER JOIN Publishers AS P ON P.PU_Id = G.PU_Id "
         "ORDER BY P.PU_Id DESC",
         "3;2;1"},
        {"SELECT DISTINCTROW P.PU_Id > 0 FROM Publishers AS P INNER JOIN Games AS G ON P.PU_Id = G.PU_Id",
         "-1;-1;-1"},
        {"SELECT DISTINCTROW P.PU_Id, G.PU_Id FROM Publishers AS P INNER JOIN Games AS G ON P.PU_Id = "
         "G.PU_Id",
         "1|1;1|1;1|1;2|2;3|3"},
        {"SELECT DISTINCTROW G.PU_Id FROM Publishers AS P RIGHT JOIN Games AS G ON P.PU_Id < G.PU_Id",
         "1;2;3;1;1;NULL;9"},
        {"SELECT DISTINCTROW Q.x FROM (SELECT PU_Id AS x FROM Publishers) AS Q, Games", "1;2;3;4"},
        {"SELECT DISTINCTROW TOP 2 P.PU_Id FROM Publishers AS P, Games AS G", "1;2"},
        {"SELECT DISTINCTROW 1 FROM Publishers AS P, Publishers AS Q WHERE P.PU_Id < 3 AND Q.PU_Id < 3",
         "1;1;1;1"},
    };
    Expect(kCases);
}

TEST_P(Select, Unions) {
    static constexpr SelectCase kCases[] = {
        {"SELECT PU_Id FROM Publishers UNION SELECT PU_Id FROM Games", "NULL;1;2;3;4;9"},
        {"SELECT PU_Id FROM Publishers WHERE PU_Id < 3 UNION ALL SELECT PU_Id FROM Games WHERE PU_Id < 3",
         "1;2;1;1;1;2"},
        {"SELECT PU_Id AS x FROM Publishers UNION SELECT GA_Id FROM Games ORDER BY x DESC", "7;6;5;4;3;2;1"},
        {"SELECT 1 UNION SELECT 1 UNION ALL SELECT 1", "1;1"},
        {"SELECT 2 UNION ALL SELECT 1 UNION ALL SELECT 1 UNION SELECT 1", "1;2"},
        {"SELECT 2 UNION SELECT 1 UNION ALL SELECT 1 UNION ALL SELECT 0", "1;2;1;0"},
    };
    Expect(kCases);
}

TEST_P(Select, UnionsOfDifferentTypes) {
    static constexpr SelectCase kCases[] = {
        {"SELECT Price FROM Games UNION SELECT Score FROM Games", "NULL;-1;2.5;7.5;8.5;9;9.99"},
        {"SELECT Price FROM Games WHERE GA_Id=4 UNION SELECT 2.5 UNION SELECT CCur(2.5)", "2.5"},
        {"SELECT Publisher FROM Publishers UNION SELECT 10 UNION SELECT 9",
         "NULL;10;9;Ocean;ocean soft;U.S. Gold"},
        {"SELECT SUM(x) FROM (SELECT Price AS x FROM Games UNION ALL SELECT Score FROM Games) WHERE x <> "
         "9.99",
         "26.5"},
        {"SELECT x FROM (SELECT Null AS x FROM Games UNION SELECT GA_Id FROM Games) WHERE x > 5", "6;7"},
        {"SELECT x FROM (SELECT Null AS x FROM Games UNION SELECT Publisher FROM Publishers) WHERE x > 'p'",
         "U.S. Gold"},
    };
    Expect(kCases);
}

TEST_P(Select, Subqueries) {
    static constexpr SelectCase kCases[] = {
        {"SELECT GA_Id FROM Games WHERE PU_Id IN (SELECT PU_Id FROM Publishers) ORDER BY GA_Id", "1;2;3;4;5"},
        {"SELECT GA_Id FROM Games WHERE PU_Id In (Select P.PU_Id FROM Publishers AS P WHERE P.PU_Id <> 1;)",
         "2;3"},
        // A game without a publisher is neither in nor not in.
        {"SELECT GA_Id FROM Games WHERE PU_Id NOT IN (SELECT PU_Id FROM Publishers)", "7"},
        {"SELECT GA_Id FROM Games WHERE NOT (PU_Id IN (SELECT PU_Id FROM Publishers))", "7"},
        // One Null among the values, and nothing is not in any more.
        {"SELECT PU_Id FROM Publishers WHERE PU_Id NOT IN (SELECT PU_Id FROM Games)", ""},
        {"SELECT PU_Id FROM Publishers WHERE PU_Id IN (SELECT PU_Id FROM Games) ORDER BY PU_Id", "1;2;3"},
        {"SELECT PU_Id FROM Publishers WHERE PU_Id NOT IN (SELECT PU_Id FROM Games WHERE PU_Id IS NOT NULL)",
         "4"},
        {"SELECT GA_Id FROM Games WHERE PU_Id IN (SELECT PU_Id FROM Games WHERE GA_Id > 100)", ""},
        {"SELECT GA_Id FROM Games WHERE PU_Id NOT IN (SELECT PU_Id FROM Games WHERE GA_Id > 100) AND GA_Id > "
         "5 "
         "ORDER BY GA_Id",
         "6;7"},
        {"SELECT GA_Id FROM Games WHERE PU_Id IN (SELECT Null FROM Publishers)", ""},
        // Texts compare without case, numbers by value whatever their types.
        {"SELECT PU_Id FROM Publishers WHERE Publisher IN (SELECT 'OCEAN' FROM Games)", "1"},
        {"SELECT GA_Id FROM Games WHERE GA_Id IN (SELECT Score - 7 FROM Games WHERE Score = 9)", "2"},
        {"SELECT GA_Id FROM Games WHERE Price IN (SELECT Price FROM Games WHERE GA_Id = 2) ORDER BY GA_Id",
         "1;2"},
        // Queries of any kind, in each other, and wherever a value can stand.
        {"SELECT GA_Id FROM Games WHERE PU_Id IN (SELECT PU_Id FROM Games GROUP BY PU_Id HAVING COUNT(*) > "
         "2) "
         "ORDER BY GA_Id",
         "1;4;5"},
        {"SELECT GA_Id FROM Games WHERE GA_Id IN (SELECT TOP 2 GA_Id FROM Games ORDER BY GA_Id DESC) ORDER "
         "BY "
         "GA_Id",
         "6;7"},
        {"SELECT PU_Id FROM Publishers WHERE PU_Id IN (SELECT PU_Id FROM Games WHERE GA_Id IN (SELECT GA_Id "
         "FROM Games WHERE Score > 8)) ORDER BY PU_Id",
         "2;3"},
        {"SELECT PU_Id FROM Publishers WHERE PU_Id IN (SELECT 1 UNION SELECT 3) ORDER BY PU_Id", "1;3"},
        {"SELECT PU_Id, PU_Id IN (SELECT PU_Id FROM Games WHERE GA_Id < 3) AS x FROM Publishers ORDER BY "
         "PU_Id",
         "1|-1;2|-1;3|0;4|0"},
        {"SELECT PU_Id, COUNT(*) FROM Games GROUP BY PU_Id HAVING PU_Id IN (SELECT PU_Id FROM Publishers)",
         "1|3;2|1;3|1"},
        {"SELECT G.GA_Id FROM Games AS G INNER JOIN Publishers AS P ON (G.PU_Id = P.PU_Id) WHERE P.PU_Id IN "
         "(SELECT PU_Id FROM Publishers WHERE Publisher LIKE 'o*') ORDER BY G.GA_Id",
         "1;3;4;5"},
        {"SELECT S.GA_Id FROM (SELECT GA_Id FROM Games WHERE PU_Id IN (SELECT 9)) AS S", "7"},
        // One value.
        {"SELECT GA_Id FROM Games WHERE GA_Id = (SELECT MAX(GA_Id) FROM Games)", "7"},
        {"SELECT GA_Id FROM Games WHERE Score > (SELECT AVG(Score) FROM Games) ORDER BY GA_Id", "1;2;3"},
        {"SELECT (SELECT COUNT(*) FROM Games) + 1 FROM Publishers WHERE PU_Id = 1", "8"},
        {"SELECT GA_Id FROM Games WHERE PU_Id = (SELECT PU_Id FROM Publishers WHERE PU_Id > 100)", ""},
        {"SELECT (SELECT Publisher FROM Publishers WHERE PU_Id = 4) IS NULL", "-1"},
    };
    Expect(kCases);
}

TEST_P(Select, ComputedColumnsOfQueriesAreNumbersWhereTheirValuesAre) {
    static constexpr SelectCase kCases[] = {
        {"SELECT x FROM (SELECT Abs(GA_Id) AS x FROM Games) WHERE x > 5", "6;7"},
        {"SELECT x FROM (SELECT IIf(Fav, Price, Score) AS x FROM Games) WHERE x > 8.9", "9.99;9"},
        {"SELECT x FROM (SELECT Nz(Price, 0) AS x FROM Games) WHERE x = 0", "0;0;0;0"},
        {"SELECT Q.x, P.PU_Id FROM (SELECT Abs(GA_Id) AS x FROM Games) AS Q INNER JOIN Publishers AS P ON "
         "P.PU_Id = Q.x WHERE Q.x > 3",
         "4|4"},
    };
    Expect(kCases);
}

TEST_P(Select, AmountsAndOtherNumbersOfOneColumnGoTogether) {
    static constexpr SelectCase kCases[] = {
        {"SELECT DISTINCT IIf(GA_Id < 3, CCur(1.5), 1.5) FROM Games", "1.5"},
        {"SELECT COUNT(*) FROM Games GROUP BY IIf(GA_Id < 3, CCur(1.5), 1.5)", "7"},
        {"SELECT GA_Id FROM Games ORDER BY IIf(GA_Id = 3, CCur(2.5), GA_Id)", "1;2;3;4;5;6;7"},
        {"SELECT DISTINCT CCur('900000000000000.000' & (GA_Id - 1) \\ 2) FROM Games",
         "900000000000000;900000000000000.0001;900000000000000.0002;900000000000000.0003"},
    };
    Expect(kCases);
}

TEST_P(Select, NamesOfColumns) {
    dao::Database& database = Sample(GetParam()).Open();
    const auto names = [&](const char* sql) {
        dao::Recordset records = database.OpenRecordset(sql);
        std::string text;
        for (std::size_t i = 0; i < records.FieldCount(); ++i) text += records.Fields(i).Name() + ",";
        return text;
    };
    EXPECT_EQ(names("SELECT pu_id, Publisher AS [The Name] FROM Publishers"), "pu_id,The Name,");
    EXPECT_EQ(names("SELECT * FROM Publishers"), "PU_Id,Publisher,");
    EXPECT_EQ(names("SELECT COUNT(*) FROM Publishers"), "Expr1000,");
    EXPECT_EQ(names("SELECT PU_Id, PU_Id+1, Publisher & '' FROM Publishers"), "PU_Id,Expr1001,Expr1002,");
    EXPECT_EQ(names("SELECT * FROM Publishers AS A, Publishers AS B"),
              "A.PU_Id,A.Publisher,B.PU_Id,B.Publisher,");
}

/// An index with one more column could be asked for both conditions as if they were about two columns.
TEST(JoinThroughAnIndex, MayNameTheSameColumnTwice) {
    SampleDatabase sample(jet::JetVersion::Jet4);
    sample.Execute("CREATE TABLE Few (N LONG, M LONG)");
    sample.Execute("CREATE TABLE Many (Id LONG, N LONG, X LONG)");
    sample.Execute("CREATE INDEX NX ON Many (N, X)");
    sample.Execute("INSERT INTO Few VALUES (1, 1)");
    for (int id = 0; id < 40; ++id)
        sample.Execute("INSERT INTO Many VALUES (" + std::to_string(id) + ", " + std::to_string(id % 10) +
                       ", " + std::to_string(id) + ")");
    const std::string select = "SELECT Many.Id FROM Few INNER JOIN Many ON ";
    EXPECT_EQ(Records(sample.Open(), select + "(Few.N = Many.N AND Few.N = Many.N)"), "1;11;21;31");
    EXPECT_EQ(Records(sample.Open(), select + "(Few.N = Many.N AND Few.M = Many.N)"), "1;11;21;31");
    EXPECT_EQ(Records(sample.Open(), select + "(Few.N = Many.X AND Few.M = Many.N)"), "1");
}

TEST(DescendingIndexOfDecimals, GivesTheSameRowsAndOrderAsNone) {
    SampleDatabase sample(jet::JetVersion::Jet4);
    sample.Execute("CREATE TABLE E (Plain DECIMAL(12,2), Indexed DECIMAL(12,2))");
    sample.Execute("CREATE INDEX ByIndexed ON E (Indexed DESC)");
    for (const std::string number : {"0", "1.5", "-1.5", "-20", "NULL", "20"})
        sample.Execute("INSERT INTO E VALUES (" + number + ", " + number + ")");
    for (const std::string column : {"Plain", "Indexed"}) {
        const auto numbers = [&](const std::string& rest) {
            return Records(sample.Open(), "SELECT " + column + " FROM E " + rest);
        };
        EXPECT_EQ(numbers("ORDER BY " + column), "NULL;-20.00;-1.50;0.00;1.50;20.00");
        EXPECT_EQ(numbers("ORDER BY " + column + " DESC"), "20.00;1.50;0.00;-1.50;-20.00;NULL");
        EXPECT_EQ(numbers("WHERE " + column + " < 1.5 ORDER BY " + column), "-20.00;-1.50;0.00");
        EXPECT_EQ(numbers("WHERE " + column + " > -1.5 ORDER BY " + column), "0.00;1.50;20.00");
        EXPECT_EQ(numbers("WHERE " + column + " = -1.5"), "-1.50");
    }
}

/// Days before 1899-12-30 are negative numbers with the time as a positive fraction. Jet's indexes have them
/// by their numbers, so everything else does.
TEST(DatesBefore1900, CompareAndSortAlikeWithAndWithoutAnIndex) {
    SampleDatabase sample(jet::JetVersion::Jet4);
    sample.Execute("CREATE TABLE D (Id LONG, Plain DATETIME, Indexed DATETIME)");
    sample.Execute("CREATE INDEX ByDate ON D (Indexed)");
    int id = 0;
    for (const std::string moment :
         {"#12/29/1899#", "#12/29/1899 6:00#", "#12/29/1899 18:00#", "#12/28/1899#", "#12/31/1899 6:00#"}) {
        sample.Execute("INSERT INTO D VALUES (" + std::to_string(++id) + ", " + moment + ", " + moment + ")");
    }
    for (const std::string column : {"Plain", "Indexed"}) {
        const auto ids = [&](const std::string& rest) {
            return Records(sample.Open(), "SELECT Id FROM D " + rest);
        };
        EXPECT_EQ(ids("ORDER BY " + column), "4;3;2;1;5");
        EXPECT_EQ(ids("ORDER BY " + column + " DESC"), "5;1;2;3;4");
        EXPECT_EQ(ids("WHERE " + column + " > #12/29/1899 6:00# ORDER BY Id"), "1;5");
        EXPECT_EQ(ids("WHERE " + column + " <= #12/29/1899 6:00# ORDER BY Id"), "2;3;4");
    }
}

TEST_P(Select, TypesOfColumns) {
    dao::Database& database = Sample(GetParam()).Open();
    const auto type = [&](const std::string& item) {
        return database.OpenRecordset("SELECT " + item + " FROM Games").Fields(std::size_t{0}).Type();
    };
    EXPECT_EQ(type("GA_Id"), jet::ColumnType::Long);
    EXPECT_EQ(type("Fav"), jet::ColumnType::Boolean);
    EXPECT_EQ(type("GA_Id = 1"), jet::ColumnType::Integer);
    EXPECT_EQ(type("COUNT(*)"), jet::ColumnType::Long);
    EXPECT_EQ(type("SUM(Price)"), jet::ColumnType::Currency);
    EXPECT_EQ(type("SUM(Score)"), jet::ColumnType::Double);
    EXPECT_EQ(type("MAX(Added)"), jet::ColumnType::DateTime);
    EXPECT_EQ(type("Name & ''"), jet::ColumnType::Text);
    EXPECT_EQ(type("Memo"), jet::ColumnType::Memo);
    EXPECT_EQ(type("Abs(PU_Id)"), jet::ColumnType::Long);
    EXPECT_EQ(type("Round(Price, 1)"), jet::ColumnType::Currency);
    EXPECT_EQ(type("IIf(Fav, Price, Score)"), jet::ColumnType::Double);
    EXPECT_EQ(type("Nz(PU_Id, 0)"), jet::ColumnType::Long);
    EXPECT_EQ(type("Switch(Fav, Added, True, Null)"), jet::ColumnType::DateTime);
}

INSTANTIATE_TEST_SUITE_P(Formats, Select, testing::Values(jet::JetVersion::Jet3, jet::JetVersion::Jet4),
                         [](const auto& format) {
                             return format.param == jet::JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit::test
