// Imports under circumstances that nobody wants: what is missing, locked, damaged, very large or oddly named.

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>

#include "checksum/clsCRC.h"
#include "import/DatafileChoice.h"
#include "import/GamesLine.h"
#include "import/ImportEngine.h"
#include "import/ImportFixture.h"
#include "platform/errors/RuntimeError.h"
#include "platform/jet/engine/Database.h"
#include "platform/text/Numbers.h"

#ifndef _WIN32
#include "support/OrdinaryUser.h"
#endif

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using test::GamesLine;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class ImportTrouble : public test::ImportFixture {
protected:
    using ImportFixture::ImportFixture;

    bool Run() {
        ui.messages.clear();
        return RunImport(settings, tables, progress, ui);
    }
    std::string Message() const { return ui.messages.size() == 1 ? ui.messages[0].text : "not one message"; }
};

TEST_F(ImportTrouble, ADatafileOf0BytesHasNoVersionAndNoGames) {
    Datafile("");
    EXPECT_FALSE(AcceptDatafile(ui, settings.DatafilePath, settings));
    EXPECT_EQ(Message(), "This datafile was not found to be version 2.00!\r\n\r\nReported version is: []");
    for (const bool skip : {false, true}) {
        settings.SkipDuplicates = skip;
        EXPECT_FALSE(Run());
        EXPECT_EQ(Message(), "There were no games to import!");
    }
    EXPECT_FALSE(fs::exists(Library("Fresh")));
}

TEST_F(ImportTrouble, ADatafileWithoutADatSectionIsRefusedHoweverManyGamesItHas) {
    Datafile("[GAMES]\r\nversion=2.00\r\n" + GamesLine("A", "a"));
    EXPECT_FALSE(AcceptDatafile(ui, settings.DatafilePath, settings));
    EXPECT_THAT(Message(), testing::EndsWith("Reported version is: []"));
}

TEST_F(ImportTrouble, ADatafileWithLfEndsIsAcceptedAndHasNoGames) {
    Datafile(
        "[DAT]\nversion=2.00\n[GAMES]\n\xAC"
        "p\xAC"
        "p\xAC"
        "A\xAC"
        "d\xAC"
        "a\xAC"
        "1\xAC"
        "1\xAC\xAC\xAC\n");
    EXPECT_TRUE(AcceptDatafile(ui, settings.DatafilePath, settings));
    EXPECT_FALSE(Run());
    EXPECT_EQ(Message(), "There were no games to import!");
}

TEST_F(ImportTrouble, ImportingTwiceIntoADatabaseAddsTheGamesTwiceAndTheNamesOnce) {
    Games(GamesLine("A (1985)(Softco)(de)[cr XYZ]", "A (1985)(Softco)(de)[cr XYZ].st") + GamesLine("B", "b"));
    IntoExisting();
    const std::string crackers = database.One("SELECT COUNT(*) FROM Crackers");
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(Run()) << Message();
    }
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM Games"), "4");
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM Crackers"), crackers);
    settings.TosecNames = true;
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(Run()) << Message();
    }
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM Games"), "8");
    for (const char* count : {"SELECT COUNT(*) FROM Publishers WHERE Publisher = \"Softco\"",
                              "SELECT COUNT(*) FROM Crackers WHERE Cracker = \"XYZ\"",
                              "SELECT COUNT(*) FROM Languages WHERE Language = \"German\""}) {
        EXPECT_EQ(database.One(count), "1") << count;
    }
    EXPECT_THAT(database.Problems(), IsEmpty());
}

TEST_F(ImportTrouble, ATemplateWithoutAFixedRowEndsTheImportWithTheRelationsError) {
    dao::Database empty = dao::DBEngine().OpenDatabase(database.LibraryRoot() + "Empty.mdb");
    empty.Execute("DELETE * FROM Crackers WHERE CR_Id = 7");
    empty.Execute(
        "ALTER TABLE Games ADD CONSTRAINT CrackersGames FOREIGN KEY (CR_Id) REFERENCES Crackers (CR_Id)");
    empty.Close();
    settings.TosecNames = true;
    Games(GamesLine("A (1985)(S)[cr X]", "A (1985)(S)[cr X].st") +
          GamesLine("B (1985)(S)", "B (1985)(S).st"));
    EXPECT_FALSE(Run());
    EXPECT_THAT(Message(), testing::EndsWith("  (3201,0)"));
    EXPECT_TRUE(settings.ImportSucceeded);
    EXPECT_EQ(tables.FailedEntry, 1U);
    EXPECT_THAT(FreshRows("SELECT Name FROM Games"), ElementsAre("A "));
}

