// Every option and argument of every command, with a look at what it changes. One that is missing in the list
// fails IsTestedHere. The program's own options are in EveryCommandTest.cpp.

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <ostream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/CommandWorld.h"
#include "platform/jet/engine/Database.h"

namespace marrowkit::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

struct OptionCase {
    const char* option;
    void (*look)(const CommandWorld&);
};

void PrintTo(const OptionCase& one, std::ostream* out) {
    *out << one.option;
}

/// The games of "Arcade" that an import with these options added.
std::vector<std::string> Imported(const CommandWorld& world, const std::string& datafile,
                                  const std::vector<std::string>& options) {
    std::vector<std::string> words = {"import", datafile, "--into", "Arcade"};
    words.insert(words.end(), options.begin(), options.end());
    const CommandLineRun run = world.Run(words);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return world.arcade.Rows("SELECT Name, Filename FROM Games WHERE Name <> 'Gem' ORDER BY GA_Id");
}

/// A line whose columns all differ: the parent's name and description, the game's, the ROM, RomOf.
std::string LineOfColumns() {
    return "\xACparent\xACParent's text\xACgame\xACGame's text\xACrom.bin\xAC"
           "1\xAC"
           "77\xACof\xACmerge\xAC\r\n";
}

void DatabaseIsNamedOrGivenAsPath(const CommandWorld& world, const std::string& command,
                                  const std::vector<std::string>& behind, const std::string& missing) {
    for (const std::string& name : {std::string("Arcade"), std::string("arcade"), world.arcade.Path(),
                                    world.arcade.HostFile().string(), std::string("Nothing")}) {
        std::vector<std::string> words = {command, name, "--yes"};
        words.insert(words.end(), behind.begin(), behind.end());
        const CommandLineRun run = world.Run(words);
        EXPECT_EQ(run.exitCode, name == "Nothing" ? 1 : 0) << name << run.err;
        if (name == "Nothing") {
            EXPECT_THAT(run.err, HasSubstr(missing));
        }
    }
}

