#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "import/DatafileChoice.h"
#include "import/GamesLine.h"
#include "import/ImportEngine.h"
#include "import/ImportFixture.h"
#include "platform/errors/RuntimeError.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/engine/Database.h"
#include "support/TestData.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using test::FrontendDatabase;
using test::GamesLine;
using testing::ElementsAre;
using testing::IsEmpty;
using Message = test::RecordingUserInterface::Message;

class Engine : public test::ImportFixture {
protected:
    bool Run(const ImportHooks& hooks = {}) { return RunImport(settings, tables, progress, ui, hooks); }

    fs::path Fresh(const std::string& file) const { return Library("Fresh") / file; }
    std::vector<std::string> FreshGames(const std::string& fields = "Name") const {
        return FreshRows("SELECT " + fields + " FROM Games ORDER BY GA_Id");
    }
};

TEST_F(Engine, ImportsIntoANewDatabase) {
    Games(GamesLine("A", "a.zip") + GamesLine("B", "b.zip"));
    EXPECT_TRUE(Run());
    EXPECT_THAT(ui.messages, IsEmpty());
    EXPECT_TRUE(settings.ImportSucceeded);
    EXPECT_EQ(settings.NewDatabaseKey, settings.NewFolderPathSlash);
    EXPECT_THAT(FreshGames(), ElementsAre("A", "B"));
    EXPECT_THAT(progress.prompts, ElementsAre("Loading Datafile into memory...", "Creating New Database...",
                                              "Adding games to database..."));
    EXPECT_THAT(progress.statuses, ElementsAre("0", "1", "2", ""));
    EXPECT_FALSE(progress.cancelEnabled);
    EXPECT_TRUE(fs::exists(Fresh("Credits.txt")));
    EXPECT_FALSE(fs::exists(Fresh("Paths.ini")));
    EXPECT_FALSE(fs::exists(Fresh("help.htm")));
}

TEST_F(Engine, ImportsIntoAnExistingDatabaseWithoutMakingAFolder) {
    Games(GamesLine("A", "a.zip"));
    IntoExisting();
    settings.NewDatabaseKey = "something";
    EXPECT_TRUE(Run());
    EXPECT_EQ(database.One("SELECT Name FROM Games"), "A");
    EXPECT_TRUE(settings.ImportSucceeded);
    EXPECT_EQ(settings.NewDatabaseKey, "");
    EXPECT_FALSE(fs::exists(Fresh("")));
    EXPECT_THAT(progress.prompts,
                ElementsAre("Loading Datafile into memory...", "Adding games to database..."));
}

TEST_F(Engine, RunsAllStagesInTheirOrder) {
    Games(GamesLine("A (1985)(S)", "a.zip", "CBF43926", "9") + GamesLine("A (1985)(S)", "x.zip") +
          GamesLine("B (1986)(T)", "b.zip"));
    Roms();
    test::WriteFile(folder / "roms" / "Sub" / "found.zip", "123456789");
    test::WriteFile(folder / "roms" / "other.bin", "123456789");
    settings.SkipDuplicates = settings.TosecNames = settings.MatchExtensionsOnly = true;
    EXPECT_TRUE(Run());
    EXPECT_THAT(ui.messages, IsEmpty());
    EXPECT_THAT(progress.prompts,
                ElementsAre("Loading Datafile into memory (skipping duplicates)...",
                            "Getting unique FileTypes list...", "Preparing File List...",
                            "Grabbing CRC-32 values for 1 files...",
                            "CRC-32/Size Matches found:", "Obtaining DB info from TOSEC filenames...",
                            "Creating New Database...", "Adding games to database..."));
    EXPECT_THAT(FreshGames(), ElementsAre("A ", "B "));
    EXPECT_THAT(FreshGames("Filename"), ElementsAre("Sub\\found.zip", ""));
    EXPECT_THAT(test::ReadFile(Fresh("Paths.ini")), testing::HasSubstr("1=" + settings.RomPath));
    EXPECT_THAT(test::ReadFile(Fresh("Emulators.ini")), testing::HasSubstr("SupportTypes=.ZIP;"));
    EXPECT_THAT(tables.Files, IsEmpty());
}