#ifndef _WIN32  // rights are no modes there
TEST_F(ImportTrouble, AReadOnlyTemplateGivesADatabaseThatCannotBeWritten) {
    // The copy has its permissions.
    fs::permissions(Library("Empty.mdb"), fs::perms::owner_read);
    Games(GamesLine("A", "a"));
    const test::OrdinaryUser user(Library(""));
    EXPECT_FALSE(Run());
    EXPECT_THAT(Message(), testing::ContainsRegex("  \\(30[0-9]+,[0-9]+\\)$"));
    EXPECT_TRUE(fs::exists(Library("Fresh/Fresh.mdb")));
}
#endif

TEST_F(ImportTrouble, ATemplateThatIsOpenExclusivelyLeavesAFolderWithoutADatabase) {
    Games(GamesLine("A", "a"));
    {
        jet::OpenOptions exclusively;
        exclusively.exclusive = true;
        const auto open = jet::Database::Open(Library("Empty.mdb").string(), exclusively);
        EXPECT_FALSE(Run());
        EXPECT_THAT(Message(), testing::ContainsRegex("^Permission denied  \\(70,[0-9]+\\)$"));
        EXPECT_TRUE(fs::exists(Library("Fresh/Gfx")));
        EXPECT_FALSE(fs::exists(Library("Fresh/Fresh.mdb")));
        EXPECT_FALSE(settings.ImportSucceeded);
    }
    fs::remove_all(Library("Fresh"));
    EXPECT_TRUE(Run()) << Message();
}

TEST_F(ImportTrouble, ATemplateThatOthersHaveOpenIsCopied) {
    Games(GamesLine("A", "a"));
    const dao::Database open = dao::DBEngine().OpenDatabase(database.LibraryRoot() + "Empty.mdb");
    EXPECT_TRUE(Run()) << Message();
    EXPECT_THAT(FreshRows("SELECT Name FROM Games"), ElementsAre("A"));
}

TEST_F(ImportTrouble, AFolderInPlaceOfTheTemplateIsNoTemplate) {
    fs::remove(Library("Empty.mdb"));
    fs::create_directory(Library("Empty.mdb"));
    Games(GamesLine("A", "a"));
    EXPECT_FALSE(Run());
    EXPECT_THAT(ui.messages[0].text, StartsWith("Could not find Empty.mdb"));
    EXPECT_FALSE(fs::exists(Library("Fresh")));
}

#ifndef _WIN32  // rights are no modes there
TEST_F(ImportTrouble, ATemplateThatCannotBeReadLeavesAFolderWithoutADatabase) {
    fs::permissions(Library("Empty.mdb"), fs::perms::none);
    Games(GamesLine("A", "a"));
    const test::OrdinaryUser user(Library(""));
    EXPECT_FALSE(Run());
    EXPECT_THAT(Message(), testing::ContainsRegex("  \\([0-9]+,13\\)$"));
    EXPECT_TRUE(fs::exists(Library("Fresh/Gfx")));
    EXPECT_FALSE(fs::exists(Library("Fresh/Fresh.mdb")));
    EXPECT_FALSE(settings.ImportSucceeded);
}
#endif

TEST_F(ImportTrouble, ATemplateThatIsNoDatabaseFailsWhenGamesAreToBeAdded) {
    test::WriteFile(Library("Empty.mdb"), "no database");
    Games(GamesLine("A", "a"));
    EXPECT_FALSE(Run());
    EXPECT_THAT(Message(), testing::ContainsRegex("  \\([0-9]+,0\\)$"));
    EXPECT_TRUE(settings.ImportSucceeded);
}

TEST_F(ImportTrouble, AFileNameThatTheFieldCannotHoldEndsTheImport) {
    Games(GamesLine("A", "a") + GamesLine("B", std::string(256, 'b')) + GamesLine("C", "c"));
    EXPECT_FALSE(Run());
    EXPECT_THAT(Message(), testing::EndsWith("  (3163,0)"));
    EXPECT_EQ(tables.FailedEntry, 1U);
    EXPECT_EQ(tables.GamesWritten, 1);
    EXPECT_THAT(FreshRows("SELECT Name FROM Games"), ElementsAre("A"));
    fs::remove_all(Library("Fresh"));
    Games(GamesLine("A", std::string(255, 'a')));
    EXPECT_TRUE(Run());
}

TEST_F(ImportTrouble, ADatabaseThatIsMissingIsNamedByItsWindowsPath) {
    Games(GamesLine("A", "a"));
    IntoExisting();
    settings.ExistingDatabasePath = database.LibraryRoot() + "Arcade\\Gone.mdb";
    EXPECT_FALSE(Run());
    EXPECT_THAT(Message(), HasSubstr(settings.ExistingDatabasePath));
    EXPECT_THAT(Message(), testing::EndsWith("  (3024,2)"));
}

