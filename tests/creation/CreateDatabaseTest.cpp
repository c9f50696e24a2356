#include <algorithm>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "creation/CreateDatabase.h"
#include "creation/TemplateResources.h"
#include "global/modGlobal.h"
#include "platform/files/Clock.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "support/RecordingUserInterface.h"
#include "support/TemporaryFolder.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using test::ReadFile;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kNoTemplate =
    "Could not find Empty.mdb in the Vellora installation folder.\r\n\r\n"
    "You can download another Empty.mdb file from the Vellora web site.";

/// Files and folders below a folder, as sorted relative paths; folders end in "/".
std::vector<std::string> Tree(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        names.push_back(fs::relative(entry.path(), folder).generic_string() +
                        (entry.is_directory() ? "/" : ""));
    }
    std::sort(names.begin(), names.end());
    return names;
}

class CreateDatabase : public testing::Test {
protected:
    CreateDatabase() {
        SetToday({2026, 11, 15});
        modGlobal::LibraryRoot = WithFinalBackslash(WindowsPath(library_.Path().string()));
        test::WriteFile(library_ / "Empty.mdb", kTemplateBytes);
    }
    ~CreateDatabase() override { ResetToday(); }

    Creation New(const std::string& name) {
        return CreateNewDatabase(ui_, [name] { return name; });
    }

    ImportDatabaseRequest Request(const std::string& name) {
        ImportDatabaseRequest request;
        request.folderPath = modGlobal::LibraryRoot + name;
        request.databaseName = name;
        request.datafileName = "Games.dat";
        request.credits = {"Author", "1.2", "Comment"};
        return request;
    }

    void Import(const ImportDatabaseRequest& request) {
        CreateImportDatabase(ui_, request, databasePath_, errorText_);
    }

    static constexpr const char* kTemplateBytes = "the template database";
    test::TemporaryFolder library_;
    test::RecordingUserInterface ui_;
    std::string databasePath_;
    std::string errorText_ = "left over";
};

TEST_F(CreateDatabase, MakesACompleteFolder) {
    const Creation creation = New("Nimbus");
    EXPECT_EQ(creation.result, CreationResult::Created);
    EXPECT_EQ(creation.nodeKey, modGlobal::LibraryRoot + "Nimbus\\");
    EXPECT_THAT(
        Tree(library_ / "Nimbus"),
        ElementsAre("Credits.ini", "Credits.txt", "Gfx/", "Gfx/gfx.txt", "Nimbus.mdb", "Scripts/", "Sounds/",
                    "Sounds/sounds.txt", "Splash/", "Splash/Splash.txt", "Text.ini", "help.htm"));
    EXPECT_EQ(ReadFile(library_ / "Nimbus/Nimbus.mdb"), kTemplateBytes);
    EXPECT_THAT(ui_.messages, IsEmpty());
}

TEST_F(CreateDatabase, WritesEveryTextWithALineEndBehindIt) {
    New("Nimbus");
    const fs::path folder = library_ / "Nimbus";
    EXPECT_EQ(ReadFile(folder / "Credits.txt"),
              "Created by Marrowkit v1.1 on Sunday 15 November 2026 by Unknown!\r\n\r\n"
              "If you're the creator of this Vellora database, put your credits in this file "
              "(credits.txt).\r\n");
    EXPECT_EQ(ReadFile(folder / "Text.ini"), LoadTemplateResource(101) + "\r\n");
    EXPECT_EQ(ReadFile(folder / "Gfx/gfx.txt"), LoadTemplateResource(102) + "\r\n");
    EXPECT_EQ(ReadFile(folder / "help.htm"), LoadTemplateResource(103) + "\r\n");
    EXPECT_EQ(ReadFile(folder / "Credits.ini"), LoadTemplateResource(104) + "\r\n");
    EXPECT_EQ(ReadFile(folder / "Sounds/sounds.txt"),
              "Place your own Classic Game WAV files here.  See the Vellora documentation for more "
              "details.\r\n");
    EXPECT_EQ(ReadFile(folder / "Splash/Splash.txt"),
              "Place your own splash screen(s) here.  See the Vellora documentation for more details.\r\n");
}

TEST_F(CreateDatabase, LeavesTheZeroBytesOfTheTemplatesInTheFiles) {
    New("Nimbus");
    EXPECT_THAT(ReadFile(library_ / "Nimbus/help.htm"), testing::EndsWith(std::string("\r\n\0\0\r\n", 6)));
    EXPECT_THAT(ReadFile(library_ / "Nimbus/Text.ini"), testing::EndsWith(std::string("\r\n\0\0\0\r\n", 7)));
    EXPECT_EQ(ReadFile(library_ / "Nimbus/Text.ini").size(), 15474u);
}

