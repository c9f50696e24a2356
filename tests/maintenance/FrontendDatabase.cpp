#include "maintenance/FrontendDatabase.h"

#include <filesystem>
#include <map>
#include <tuple>

#include "platform/files/HostPath.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/engine/Database.h"
#include "platform/jet/format/ValueText.h"
#include "support/TestData.h"

namespace marrowkit::test {

namespace fs = std::filesystem;

namespace {

std::string GamesTable(double version) {
    std::string fields =
        "GA_Id COUNTER CONSTRAINT PrimaryKey PRIMARY KEY, Name TEXT(255), YE_ID LONG, Comment TEXT(125), "
        "FileToRun TEXT(255), FilenameIndex LONG, ScrnShotFilename TEXT(255), MU_Id LONG, GE_Id LONG, "
        "PU_Id LONG, DI_Id LONG, CR_Id LONG, SidFileName TEXT(255), DateLastPlayed TEXT(32), "
        "TimesPlayed LONG, HighScore TEXT(128), SA BIT, Filename TEXT(255), CCode SHORT, FA BIT, Fav BIT, "
        "PR_Id LONG, LA_Id LONG, Extras BIT, Classic BIT, Rating SHORT, V_LoadingScreen BIT, "
        "V_HighScoreSaver BIT, V_IncludedDocs BIT, V_PalNTSC SHORT, V_TrueDriveEmu BIT, V_Length LONG, "
        "V_Trainers SHORT, PlayersFrom SHORT, PlayersTo SHORT, PlayersSim BIT, V_Comment TEXT(100), "
        "Adult BIT, MemoText MEMO, Prequel LONG, Sequel LONG, Related LONG, Control SHORT";
    if (version > 2.0) fields += ", CRC TEXT(64), Filesize LONG";
    if (version > 2.2) fields += ", Korvo MEMO";
    if (version > 2.4) fields += ", V_LengthType SHORT";
    return "CREATE TABLE Games (" + fields + ")";
}

std::string LookupTable(const std::string& table, const std::string& key, const std::string& fields) {
    return "CREATE TABLE " + table + " (" + key + " COUNTER CONSTRAINT PrimaryKey PRIMARY KEY, " + fields +
           ")";
}

void MakeTables(dao::Database& database, double version) {
    database.Execute(GamesTable(version));
    database.Execute(LookupTable("Publishers", "PU_Id", "Publisher TEXT(128)"));
    database.Execute(LookupTable("Musicians", "MU_Id",
                                 "Musician TEXT(128), Photo TEXT(255), Grp TEXT(128), Nick TEXT(128)"));
    database.Execute(LookupTable("Programmers", "PR_Id", "Programmer TEXT(128)"));
    database.Execute(LookupTable("Languages", "LA_Id", "Language TEXT(128)"));
    database.Execute(LookupTable("Crackers", "CR_Id", "Cracker TEXT(128)"));
    database.Execute(LookupTable("Difficulty", "DI_Id", "Difficulty TEXT(128)"));
    database.Execute(LookupTable("Genres", "GE_Id", "Genre TEXT(128), PG_Id LONG"));
    database.Execute(LookupTable("PGenres", "PG_Id", "ParentGenre TEXT(128)"));
    database.Execute(LookupTable("Music", "MS_Id", "Name TEXT(255), Filename TEXT(255)"));
    database.Execute(LookupTable("ViewData", "VD_Id", "Name TEXT(128)"));
    database.Execute(LookupTable("ViewFilters", "VF_Id", "VD_Id LONG, FieldName TEXT(64)"));
    database.Execute(std::string("CREATE TABLE Config (MajorVersion SHORT, MinorVersion SHORT") +
                     (version > 2.4 ? ", FirstLoadMessage MEMO)" : ")"));
    if (version > 2.0) {
        database.Execute(
            LookupTable("Extras", "EX_Id", "GA_Id LONG, Name TEXT(255), Path TEXT(255), Data MEMO"));
    }
}

void AddFixedRows(dao::Database& database) {
    for (const char* sql : {
             "INSERT INTO Publishers (PU_Id, Publisher) VALUES (37, \"[Unknown]\")",
             "INSERT INTO Publishers (PU_Id, Publisher) VALUES (39, \"[None]\")",
             "INSERT INTO Musicians (MU_Id, Musician, Photo, Grp, Nick) VALUES (38, \"[Unknown]\", \"\", "
             "\"\", \"\")",
             "INSERT INTO Musicians (MU_Id, Musician, Photo, Grp, Nick) VALUES (39, \"[None]\", \"\", \"\", "
             "\"\")",
             "INSERT INTO Programmers (PR_Id, Programmer) VALUES (1, \"[Unknown]\")",
             "INSERT INTO Languages (LA_Id, Language) VALUES (1, \"English\")",
             "INSERT INTO Languages (LA_Id, Language) VALUES (2, \"Klingon\")",
             "INSERT INTO Crackers (CR_Id, Cracker) VALUES (7, \"[None]\")",
             "INSERT INTO Crackers (CR_Id, Cracker) VALUES (8, \"[Unknown]\")",
         }) {
        database.Execute(sql);
    }
}

/// Each kind of database is made once and then copied.
const std::string& DatabaseBytes(int major, int minor, jet::JetVersion format) {
    static std::map<std::tuple<int, int, jet::JetVersion>, std::string> made;
    std::string& bytes = made[{major, minor, format}];
    if (!bytes.empty()) return bytes;
    const TemporaryFolder folder;
    const std::string path = (folder / "made.mdb").string();
    dao::Database database = dao::DBEngine().CreateDatabase(path, format);
    MakeTables(database, major + minor / 10.0);
    database.Execute("INSERT INTO Config (MajorVersion, MinorVersion) VALUES (" + std::to_string(major) +
                     ", " + std::to_string(minor) + ")");
    AddFixedRows(database);
    database.Close();
    return bytes = ReadFile(path);
}

}  // namespace

FrontendDatabase::FrontendDatabase(int major, int minor, jet::JetVersion format)
    : libraryRoot_(WindowsPath(library_.Path().string()) + "\\"), path_(libraryRoot_ + "Arcade\\Arcade.mdb") {
    WriteFile(HostFile(), DatabaseBytes(major, minor, format));
}

FrontendDatabase::FrontendDatabase(const std::string& sample)
    : libraryRoot_(WindowsPath(library_.Path().string()) + "\\"), path_(libraryRoot_ + "Arcade\\Arcade.mdb") {
    WriteFile(HostFile(), ReadFile(*TestDataFolder() / sample));
}

SelectedNode FrontendDatabase::Node() const {
    SelectedNode node;
    node.key = path_;
    node.text = "Arcade.mdb";
    node.parentKey = libraryRoot_ + "Arcade\\";
    node.parentText = "Arcade";
    return node;
}

void FrontendDatabase::Execute(std::string_view sql) const {
    dao::Database database = dao::DBEngine().OpenDatabase(path_);
    database.Execute(sql);
    database.Close();
}

std::vector<std::string> FrontendDatabase::Rows(std::string_view sql) const {
    dao::Database database = dao::DBEngine().OpenDatabase(path_);
    dao::Recordset records = database.OpenRecordset(sql, dao::RecordsetType::Snapshot);
    std::vector<std::string> rows;
    for (; !records.EOF_(); records.MoveNext()) {
        std::string row;
        for (std::size_t i = 0; i < records.FieldCount(); ++i) {
            const jet::Value value = records.Fields(i).Value();
            if (i > 0) row += '|';
            row += jet::IsNull(value) ? "NULL" : jet::ValueText(value);
        }
        rows.push_back(std::move(row));
    }
    records.Close();
    database.Close();
    return rows;
}

std::string FrontendDatabase::One(std::string_view sql) const {
    const std::vector<std::string> rows = Rows(sql);
    return rows.size() == 1 ? rows.front() : std::to_string(rows.size()) + " rows";
}

std::vector<std::string> FrontendDatabase::Problems() const {
    std::vector<std::string> texts;
    for (const jet::Problem& problem : jet::Check(HostFile().string())) texts.push_back(problem.ToText());
    return texts;
}

}  // namespace marrowkit::test