TEST_F(ImportTrouble, ADatabaseFoundDamagedAfterItWasOpenedIsNamedByItsWindowsPath) {
    Games(GamesLine("A (1985)(Softco)[cr B]", "A (1985)(Softco)[cr B].st"));
    IntoExisting();
    settings.TosecNames = true;
    const fs::path file = database.HostFile();
    constexpr std::uintmax_t kPageBytes = 4096;
    int damaged = 0;
    for (std::uintmax_t bytes = fs::file_size(file); bytes > 3 * kPageBytes; bytes -= kPageBytes) {
        fs::resize_file(file, bytes - kPageBytes);
        if (Run()) continue;
        EXPECT_THAT(Message(), testing::Not(HasSubstr(file.parent_path().string())));
        if (Message().find("  (3049,") == std::string::npos) continue;
        EXPECT_THAT(Message(), HasSubstr("'" + database.Path() + "'"));
        ++damaged;
    }
    EXPECT_GT(damaged, 0);
}

#ifndef _WIN32  // rights are no modes there
TEST_F(ImportTrouble, RomsThatCannotBeOpenedEndTheScanWithTheirError) {
    Games(GamesLine("A", "a"));
    Roms();
    test::WriteFile(folder / "roms/secret", "x");
    fs::permissions(folder / "roms/secret", fs::perms::none);
    const test::OrdinaryUser user(folder.Path());
    EXPECT_FALSE(Run());
    EXPECT_EQ(Message(), "Path/File access error  (75,13)");
    EXPECT_FALSE(fs::exists(Library("Fresh")));
}
#endif

TEST_F(ImportTrouble, LinksInALoopAndLinksToNothingAreLeftOut) {
    Games(GamesLine("A", "a", "CBF43926", "9"));
    Roms();
    test::WriteFile(folder / "roms/Sub/a", "123456789");
    fs::create_directory_symlink(folder / "roms", folder / "roms/Sub/up");
    fs::create_symlink(folder / "roms/two", folder / "roms/one");
    fs::create_symlink(folder / "roms/one", folder / "roms/two");
    fs::create_symlink(folder / "gone", folder / "roms/dangling");
    EXPECT_TRUE(Run()) << Message();
    EXPECT_THAT(FreshRows("SELECT Filename FROM Games"), ElementsAre("Sub\\a"));
    EXPECT_THAT(progress.prompts, testing::Contains("Grabbing CRC-32 values for 2 files..."));
}

TEST_F(ImportTrouble, RomNamesOfAnyAlphabetAreFoundAndWritten) {
    const std::vector<std::string> names = {"Pok\u00E9mon \u20AC.zip", "\u30C6\u30C8\u30EA\u30B9.zip",
                                            "\U0001F3AE.zip"};
    std::string lines;
    Roms();
    for (const std::string& name : names) {
        test::WriteFile(folder / "roms" / name, name);
        lines += GamesLine(
            "Game", "x.zip",
            Hex(clsCRC().CalculateBytes({reinterpret_cast<const std::uint8_t*>(name.data()), name.size()})),
            std::to_string(name.size()));
    }
    Games(lines);
    EXPECT_TRUE(Run()) << Message();
    EXPECT_THAT(FreshRows("SELECT Filename FROM Games ORDER BY GA_Id"), testing::ElementsAreArray(names));
}

TEST_F(ImportTrouble, AFolderOf100000FilesIsScanned) {
    constexpr int kFiles = 100'000;
    Games(GamesLine("A", "a", "CBF43926", "9"));
    Roms();
    // Links to one file: as many directory entries, and far less work for the disk.
    test::WriteFile(folder / "rom", "123456789");
    constexpr int kLinksOfAFile = 30'000;  // file systems allow about twice as many
    fs::path target = folder / "rom";
    for (int i = 0; i < kFiles; ++i) {
        if (i % kLinksOfAFile == 0) {
            target = folder / ("rom" + std::to_string(i));
            test::WriteFile(target, "123456789");
        }
        fs::create_hard_link(target, folder / "roms" / (std::to_string(i) + ".rom"));
    }
    EXPECT_TRUE(Run()) << Message();
    EXPECT_THAT(progress.prompts, testing::Contains("Grabbing CRC-32 values for 100000 files..."));
    const std::vector<std::string> found = FreshRows("SELECT Filename FROM Games");
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_THAT(found[0], testing::EndsWith(".rom"));
}

class ImportTroubleJet3 : public ImportTrouble {
protected:
    ImportTroubleJet3() : ImportTrouble(jet::JetVersion::Jet3) {}
};

// That format holds characters of code page 1252 only.
TEST_F(ImportTroubleJet3, RomNamesBeyondTheCodePageLoseTheirCharacters) {
    Roms();
    const std::string name = "Pok\u00E9mon \u30C6.zip";
    test::WriteFile(folder / "roms" / name, "123456789");
    Games(GamesLine("Game", "x.zip", "CBF43926", "9"));
    EXPECT_TRUE(Run()) << Message();
    EXPECT_THAT(FreshRows("SELECT Filename FROM Games"), ElementsAre("Pok\u00E9mon ?.zip"));
}

}  // namespace
}  // namespace marrowkit
