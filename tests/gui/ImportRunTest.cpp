// The import from its menu entry to the last message: stages, cancelling, failures, existing databases.
#include <QApplication>
#include <QCheckBox>
#include <QKeyEvent>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "forms/Twips.h"
#include "gui/ImportFixture.h"
#include "import/frmRomCenter2.h"
#include "support/BothFormats.h"

namespace marrowkit {
namespace {

using test::Child;
using test::GamesLine;
using test::StageWatch;

constexpr const char* kReminder =
    "You will need to run \"Scan and Fix Errors\" on this database file before you can use it.";

class ImportRun : public test::ImportFixture, public ::testing::WithParamInterface<jet::JetVersion> {
protected:
    void Prepare() {
        AddTemplate(GetParam());
        WriteDatafile("Nimbus.dat",
                      GamesLine("Alpha (1987)(Brightwater)", "Alpha (1987)(Brightwater).bin", "cbf43926", 9) +
                          GamesLine("Beta (1988)(-)", "Beta (1988)(-).bin", "1", 5));
        test::WriteFile(folder_ / "drive_c/Roms/Sub/a.bin", "123456789");
    }
    /// The options dialog is filled and started.
    void StartWith(std::initializer_list<const char*> ticks) {
        driver_.UseDialog(QStringLiteral("frmRomCenter2"),
                          [list = std::vector<const char*>(ticks)](QDialog& dialog) {
                              for (const char* box : list) Child<QCheckBox>(dialog, box).click();
                              Child<QLineEdit>(dialog, "txtRomPath").setText(QStringLiteral("C:\\Roms"));
                              Child<QPushButton>(dialog, "cmdOK").click();
                          });
    }
    void LeaveOptions() {
        driver_.UseDialog(QStringLiteral("frmRomCenter2"), [](QDialog& dialog) {
            EXPECT_TRUE(Child<QPushButton>(dialog, "cmdOK").isEnabled());
            EXPECT_EQ(dialog.focusWidget(), &Child<QPushButton>(dialog, "cmdOK"));
            dialog.reject();
        });
    }
    std::vector<QString> Texts() const {
        std::vector<QString> texts;
        for (const test::SeenBox& box : driver_.Boxes()) texts.push_back(box.text);
        return texts;
    }
};

const std::vector<std::string> kCancellableStages = {
    "Loading Datafile into memory (skipping duplicates)...",
    "Getting unique FileTypes list...",
    "Preparing File List...",
    "Grabbing CRC-32 values for 1 files...",
    "CRC-32/Size Matches found:",
    "Obtaining DB info from TOSEC filenames...",
};

TEST_P(ImportRun, ShowsEveryStageInItsOrderAndDisablesCancelBeforeItWrites) {
    Prepare();
    Open();
    std::map<std::string, bool> cancelEnabled;
    std::set<std::pair<int, int>> sizes;
    StageWatch watch([&](QDialog& dialog, const std::string& stage) {
        EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Importing Nimbus.dat..."));
        EXPECT_NE(QApplication::overrideCursor(), nullptr) << stage;
        cancelEnabled[stage] = Child<QPushButton>(dialog, "cmdCancel").isEnabled();
        const auto& bar = Child<QProgressBar>(dialog, "pbStatus");
        EXPECT_EQ(bar.value(), bar.minimum()) << "a stage begins with an empty bar: " << stage;
        sizes.insert({dialog.width(), dialog.height()});
        if (stage != "Creating New Database...") return;
        // Neither Esc nor the close box can end it any more.
        dialog.reject();
        dialog.close();
        EXPECT_TRUE(dialog.isVisible());
    });
    ChooseFile("Nimbus.dat");
    StartWith({"chkIgnoreDups", "chkTosec", "chkScan", "chkMatch"});
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuFileNewRomCenter2");
    std::vector<std::string> stages = kCancellableStages;
    stages.insert(stages.end(), {"Creating New Database...", "Adding games to database..."});
    EXPECT_EQ(watch.Stages().back(), "Adding games to database...");
    std::vector<std::string> shown = watch.Stages();
    std::erase(shown, "Initialising...");
    EXPECT_EQ(shown, stages);
    for (const std::string& stage : kCancellableStages) EXPECT_TRUE(cancelEnabled[stage]) << stage;
    EXPECT_FALSE(cancelEnabled["Creating New Database..."]);
    EXPECT_EQ(sizes, (std::set<std::pair<int, int>>{{TwipsToPixels(5175), TwipsToPixels(1215)}}))
        << "the window keeps its size, whatever the stage says";
    EXPECT_FALSE(cancelEnabled["Adding games to database..."]);
    EXPECT_FALSE(GlobalImportSettings().ImportCancelled);
    EXPECT_EQ(Texts(), std::vector<QString>{QString::fromLatin1(kReminder)});
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(One("Nimbus", "SELECT COUNT(*) FROM Games"), "2");
    EXPECT_TRUE(Problems("Nimbus").empty());
}

TEST_P(ImportRun, CanBeCancelledInEveryStageBeforeItWrites) {
    Prepare();
    Open();
    for (const std::string& cancelIn : kCancellableStages) {
        StageWatch watch([&](QDialog& dialog, const std::string& stage) {
            if (stage != cancelIn) return;
            Child<QPushButton>(dialog, "cmdCancel").click();
            EXPECT_FALSE(Child<QPushButton>(dialog, "cmdCancel").isEnabled());
        });
        ChooseFile("Nimbus.dat");
        StartWith({"chkIgnoreDups", "chkTosec", "chkScan", "chkMatch"});
        LeaveOptions();
        Trigger("mnuFileNewRomCenter2");
        EXPECT_EQ(watch.Stages().back(), cancelIn);
        EXPECT_TRUE(GlobalImportSettings().ImportCancelled) << cancelIn;
        EXPECT_FALSE(GlobalImportSettings().ImportSucceeded) << cancelIn;
        EXPECT_FALSE(std::filesystem::exists(Library() / "Nimbus")) << cancelIn;
        EXPECT_TRUE(driver_.Boxes().empty()) << cancelIn;
        EXPECT_EQ(QApplication::overrideCursor(), nullptr) << cancelIn;
    }
}

TEST_P(ImportRun, CancelledInAnyStageItLeavesAnExistingDatabaseAsItWas) {
    Prepare();
    AddDatabase("Arcade", 5, GetParam());
    Open();
    SelectDatabase("Arcade");
    const std::string before = test::ReadFile(Library() / "Arcade/Arcade.mdb");
    for (const std::string& cancelIn : kCancellableStages) {
        StageWatch watch([&](QDialog& dialog, const std::string& stage) {
            if (stage == cancelIn) Child<QPushButton>(dialog, "cmdCancel").click();
        });
        ChooseFile("Nimbus.dat");
        StartWith({"chkIgnoreDups", "chkTosec", "chkScan", "chkMatch"});
        LeaveOptions();
        Trigger("mnuDBImportRC2");
        EXPECT_EQ(watch.Stages().back(), cancelIn);
        EXPECT_TRUE(GlobalImportSettings().ImportCancelled) << cancelIn;
        EXPECT_EQ(test::ReadFile(Library() / "Arcade/Arcade.mdb"), before) << cancelIn;
    }
    EXPECT_TRUE(driver_.Boxes().empty());
}

TEST_P(ImportRun, AFailureWhileWritingKeepsTheGamesBeforeItAndReminds) {
    Prepare();
    AddDatabase("Arcade", 5, GetParam());
    const auto game = [](const char* name) { return GamesLine(name, std::string(name) + ".bin", "1", 5); };
    WriteDatafile("Quoted.dat", game("Alpha (1987)(Brightwater)") + game("Beta (1988)(The \"Best\")") +
                                    game("Gamma (1989)(Eastgate)"));
    Open();
    SelectDatabase("Arcade");
    for (const bool existing : {false, true}) {
        ChooseFile("Quoted.dat");
        StartWith({"chkTosec"});
        driver_.AnswerBox(QMessageBox::Ok);
        driver_.AnswerBox(QMessageBox::Ok);
        Trigger(existing ? "mnuDBImportRC2" : "mnuFileNewRomCenter2");
        const std::size_t shown = driver_.Boxes().size();
        ASSERT_GE(shown, 2U);
        EXPECT_EQ(driver_.Boxes()[shown - 2].icon, QMessageBox::Information);
        EXPECT_TRUE(driver_.Boxes()[shown - 2].text.contains(QStringLiteral("  (3075,")))
            << driver_.Boxes()[shown - 2].text.toStdString();
        EXPECT_EQ(driver_.Boxes()[shown - 1].text, QString::fromLatin1(kReminder));
        const char* database = existing ? "Arcade" : "Quoted";
        EXPECT_EQ(One(database, "SELECT COUNT(*) FROM Games"), "1");
        EXPECT_TRUE(Problems(database).empty());
        SelectDatabase("Arcade");
    }
}

TEST_P(ImportRun, EscAndTheCloseBoxPressCancel) {
    Prepare();
    Open();
    for (const bool byEsc : {true, false}) {
        StageWatch watch([&](QDialog& dialog, const std::string& stage) {
            if (stage != "Loading Datafile into memory...") return;
            if (byEsc) {
                QTest::keyClick(&dialog, Qt::Key_Escape);
            } else {
                dialog.close();
            }
            EXPECT_TRUE(dialog.isVisible());  // it goes when the import has noticed
        });
        ChooseFile("Nimbus.dat");
        StartWith({});
        LeaveOptions();
        Trigger("mnuFileNewRomCenter2");
        EXPECT_TRUE(GlobalImportSettings().ImportCancelled);
        EXPECT_FALSE(std::filesystem::exists(Library() / "Nimbus"));
    }
}

TEST_P(ImportRun, GoesIntoTheSelectedDatabaseAndThroughTheRootMenuIntoItAgain) {
    Prepare();
    AddDatabase("Arcade", 5, GetParam());
    Open();
    SelectDatabase("Arcade");
    for (const char* entry : {"mnuDBImportRC2", "mnuRootNewRomCenter2"}) {
        ChooseFile("Nimbus.dat");
        StartWith({});
        driver_.AnswerBox(QMessageBox::Ok);
        Trigger(entry);
        EXPECT_TRUE(GlobalImportSettings().ImportSucceeded) << entry;
        EXPECT_EQ(GlobalImportSettings().NewDatabaseKey, "") << entry;
        EXPECT_EQ(driver_.Boxes().back().text, QString::fromLatin1(kReminder)) << entry;
        EXPECT_EQ(driver_.Boxes().back().title, QStringLiteral("Marrowkit")) << entry;
        Tree().setCurrentItem(Node("ROOT"));
    }
    EXPECT_EQ(One("Arcade", "SELECT COUNT(*) FROM Games"), "4");
    EXPECT_FALSE(std::filesystem::exists(Library() / "Nimbus"));
    EXPECT_TRUE(Problems("Arcade").empty());
}

TEST_P(ImportRun, StillRemindsOfScanAndFixWhenAddingGamesFails) {
    Prepare();
    test::WriteFile(Library() / "Empty.mdb", "no database");
    Open();
    ChooseFile("Nimbus.dat");
    StartWith({});
    driver_.AnswerBox(QMessageBox::Ok);
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuFileNewRomCenter2");
    ASSERT_EQ(driver_.Boxes().size(), 2U);
    EXPECT_TRUE(driver_.Boxes()[0].text.contains(QStringLiteral("  (3343,")))
        << driver_.Boxes()[0].text.toStdString();
    EXPECT_EQ(driver_.Boxes()[0].title, QStringLiteral("Marrowkit"));
    EXPECT_EQ(driver_.Boxes()[0].icon, QMessageBox::Information);
    EXPECT_EQ(driver_.Boxes()[1].text, QString::fromLatin1(kReminder));
    // What was made stays, and is shown.
    EXPECT_EQ(Tree().currentItem(), Node(R"(C:\Vellora\Nimbus\)"));
}

TEST_P(ImportRun, SaysThatThereWereNoGamesAndMakesNothing) {
    Prepare();
    WriteDatafile("Empty.dat", "no games line\r\n");
    Open();
    ChooseFile("Empty.dat");
    StartWith({});
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuFileNewRomCenter2");
    ASSERT_EQ(driver_.Boxes().size(), 1U);
    EXPECT_EQ(driver_.Boxes()[0].text, QStringLiteral("There were no games to import!"));
    EXPECT_EQ(driver_.Boxes()[0].title, QStringLiteral("Marrowkit"));
    EXPECT_EQ(driver_.Boxes()[0].icon, QMessageBox::Information);
    EXPECT_FALSE(std::filesystem::exists(Library() / "Empty"));
}

TEST_P(ImportRun, HintsAtAnOlderDatafileWhenASizeIsNoNumberWhileSkippingDuplicates) {
    Prepare();
    WriteDatafile("Bad.dat", GamesLine("Alpha", "alpha.bin", "1", "many"));
    Open();
    ChooseFile("Bad.dat");
    StartWith({"chkIgnoreDups"});
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuFileNewRomCenter2");
    ASSERT_EQ(driver_.Boxes().size(), 1U);
    const QString text = driver_.Boxes()[0].text;
    EXPECT_TRUE(text.startsWith(QStringLiteral("Type mismatch  (13,"))) << text.toStdString();
    EXPECT_TRUE(
        text.endsWith(QStringLiteral(")\n\nThis may not be a valid v2.00 datafile, it may be a misreported "
                                     "v1.92 datafile!")))
        << text.toStdString();
    EXPECT_FALSE(std::filesystem::exists(Library() / "Bad"));
}

TEST_P(ImportRun, WithoutTheTemplateDatabaseSaysWhereToFindOne) {
    Prepare();
    std::filesystem::remove(Library() / "Empty.mdb");
    Open();
    ChooseFile("Nimbus.dat");
    StartWith({});
    driver_.AnswerBox(QMessageBox::Ok);  // of the creation
    driver_.AnswerBox(QMessageBox::Ok);  // of the import, which ends with the same text
    Trigger("mnuFileNewRomCenter2");
    ASSERT_EQ(driver_.Boxes().size(), 2U);
    EXPECT_EQ(driver_.Boxes()[0].title, QStringLiteral("Marrow-Kit"));
    EXPECT_EQ(driver_.Boxes()[1].title, QStringLiteral("Marrowkit"));
    EXPECT_EQ(
        driver_.Boxes()[0].text,
        QStringLiteral("Could not find Empty.mdb in the Vellora installation folder.\n\nYou can download "
                       "another Empty.mdb file from the Vellora web site."));
    EXPECT_FALSE(std::filesystem::exists(Library() / "Nimbus"));
}

TEST_P(ImportRun, MakesADatabaseWithoutHelpAndWithoutAScanWithoutPaths) {
    Prepare();
    Open();
    ChooseFile("Nimbus.dat");
    StartWith({});
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuFileNewRomCenter2");
    for (const char* file : {"help.htm", "Credits.ini", "Paths.ini", "Emulators.ini"})
        EXPECT_FALSE(std::filesystem::exists(Library() / "Nimbus" / file)) << file;
    for (const char* file : {"Nimbus.mdb", "Credits.txt", "Text.ini"})
        EXPECT_TRUE(std::filesystem::exists(Library() / "Nimbus" / file)) << file;
}

TEST_P(ImportRun, SkipsTheScanSilentlyWhereThereIsNothingToScan) {
    Prepare();
    WriteDatafile("Undotted.dat", GamesLine("Alpha", "alpha", "cbf43926", 9));
    std::filesystem::create_directories(folder_ / "drive_c/Nothing");
    Open();
    // No extension to look for; then a folder without files.
    for (const bool matchExtensions : {true, false}) {
        ChooseFile("Undotted.dat");
        driver_.UseDialog(QStringLiteral("frmRomCenter2"), [matchExtensions](QDialog& dialog) {
            Child<QLineEdit>(dialog, "txtName")
                .setText(matchExtensions ? QStringLiteral("Matching") : QStringLiteral("All"));
            Child<QCheckBox>(dialog, "chkScan").click();
            if (matchExtensions) Child<QCheckBox>(dialog, "chkMatch").click();
            Child<QLineEdit>(dialog, "txtRomPath")
                .setText(matchExtensions ? QStringLiteral("C:\\Roms") : QStringLiteral("C:\\Nothing"));
            Child<QPushButton>(dialog, "cmdOK").click();
        });
        driver_.AnswerBox(QMessageBox::Ok);
        StageWatch watch;
        Trigger("mnuFileNewRomCenter2");
        EXPECT_EQ(Texts().back(), QString::fromLatin1(kReminder));
        for (const std::string& stage : watch.Stages())
            EXPECT_EQ(stage.find("CRC-32"), std::string::npos) << stage;
        EXPECT_EQ(One(matchExtensions ? "Matching" : "All", "SELECT COUNT(*) FROM Games"), "1");
    }
}

MARROWKIT_TEST_BOTH_FORMATS(ImportRun);

}  // namespace
}  // namespace marrowkit
