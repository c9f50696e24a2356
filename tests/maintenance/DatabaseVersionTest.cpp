#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "maintenance/DatabaseVersion.h"
#include "platform/dao/Dao.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {
namespace {

/// The version read from a database whose Config table was made and filled by these statements.
float VersionAfter(const std::vector<std::string>& statements,
                   jet::JetVersion format = jet::JetVersion::Jet4) {
    const TemporaryFolder folder;
    const std::string path = (folder / "Games.mdb").string();
    dao::Database database = dao::DBEngine().CreateDatabase(path, format);
    for (const std::string& statement : statements) database.Execute(statement);
    database.Close();
    return GetDatabaseVersion(path);
}

constexpr const char* kConfigTable =
    "CREATE TABLE Config (MajorVersion LONG, MinorVersion LONG, FirstLoadMessage TEXT(255))";

std::string Record(const std::string& major, const std::string& minor) {
    return "INSERT INTO Config (MajorVersion, MinorVersion) VALUES (" + major + ", " + minor + ")";
}

TEST(DatabaseVersion, IsMajorPlusATenthOfMinorInSinglePrecision) {
    struct VersionCase {
        const char* major;
        const char* minor;
        float version;
    };
    constexpr VersionCase kCases[] = {
        {"1", "9", 1.9F}, {"2", "0", 2.0F}, {"2", "1", 2.1F},  {"2", "2", 2.2F}, {"2", "3", 2.3F},
        {"2", "4", 2.4F}, {"2", "5", 2.5F}, {"2", "12", 3.2F}, {"0", "0", 0.0F}, {"2", "-1", 1.9F},
    };
    for (const VersionCase& c : kCases) {
        EXPECT_EQ(VersionAfter({kConfigTable, Record(c.major, c.minor)}), c.version)
            << c.major << "." << c.minor;
        EXPECT_EQ(VersionAfter({kConfigTable, Record(c.major, c.minor)}, jet::JetVersion::Jet3), c.version);
    }
}

TEST(DatabaseVersion, TwoPointFourIsNotHigherThanTwoPointFour) {
    const float version = VersionAfter({kConfigTable, Record("2", "4")});
    EXPECT_FALSE(version > kLastVersionWithoutLengthType);
    EXPECT_TRUE(version > kLastVersionWithoutKorvo);
    EXPECT_TRUE(VersionAfter({kConfigTable, Record("2", "1")}) >= kMinExtrasVersion) << "equality counts";
    EXPECT_FALSE(VersionAfter({kConfigTable, Record("2", "0")}) > kLastVersionWithoutCrc);
    EXPECT_TRUE(VersionAfter({kConfigTable, Record("2", "5")}) >= kMinLengthTypeImportVersion);
}

TEST(DatabaseVersion, TheFirstRecordCounts) {
    EXPECT_EQ(VersionAfter({kConfigTable, Record("2", "5"), Record("9", "9")}), 2.5F);
}

TEST(DatabaseVersion, NumbersInTextFieldsAreRead) {
    EXPECT_EQ(
        VersionAfter({"CREATE TABLE Config (MajorVersion TEXT(5), MinorVersion SHORT)", Record("'2'", "3")}),
        2.3F);
}

TEST(DatabaseVersion, WhatCannotBeReadCountsAsOnePointThree) {
    EXPECT_EQ(VersionAfter({kConfigTable}), kUnknownDatabaseVersion) << "no record";
    EXPECT_EQ(VersionAfter({}), kUnknownDatabaseVersion) << "no table";
    EXPECT_EQ(VersionAfter({"CREATE TABLE Config (MajorVersion LONG)", "INSERT INTO Config VALUES (2)"}),
              kUnknownDatabaseVersion)
        << "a missing field";
    EXPECT_EQ(VersionAfter({kConfigTable, Record("Null", "1")}), kUnknownDatabaseVersion) << "a Null";
    EXPECT_EQ(
        VersionAfter({"CREATE TABLE Config (MajorVersion TEXT(5), MinorVersion LONG)", Record("'two'", "1")}),
        kUnknownDatabaseVersion);
    const TemporaryFolder folder;
    WriteFile(folder / "text.mdb", "This is no database.");
    EXPECT_EQ(GetDatabaseVersion((folder / "text.mdb").string()), kUnknownDatabaseVersion);
    EXPECT_EQ(GetDatabaseVersion((folder / "absent.mdb").string()), kUnknownDatabaseVersion);
    EXPECT_EQ(GetDatabaseVersion(""), kUnknownDatabaseVersion);
}

TEST(DatabaseVersion, TheFileIsFreeAgainAfterwards) {
    const TemporaryFolder folder;
    const std::string path = (folder / "Games.mdb").string();
    dao::DBEngine engine;
    dao::Database database = engine.CreateDatabase(path, jet::JetVersion::Jet4);
    database.Execute(kConfigTable);
    database.Close();
    GetDatabaseVersion(path);
    engine.CompactDatabase(path, (folder / "Copy.mdb").string());
    EXPECT_FALSE(std::filesystem::exists(folder / "Games.ldb"));
}

TEST(DatabaseVersion, TheFileIsFreeAgainAfterAnErrorToo) {
    const TemporaryFolder folder;
    const std::string path = (folder / "Games.mdb").string();
    dao::DBEngine engine;
    dao::Database database = engine.CreateDatabase(path, jet::JetVersion::Jet4);
    database.Execute("CREATE TABLE Config (MajorVersion LONG)");
    database.Execute("INSERT INTO Config VALUES (2)");
    database.Close();
    EXPECT_EQ(GetDatabaseVersion(path), kUnknownDatabaseVersion);
    engine.CompactDatabase(path, (folder / "Copy.mdb").string());
    EXPECT_FALSE(std::filesystem::exists(folder / "Games.ldb"));
}

}  // namespace
}  // namespace marrowkit::test
