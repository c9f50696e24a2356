#include <filesystem>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "creation/FrontendRows.h"
#include "creation/TemplateDatabase.h"
#include "platform/errors/RuntimeError.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/engine/Database.h"
#include "support/TemporaryFolder.h"

namespace marrowkit {
namespace {

using jet::JetVersion;

class TemplateDatabase : public testing::TestWithParam<JetVersion> {
protected:
    std::string Make(SchemaVersion version) {
        const std::string file = (folder_ / "Empty.mdb").string();
        CreateTemplateDatabase(file, GetParam(), version);
        return file;
    }

    static int ErrorOf(const std::function<void()>& change) {
        try {
            change();
        } catch (const RuntimeError& error) {
            return error.number;
        }
        return 0;
    }

    test::TemporaryFolder folder_;
};

std::vector<jet::Assignment> Values(const jet::Table& table,
                                    const std::vector<std::pair<const char*, jet::Value>>& values) {
    std::vector<jet::Assignment> assignments;
    for (const auto& [name, value] : values) assignments.push_back({table.FindColumn(name).value(), value});
    return assignments;
}

jet::Row OnlyRow(const jet::Table& table, const std::vector<const char*>& columns) {
    std::vector<std::size_t> positions;
    for (const char* column : columns) positions.push_back(table.FindColumn(column).value());
    const auto scan = table.OpenScan(positions);
    EXPECT_TRUE(scan->Next());
    jet::Row row = scan->Values();
    EXPECT_FALSE(scan->Next());
    return row;
}

TEST_P(TemplateDatabase, PassesTheFullCheckInEverySchemaVersion) {
    for (const SchemaVersion version : {SchemaVersion{1, 3}, SchemaVersion{2, 0}, SchemaVersion{2, 1},
                                        SchemaVersion{2, 3}, SchemaVersion{2, 5}}) {
        const std::string file = Make(version);
        std::vector<std::string> problems;
        for (const jet::Problem& problem : jet::Check(file)) problems.push_back(problem.ToText());
        EXPECT_THAT(problems, testing::IsEmpty()) << version.Tenths();
        const auto database = jet::Database::Open(file);
        EXPECT_EQ(database->Version(), GetParam());
        EXPECT_EQ(OnlyRow(*database->OpenTable("Config"), {"MajorVersion", "MinorVersion"}),
                  (jet::Row{version.major, version.minor}));
        EXPECT_EQ(database->TableNames().size(), FrontendTables(version).size());
        EXPECT_EQ(database->Relationships().size(), FrontendRelationships(version).size());
        std::filesystem::remove(file);
    }
}

TEST_P(TemplateDatabase, HoldsEveryFixedRow) {
    const auto database = jet::Database::Open(Make(kNewestSchemaVersion));
    for (const FixedRows& fixed : FrontendRows(kNewestSchemaVersion)) {
        const auto table = database->OpenTable(fixed.table);
        std::vector<std::size_t> columns;
        for (const std::string& column : fixed.columns) columns.push_back(table->FindColumn(column).value());
        std::vector<jet::Row> stored;
        for (const auto scan = table->OpenScan(columns); scan->Next();) stored.push_back(scan->Values());
        EXPECT_EQ(stored, fixed.rows) << fixed.table;
    }
}

TEST_P(TemplateDatabase, GivesANewGameTheDefaultsOfAPlainImport) {
    const auto database = jet::Database::Open(Make(kNewestSchemaVersion));
    const auto games = database->OpenTable("Games");
    games->Insert(Values(*games, {{"Name", "Nimbus"}}));
    const auto row = OnlyRow(*games, {"GA_Id", "YE_ID", "MU_Id", "GE_Id", "PU_Id", "DI_Id", "CR_Id", "PR_Id",
                                      "LA_Id", "V_LengthType", "V_Trainers", "PlayersFrom", "CCode", "Fav"});
    const auto number = [](std::int32_t value) { return jet::Value(value); };
    EXPECT_EQ(row, (jet::Row{number(1), number(1), number(38), number(1), number(37), number(8), number(8),
                             number(1), number(1), number(19), number(-1), number(-1), number(4), false}));
}

TEST_P(TemplateDatabase, NumbersNewRecordsBehindTheFixedOnes) {
    const auto database = jet::Database::Open(Make(kNewestSchemaVersion));
    const auto publishers = database->OpenTable("Publishers");
    EXPECT_EQ(publishers->TakeAutoNumber(), 40);
    EXPECT_EQ(database->OpenTable("Languages")->TakeAutoNumber(), 13);
    EXPECT_EQ(database->OpenTable("Years")->TakeAutoNumber(), 51);
}

TEST_P(TemplateDatabase, KeepsReferentialIntegrity) {
    const auto database = jet::Database::Open(Make(kNewestSchemaVersion));
    const auto games = database->OpenTable("Games");
    EXPECT_EQ(ErrorOf([&] { games->Insert(Values(*games, {{"PU_Id", std::int32_t{12345}}})); }), 3201);
    EXPECT_EQ(games->RowCount(), 0);
    games->Insert(Values(*games, {{"Name", "Nimbus"}}));
    const auto crackers = database->OpenTable("Crackers");
    const auto scan = crackers->OpenScan({0});
    while (scan->Next() && scan->Values()[0] != jet::Value(std::int32_t{8})) {
    }
    EXPECT_EQ(ErrorOf([&] { crackers->Delete(scan->Id()); }), 3200);
}

TEST_P(TemplateDatabase, DeletesExtrasWithTheirGame) {
    const auto database = jet::Database::Open(Make(kNewestSchemaVersion));
    const auto games = database->OpenTable("Games");
    const auto extras = database->OpenTable("Extras");
    const jet::RowId game = games->Insert(Values(*games, {{"Name", "Nimbus"}}));
    extras->Insert(Values(*extras, {{"GA_Id", std::int32_t{1}}, {"Name", "Manual"}}));
    games->Delete(game);
    EXPECT_EQ(extras->RowCount(), 0);
}

TEST_P(TemplateDatabase, LeavesAFileThatExistsAlone) {
    test::WriteFile(folder_ / "Empty.mdb", "precious");
    EXPECT_EQ(ErrorOf([&] { Make(kNewestSchemaVersion); }), 3204);
    EXPECT_EQ(test::ReadFile(folder_ / "Empty.mdb"), "precious");
}

INSTANTIATE_TEST_SUITE_P(Formats, TemplateDatabase, testing::Values(JetVersion::Jet3, JetVersion::Jet4),
                         [](const auto& test) {
                             return test.param == JetVersion::Jet3 ? std::string("Jet3")
                                                                   : std::string("Jet4");
                         });

}  // namespace
}  // namespace marrowkit
