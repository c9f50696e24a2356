#include <filesystem>
#include <string>

#include <gmock/gmock.h>

#include "import/DatafileChoice.h"
#include "import/ImportOptions.h"
#include "platform/files/HostPath.h"
#include "support/RecordingUserInterface.h"
#include "support/TemporaryFolder.h"

namespace marrowkit {
namespace {

using testing::Optional;

TEST(DefaultDatabaseName, IsTheDatafilesNameWithoutItsEndingAndForbiddenCharacters) {
    EXPECT_EQ(MakeDefaultDatabaseName("Atari ST - TOSEC.dat"), "Atari ST - TOSEC");
    EXPECT_EQ(MakeDefaultDatabaseName("a:b?c*d|e.DAT"), "abcde");
    EXPECT_EQ(MakeDefaultDatabaseName("\\/:*?\"<>|.dat"), "New Vellora");
    EXPECT_EQ(MakeDefaultDatabaseName(".dat"), "New Vellora");
    EXPECT_EQ(MakeDefaultDatabaseName("x"), "New Vellora");
    EXPECT_EQ(MakeDefaultDatabaseName(std::string(100, 'x') + ".dat"), std::string(64, 'x'));
    std::string accents;
    for (int i = 0; i < 70; ++i) accents += "\xC3\xA9";
    EXPECT_EQ(MakeDefaultDatabaseName(accents + ".dat"), accents.substr(0, 128));
}

TEST(TosecOption, IsTickedByTheDatafilesNameInAnyCase) {
    EXPECT_TRUE(NamesTosec("Atari ST - TOSEC.dat"));
    EXPECT_TRUE(NamesTosec("Tosec.DAT"));
    EXPECT_FALSE(NamesTosec("MAME v0.83.dat"));
}

TEST(ColumnLists, HaveTheGameNameAndTheRomNameSelected) {
    EXPECT_EQ(kNameColumns[kDefaultColumnItem].caption, "Game Name (col 3)");
    EXPECT_EQ(kFileColumns[kDefaultColumnItem].caption, "Rom Name (col 5)");
}

TEST(ColumnLists, HaveTheSizeColumnBehindTheFileListsLastItem) {
    EXPECT_EQ(kFileColumns.back().caption, "RomOf Name (col 8)");
    EXPECT_EQ(kFileColumns.back().column, 7);
    EXPECT_EQ(kNameColumns.back().caption, "RomOf Name (col 8)");
    EXPECT_EQ(kNameColumns.back().column, 8);
}

class StoreOptions : public testing::Test {
protected:
    StoreOptions() : library(WindowsPath(folder.Path().string()) + "\\") { options.name = "Arcade"; }

    std::string Refusal() {
        const auto refusal = StoreImportOptions(options, library, settings);
        return refusal ? refusal->text : "";
    }

