// What nobody traps ends the program with the runtime's report. Each of these runs in a process of its own.
#include <QAction>
#include <QCheckBox>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include "forms/FatalError.h"
#include "gui/ImportFixture.h"

namespace marrowkit {
namespace {

using test::Child;
using test::GamesLine;

class FatalError : public test::ImportFixture {
protected:
    FatalError() { GTEST_FLAG_SET(death_test_style, "fast"); }
    void OpenSelected(jet::JetVersion format = jet::JetVersion::Jet4, int minor = 5) {
        AddDatabase("Arcade", minor, format);
        Open();
        SelectDatabase("Arcade");
    }
    std::string Bytes() const { return test::ReadFile(Library() / "Arcade/Arcade.mdb"); }
};

TEST_F(FatalError, EndsScanAndFixAtAFailingStatementAndKeepsWhatRanBefore) {
    for (const jet::JetVersion format : {jet::JetVersion::Jet3, jet::JetVersion::Jet4}) {
        std::filesystem::remove_all(Library() / "Arcade");
        OpenSelected(format, 0);
        Execute("Arcade", "INSERT INTO Games (Name) VALUES (NULL)");
        // What the version promises is not there.
        Execute("Arcade", "UPDATE Config SET MinorVersion = 5");
        EXPECT_EXIT(
            {
                AnswerAndPrint({QMessageBox::Ok});
                Trigger("mnuDBFix");
            },
            ::testing::ExitedWithCode(1), "\\[Marrowkit\\] Run-time error '3061':\n\nToo few parameters");
        EXPECT_EQ(One("Arcade", "SELECT Name FROM Games"), "");
        EXPECT_TRUE(Problems("Arcade").empty());
    }
}

TEST_F(FatalError, EndsScanAndFixOfADatabaseThatMayNotBeWritten) {
    for (const jet::JetVersion format : {jet::JetVersion::Jet3, jet::JetVersion::Jet4}) {
        std::filesystem::remove_all(Library() / "Arcade");
        OpenSelected(format);
        Execute("Arcade", "INSERT INTO Games (Name) VALUES (NULL)");
        const std::string before = Bytes();
        EXPECT_EXIT(
            {
                MakeEverythingReadOnly();
                AnswerAndPrint({QMessageBox::Ok});
                Trigger("mnuDBFix");
            },
            ::testing::ExitedWithCode(1), "\\[Marrowkit\\] Run-time error '[0-9]+':\n\n.+");
        EXPECT_EQ(Bytes(), before);
        folder_.MakeWritable();
    }
}

TEST_F(FatalError, EndsARefreshWhereTheScriptsFolderCannotBeMade) {
    AddDatabase("Arcade");
    std::filesystem::remove(Library() / "Arcade/Scripts");
    test::WriteFile(Library() / "Arcade/Scripts", "a file is in the way");
    EXPECT_EXIT(
        {
            AnswerAndPrint({QMessageBox::Ok});
            RunHandler([this] { Open(); });
        },
        ::testing::ExitedWithCode(1), "\\[Marrowkit\\] Run-time error '75':\n\nPath/File access error");
}

TEST_F(FatalError, EndsARefreshByF5InAFolderThatMayNotBeChanged) {
    OpenSelected();
    std::filesystem::remove(Library() / "Arcade/Scripts");
    EXPECT_EXIT(
        {
            MakeEverythingReadOnly();
            AnswerAndPrint({QMessageBox::Ok});
            QTest::keyClick(&Tree(), Qt::Key_F5);
        },
        ::testing::ExitedWithCode(1), "\\[Marrowkit\\] Run-time error '[0-9]+':\n\n.+");
    EXPECT_FALSE(std::filesystem::exists(Library() / "Arcade/Scripts"));
}

TEST_F(FatalError, EndsTheDeletionOfAFolderThatMayNotBeDeleted) {
    OpenSelected();
    Tree().setCurrentItem(Node(R"(C:\Vellora\Arcade\)"));
    EXPECT_EXIT(
        {
            MakeEverythingReadOnly();
            AnswerAndPrint({QMessageBox::Yes, QMessageBox::Ok});
            Trigger("mnuVelloraDelete");
        },
        ::testing::ExitedWithCode(1),
        "\\[Really Delete 'Arcade'\\?\\].*\\[Marrowkit\\] Run-time error '[0-9]+':\n\n.+");
    EXPECT_TRUE(std::filesystem::exists(Library() / "Arcade/Arcade.mdb"));
}

TEST_F(FatalError, EndsClearingTheExtrasOfADatabaseThatMayNotBeWritten) {
    OpenSelected();
    Execute("Arcade", "INSERT INTO Games (Name, Extras) VALUES (\"Zaxxon\", True)");
    EXPECT_EXIT(
        {
            MakeEverythingReadOnly();
            AnswerAndPrint({QMessageBox::Yes, QMessageBox::Ok});
            Trigger("mnuDBClearExtras");
        },
        ::testing::ExitedWithCode(1), "\\[Marrowkit\\] Run-time error '[0-9]+':\n\n.+");
    EXPECT_EQ(One("Arcade", "SELECT Extras FROM Games"), "True");
}

TEST_F(FatalError, EndsTheDialogsThatFindNoDatabase) {
    OpenSelected();
    std::filesystem::remove(Library() / "Arcade/Arcade.mdb");
    EXPECT_EXIT(
        {
            AnswerAndPrint({QMessageBox::Ok});
            Trigger("mnuDBDeleteRecords");
        },
        ::testing::ExitedWithCode(1), "\\[Marrowkit\\] Run-time error '3024':\n\n.+");
}

TEST_F(FatalError, EndsTheGenresWizardOverADatabaseThatIsNone) {
    OpenSelected();
    test::WriteFile(Library() / "Arcade/Arcade.mdb", "no database");
    Action("mnuDBGenres").setEnabled(true);
    EXPECT_EXIT(
        {
            AnswerAndPrint({QMessageBox::Ok});
            Trigger("mnuDBGenres");
        },
        ::testing::ExitedWithCode(1), "\\[Marrowkit\\] Run-time error '3343':\n\n.+");
}

TEST_F(FatalError, EndsAnImportWhosePlainLoaderMeetsASizeThatIsNoNumber) {
    AddTemplate();
    WriteDatafile("Bad.dat",
                  GamesLine("Alpha", "alpha.bin", "1", "12") + GamesLine("Beta", "beta.bin", "1", "many"));
    Open();
    EXPECT_EXIT(
        {
            ChooseFile("Bad.dat");
            driver_.UseDialog(QStringLiteral("frmRomCenter2"),
                              [](QDialog& dialog) { Child<QPushButton>(dialog, "cmdOK").click(); });
            AnswerAndPrint({QMessageBox::Ok});
            Trigger("mnuFileNewRomCenter2");
        },
        ::testing::ExitedWithCode(1), "\\[Marrowkit\\] Run-time error '13':\n\nType mismatch");
    EXPECT_FALSE(std::filesystem::exists(Library() / "Bad"));
}

TEST_F(FatalError, EndsClosingTheWindowWhenItsGeometryCannotBeSaved) {
    Open();
    EXPECT_EXIT(
        {
            MakeEverythingReadOnly();
            AnswerAndPrint({QMessageBox::Ok});
            window_->close();
        },
        ::testing::ExitedWithCode(1), "\\[Marrowkit\\] Run-time error '[0-9]+':\n\n.+");
}

}  // namespace
}  // namespace marrowkit
