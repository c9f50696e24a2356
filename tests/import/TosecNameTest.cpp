#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "import/RecordingProgress.h"
#include "import/TosecName.h"
#include "platform/errors/RuntimeError.h"

namespace marrowkit {
namespace {

struct Facts {
    const char* name;
    int yearId;
    const char* publisher;
    const char* language;
    const char* cracker;
    int trainers;
    int palNtsc;
    bool publicDomain;
    const char* versionComment;
    bool saveFix;
};

struct Case {
    const char* name;
    const char* fileName;
    Facts facts;
};

constexpr const char* kSame = nullptr;  // file name and name are one text

constexpr Case kCases[] = {
#include "import/TosecCases.inc"
};

DatafileEntry Parsed(const std::string& name, const std::string& fileName) {
    DatafileEntry entry;
    entry.Name = name;
    entry.FileName = fileName;
    ParseTosecName(entry);
    return entry;
}

DatafileEntry Parsed(const std::string& name) {
    return Parsed(name, name);
}

TEST(TosecName, ReadsTheFactsOfEveryName) {
    static_assert(std::size(kCases) >= 150);
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.name);
        const DatafileEntry entry = Parsed(c.name, c.fileName == kSame ? c.name : c.fileName);
        EXPECT_EQ(entry.Name, c.facts.name);
        EXPECT_EQ(entry.YearId, c.facts.yearId);
        EXPECT_EQ(entry.Publisher, c.facts.publisher);
        EXPECT_EQ(entry.Language, c.facts.language);
        EXPECT_EQ(entry.Cracker, c.facts.cracker);
        EXPECT_EQ(entry.Trainers, c.facts.trainers);
        EXPECT_EQ(entry.PalNtsc, c.facts.palNtsc);
        EXPECT_EQ(entry.PublicDomain, c.facts.publicDomain ? "Public Domain" : "");
        EXPECT_EQ(entry.VersionComment, c.facts.versionComment);
        EXPECT_EQ(entry.SaveFix, c.facts.saveFix);
    }
}

TEST(TosecName, CutsTheTitleKeepsWhatFollowsThePublisherAndTheBlankBeforeARemovedGroup) {
    const DatafileEntry entry = Parsed("Alpha (1985)(Softco)[cr XYZ]");
    EXPECT_EQ(entry.Name, "Alpha ");
    EXPECT_EQ(entry.Cracker, "XYZ");
    EXPECT_EQ(entry.YearId, 25);
    EXPECT_EQ(entry.Publisher, "Softco");
    EXPECT_EQ(entry.Language, "English");
    EXPECT_EQ(entry.PalNtsc, 3);
    EXPECT_EQ(entry.Trainers, 0);
}

TEST(TosecName, KeepsADemoGroupInTheTitle) {
    EXPECT_THAT(Parsed("Beta (demo) (1990)(Pub)").Name, testing::StartsWith("Beta (demo)"));
    EXPECT_EQ(Parsed("Beta (demo) (1990)").Name, "Beta (demo)");
}

TEST(TosecName, TakesTheLanguageThatStandsFirstInTheTableNotInTheName) {
    EXPECT_EQ(Parsed("Golf (1985)(Softco)(de)(us)").Language, "United States (English)");
}

TEST(TosecName, KnowsSixteenLanguages) {
    constexpr std::pair<const char*, const char*> kLanguages[] = {{"us", "United States (English)"},
                                                                  {"jp", "Japanese"},
                                                                  {"uk", "United Kingdom (English)"},
                                                                  {"en", "English"},
                                                                  {"fr", "French"},
                                                                  {"de", "German"},
                                                                  {"sp", "Spanish"},
                                                                  {"nl", "Dutch"},
                                                                  {"it", "Italian"},
                                                                  {"cz", "Czech"},
                                                                  {"sw", "Swedish"},
                                                                  {"hk", "Hong Kong"},
                                                                  {"au", "Australian"},
                                                                  {"pl", "Polish"},
                                                                  {"br", "Brazilian"},
                                                                  {"eu", "European"}};
    std::string behind;  // the groups of all later rows, in front of the one that is to win
    for (auto row = std::rbegin(kLanguages); row != std::rend(kLanguages); ++row) {
        const std::string group = std::string("(") + row->first + ")";
        EXPECT_EQ(Parsed("A (1985)(S)" + behind + group).Language, row->second);
        EXPECT_EQ(Parsed("A (1985)(S)(" + std::string(row->first) + "-fr)").Language,
                  row->second + std::string(" / French"));
        behind += group;
    }
}