const OptionCase kCases[] = {
    {"show DB",
     [](const CommandWorld& world) {
         DatabaseIsNamedOrGivenAsPath(world, "show", {}, "Could not find file: ");
     }},
    {"new NAME",
     [](const CommandWorld& world) {
         EXPECT_EQ(world.Run({"new", "Tape games"}).exitCode, 0);
         EXPECT_TRUE(world.Has("Tape games/Tape games.mdb"));
     }},
    {"import DATAFILE",
     [](const CommandWorld& world) {
         EXPECT_EQ(world.Run({"import", world.Datafile("Tape.dat")}).exitCode, 0);
         EXPECT_TRUE(world.Has("Tape/Tape.mdb"));
     }},
    {"import --name",
     [](const CommandWorld& world) {
         EXPECT_EQ(world.Run({"import", world.Datafile(), "--name", "Other"}).exitCode, 0);
         EXPECT_TRUE(world.Has("Other/Other.mdb"));
         EXPECT_FALSE(world.Has("Games"));
     }},
    {"import --into",
     [](const CommandWorld& world) {
         EXPECT_THAT(Imported(world, world.Datafile("a.dat", GamesLine("A", "a")), {}), ElementsAre("A|a"));
         EXPECT_FALSE(world.Has("a"));
     }},
    {"import --name-column",
     [](const CommandWorld& world) {
         const std::string datafile = world.Datafile("a.dat", LineOfColumns());
         for (const char* column : {"1", "2", "3", "4", "5", "8"}) {
             Imported(world, datafile, {"--name-column", column});
         }
         EXPECT_THAT(world.arcade.Rows("SELECT Name FROM Games WHERE Name <> 'Gem' ORDER BY GA_Id"),
                     ElementsAre("parent", "Parent's text", "game", "Game's text", "rom.bin", "of"));
     }},
    {"import --file-column",
     [](const CommandWorld& world) {
         const std::string datafile = world.Datafile("a.dat", LineOfColumns());
         for (const char* column : {"1", "3", "5", "7"}) {
             Imported(world, datafile, {"--file-column", column});
         }
         EXPECT_THAT(world.arcade.Rows("SELECT FileToRun FROM Games WHERE Name <> 'Gem' ORDER BY GA_Id"),
                     testing::SizeIs(4));
         EXPECT_THAT(world.arcade.Rows("SELECT Filename FROM Games WHERE Name <> 'Gem' ORDER BY GA_Id"),
                     ElementsAre("parent", "game", "rom.bin", "77"));
     }},
    {"import --skip-duplicates",
     [](const CommandWorld& world) {
         const std::string datafile = world.Datafile("a.dat", GamesLine("A", "1") + GamesLine("A", "2"));
         EXPECT_THAT(Imported(world, datafile, {"--skip-duplicates"}), testing::SizeIs(1));
         EXPECT_THAT(Imported(world, datafile, {}), testing::SizeIs(1 + 2));
     }},
    {"import --tosec",
     [](const CommandWorld& world) {
         const std::string datafile = world.Datafile("a.dat", GamesLine("A (1985)(S)", "A (1985)(S).st"));
         Imported(world, datafile, {});
         Imported(world, datafile, {"--tosec"});
         EXPECT_THAT(world.arcade.Rows("SELECT Name, YE_ID FROM Games WHERE Name <> 'Gem' ORDER BY GA_Id"),
                     ElementsAre("A (1985)(S)|1", "A |25"));
     }},
    {"import --no-tosec",
     [](const CommandWorld& world) {
         const std::string datafile =
             world.Datafile("a tosec.dat", GamesLine("A (1985)(S)", "A (1985)(S).st"));
         Imported(world, datafile, {});
         Imported(world, datafile, {"--no-tosec"});
         EXPECT_THAT(world.arcade.Rows("SELECT Name, YE_ID FROM Games WHERE Name <> 'Gem' ORDER BY GA_Id"),
                     ElementsAre("A |25", "A (1985)(S)|1"));
     }},
    {"import --add-zip",
     [](const CommandWorld& world) {
         const std::string datafile = world.Datafile("a.dat", LineOfColumns());
         Imported(world, datafile, {});
         Imported(world, datafile, {"--add-zip"});
         EXPECT_THAT(world.arcade.Rows("SELECT Filename FROM Games WHERE Name <> 'Gem' ORDER BY GA_Id"),
                     ElementsAre("rom.bin", "rom.bin.zip"));
     }},
    {"import --roms",
     [](const CommandWorld& world) {
         const std::string datafile = world.Datafile("a.dat", GamesLine("A", "x.zip", "CBF43926", "9"));
         Imported(world, datafile, {});
         EXPECT_THAT(Imported(world, datafile, {"--roms", world.File("roms")}),
                     ElementsAre("A|x.zip", "A|Sub\\found.zip"));
     }},
    {"import --match-extensions",
     [](const CommandWorld& world) {
         const std::string datafile = world.Datafile("a.dat", GamesLine("A", "x.bin", "CBF43926", "9"));
         const std::string roms = world.File("roms");
         Imported(world, datafile, {"--roms", roms, "--match-extensions"});
         EXPECT_THAT(Imported(world, datafile, {"--roms", roms}), ElementsAre("A|", "A|Sub\\found.zip"));
     }},
    {"import --report",
     [](const CommandWorld& world) {
         const std::string csv = world.File("r.csv");
         Imported(world, world.Datafile("a.dat", GamesLine("A", "x") + "\xAC" + "broken\r\n"),
                  {"--report", csv});
         EXPECT_THAT(ReadFile(csv), HasSubstr("\n\"skipped line\",5,"));
         Imported(world, world.File("a.dat"), {"--report", world.File("r.JSON")});
         EXPECT_EQ(nlohmann::json::parse(ReadFile(world.File("r.JSON")))[0]["Line"], 5);
     }},
    {"import --dry-run",
     [](const CommandWorld& world) {
         const std::string before = ReadFile(world.arcade.HostFile());
         const CommandLineRun run = world.Run(
             {"import", world.Datafile(), "--into", "Arcade", "--dry-run", "--roms", world.File("roms")});
         EXPECT_EQ(run.exitCode, 0);
         EXPECT_THAT(run.out, HasSubstr("\n\"found\",,\"Gem\",\"Sub\\found.zip\""));
         EXPECT_EQ(ReadFile(world.arcade.HostFile()), before);
     }},
    {"fix DB",
     [](const CommandWorld& world) {
         world.arcade.Execute("INSERT INTO Games (TimesPlayed) VALUES (1)");
         DatabaseIsNamedOrGivenAsPath(world, "fix", {}, "Could not find file: ");
         EXPECT_EQ(world.arcade.One("SELECT COUNT(*) FROM Games WHERE Name IS NULL"), "0");
     }},
    {"compact DB",
     [](const CommandWorld& world) {
         const auto before = fs::file_size(world.arcade.HostFile());
         DatabaseIsNamedOrGivenAsPath(world, "compact", {}, "Could not find file: ");
         EXPECT_LE(fs::file_size(world.arcade.HostFile()), before);
         EXPECT_THAT(world.arcade.Problems(), testing::IsEmpty());
     }},
    {"clear-extras DB",
     [](const CommandWorld& world) {
         DatabaseIsNamedOrGivenAsPath(world, "clear-extras", {}, "");
         EXPECT_EQ(world.arcade.One("SELECT COUNT(*) FROM Extras"), "0");
     }},
    {"remove-views DB",
     [](const CommandWorld& world) {
         DatabaseIsNamedOrGivenAsPath(world, "remove-views", {}, "");
         EXPECT_EQ(world.arcade.One("SELECT COUNT(*) FROM ViewData"), "0");
     }},
    {"records DB",
     [](const CommandWorld& world) {
         DatabaseIsNamedOrGivenAsPath(world, "records", {"Languages"}, "Could not find file: ");
     }},
    {"records TABLE",
     [](const CommandWorld& world) {
         EXPECT_EQ(world.Run({"records", "Arcade", "Languages"}).out, "ID,Name\n2,\"Klingon\"\n");
         EXPECT_EQ(world.Run({"records", "Arcade", "Programmers"}).out, "ID,Name\n");
         EXPECT_EQ(world.Run({"records", "Arcade", "Games"}).exitCode, 2);
     }},
    {"delete-record DB",
     [](const CommandWorld& world) {
         const CommandLineRun run =
             world.Run({"delete-record", "Nothing", "Languages", "2", "--replace-with", "1", "--yes"});
         EXPECT_EQ(run.exitCode, 1);
         EXPECT_THAT(run.err, HasSubstr("Could not find file: "));
         EXPECT_EQ(world.arcade.One("SELECT COUNT(*) FROM Languages"), "2");
     }},
    {"delete-record TABLE",
     [](const CommandWorld& world) {
         world.arcade.Execute("INSERT INTO Crackers (CR_Id, Cracker) VALUES (2, \"ICS\")");
         EXPECT_EQ(
             world.Run({"delete-record", "Arcade", "crackers", "2", "--replace-with", "7", "--yes"}).exitCode,
             0);
         EXPECT_EQ(world.arcade.One("SELECT COUNT(*) FROM Crackers WHERE CR_Id = 2"), "0");
         EXPECT_EQ(world.arcade.One("SELECT COUNT(*) FROM Languages WHERE LA_Id = 2"), "1");
     }},
    {"delete-record ID",
     [](const CommandWorld& world) {
         EXPECT_EQ(world.Run({"delete-record", "Arcade", "Languages", "2", "--replace-with", "1", "--yes"})
                       .exitCode,
                   0);
         EXPECT_THAT(world.arcade.Rows("SELECT LA_Id FROM Languages"), ElementsAre("1"));
         EXPECT_EQ(world.Run({"delete-record", "Arcade", "Languages", "two", "--replace-with", "1"}).exitCode,
                   2);
     }},
    {"delete-record --replace-with",
     [](const CommandWorld& world) {
         EXPECT_EQ(world.Run({"delete-record", "Arcade", "Languages", "2", "--yes"}).exitCode, 2);
         world.arcade.Execute("INSERT INTO Languages (LA_Id, Language) VALUES (3, \"Latin\")");
         world.Run({"delete-record", "Arcade", "Languages", "2", "--replace-with", "3", "--yes"});
         EXPECT_EQ(world.arcade.One("SELECT LA_Id FROM Games"), "3");
     }},
    {"delete DB",
     [](const CommandWorld& world) {
         EXPECT_EQ(world.Run({"delete", world.arcade.Path(), "--yes"}).exitCode, 1);
         EXPECT_TRUE(world.Has("Arcade"));
         EXPECT_EQ(world.Run({"delete", "arcade", "--yes"}).exitCode, 0);
         EXPECT_FALSE(world.Has("Arcade"));
     }},
    {"check FILE",
     [](const CommandWorld& world) {
         const std::string good = world.arcade.HostFile().string();
         WriteFile(world.File("bad.mdb"), "no database");
         const CommandLineRun run = world.Run({"check", good, world.File("bad.mdb"), good});
         EXPECT_EQ(run.exitCode, 1);
         EXPECT_EQ(run.err, good + ": no problems found\n" + good + ": no problems found\n");
         EXPECT_EQ(run.out, world.File("bad.mdb") + ": Unrecognized database format '" +
                                world.File("bad.mdb") + "'.\n");
         EXPECT_EQ(world.Run({"check", "Arcade"}).err, "Arcade: no problems found\n");
     }},
    {"check --max",
     [](const CommandWorld& world) {
         std::string bytes = ReadFile(world.arcade.HostFile());
         // From the first pages of the tables on: every row of every one of them is in disorder.
         constexpr std::size_t kKeptBytes = 20 * 4096;
         std::fill(bytes.begin() + kKeptBytes, bytes.end(), '\x7F');
         WriteFile(world.File("bad.mdb"), bytes);
         const std::string all = world.Run({"check", world.File("bad.mdb")}).out;
         const CommandLineRun two = world.Run({"check", "--max", "2", world.File("bad.mdb")});
         EXPECT_GT(std::count(all.begin(), all.end(), '\n'), 2);
         EXPECT_EQ(std::count(two.out.begin(), two.out.end(), '\n'), 2);
         EXPECT_TRUE(all.starts_with(two.out));
         EXPECT_THAT(two.err, HasSubstr("there may be more problems; --max shows them"));
         EXPECT_EQ(world.Run({"check", "--max", "0", world.File("bad.mdb")}).exitCode, 2);
     }},
    {"tables FILE",
     [](const CommandWorld& world) {
         DatabaseIsNamedOrGivenAsPath(world, "tables", {}, "Could not find file");
     }},
    {"tables --system",
     [](const CommandWorld& world) {
         EXPECT_THAT(world.Run({"tables", "Arcade"}).out, Not(HasSubstr("MSys")));
         EXPECT_THAT(world.Run({"tables", "Arcade", "--system"}).out, HasSubstr("\n\"MSysObjects\","));
     }},
    {"schema FILE",
     [](const CommandWorld& world) {
         DatabaseIsNamedOrGivenAsPath(world, "schema", {}, "Could not find file");
     }},
    {"export FILE",
     [](const CommandWorld& world) {
         DatabaseIsNamedOrGivenAsPath(world, "export", {"Games"}, "Could not find file");
     }},
    {"export TABLE",
     [](const CommandWorld& world) {
         EXPECT_EQ(world.Run({"export", "Arcade", "languages"}).out,
                   "LA_Id,Language\n1,\"English\"\n2,\"Klingon\"\n");
         EXPECT_THAT(world.Run({"export", "Arcade", "Nothing"}).err,
                     HasSubstr("could not find the object 'Nothing'"));
     }},
    {"sql FILE",
     [](const CommandWorld& world) {
         DatabaseIsNamedOrGivenAsPath(world, "sql", {"UPDATE Games SET Fav = True"}, "Could not find file");
         EXPECT_EQ(world.arcade.One("SELECT Fav FROM Games"), "True");
     }},
    {"sql STATEMENT",
     [](const CommandWorld& world) {
         EXPECT_EQ(world.Run({"sql", "Arcade", "SELECT Name FROM Games"}).out, "Name\n\"Gem\"\n");
         EXPECT_EQ(world.Run({"sql", "Arcade", "DELETE FROM Games"}).out, "RecordsAffected\n1\n");
         EXPECT_EQ(world.arcade.One("SELECT COUNT(*) FROM Games"), "0");
     }},
    {"create-template FILE",
     [](const CommandWorld& world) {
         EXPECT_EQ(world.Run({"create-template", world.File("new.mdb")}).exitCode, 0);
         EXPECT_TRUE(jet::Database::Open(world.File("new.mdb"))->FindTable("Games"));
     }},
    {"create-template --jet3",
     [](const CommandWorld& world) {
         world.Run({"create-template", "--jet3", world.File("new.mdb")});
         EXPECT_EQ(jet::Database::Open(world.File("new.mdb"))->Version(), jet::JetVersion::Jet3);
     }},
    {"create-template --jet4",
     [](const CommandWorld& world) {
         world.Run({"create-template", "--jet4", world.File("new.mdb")});
         EXPECT_EQ(jet::Database::Open(world.File("new.mdb"))->Version(), jet::JetVersion::Jet4);
         EXPECT_EQ(world.Run({"create-template", "--jet4", "--jet3", world.File("x.mdb")}).exitCode, 2);
     }},
    {"create-template --schema-version",
     [](const CommandWorld& world) {
         world.Run({"create-template", world.File("new.mdb"), "--schema-version", "2.3"});
         EXPECT_EQ(
             world.Run({"sql", world.File("new.mdb"), "SELECT MajorVersion, MinorVersion FROM Config"}).out,
             "MajorVersion,MinorVersion\n2,3\n");
     }},
    {"crc FILE",
     [](const CommandWorld& world) {
         const std::string rom = world.File("roms/Sub/found.zip");
         EXPECT_EQ(world.Run({"crc", rom, rom}).out,
                   "File,CRC\n\"" + rom + "\",\"CBF43926\"\n\"" + rom + "\",\"CBF43926\"\n");
     }},
    {"crc --crc16",
     [](const CommandWorld& world) {
         const std::string rom = world.File("roms/Sub/found.zip");
         EXPECT_EQ(world.Run({"crc", "--crc16", rom}).out, "File,CRC\n\"" + rom + "\",\"31C3\"\n");
     }},
    {"tosec NAME",
     [](const CommandWorld& world) {
         const auto rows = nlohmann::json::parse(
             world.Run({"tosec", "--json", "Gem (1991)(Kaiko).st", "Zaxxon (1982)(Coleco).bin"}).out);
         EXPECT_EQ(rows.size(), 2U);
         EXPECT_EQ(rows[0]["Publisher"], "Kaiko");
         EXPECT_EQ(rows[1]["Publisher"], "Coleco");
     }},
};

class EveryOption : public testing::TestWithParam<OptionCase> {
protected:
    CommandWorld world_;
};

TEST(EveryOptionOfTheCommands, IsTestedHere) {
    std::set<std::string> tested;
    for (const OptionCase& c : kCases) tested.insert(c.option);
    EXPECT_EQ(tested, RealCommandLine().options);
}

TEST_P(EveryOption, DoesWhatItIsFor) {
    GetParam().look(world_);
}

INSTANTIATE_TEST_SUITE_P(Cli, EveryOption, testing::ValuesIn(kCases), [](const auto& test) {
    std::string name = test.param.option;
    std::erase_if(name, [](unsigned char c) { return std::isalnum(c) == 0; });
    return name;
});

}  // namespace
}  // namespace marrowkit::test
