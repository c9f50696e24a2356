#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "maintenance/FrontendDatabase.h"
#include "maintenance/LookupTables.h"
#include "platform/errors/RuntimeError.h"
#include "support/BothFormats.h"
#include "support/RecordingUserInterface.h"
#include "support/TestData.h"

namespace marrowkit {
namespace {

using test::FrontendDatabase;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

std::vector<std::string> Names(const std::vector<LookupRecord>& records) {
    std::vector<std::string> names;
    for (const LookupRecord& record : records) names.push_back(record.name);
    return names;
}

class Lookups : public test::BothFormats {
protected:
    std::vector<LookupRecord> Deletable(const LookupTable& table) {
        dao::Database connection = dao::DBEngine().OpenDatabase(database.Path());
        return ListLookupRecords(connection, table.deletionList);
    }
    std::vector<LookupRecord> Replacements(const LookupTable& table, std::int32_t id) {
        dao::Database connection = dao::DBEngine().OpenDatabase(database.Path());
        return ListLookupRecords(connection, ReplacementStatement(table, id), dao::RecordsetType::Snapshot);
    }
    void Delete(const LookupTable& table, std::int32_t id, std::int32_t replacement) {
        dao::Database connection = dao::DBEngine().OpenDatabase(database.Path());
        DeleteLookupRecord(connection, table, id, replacement);
        connection.Close();
    }