TEST(TosecName, KnowsTheYearsFrom1970To2010AndEightDecades) {
    const char* const kDecades[] = {"19xx", "197x", "198x", "199x", "20xx", "200x", "201x", "202x"};
    int id = 2;
    for (const char* decade : kDecades) {
        EXPECT_EQ(Parsed("A (" + std::string(decade) + ")(S)").YearId, id++) << decade;
        EXPECT_EQ(Parsed("A (1999)(S)(" + std::string(decade) + ")").YearId, id - 1) << decade;
    }
    for (int year = 1960; year <= 2030; ++year) {
        const DatafileEntry entry = Parsed("A (" + std::to_string(year) + ")(S)");
        const bool known = year >= 1970 && year <= 2010;
        EXPECT_EQ(entry.YearId, known ? year - 1960 : 1) << year;
        EXPECT_EQ(entry.Publisher, known ? "S" : "") << year;
    }
}

TEST(TosecName, ReadsListsOfLanguages) {
    EXPECT_EQ(Parsed("A (1985)(S)(en-fr)").Language, "English / French");
    EXPECT_EQ(Parsed("A (1985)(S)(en-xX)").Language, "English / xX");
    EXPECT_EQ(Parsed("A (1985)(S)(en-fr-de)").Language, "Multi-Language (?)");
    EXPECT_EQ(Parsed("A (1985)(S)(m2)").Language, "English");
}

TEST(TosecName, CountsTrainers) {
    EXPECT_EQ(Parsed("A (1985)(S)[t +3]").Trainers, 3);
    EXPECT_EQ(Parsed("A (1985)(S)[t +3]").VersionComment, "");
    for (const char* name : {"A (1985)(S)[t]", "A (1985)(S)[t Group]"}) {
        EXPECT_EQ(Parsed(name).Trainers, -1);
        EXPECT_EQ(Parsed(name).VersionComment, " [trained]");
    }
}

TEST(TosecName, TellsAnUnknownCrackerFromNone) {
    EXPECT_EQ(Parsed("A (1985)(S)[cr]").Cracker, "");
    EXPECT_EQ(Parsed("A (1985)(S)[cr]").VersionComment, "[cracked by ?]");
    EXPECT_EQ(Parsed("A (1985)(S)").Cracker, "~NONE~");
}

TEST(TosecName, NamesATitleOfNothingButThePrefixAfterIt) {
    EXPECT_EQ(Parsed("ZZZ-UNK-").Name, "ZZZ-UNK-");
    EXPECT_EQ(Parsed("zzz-unk-").Name, "ZZZ-UNK-");
}

TEST(TosecName, LeavesAnEntryWithoutANameUntouched) {
    DatafileEntry before;
    before.FileName = "Alpha (1985)(Softco)(PD)[cr X][t].st";
    before.YearId = 7;
    before.Publisher = "kept";
    DatafileEntry after = before;
    ParseTosecName(after);
    EXPECT_EQ(after, before);
}

TEST(TosecName, DoesNotRecogniseAFourDigitYearAfter2010) {
    EXPECT_EQ(Parsed("A (2011)(Softco)").YearId, 1);
    EXPECT_EQ(Parsed("A (2011)(Softco)").Publisher, "");
    EXPECT_EQ(Parsed("A (2010)(Softco)").YearId, 50);
}

TEST(TosecName, ReadsNoPublisherFromADash) {
    EXPECT_EQ(Parsed("A (1985)(-)").Publisher, "");
    EXPECT_EQ(Parsed("A (1985)( - )").Publisher, "");
}

TEST(TosecName, ReplacesWhatAnEarlierRunFound) {
    DatafileEntry entry = Parsed("A (1985)(Softco)(PD)(PAL)(de)[cr X][t][f save]");
    entry.Name = entry.FileName = "Plain";
    ParseTosecName(entry);
    DatafileEntry fresh = Parsed("Plain");
    EXPECT_EQ(entry, fresh);
}

TEST(TosecName, TakesEveryTrainerCountThatAFieldHolds) {
    EXPECT_EQ(Parsed("A (1985)(S)[t +2147483647]").Trainers, 2147483647);
    EXPECT_EQ(Parsed("A (1985)(S)[t +-2147483647]").Trainers, -1);
    EXPECT_EQ(Parsed("A (1985)(S)[t +-2147483648]").Trainers, -1);
}

TEST(TosecName, RaisesOverflowForATrainerCountThatNoFieldHolds) {
    for (const char* name : {"A (1985)(S)[t +2147483648]", "A (1985)(S)[t +-2147483649]"}) {
        DatafileEntry entry;
        entry.Name = entry.FileName = name;
        try {
            ParseTosecName(entry);
            ADD_FAILURE() << "no error: " << name;
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 6) << name;
        }
    }
}

