// Published datafiles, read by us and by a second reader that shares no code with ours.

#include <array>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>

#include <gmock/gmock.h>

#include "import/DatafileChoice.h"
#include "import/DatafileLoader.h"
#include "import/RecordingProgress.h"
#include "import/TosecName.h"
#include "platform/errors/RuntimeError.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

namespace marrowkit {
namespace {

/// Standard output of a command line of the host's shell.
std::string OutputOf(const std::string& command) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    std::array<char, 65536> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) {
        output.append(buffer.data(), count);
    }
    return output;
}

std::string Quoted(const std::string& argument) {
    std::string quoted = "'";
    for (const char c : argument) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

std::string Python(const std::string& script, const std::string& arguments) {
    return OutputOf(Quoted(MARROWKIT_PYTHON) + " " + Quoted(MARROWKIT_TESTS_IMPORT "/" + script) + " " +
                    arguments);
}

/// In the form of read_datafile.py.
std::string Load(const ImportSettings& settings) {
    ImportTables tables;
    test::RecordingProgress progress;
    std::string error;
    try {
        error = settings.SkipDuplicates ? LoadDatafileSkippingDuplicates(settings, tables, progress)
                                        : LoadDatafile(settings, tables, progress);
    } catch (const RuntimeError& raised) {
        error = "!" + std::to_string(raised.number);
    }
    std::string text;
    for (const DatafileEntry& entry : tables.Entries) {
        text += entry.Name + '\x1f' + entry.FileName + '\x1f' + entry.Crc + '\x1f' +
                std::to_string(entry.Size) + '\x1e';
    }
    if (error.starts_with("!") || error.find("(13,") != std::string::npos) text += "!13\x1e";
    return text;
}

TEST(GenuineDatafiles, AreReadAsTheSecondReaderReadsThem) {
    MARROWKIT_NEED_TEST_DATA();
    const auto files = test::SampleFiles("datafiles", ".dat");
    ASSERT_FALSE(files.empty());
    std::size_t entries = 0;
    for (const auto& file : files) {
        for (const bool skip : {false, true}) {
            ImportSettings settings;
            settings.DatafilePath = file.string();
            settings.SkipDuplicates = skip;
            settings.AddZipExtension = !skip;
            settings.NameColumn = skip ? 4 : 3;
            settings.FileColumn = skip ? 1 : 5;
            const std::string ours = Load(settings);
            const std::string theirs = Python(
                "read_datafile.py", Quoted(file.string()) + " " + std::to_string(settings.NameColumn) + " " +
                                        std::to_string(settings.FileColumn) + " " + (skip ? "1 0" : "0 1"));
            EXPECT_TRUE(ours == theirs) << file << (skip ? ", without duplicates" : "");
            entries += static_cast<std::size_t>(std::count(ours.begin(), ours.end(), '\x1e'));
        }
    }
    EXPECT_GT(entries, 100'000U);
}

TEST(GenuineDatafiles, YieldTheCountsThatAreKnownOfThem) {
    MARROWKIT_NEED_TEST_DATA();
    struct Known {
        const char* file;
        int games;
        int names;
    };
    // Of the files whose size columns are all numbers.
    constexpr Known kKnown[] = {{"Atari 2600 - TOSEC.dat", 884, 884}, {"Atari ST - TOSEC.dat", 12951, 12723},
                                {"Apple II - TOSEC.dat", 9232, 6836}, {"Calice v0.6.6.dat", 5583, 351},
                                {"MAME v0.83.dat", 74157, 4975},      {"MAME Snaps 20031111.dat", 2622, 1},
                                {"Ngx0.6b New Games.dat", 210, 20},   {"NeoRAGEx v0.6b.dat", 1757, 124}};
    for (const Known& known : kKnown) {
        ImportSettings settings;
        settings.DatafilePath = (*test::TestDataFolder() / "datafiles" / known.file).string();
        ImportTables tables;
        test::RecordingProgress progress;
        ASSERT_EQ(LoadDatafile(settings, tables, progress), "") << known.file;
        EXPECT_EQ(tables.EntryCount(), known.games) << known.file;
        settings.SkipDuplicates = true;
        ASSERT_EQ(LoadDatafileSkippingDuplicates(settings, tables, progress), "") << known.file;
        EXPECT_EQ(tables.EntryCount(), known.names) << known.file;
    }
}

TEST(GenuineDatafiles, WithLineFeedEndsHaveNoGames) {
    MARROWKIT_NEED_TEST_DATA();
    ImportSettings settings;
    settings.DatafilePath = (*test::TestDataFolder() / "datafiles" / "MAME v0.37b14.dat").string();
    ImportTables tables;
    test::RecordingProgress progress;
    EXPECT_EQ(LoadDatafile(settings, tables, progress), "There were no games to import!");
}

TEST(GenuineDatafiles, OfEmptySizesEndTheLoaders) {
    MARROWKIT_NEED_TEST_DATA();
    ImportSettings settings;
    settings.DatafilePath = (*test::TestDataFolder() / "datafiles" / "Daphne v0.99.6.dat").string();
    ImportTables tables;
    test::RecordingProgress progress;
    EXPECT_THROW(LoadDatafile(settings, tables, progress), RuntimeError);
    EXPECT_THAT(LoadDatafileSkippingDuplicates(settings, tables, progress),
                testing::HasSubstr("it may be a misreported v1.92 datafile!"));
}

TEST(GenuineDatafiles, AreAllOfVersion2) {
    MARROWKIT_NEED_TEST_DATA();
    for (const auto& file : test::SampleFiles("datafiles", ".dat")) {
        EXPECT_TRUE(IsSupportedDatafileVersion(DatafileVersionOf(file.string()))) << file;
    }
}

TEST(GenuineTosecNames, AreReadAsTheSecondReaderReadsThem) {
    MARROWKIT_NEED_TEST_DATA();
    ImportTables tables;
    for (const char* file : {"Atari 2600 - TOSEC.dat", "Atari ST - TOSEC.dat", "Apple II - TOSEC.dat"}) {
        ImportSettings settings;
        settings.DatafilePath = (*test::TestDataFolder() / "datafiles" / file).string();
        ImportTables some;
        test::RecordingProgress progress;
        ASSERT_EQ(LoadDatafile(settings, some, progress), "");
        tables.Entries.insert(tables.Entries.end(), some.Entries.begin(), some.Entries.end());
    }
    ASSERT_EQ(tables.Entries.size(), 884U + 12951U + 9232U);
    test::TemporaryFolder folder;
    std::string names;
    for (const DatafileEntry& entry : tables.Entries) names += entry.Name + '\n' + entry.FileName + '\n';
    test::WriteFile(folder / "names", names);
    const std::string theirs = Python("read_tosec.py", "< " + Quoted((folder / "names").string()));

    test::RecordingProgress progress;
    ASSERT_EQ(ParseTosecEntries(tables, progress), "");
    std::string ours;
    for (const DatafileEntry& entry : tables.Entries) {
        ours += entry.Name + '\t' + std::to_string(entry.YearId) + '\t' + entry.Publisher.Text() + '\t' +
                entry.Language.Text() + '\t' + entry.Cracker.Text() + '\t' + std::to_string(entry.Trainers) +
                '\t' + std::to_string(entry.PalNtsc) + '\t' + entry.PublicDomain.Text() + '\t' +
                entry.VersionComment.Text() + '\t' + (entry.SaveFix ? "1" : "0") + '\n';
    }
    EXPECT_TRUE(ours == theirs);
}

}  // namespace
}  // namespace marrowkit