    test::TemporaryFolder folder;
    std::string library;
    ImportOptions options;
    ImportSettings settings;
};

TEST_F(StoreOptions, FillsTheSettings) {
    options.nameColumn = 8;
    options.fileColumn = 7;
    options.skipDuplicates = options.tosecNames = options.addZipExtension = true;
    options.matchExtensionsOnly = true;
    ASSERT_EQ(Refusal(), "");
    EXPECT_EQ(settings.DatabaseName, "Arcade");
    EXPECT_EQ(settings.NewFolderPath, library + "Arcade");
    EXPECT_EQ(settings.NewFolderPathSlash, library + "Arcade\\");
    EXPECT_EQ(settings.NameColumn, 8);
    EXPECT_EQ(settings.FileColumn, 7);
    EXPECT_TRUE(settings.SkipDuplicates && settings.TosecNames && settings.AddZipExtension &&
                settings.MatchExtensionsOnly);
    EXPECT_FALSE(settings.ScanForRoms);
}

// A pasted name is not looked at; only a backslash counts as the end of the folder's path.
TEST_F(StoreOptions, AppendsABackslashUnlessThereIsOne) {
    options.name = "Arcade/";
    ASSERT_EQ(Refusal(), "");
    EXPECT_EQ(settings.NewFolderPathSlash, library + "Arcade/\\");
    options.name = "Arcade\\";
    ASSERT_EQ(Refusal(), "");
    EXPECT_EQ(settings.NewFolderPathSlash, library + "Arcade\\");
}

TEST_F(StoreOptions, RefusesAnEmptyNameAndAnExistingFolder) {
    options.name = "";
    EXPECT_EQ(Refusal(), "You must enter a Vellora name!");
    options.name = "Arcade";
    std::filesystem::create_directory(folder / "ARCADE");
    EXPECT_EQ(Refusal(), "There is already a Vellora folder with that name!");
    EXPECT_EQ(settings.DatabaseName, "");
}

TEST_F(StoreOptions, DoesNotLookAtTheNameWhenImportingIntoAnExistingDatabase) {
    settings.ImportIntoExisting = true;
    options.name = "";
    EXPECT_EQ(Refusal(), "");
    std::filesystem::create_directory(folder / "Arcade");
    options.name = "Arcade";
    EXPECT_EQ(Refusal(), "");
    EXPECT_EQ(settings.NewFolderPath, "");
    EXPECT_EQ(settings.NewFolderPathSlash, "");
}

TEST_F(StoreOptions, RefusesARomPathThatIsNotAbsoluteOrNotThere) {
    options.scanForRoms = true;
    for (const char* path : {"", "\\\\server\\share", "Roms", "C:Roms", "C:/Roms", "1:\\", "C:"}) {
        options.romPath = path;
        EXPECT_EQ(Refusal(), "Please enter an absolute (full) Rom Path!") << path;
    }
    options.romPath = library + "missing";
    EXPECT_EQ(Refusal(), "The Rom Path could not be found!");
    options.romPath = library;
    EXPECT_EQ(Refusal(), "");
}

TEST_F(StoreOptions, DoesNotLookAtTheRomPathWithoutAScan) {
    options.romPath = "nonsense";
    EXPECT_EQ(Refusal(), "");
    EXPECT_EQ(settings.RomPath, "nonsense");
    EXPECT_EQ(settings.RomPathSlash, "nonsense\\");
}

TEST_F(StoreOptions, KeepsBothFormsOfTheRomPath) {
    const char* const kForms[][3] = {{"", "", "\\"},
                                     {"C:\\", "C:\\", "C:\\"},
                                     {"D:\\Roms\\", "D:\\Roms", "D:\\Roms\\"},
                                     {"D:\\Roms", "D:\\Roms", "D:\\Roms\\"},
                                     {"D:\\Roms/", "D:\\Roms/", "D:\\Roms/\\"}};
    for (const auto& [typed, plain, slash] : kForms) {
        options.romPath = typed;
        ASSERT_EQ(Refusal(), "");
        EXPECT_EQ(settings.RomPath, plain);
        EXPECT_EQ(settings.RomPathSlash, slash);
    }
}

class Choice : public testing::Test {
protected:
    bool Accept(const std::string& text) {
        test::WriteFile(folder / "a.dat", text);
        return AcceptDatafile(ui, (folder / "a.dat").string(), settings);
    }

    test::TemporaryFolder folder;
    test::RecordingUserInterface ui;
    ImportSettings settings;
};

TEST_F(Choice, AcceptsTheFourSpellingsOfVersion2) {
    for (const char* version : {"2", "2.", "2.0", "2.00"}) {
        EXPECT_TRUE(Accept(std::string("[DAT]\r\nversion=") + version + "\r\n")) << version;
    }
    EXPECT_TRUE(ui.messages.empty());
}

TEST_F(Choice, ReportsAnyOtherVersion) {
    for (const char* version : {"2.00 ", "v2.00", "1.92", "2.000", "02", ""}) {
        ui.messages.clear();
        EXPECT_FALSE(Accept(std::string("[DAT]\r\nversion=") + version + "\r\n")) << version;
        ASSERT_EQ(ui.messages.size(), 1U);
        EXPECT_EQ(ui.messages[0], (test::RecordingUserInterface::Message{
                                      std::string("This datafile was not found to be version 2.00!\r\n\r\n") +
                                          "Reported version is: [" + version + "]",
                                      MessageIcon::Information, "Marrowkit"}));
        EXPECT_EQ(settings.DatafilePath, "");
    }
}

TEST_F(Choice, ReadsTheCreditsInAnyCase) {
    ASSERT_TRUE(
        Accept("[credits]\r\nAUTHOR=Jo\r\nversion=0.83\r\nComment=two words\r\n[dat]\r\nVERSION=2.00\r\n"));
    EXPECT_EQ(settings.DatafileAuthor, "Jo");
    EXPECT_EQ(settings.DatafileVersion, "0.83");
    EXPECT_EQ(settings.DatafileComment, "two words");
    EXPECT_EQ(settings.DatafilePath, (folder / "a.dat").string());
    ASSERT_TRUE(Accept("[DAT]\r\nversion=2\r\n"));
    EXPECT_EQ(settings.DatafileAuthor, "");
}

TEST_F(Choice, RemindsOfScanAndFix) {
    RemindOfScanAndFix(ui);
    EXPECT_THAT(ui.messages, testing::ElementsAre(test::RecordingUserInterface::Message{
                                 "You will need to run \"Scan and Fix Errors\" on this database file before "
                                 "you can use it.",
                                 MessageIcon::None, "Marrowkit"}));
}

}  // namespace
}  // namespace marrowkit
