#include <algorithm>
#include <map>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "creation/FrontendRows.h"
#include "creation/FrontendSchema.h"

namespace marrowkit {
namespace {

using jet::ColumnType;
using jet::TableDesign;

const TableDesign* Find(const std::vector<TableDesign>& tables, const std::string& name) {
    const auto at = std::ranges::find(tables, name, &TableDesign::name);
    return at == tables.end() ? nullptr : &*at;
}

const jet::Column* Find(const TableDesign& table, const std::string& name) {
    const auto at = std::ranges::find(table.columns, name, &jet::Column::name);
    return at == table.columns.end() ? nullptr : &*at;
}

bool Has(SchemaVersion version, const std::string& table, const std::string& column = "") {
    const auto tables = FrontendTables(version);
    const TableDesign* design = Find(tables, table);
    if (design == nullptr || column.empty()) return design != nullptr;
    return Find(*design, column) != nullptr;
}

TEST(FrontendSchema, LeavesOutWhatCameLater) {
    struct Case {
        SchemaVersion version;
        bool crcAndExtras;
        bool korvo;
        bool lengthType;
    };
    for (const Case& c :
         {Case{{1, 3}, false, false, false}, Case{{2, 0}, false, false, false},
          Case{{2, 1}, true, false, false}, Case{{2, 2}, true, false, false}, Case{{2, 3}, true, true, false},
          Case{{2, 4}, true, true, false}, Case{{2, 5}, true, true, true}, Case{{3, 0}, true, true, true}}) {
        const int tenths = c.version.Tenths();
        EXPECT_EQ(Has(c.version, "Extras"), c.crcAndExtras) << tenths;
        EXPECT_EQ(Has(c.version, "Games", "CRC"), c.crcAndExtras) << tenths;
        EXPECT_EQ(Has(c.version, "Games", "Filesize"), c.crcAndExtras) << tenths;
        EXPECT_EQ(Has(c.version, "Games", "Korvo"), c.korvo) << tenths;
        EXPECT_EQ(Has(c.version, "Games", "V_LengthType"), c.lengthType) << tenths;
        EXPECT_EQ(Has(c.version, "Config", "FirstLoadMessage"), c.lengthType) << tenths;
        EXPECT_TRUE(Has(c.version, "Games", "Extras")) << tenths;
    }
}

TEST(FrontendSchema, HasEveryFieldThatTheProgramUses) {
    const std::map<std::string, std::vector<std::string>> expected{
        {"Games",
         {"Name",
          "YE_ID",
          "Comment",
          "FileToRun",
          "FilenameIndex",
          "MU_Id",
          "ScrnShotFilename",
          "GE_Id",
          "PU_Id",
          "DI_Id",
          "CR_Id",
          "SidFileName",
          "DateLastPlayed",
          "TimesPlayed",
          "HighScore",
          "SA",
          "Filename",
          "CCode",
          "FA",
          "CRC",
          "Filesize",
          "Fav",
          "PR_Id",
          "LA_Id",
          "Extras",
          "Classic",
          "Rating",
          "V_LoadingScreen",
          "V_HighScoreSaver",
          "V_IncludedDocs",
          "V_PalNTSC",
          "V_TrueDriveEmu",
          "V_Trainers",
          "V_Length",
          "V_LengthType",
          "PlayersFrom",
          "PlayersTo",
          "PlayersSim",
          "V_Comment",
          "Adult",
          "MemoText",
          "Prequel",
          "Sequel",
          "Related",
          "Control",
          "Korvo"}},
        {"Publishers", {"PU_Id", "Publisher"}},
        {"Musicians", {"MU_Id", "Musician", "Grp", "Nick", "Photo"}},
        {"Programmers", {"PR_Id", "Programmer"}},
        {"Languages", {"LA_Id", "Language"}},
        {"Crackers", {"CR_Id", "Cracker"}},
        {"Difficulty", {"DI_Id", "Difficulty"}},
        {"Genres", {"GE_Id", "Genre"}},
        {"PGenres", {"ParentGenre"}},
        {"Music", {"Name", "Filename"}},
        {"Extras", {"Name", "Path", "Data"}},
        {"Config", {"MajorVersion", "MinorVersion", "FirstLoadMessage"}},
        {"ViewData", {}},
        {"ViewFilters", {}}};
    for (const auto& [table, fields] : expected) {
        EXPECT_TRUE(Has(kNewestSchemaVersion, table)) << table;
        for (const std::string& field : fields) {
            EXPECT_TRUE(Has(kNewestSchemaVersion, table, field)) << table << "." << field;
        }
    }
}

TEST(FrontendSchema, MakesTextsAsLongAsTheImportCutsThem) {
    const auto tables = FrontendTables(kNewestSchemaVersion);
    const auto size = [&](const char* table, const char* field) {
        return Find(*Find(tables, table), field)->size;
    };
    EXPECT_EQ(size("Games", "Name"), 255);
    EXPECT_EQ(size("Games", "Comment"), 125);
    EXPECT_EQ(size("Games", "V_Comment"), 100);
    EXPECT_EQ(size("Publishers", "Publisher"), 128);
    EXPECT_EQ(size("Crackers", "Cracker"), 128);
    EXPECT_EQ(size("Languages", "Language"), 128);
    EXPECT_EQ(Find(*Find(tables, "Games"), "MemoText")->type, ColumnType::Memo);
}

TEST(FrontendSchema, TakesEmptyTexts) {
    for (const TableDesign& table : FrontendTables(kNewestSchemaVersion)) {
        for (const jet::Column& column : table.columns) {
            EXPECT_TRUE(column.allowZeroLength && !column.required) << table.name << "." << column.name;
        }
    }
}

TEST(FrontendSchema, RelatesFieldsThatExistAndAreIndexed) {
    for (const SchemaVersion version : {SchemaVersion{2, 0}, kNewestSchemaVersion}) {
        const auto tables = FrontendTables(version);
        for (const jet::Relationship& relationship : FrontendRelationships(version)) {
            EXPECT_TRUE(relationship.enforced) << relationship.name;
            const TableDesign* table = Find(tables, relationship.table);
            const TableDesign* foreign = Find(tables, relationship.foreignTable);
            ASSERT_TRUE(table != nullptr && foreign != nullptr) << relationship.name;
            ASSERT_EQ(relationship.columns.size(), 1u);
            const auto& [key, field] = relationship.columns[0];
            EXPECT_EQ(table->indexes.at(0).parts.at(0).column, key);
            EXPECT_TRUE(table->indexes.at(0).primaryKey);
            EXPECT_TRUE(std::ranges::any_of(foreign->indexes, [&](const jet::Index& index) {
                return index.parts.at(0).column == field;
            })) << relationship.name;
        }
    }
}

TEST(FrontendSchema, RelatesEveryFieldNamedLikeAnothersKey) {
    const auto tables = FrontendTables(kNewestSchemaVersion);
    std::set<std::string> keys;
    for (const TableDesign& table : tables) {
        if (table.columns[0].autoNumber) keys.insert(table.columns[0].name);
    }
    std::set<std::string> related;
    for (const auto& relationship : FrontendRelationships(kNewestSchemaVersion)) {
        related.insert(relationship.foreignTable + "." + relationship.columns[0].second);
    }
    for (const TableDesign& table : tables) {
        for (const jet::Column& column : table.columns) {
            if (column.autoNumber || !keys.contains(column.name)) continue;
            EXPECT_TRUE(related.contains(table.name + "." + column.name)) << table.name << "." << column.name;
        }
    }
}

TEST(FrontendRows, HoldTheRecordsThatOthersCountOn) {
    std::map<std::string, std::set<std::int32_t>> keys;
    for (const FixedRows& fixed : FrontendRows(kNewestSchemaVersion)) {
        for (const jet::Row& row : fixed.rows) {
            ASSERT_EQ(row.size(), fixed.columns.size()) << fixed.table;
            EXPECT_TRUE(keys[fixed.table].insert(std::get<std::int32_t>(row[0])).second) << fixed.table;
        }
    }
    EXPECT_EQ(keys["Publishers"], (std::set<std::int32_t>{37, 39}));
    EXPECT_EQ(keys["Musicians"], (std::set<std::int32_t>{38, 39}));
    EXPECT_EQ(keys["Crackers"], (std::set<std::int32_t>{7, 8}));
    EXPECT_TRUE(keys["Programmers"].contains(1));
    EXPECT_TRUE(keys["Languages"].contains(1));
    EXPECT_TRUE(keys["Genres"].contains(1));
    EXPECT_TRUE(keys["Difficulty"].contains(8));
    EXPECT_EQ(keys["Languages"].size(), 12u);
    EXPECT_EQ(keys["Years"].size(), 50u);
    EXPECT_EQ(*keys["Years"].begin(), 1);
    EXPECT_EQ(*keys["Years"].rbegin(), 50);
}

TEST(FrontendRows, KeepYearsUnderTheirNumberLess1960) {
    for (const FixedRows& fixed : FrontendRows(kNewestSchemaVersion)) {
        if (fixed.table != "Years") continue;
        std::set<std::int16_t> years;
        for (const jet::Row& row : fixed.rows) {
            const auto key = std::get<std::int32_t>(row[0]);
            const auto year = std::get<std::int16_t>(row[1]);
            EXPECT_TRUE(years.insert(year).second) << year;
            if (key >= 10) {
                EXPECT_EQ(year, 1960 + key);
            } else {
                EXPECT_GT(year, 9990) << key;
            }
        }
    }
}

}  // namespace
}  // namespace marrowkit