    FrontendDatabase database{2, 5, GetParam()};
};

TEST_P(Lookups, AreListedByNameWithTheirKeys) {
    const LookupTable& table = kLookupTables[0];
    for (const char* name : {"zebra", "Ant", "bee"}) {
        database.Execute(std::string("INSERT INTO Publishers (Publisher) VALUES (\"") + name + "\")");
    }
    const auto records = Deletable(table);
    EXPECT_THAT(Names(records), ElementsAre("Ant", "bee", "zebra"));
    EXPECT_EQ(records[2].id + 1, records[0].id);
}

TEST_P(Lookups, AreThoseOfTheDialogInItsOrder) {
    std::vector<std::string> tables;
    for (const LookupTable& table : kLookupTables) tables.emplace_back(table.table);
    EXPECT_THAT(tables, ElementsAre("Publishers", "Musicians", "Programmers", "Languages", "Crackers"));
    EXPECT_EQ(FindLookupTable("crackers"), &kLookupTables[4]);
    EXPECT_EQ(FindLookupTable("Games"), nullptr);
}

TEST_P(Lookups, ReplacementsAreAskedForWithTheKeyInDecimal) {
    EXPECT_EQ(
        ReplacementStatement(kLookupTables[1], 1234),
        "SELECT MU_Id as ID, Musician AS Name FROM Musicians WHERE NOT (MU_Id = 1234) ORDER BY Musician");
    EXPECT_EQ(ReplacementStatement(kLookupTables[0], -5),
              "SELECT PU_Id as ID, Publisher AS Name FROM Publishers WHERE NOT (PU_Id = -5) ORDER BY "
              "Publisher");
}

TEST_P(Lookups, ProtectedRecordsAreNoneToDeleteButMayReplace) {
    const std::vector<std::vector<std::int32_t>> kProtected = {{37, 39}, {38, 39}, {1}, {1}, {7, 8}};
    for (std::size_t i = 0; i < kLookupTables.size(); ++i) {
        const auto deletable = Deletable(kLookupTables[i]);
        const auto replacements = Replacements(kLookupTables[i], 999);
        for (const std::int32_t id : kProtected[i]) {
            const auto hasId = testing::Field(&LookupRecord::id, id);
            EXPECT_THAT(deletable, Not(Contains(hasId))) << kLookupTables[i].table;
            EXPECT_THAT(replacements, Contains(hasId)) << kLookupTables[i].table;
        }
    }
}

TEST_P(Lookups, ARecordIsNoReplacementForItself) {
    EXPECT_THAT(Replacements(kLookupTables[3], 2), Not(Contains(testing::Field(&LookupRecord::id, 2))));
}

TEST_P(Lookups, DeletingMovesTheGamesAndLeavesAnEmptyListAfterTheLastRecord) {
    for (const int language : {1, 2, 2}) {
        database.Execute("INSERT INTO Games (Name, LA_Id) VALUES (\"g\", " + std::to_string(language) + ")");
    }
    Delete(kLookupTables[3], 2, 1);
    EXPECT_THAT(Deletable(kLookupTables[3]), IsEmpty());
    EXPECT_THAT(database.Rows("SELECT LA_Id FROM Games"), ElementsAre("1", "1", "1"));
    EXPECT_THAT(database.Rows("SELECT LA_Id FROM Languages"), ElementsAre("1"));
    EXPECT_THAT(database.Problems(), IsEmpty());
}

TEST_P(Lookups, ARecordThatNoGameUsesIsDeletedAllTheSame) {
    Delete(kLookupTables[3], 2, 1);
    EXPECT_THAT(database.Rows("SELECT LA_Id FROM Languages"), ElementsAre("1"));
}

TEST_P(Lookups, ARecordThatCannotBeDeletedHasLostItsGamesAlready) {
    database.Execute("CREATE TABLE Labels (LB_Id LONG, PU_Id LONG REFERENCES Publishers (PU_Id))");
    database.Execute("INSERT INTO Publishers (PU_Id, Publisher) VALUES (100, \"Ant\")");
    database.Execute("INSERT INTO Labels VALUES (1, 100)");
    database.Execute("INSERT INTO Games (Name, PU_Id) VALUES (\"g\", 100)");
    EXPECT_THROW(Delete(kLookupTables[0], 100, 37), RuntimeError);
    EXPECT_EQ(database.One("SELECT PU_Id FROM Games"), "37");
    EXPECT_EQ(database.One("SELECT Publisher FROM Publishers WHERE PU_Id = 100"), "Ant");
    EXPECT_THAT(database.Problems(), IsEmpty());
}

TEST_P(Lookups, ARecordWithoutANameHasAnEmptyOne) {
    database.Execute("INSERT INTO Crackers (CR_Id, Cracker) VALUES (100, NULL)");
    EXPECT_THAT(Deletable(kLookupTables[4]), ElementsAre(LookupRecord{100, ""}));
}

TEST_P(Lookups, DeletingSelectsTheSuccessorOrTheNewLastRecord) {
    EXPECT_EQ(SelectionAfterDeletion(0, 3), 0U);
    EXPECT_EQ(SelectionAfterDeletion(2, 3), 2U);
    EXPECT_EQ(SelectionAfterDeletion(3, 3), 2U);
}

TEST_P(Lookups, DeletingIsConfirmedInTheseWords) {
    test::RecordingUserInterface ui;
    ui.answers = {MessageAnswer::Yes, MessageAnswer::No};
    const LookupRecord old{12, "Old \"one\""};
    const LookupRecord replacement{37, "[Unknown]"};
    EXPECT_TRUE(ConfirmLookupDeletion(ui, kLookupTables[0], old, replacement));
    EXPECT_FALSE(ConfirmLookupDeletion(ui, kLookupTables[0], old, replacement));
    EXPECT_EQ(ui.messages[0],
              (test::RecordingUserInterface::Message{
                  "Delete the record \"Old \"one\"\" from the table \"Publishers\" and\r\nmove all affected "
                  "games to the record \"[Unknown]\"?\r\n\r\nARE YOU SURE?   THIS CANNOT BE UNDONE!",
                  MessageIcon::Question, "Marrowkit", MessageButtons::YesNo, false}));
    ReportLookupDeletion(ui);
    EXPECT_EQ(ui.messages.back(), (test::RecordingUserInterface::Message{
                                      "Record Deleted!", MessageIcon::Information, "Marrowkit"}));
}

TEST(LookupsOfTheFrontend, AreListedAndDeleted) {
    MARROWKIT_NEED_TEST_DATA();
    const FrontendDatabase database("template/Games-2.1-nulls.mdb");
    for (const LookupTable& table : kLookupTables) {
        dao::Database connection = dao::DBEngine().OpenDatabase(database.Path());
        const auto records = ListLookupRecords(connection, table.deletionList);
        ASSERT_FALSE(records.empty()) << table.table;
        const std::string key(table.keyField);
        const auto replacements = ListLookupRecords(connection, ReplacementStatement(table, records[0].id));
        ASSERT_FALSE(replacements.empty());
        DeleteLookupRecord(connection, table, records[0].id, replacements.back().id);
        connection.Close();
        EXPECT_EQ(
            database.One("SELECT COUNT(*) FROM Games WHERE " + key + " = " + std::to_string(records[0].id)),
            "0");
    }
    EXPECT_THAT(database.Problems(), IsEmpty());
}

MARROWKIT_TEST_BOTH_FORMATS(Lookups);

}  // namespace
}  // namespace marrowkit