TEST_F(Engine, SkipsTheScanSilentlyWhenNoFileNameHasAnExtension) {
    Games(GamesLine("A", "a"));
    Roms();
    test::WriteFile(folder / "roms" / "a", "x");
    settings.MatchExtensionsOnly = true;
    EXPECT_TRUE(Run());
    EXPECT_THAT(ui.messages, IsEmpty());
    EXPECT_THAT(progress.prompts,
                ElementsAre("Loading Datafile into memory...", "Getting unique FileTypes list...",
                            "Creating New Database...", "Adding games to database..."));
    EXPECT_THAT(FreshGames(), ElementsAre("A"));
    EXPECT_EQ(test::ReadFile(Fresh("Paths.ini")), "[Games]\r\n1=" + settings.RomPath + "\r\n");
    EXPECT_EQ(test::ReadFile(Fresh("Emulators.ini")), "[File Types]\r\nSupportTypes=\r\n");
}

TEST_F(Engine, SkipsChecksummingWhenTheFolderHasNoFile) {
    Games(GamesLine("A", "a.zip"));
    Roms();
    EXPECT_TRUE(Run());
    EXPECT_THAT(progress.prompts, ElementsAre("Loading Datafile into memory...", "Preparing File List...",
                                              "Creating New Database...", "Adding games to database..."));
    EXPECT_THAT(FreshGames("Filename"), ElementsAre(""));
    EXPECT_EQ(test::ReadFile(Fresh("Paths.ini")), "[Games]\r\n1=" + settings.RomPath + "\r\n");
    EXPECT_EQ(test::ReadFile(Fresh("Emulators.ini")), "[File Types]\r\nSupportTypes=\r\n");
}

TEST_F(Engine, EmptiesTheExtensionListAtItsStart) {
    Games(GamesLine("A", "a.zip"));
    Roms();
    test::WriteFile(folder / "roms" / "other.bin", "x");
    settings.MatchExtensionsOnly = true;
    tables.RomExtensionList = "left.over;";
    EXPECT_TRUE(Run());
    EXPECT_EQ(test::ReadFile(Fresh("Emulators.ini")), "[File Types]\r\nSupportTypes=.ZIP;\r\n");
}

TEST_F(Engine, ShowsTheLoadersTextAndStops) {
    Games("");
    EXPECT_FALSE(Run());
    EXPECT_THAT(ui.messages, ElementsAre(Message{"There were no games to import!", MessageIcon::Information,
                                                 "Marrowkit"}));
    EXPECT_FALSE(settings.ImportSucceeded);
    EXPECT_FALSE(fs::exists(Fresh("")));
    settings.SkipDuplicates = true;
    Games(GamesLine("A", "a", "1", "x"));
    ui.messages.clear();
    EXPECT_FALSE(Run());
    ASSERT_EQ(ui.messages.size(), 1U);
    EXPECT_THAT(ui.messages[0].text, testing::EndsWith("it may be a misreported v1.92 datafile!"));
}

TEST_F(Engine, ShowsTheTextOfAnErrorInAnyStageAndStops) {
    const auto expectFailure = [this](const std::string& text) {
        ui.messages.clear();
        ClearLastPlatformErrorCode();
        EXPECT_FALSE(Run());
        ASSERT_EQ(ui.messages.size(), 1U) << text;
        EXPECT_THAT(ui.messages[0].text, testing::StartsWith(text));
        EXPECT_EQ(ui.messages[0].icon, MessageIcon::Information);
        EXPECT_EQ(ui.messages[0].title, "Marrowkit");
        EXPECT_FALSE(settings.ImportSucceeded) << text;
        EXPECT_FALSE(fs::exists(Fresh("Fresh.mdb"))) << text;
    };
    Games(GamesLine("A (1985)(S)[t +99999999999]", "A (1985)(S)[t +99999999999]"));
    settings.TosecNames = true;
    expectFailure("Overflow  (6,0)");
    EXPECT_EQ(progress.prompts.back(), "Obtaining DB info from TOSEC filenames...");

    Games(GamesLine("A", "a"));
    Roms();
    test::WriteFile(folder / "roms" / "huge", "x");
    fs::resize_file(folder / "roms" / "huge", 0x180000000ULL);  // a size that has no number here
    expectFailure("Overflow  (6,0)");
    EXPECT_THAT(progress.prompts, testing::Contains("Preparing File List..."));
    fs::remove(folder / "roms" / "huge");

    fs::create_directory(Fresh(""));  // since the options were checked
    expectFailure("Path/File access error  (75,");
    EXPECT_EQ(progress.prompts.back(), "Creating New Database...");
}

TEST_F(Engine, LetsErrorsOfThePlainLoaderEscape) {
    Games(GamesLine("A", "a", "1", "x"));
    EXPECT_THROW(Run(), RuntimeError);
    EXPECT_THAT(ui.messages, IsEmpty());
}