/// Names put together at random from the pieces that mean something.
std::string RandomName(std::mt19937& random) {
    constexpr std::array<const char*, 42> kPieces = {
        "(",        ")",        "[",        "]",        "-",          " ",
        "+",        "(1985)",   "(19xx)",   "(us)",     "(de)",       "(en-",
        "(fr-de)",  "(M3)",     "(m2)",     "(PAL)",    "(NTSC)",     "(PD)",
        "[cr",      "[cr X]",   "[t",       "[t +2",    "[t]",        "[f s",
        "[f save]", "[f NTSC]", "ZZZ-UNK-", "(demo)",   "(playable ", "(preview)",
        "(-)",      "(y)",      "Alpha",    "\xC3\x84", "\xC3\xA4",   "\xE2\x82\xAC",
        "\xFF",     "\x00",     "9",        "~NONE~",   "(us(us",     "[T +-1]"};
    std::string name;
    const int pieces = std::uniform_int_distribution<>(0, 9)(random);
    for (int i = 0; i < pieces; ++i) {
        name += kPieces[std::uniform_int_distribution<std::size_t>(0, kPieces.size() - 1)(random)];
    }
    return name;
}

TEST(TosecName, NeverThrowsNeverGrowsAndKeepsToItsRanges) {
    std::mt19937 random(20260101);
    for (int i = 0; i < 50'000; ++i) {
        const std::string name = RandomName(random);
        const std::string file = RandomName(random);
        SCOPED_TRACE(name + " | " + file);
        DatafileEntry entry;
        ASSERT_NO_THROW(entry = Parsed(name, file));
        ASSERT_EQ(entry.FileName, file);
        ASSERT_LE(entry.Name.size(), name.size());
        if (name.empty()) continue;
        ASSERT_GE(entry.Trainers, -1);
        ASSERT_TRUE(entry.PalNtsc >= 0 && entry.PalNtsc <= 3);
        ASSERT_TRUE(entry.YearId >= 1 && entry.YearId <= 50);
        ASSERT_FALSE(entry.Language.empty());
        ASSERT_LE(entry.Publisher.Text().size(), file.size());
    }
}

ImportTables TablesOf(const std::vector<std::string>& names) {
    ImportTables tables;
    for (const std::string& name : names) {
        DatafileEntry entry;
        entry.Name = entry.FileName = name;
        tables.Entries.push_back(entry);
    }
    return tables;
}

TEST(TosecRun, ParsesEveryEntryWithProgress) {
    ImportTables tables = TablesOf({"A (1985)(S)", "", "B (1986)(T)"});
    test::RecordingProgress progress;
    EXPECT_EQ(ParseTosecEntries(tables, progress), "");
    EXPECT_EQ(tables.Entries[0].YearId, 25);
    EXPECT_EQ(tables.Entries[1].YearId, 0);
    EXPECT_EQ(tables.Entries[2].YearId, 26);
    EXPECT_THAT(progress.ranges, testing::ElementsAre(std::pair(0, 2)));
    EXPECT_THAT(progress.values, testing::ElementsAre(0, 0, 1, 2));
    EXPECT_EQ(progress.eventRuns, 4);
    EXPECT_TRUE(progress.prompts.empty());
}

TEST(TosecRun, StopsAfterTheEntryThatWasBeingParsedWhenCancelled) {
    ImportTables tables = TablesOf({"A (1985)(S)", "B (1985)(S)", "C (1985)(S)"});
    test::RecordingProgress progress;
    progress.cancelAtEventRun = 3;
    EXPECT_EQ(ParseTosecEntries(tables, progress), "");
    EXPECT_EQ(tables.Entries[1].YearId, 25);
    EXPECT_EQ(tables.Entries[2].YearId, 0);
    EXPECT_EQ(tables.Entries[2].Name, "C (1985)(S)");
}

TEST(TosecRun, ReturnsAnErrorsTextAndKeepsWhatWasParsed) {
    ImportTables tables = TablesOf({"A (1985)(S)", "B (1985)(S)[t +99999999999]", "C (1985)(S)"});
    test::RecordingProgress progress;
    ClearLastPlatformErrorCode();
    EXPECT_EQ(ParseTosecEntries(tables, progress), "Overflow  (6,0)");
    EXPECT_EQ(tables.Entries[0].YearId, 25);
    EXPECT_EQ(tables.Entries[2].YearId, 0);
}

}  // namespace
}  // namespace marrowkit
