// Statements of any bytes: they are read, and queries also run on a small database. Nothing but numbered
// errors comes back.

#include <cstddef>
#include <cstdint>
#include <memory>
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

void RunQuery(std::string_view sql) {
    dao::Recordset records = SmallDatabase().OpenRecordset(sql, dao::RecordsetType::Snapshot);
    for (int i = 0; i < kMostRecords && !records.EOF_(); ++i) {
        for (std::size_t field = 0; field < records.FieldCount(); ++field) records.Fields(field).Value();
        records.MoveNext();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view sql(reinterpret_cast<const char*>(data), size);
    try {
        dao::sql::ParseStatement(sql);
        RunQuery(sql);
    } catch (const RuntimeError& error) {
        test::Require(error.number > 0 && !error.description.empty());
    }
    return 0;
}
