// Statements of any bytes: they are read, and queries also run on a small database. Nothing but numbered
// errors comes back. The same bytes are taken a second time with a word for each from 0x80 on, so that the
// fuzzer puts statements together rather than letters.

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

#include "fuzz/Require.h"
#include "platform/dao/Dao.h"
#include "platform/dao/sql/StatementParser.h"
#include "platform/errors/RuntimeError.h"
#include "support/TemporaryFolder.h"

using namespace marrowkit;

namespace {

constexpr int kMostRecords = 1000;

dao::Database& SmallDatabase() {
    static test::TemporaryFolder folder;
    static dao::Database database = [] {
        dao::Database made = dao::DBEngine().CreateDatabase((folder / "Fuzz.mdb").string());
        made.Execute(
            "CREATE TABLE T (Id COUNTER CONSTRAINT PrimaryKey PRIMARY KEY, A LONG, S TEXT(20), M MEMO, D "
            "DATETIME)");
        made.Execute("CREATE INDEX ByA ON T (A)");
        for (const char* row : {"1, 'one'", "2, 'Two'", "NULL, 'none'", "-5, NULL"}) {
            made.Execute("INSERT INTO T (A, S) VALUES (" + std::string(row) + ")");
        }
        return made;
    }();
    return database;
}

std::string WithWords(std::string_view bytes) {
    static constexpr std::string_view kWords[] = {"SELECT ",
                                                  "SELECT * FROM T ",
                                                  " FROM T ",
                                                  " WHERE ",
                                                  " AND ",
                                                  " OR ",
                                                  " NOT ",
                                                  " IS NULL ",
                                                  " LIKE ",
                                                  " BETWEEN ",
                                                  " IN (",
                                                  " IN (SELECT A FROM T) ",
                                                  " GROUP BY ",
                                                  " HAVING ",
                                                  " ORDER BY ",
                                                  " DESC ",
                                                  " UNION ",
                                                  " UNION ALL ",
                                                  " INNER JOIN T AS U ON ",
                                                  " LEFT JOIN T AS U ON ",
                                                  " AS ",
                                                  "DISTINCT ",
                                                  "DISTINCTROW ",
                                                  "TOP 2 ",
                                                  " PERCENT ",
                                                  "COUNT(*)",
                                                  "SUM(",
                                                  "MIN(",
                                                  "AVG(",
                                                  "FIRST(",
                                                  "Id",
                                                  "A",
                                                  "S",
                                                  "M",
                                                  "D",
                                                  "U.A",
                                                  "T.Id",
                                                  "[A]",
                                                  "*",
                                                  ", ",
                                                  "(",
                                                  ")",
                                                  " = ",
                                                  " <> ",
                                                  " < ",
                                                  " >= ",
                                                  " + ",
                                                  " - ",
                                                  " / ",
                                                  " \\ ",
                                                  " MOD ",
                                                  " ^ ",
                                                  " & ",
                                                  "1",
                                                  "-5",
                                                  "2.5",
                                                  "'one'",
                                                  "\"T*\"",
                                                  "#1/2/1999#",
                                                  "NULL",
                                                  "TRUE",
                                                  "IIf(",
                                                  "Mid(",
                                                  "Left(",
                                                  "Format(",
                                                  "CLng(",
                                                  "CCur(",
                                                  "CDate(",
                                                  "DateAdd('m', ",
                                                  "InStr(",
                                                  "Choose(",
                                                  "Nz(",
                                                  "Round(",
                                                  "(SELECT MAX(A) FROM T)",
                                                  "UPDATE T SET ",
                                                  "DELETE FROM T ",
                                                  "INSERT INTO T (A) VALUES (",
                                                  "INTO V ",
                                                  "CREATE TABLE V (",
                                                  "ALTER TABLE T ADD COLUMN ",
                                                  "DROP TABLE ",
                                                  " LONG",
                                                  " TEXT(10)",
                                                  " XOR ",
                                                  " EQV "};
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
            text += c;
        else
            text += kWords[(byte - 0x80U) % std::size(kWords)];
    }
    return text;
}

void RunQuery(std::string_view sql) {
    dao::Recordset records = SmallDatabase().OpenRecordset(sql, dao::RecordsetType::Snapshot);
    for (int i = 0; i < kMostRecords && !records.EOF_(); ++i) {
        for (std::size_t field = 0; field < records.FieldCount(); ++field) records.Fields(field).Value();
        records.MoveNext();
    }
}

/// Only what changes nothing runs.
void ReadAndRun(std::string_view sql) {
    try {
        dao::sql::ParseStatement(sql);
        RunQuery(sql);
    } catch (const RuntimeError& error) {
        test::Require(error.number > 0 && !error.description.empty());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view sql(reinterpret_cast<const char*>(data), size);
    ReadAndRun(sql);
    ReadAndRun(WithWords(sql));
    return 0;
}