TEST_F(Engine, EndsInSilenceWhenCancelledAtAnyPoint) {
    Games(GamesLine("A (1985)(S)", "a.zip", "CBF43926", "9") + GamesLine("B", "b.zip"));
    Roms();
    test::WriteFile(folder / "roms" / "found.zip", "123456789");
    settings.TosecNames = settings.MatchExtensionsOnly = true;
    int cancelled = 0;
    for (int at = 1;; ++at) {
        progress = {};
        progress.cancelAtEventRun = at;
        settings.ImportSucceeded = false;
        const bool done = Run();
        EXPECT_THAT(ui.messages, IsEmpty());
        if (done) break;
        ++cancelled;
        EXPECT_TRUE(progress.cancelled) << at;
        EXPECT_FALSE(settings.ImportSucceeded) << at;
        ASSERT_FALSE(fs::exists(Fresh(""))) << at;
    }
    EXPECT_GT(cancelled, 15);
    EXPECT_FALSE(progress.cancelled);
    EXPECT_THAT(FreshGames(), ElementsAre("A ", "B"));
}

TEST_F(Engine, CannotBeCancelledOnceTheDatabaseIsBeingMade) {
    Games(GamesLine("A", "a.zip"));
    ImportHooks hooks;
    hooks.writing = [this](const ImportTables&) {
        EXPECT_FALSE(progress.cancelEnabled);
        return true;
    };
    EXPECT_TRUE(Run(hooks));
}

TEST_F(Engine, ReportsAMissingTemplateAndStops) {
    Games(GamesLine("A", "a.zip"));
    fs::remove(database.LibraryFolder() / "Empty.mdb");
    EXPECT_FALSE(Run());
    ASSERT_FALSE(ui.messages.empty());
    EXPECT_THAT(ui.messages[0].text,
                testing::StartsWith("Could not find Empty.mdb in the Vellora installation folder."));
    EXPECT_FALSE(settings.ImportSucceeded);
}

TEST_F(Engine, CountsAsSucceededWhenOnlyTheWritingFails) {
    Games(GamesLine("A (1985)(S)", "a.zip") + GamesLine("B (1985)(a \"b\")", "B (1985)(a \"b\").zip"));
    settings.TosecNames = true;
    settings.FileColumn = 3;
    EXPECT_FALSE(Run());
    EXPECT_TRUE(settings.ImportSucceeded);
    EXPECT_EQ(settings.NewDatabaseKey, settings.NewFolderPathSlash);
    ASSERT_EQ(ui.messages.size(), 1U);
    EXPECT_THAT(ui.messages[0].text, testing::HasSubstr("  (3075,"));
    EXPECT_EQ(ui.messages[0].title, "Marrowkit");
    EXPECT_THAT(FreshGames(), ElementsAre("A "));
}

TEST_F(Engine, WritesNothingWhenAskedToStopBeforeWriting) {
    Games(GamesLine("A", "a.zip"));
    ImportHooks hooks;
    int scanned = 0;
    hooks.scanned = [&](const ImportTables& seen) { scanned = seen.EntryCount(); };
    hooks.writing = [](const ImportTables&) { return false; };
    EXPECT_TRUE(Run(hooks));
    EXPECT_EQ(scanned, 1);
    EXPECT_FALSE(settings.ImportSucceeded);
    EXPECT_FALSE(fs::exists(Fresh("")));
}

TEST_F(Engine, ImportsPublishedDatafilesIntoTheFrontendsTemplate) {
    MARROWKIT_NEED_TEST_DATA();
    const FrontendDatabase empty("template/Empty.mdb");
    fs::copy_file(empty.HostFile(), database.LibraryFolder() / "Empty.mdb",
                  fs::copy_options::overwrite_existing);
    const struct {
        const char* file;
        bool tosec;
        std::size_t games;
    } kFiles[] = {{"Atari 2600 - TOSEC.dat", true, 884}, {"NeoRAGEx v0.6b.dat", false, 1757}};
    for (const auto& sample : kFiles) {
        settings.DatafilePath = WindowsPath((*test::TestDataFolder() / "datafiles" / sample.file).string());
        settings.TosecNames = sample.tosec;
        fs::remove_all(Fresh(""));
        EXPECT_TRUE(Run()) << sample.file;
        EXPECT_THAT(ui.messages, IsEmpty());
        EXPECT_EQ(FreshGames().size(), sample.games);
        EXPECT_TRUE(jet::Check(Fresh("Fresh.mdb").string()).empty()) << sample.file;
    }
}

}  // namespace
}  // namespace marrowkit
