#include "SampleDatabase.h"

#include "platform/errors/RuntimeError.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/engine/Database.h"
#include "platform/jet/format/ValueText.h"

namespace marrowkit::test {

std::string Show(const jet::Value& value) {
    if (jet::IsNull(value)) return "NULL";
    return jet::ValueText(value);
}

std::string Records(dao::Database& database, const std::string& sql, dao::RecordsetType type) {
    dao::Recordset records = database.OpenRecordset(sql, type);
    std::string text;
    for (; !records.EOF_(); records.MoveNext()) {
        if (!text.empty()) text += ";";
        for (std::size_t i = 0; i < records.FieldCount(); ++i)
            text += (i > 0 ? "|" : "") + Show(records.Fields(i).Value());
    }
    return text;
}

std::string ErrorOf(dao::Database& database, const std::string& sql) {
    const bool select = sql.starts_with("SELECT") || sql.starts_with("(");
    try {
        if (select)
            Records(database, sql);
        else
            database.Execute(sql);
    } catch (const RuntimeError& error) {
        return std::to_string(error.number) + " " + error.description;
    }
    return "none";
}

namespace {

/// The bytes of a file made by these statements. Making them once is quicker than running them for each test.
std::string MakeSample(jet::JetVersion version) {
    const TemporaryFolder folder;
    const std::string path = (folder / "Sample.mdb").string();
    dao::Database database = dao::DBEngine().CreateDatabase(path, version);
    for (const char* statement : {
             "CREATE TABLE Publishers (PU_Id COUNTER CONSTRAINT PrimaryKey PRIMARY KEY, Publisher TEXT(128))",
             "CREATE UNIQUE INDEX Publisher ON Publishers (Publisher)",
             "INSERT INTO Publishers (Publisher) VALUES ('Ocean')",
             "INSERT INTO Publishers (Publisher) VALUES (\"U.S. Gold\")",
             "INSERT INTO Publishers (Publisher) VALUES ('ocean soft')",
             "INSERT INTO Publishers (Publisher) VALUES (Null)",
             "CREATE TABLE Games (GA_Id COUNTER PRIMARY KEY, Name TEXT(255), PU_Id LONG, [Year] SHORT, "
             "Price CURRENCY, Score DOUBLE, Fav YESNO, Added DATETIME, [Memo] MEMO)",
             "CREATE INDEX PU_Id ON Games (PU_Id)",
             "CREATE INDEX YearName ON Games ([Year], Name)",
             "INSERT INTO Games (Name, PU_Id, [Year], Price, Score, Fav, Added, [Memo]) VALUES "
             "('Zynaps', 1, 1987, 9.99, 7.5, Yes, #1/15/1999#, 'long text')",
             "INSERT INTO Games (Name, PU_Id, [Year], Price, Score, Fav) VALUES ('armalyte', 2, 1988, 9.99, "
             "9, No)",
             "INSERT INTO Games (Name, PU_Id, [Year], Score) VALUES ('Bubble Bobble', 3, 1987, 8.5)",
             "INSERT INTO Games (Name, PU_Id, [Year], Price) VALUES ('Co-op', 1, 1990, 2.5)",
             "INSERT INTO Games (Name, PU_Id) VALUES ('Coop', 1)",
             "INSERT INTO Games (Name, [Year], Score) VALUES ('Delta', 1987, -1)",
             "INSERT INTO Games (PU_Id, [Memo]) VALUES (9, '')",
         })
        database.Execute(statement);
    database.Close();
    return ReadFile(path);
}

const std::string& SampleBytes(jet::JetVersion version) {
    static const std::string kJet3 = MakeSample(jet::JetVersion::Jet3);
    static const std::string kJet4 = MakeSample(jet::JetVersion::Jet4);
    return version == jet::JetVersion::Jet3 ? kJet3 : kJet4;
}

}  // namespace

SampleDatabase::SampleDatabase(jet::JetVersion version) : path_((folder_ / "Sample.mdb").string()) {
    WriteFile(path_, SampleBytes(version));
    database_ = std::make_unique<dao::Database>(dao::DBEngine().OpenDatabase(path_));
}

SampleDatabase::~SampleDatabase() = default;

std::string SampleDatabase::Check() {
    database_->Close();
    database_.reset();
    std::string text;
    for (const jet::Problem& problem : jet::Check(path_)) text += problem.ToText() + "\n";
    database_ = std::make_unique<dao::Database>(dao::DBEngine().OpenDatabase(path_));
    return text;
}

}  // namespace marrowkit::test