TEST_F(CreateDatabase, ShowsTheHourglassWhileItWorksAndRefreshesTheTreeAtTheEnd) {
    New("Nimbus");
    EXPECT_EQ(ui_.hourglassCount, 1);
    EXPECT_FALSE(ui_.hourglass);
    EXPECT_EQ(ui_.eventRuns, 1);
    EXPECT_EQ(ui_.treeRefreshes, 1);
}

TEST_F(CreateDatabase, DoesNothingWhenCancelled) {
    const Creation creation = CreateNewDatabase(ui_, [] { return std::nullopt; });
    EXPECT_EQ(creation.result, CreationResult::Cancelled);
    EXPECT_THAT(Tree(library_.Path()), ElementsAre("Empty.mdb"));
    EXPECT_EQ(ui_.hourglassCount + ui_.treeRefreshes, 0);
}

TEST_F(CreateDatabase, RefusesAFolderThatExistsInAnyCase) {
    fs::create_directory(library_ / "NIMBUS");
    for (const char* name : {"NIMBUS", "Nimbus", "nimbus"}) {
        ui_.messages.clear();
        EXPECT_EQ(New(name).result, CreationResult::Refused) << name;
        EXPECT_THAT(ui_.messages, ElementsAre(test::RecordingUserInterface::Message{
                                      "There is already a Vellora folder with that name!",
                                      MessageIcon::Information, "Marrow-Kit", MessageButtons::Ok, false}));
    }
    EXPECT_THAT(Tree(library_.Path()), ElementsAre("Empty.mdb", "NIMBUS/"));
    EXPECT_EQ(ui_.treeRefreshes, 0);
}

TEST_F(CreateDatabase, RefusesWithoutTheTemplateDatabase) {
    fs::remove(library_ / "Empty.mdb");
    EXPECT_EQ(New("Nimbus").result, CreationResult::Refused);
    EXPECT_THAT(ui_.messages,
                ElementsAre(test::RecordingUserInterface::Message{kNoTemplate, MessageIcon::Information,
                                                                  "Marrow-Kit", MessageButtons::Ok, false}));
    EXPECT_THAT(Tree(library_.Path()), IsEmpty());
}

TEST_F(CreateDatabase, FindsTheTemplateDatabaseInAnyCase) {
    fs::rename(library_ / "Empty.mdb", library_ / "EMPTY.MDB");
    EXPECT_EQ(New("Nimbus").result, CreationResult::Created);
    EXPECT_EQ(ReadFile(library_ / "Nimbus/Nimbus.mdb"), kTemplateBytes);
}

TEST_F(CreateDatabase, TakesANameOf64Characters) {
    std::string name;
    for (int i = 0; i < 64; ++i) name += "\u00E9";
    EXPECT_EQ(New(name).result, CreationResult::Created);
    EXPECT_TRUE(fs::exists(library_ / name / (name + ".mdb")));
}

TEST_F(CreateDatabase, LeavesAHalfMadeFolderQuietlyWhenTheCopyFails) {
    // 252 bytes are a name for a folder on the usual file systems; with ".mdb" behind them they are none.
    std::string name;
    for (int i = 0; i < 63; ++i) name += "\U0001F3AE";
    const Creation creation = New(name);
    if (creation.result == CreationResult::Created) GTEST_SKIP() << "names may be longer here";
    EXPECT_EQ(creation.result, CreationResult::Incomplete);
    EXPECT_THAT(Tree(library_ / name), ElementsAre("Gfx/", "Scripts/", "Sounds/", "Splash/"));
    EXPECT_THAT(ui_.messages, IsEmpty());
    EXPECT_FALSE(ui_.hourglass);
}

TEST_F(CreateDatabase, StopsQuietlyWhenSomethingIsInTheWay) {
    test::WriteFile(library_ / "Nimbus", "a file of that name");
    const Creation creation = New("Nimbus");
    EXPECT_EQ(creation.result, CreationResult::Incomplete);
    EXPECT_THAT(creation.errorText, testing::StartsWith("Path/File access error  (75,"));
    EXPECT_EQ(ReadFile(library_ / "Nimbus"), "a file of that name");
    EXPECT_THAT(ui_.messages, IsEmpty());
    EXPECT_EQ(ui_.treeRefreshes, 0);
    EXPECT_FALSE(ui_.hourglass);
}

