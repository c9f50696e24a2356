// What each version of the frontend's schema allows and brings along, in both file formats. The databases
// have exactly the tables and fields of their version, so a statement too many would raise.

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "maintenance/ClearGameExtras.h"
#include "maintenance/DatabaseVersion.h"
#include "maintenance/FixNullData.h"
#include "maintenance/FrontendDatabase.h"
#include "maintenance/NullRepairs.h"
#include "platform/errors/RuntimeError.h"
#include "support/RecordingUserInterface.h"

namespace marrowkit {
namespace {

using test::FrontendDatabase;
using testing::ElementsAre;

class VersionGate : public testing::TestWithParam<jet::JetVersion> {
protected:
    /// The last message of an operation.
    template <typename Operation>
    static std::string MessageOf(const Operation& operation) {
        test::RecordingUserInterface ui;
        ui.answers = {MessageAnswer::Yes};
        operation(ui);
        return ui.messages.empty() ? "" : ui.messages.back().text;
    }
    static std::string Fix(const FrontendDatabase& database) {
        return MessageOf([&](UserInterface& ui) { FixNullData(ui, database.Node()); });
    }
    static std::string ClearExtras(const FrontendDatabase& database) {
        return MessageOf([&](UserInterface& ui) { ClearGameExtras(ui, database.Node()); });
    }
    /// Whether a statement finds all its tables and fields.
    static bool Knows(const FrontendDatabase& database, const std::string& sql) {
        try {
            database.Rows(sql);
            return true;
        } catch (const RuntimeError&) {
            return false;
        }
    }

