#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/CommandLineTester.h"

namespace marrowkit::test {
namespace {

TEST(TosecCommand, WritesWhatNamesSay) {
    const CommandLineRun run =
        RunCli({"tosec", "Gem (1991)(Kaiko)(de)(PAL)(PD)[cr ICS][t +2][f save].st", "Plain"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out,
              "Name,Title,YearId,Publisher,Language,Cracker,Trainers,PalNtsc,PublicDomain,VersionComment,"
              "SaveFix\n"
              "\"Gem (1991)(Kaiko)(de)(PAL)(PD)[cr ICS][t +2][f save].st\",\"Gem .st\",31,\"Kaiko\","
              "\"German\",\"ICS\",2,0,\"Public Domain\",\"\",True\n"
              "\"Plain\",\"Plain\",1,\"\",\"English\",\"~NONE~\",0,3,\"\",\"\",False\n");
}

TEST(TosecCommand, WritesJson) {
    const auto document = nlohmann::json::parse(RunCli({"tosec", "--json", "A (19xx)(-)[t]"}).out);
    ASSERT_EQ(document.size(), 1U);
    EXPECT_EQ(document[0]["YearId"], 2);
    EXPECT_EQ(document[0]["Trainers"], -1);
    EXPECT_EQ(document[0]["VersionComment"], " [trained]");
}

TEST(TosecCommand, LetsEveryNameStandAlone) {
    const CommandLineRun run = RunCli({"tosec", "A (1985)(S)", "B [t +99999999999]", "C (1986)(T)"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "Overflow: B [t +99999999999]\n");
    EXPECT_THAT(run.out, testing::HasSubstr("\n\"A (1985)(S)\",\"A \",25,"));
    EXPECT_THAT(run.out, testing::HasSubstr("\n\"C (1986)(T)\",\"C \",26,"));
}

TEST(TosecCommand, NeedsAName) {
    EXPECT_EQ(RunCli({"tosec"}).exitCode, 2);
}

}  // namespace
}  // namespace marrowkit::test