TEST_F(CreateDatabase, ForAnImportHasNoHelpAndNoHelpMenu) {
    Import(Request("Nimbus"));
    EXPECT_EQ(errorText_, "");
    EXPECT_EQ(databasePath_, modGlobal::LibraryRoot + "Nimbus\\Nimbus.mdb");
    EXPECT_THAT(Tree(library_ / "Nimbus"),
                ElementsAre("Credits.txt", "Gfx/", "Gfx/gfx.txt", "Nimbus.mdb", "Scripts/", "Sounds/",
                            "Sounds/sounds.txt", "Splash/", "Splash/Splash.txt", "Text.ini"));
    EXPECT_EQ(ReadFile(library_ / "Nimbus/Nimbus.mdb"), kTemplateBytes);
    EXPECT_EQ(ReadFile(library_ / "Nimbus/Text.ini"), LoadTemplateResource(101) + "\r\n");
    EXPECT_EQ(ui_.treeRefreshes, 0);
}

TEST_F(CreateDatabase, ForAnImportNamesTheDatafileAndItsCredits) {
    Import(Request("Nimbus"));
    EXPECT_EQ(ReadFile(library_ / "Nimbus/Credits.txt"),
              "Created by Marrowkit v1.1 on Sunday 15 November 2026 by Unknown!\r\n\r\n"
              "Imported RomCenter v2.00 Datafile: -\r\nGames.dat\r\n\r\n"
              "[CREDITS]\r\nAuthor=Author\r\nVersion=1.2\r\nComment=Comment\r\n");
}

TEST_F(CreateDatabase, ForAnImportWithARomScanSaysWhereTheRomsAre) {
    ImportDatabaseRequest request = Request("Nimbus");
    request.romPath = "C:\\Roms";
    request.scanForRoms = true;
    request.extensionList = ".ZIP;.D64;";
    Import(request);
    EXPECT_EQ(ReadFile(library_ / "Nimbus/Paths.ini"), "[Games]\r\n1=C:\\Roms\r\n");
    EXPECT_EQ(ReadFile(library_ / "Nimbus/Emulators.ini"), "[File Types]\r\nSupportTypes=.ZIP;.D64;\r\n");
}

// A lone line feed does not end a datafile's line, so a file name, and its extension, can hold one.
TEST_F(CreateDatabase, ForAnImportKeepsAnExtensionListWithALineEndInOneLine) {
    ImportDatabaseRequest request = Request("Nimbus");
    request.romPath = "C:\\Roms";
    request.scanForRoms = true;
    request.extensionList = "zi\np;\r\n[Games]\n1=X;d64;";
    Import(request);
    EXPECT_EQ(errorText_, "");
    EXPECT_EQ(ReadFile(library_ / "Nimbus/Emulators.ini"),
              "[File Types]\r\nSupportTypes=zi p;  [Games] 1=X;d64;\r\n");
}

TEST_F(CreateDatabase, ForAnImportWithoutARomScanOrFolderDoesNot) {
    ImportDatabaseRequest noScan = Request("NoScan");
    noScan.romPath = "C:\\Roms";
    Import(noScan);
    ImportDatabaseRequest noFolder = Request("NoFolder");
    noFolder.scanForRoms = true;
    Import(noFolder);
    for (const char* name : {"NoScan", "NoFolder"}) {
        EXPECT_FALSE(fs::exists(library_ / name / "Paths.ini")) << name;
        EXPECT_FALSE(fs::exists(library_ / name / "Emulators.ini")) << name;
    }
}

TEST_F(CreateDatabase, ForAnImportWithoutTheTemplateDatabaseFails) {
    fs::remove(library_ / "Empty.mdb");
    Import(Request("Nimbus"));
    EXPECT_EQ(errorText_, kNoTemplate);
    ASSERT_EQ(ui_.messages.size(), 1u);
    EXPECT_EQ(ui_.messages[0].text, kNoTemplate);
    EXPECT_EQ(ui_.messages[0].title, "Marrow-Kit");
    EXPECT_THAT(Tree(library_.Path()), IsEmpty());
}

TEST_F(CreateDatabase, ForAnImportReturnsAnUnexpectedErrorAsText) {
    fs::create_directory(library_ / "Nimbus");
    Import(Request("Nimbus"));
    EXPECT_THAT(errorText_, testing::StartsWith("Path/File access error  (75,"));
    EXPECT_THAT(ui_.messages, IsEmpty());
    EXPECT_FALSE(ui_.hourglass);
}

}  // namespace
}  // namespace marrowkit