    /// A database that claims a version below those that are known, which has the schema of 2.0.
    static void Claim(const FrontendDatabase& database, int major, int minor) {
        database.Execute("UPDATE Config SET MajorVersion = " + std::to_string(major) +
                         ", MinorVersion = " + std::to_string(minor));
    }
};

constexpr const char* kFixed = "Fixed: All NULL Data Removed!";
constexpr const char* kTooOldToFix = "Version of database is less than 2.0!";
constexpr const char* kCleared = "Cleared all Game Extras!";
constexpr const char* kTooOldToClear = "Database must be v2.1 or higher to perform this operation!";

TEST_P(VersionGate, BelowTwoPointZeroScanAndFixRefuses) {
    const FrontendDatabase database(2, 0, GetParam());
    for (const auto& [major, minor] : {std::pair(1, 9), {1, 3}, {0, 0}, {1, 0}}) {
        Claim(database, major, minor);
        EXPECT_EQ(Fix(database), kTooOldToFix) << major << "." << minor;
    }
}

TEST_P(VersionGate, FromTwoPointZeroTheBaseRepairsApply) {
    const FrontendDatabase database(2, 0, GetParam());
    EXPECT_EQ(GetDatabaseVersion(database.Path()), 2.0F);
    EXPECT_EQ(Fix(database), kFixed);
    EXPECT_EQ(NullRepairs(2.0F).size(), 23U);
}

TEST_P(VersionGate, AboveTwoPointZeroThereAreChecksumsSizesAndExtras) {
    EXPECT_FALSE(Knows(FrontendDatabase(2, 0, GetParam()), "SELECT CRC FROM Games"));
    EXPECT_FALSE(Knows(FrontendDatabase(2, 0, GetParam()), "SELECT * FROM Extras"));
    const FrontendDatabase database(2, 1, GetParam());
    EXPECT_TRUE(Knows(database, "SELECT CRC, Filesize FROM Games"));
    EXPECT_TRUE(Knows(database, "SELECT Name, Path, Data FROM Extras"));
    EXPECT_EQ(Fix(database), kFixed);
    EXPECT_EQ(NullRepairs(2.1F).size(), 28U);
}

TEST_P(VersionGate, FromTwoPointOneExtrasCanBeCleared) {
    EXPECT_EQ(ClearExtras(FrontendDatabase(2, 0, GetParam())), kTooOldToClear);
    EXPECT_EQ(ClearExtras(FrontendDatabase(2, 1, GetParam())), kCleared) << "equality counts";
    EXPECT_EQ(ClearExtras(FrontendDatabase(2, 5, GetParam())), kCleared);
}

TEST_P(VersionGate, AboveTwoPointTwoThereIsKorvo) {
    EXPECT_FALSE(Knows(FrontendDatabase(2, 2, GetParam()), "SELECT Korvo FROM Games"));
    EXPECT_EQ(NullRepairs(2.2F).size(), 28U);
    const FrontendDatabase database(2, 3, GetParam());
    EXPECT_TRUE(Knows(database, "SELECT Korvo FROM Games"));
    EXPECT_EQ(Fix(database), kFixed);
    EXPECT_EQ(NullRepairs(2.3F).size(), 29U);
}

TEST_P(VersionGate, AboveTwoPointFourThereAreFirstLoadMessageAndLengthType) {
    const FrontendDatabase last(2, 4, GetParam());
    EXPECT_FALSE(Knows(last, "SELECT V_LengthType FROM Games"));
    EXPECT_FALSE(Knows(last, "SELECT FirstLoadMessage FROM Config"));
    EXPECT_EQ(Fix(last), kFixed) << "2.4 is not higher than 2.4";
    EXPECT_EQ(NullRepairs(2.4F).size(), 29U);
    const FrontendDatabase database(2, 5, GetParam());
    EXPECT_TRUE(Knows(database, "SELECT V_LengthType FROM Games"));
    EXPECT_TRUE(Knows(database, "SELECT FirstLoadMessage FROM Config"));
    EXPECT_EQ(Fix(database), kFixed);
    EXPECT_EQ(NullRepairs(2.5F).size(), 32U);
}

TEST_P(VersionGate, FromTwoPointFiveTheImportSetsTheLengthType) {
    EXPECT_FALSE(GetDatabaseVersion(FrontendDatabase(2, 4, GetParam()).Path()) >=
                 kMinLengthTypeImportVersion);
    EXPECT_TRUE(GetDatabaseVersion(FrontendDatabase(2, 5, GetParam()).Path()) >= kMinLengthTypeImportVersion);
}

TEST_P(VersionGate, AConfigWithoutARecordIsOnePointThreeAndRefused) {
    const FrontendDatabase database(2, 5, GetParam());
    database.Execute("DELETE * FROM Config");
    EXPECT_EQ(GetDatabaseVersion(database.Path()), 1.3F);
    EXPECT_EQ(Fix(database), kTooOldToFix);
    EXPECT_EQ(ClearExtras(database), kTooOldToClear);
}

TEST_P(VersionGate, ADatabaseWithoutConfigIsOnePointThreeAndRefused) {
    const FrontendDatabase database(2, 5, GetParam());
    database.Execute("DROP TABLE Config");
    EXPECT_EQ(GetDatabaseVersion(database.Path()), 1.3F);
    EXPECT_EQ(Fix(database), kTooOldToFix);
    EXPECT_EQ(ClearExtras(database), kTooOldToClear);
}

TEST_P(VersionGate, AFileThatIsNoDatabaseIsOnePointThreeAndRefused) {
    const FrontendDatabase database(2, 5, GetParam());
    test::WriteFile(database.HostFile(), std::string(8192, 'x'));
    EXPECT_EQ(GetDatabaseVersion(database.Path()), 1.3F);
    EXPECT_EQ(Fix(database), kTooOldToFix);
    EXPECT_EQ(ClearExtras(database), kTooOldToClear);
}

TEST_P(VersionGate, TenAndMoreMinorVersionsRunOnIntoTheMajorOne) {
    const FrontendDatabase database(2, 5, GetParam());
    Claim(database, 2, 12);
    EXPECT_EQ(GetDatabaseVersion(database.Path()), 3.2F);
    Claim(database, 1, 10);
    EXPECT_EQ(GetDatabaseVersion(database.Path()), 2.0F);
    EXPECT_EQ(Fix(database), kFixed);
    EXPECT_EQ(ClearExtras(database), kTooOldToClear);
    Claim(database, 1, 11);
    EXPECT_EQ(GetDatabaseVersion(database.Path()), 2.1F);
    EXPECT_EQ(ClearExtras(database), kCleared);
}

INSTANTIATE_TEST_SUITE_P(Formats, VersionGate, testing::Values(jet::JetVersion::Jet3, jet::JetVersion::Jet4),
                         [](const auto& format) {
                             return format.param == jet::JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit
