// What the maintenance operations say when they cannot do their work, and how they leave the windows behind.
#include <QAction>
#include <QApplication>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <utility>

#include <gtest/gtest.h>

#include "gui/MaintenanceFixture.h"
#include "maintenance/frmGenres.h"

namespace marrowkit {
namespace {

using test::Child;

/// Remembers what a window's lblPrompt said when it was painted.
class PaintWatch : public QObject {
public:
    explicit PaintWatch(QString window) : window_(std::move(window)) { qApp->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override {
        const auto* label = qobject_cast<QLabel*>(watched);
        if (event->type() == QEvent::Paint && label != nullptr && label->window()->objectName() == window_)
            prompt_ = label->text();
        return false;
    }
    QString TakePrompt() { return std::exchange(prompt_, QString()); }

private:
    QString window_;
    QString prompt_;
};

class MaintenanceMessages : public test::MaintenanceFixture {};

TEST_P(MaintenanceMessages, FixAndCompactReportAFileThatHasGone) {
    OpenWith("Arcade");
    std::filesystem::remove(Library() / "Arcade/Arcade.mdb");
    for (const char* action : {"mnuDBFix", "mnuDBCompact"}) {
        driver_.AnswerBox(QMessageBox::Ok);
        Trigger(action);
        ExpectBox(QStringLiteral("Vellora"),
                  QStringLiteral(R"(Could not find file: C:\Vellora\Arcade\Arcade.mdb)"),
                  QMessageBox::Information);
        ExpectNothingIsBusy();
        EXPECT_EQ(Status(), QStringLiteral("Right-Click each Node for options"));
    }
}

TEST_P(MaintenanceMessages, FixRefusesADatabaseBelow20AndOneThatCannotBeRead) {
    OpenWith("Arcade");
    Execute("Arcade", "UPDATE Config SET MajorVersion = 1, MinorVersion = 9");
    for (int i = 0; i < 2; ++i) {
        driver_.AnswerBox(QMessageBox::Ok);
        Trigger("mnuDBFix");
        ExpectBox(QStringLiteral("Vellora"), QStringLiteral("Version of database is less than 2.0!"),
                  QMessageBox::Information);
        test::WriteFile(Library() / "Arcade/Arcade.mdb", "no database");
    }
    EXPECT_EQ(driver_.Boxes().size(), 2U);
}

TEST_P(MaintenanceMessages, FixSaysTheSameTheSecondTime) {
    OpenWith("Arcade");
    Execute("Arcade", "INSERT INTO Games (Name) VALUES (NULL)");
    for (int i = 0; i < 2; ++i) {
        driver_.AnswerBox(QMessageBox::Ok);
        Trigger("mnuDBFix");
        ExpectBox(QStringLiteral("Vellora"), QStringLiteral("Fixed: All NULL Data Removed!"),
                  QMessageBox::Information);
        EXPECT_EQ(One("Arcade", "SELECT Name FROM Games"), "");
    }
}

TEST_P(MaintenanceMessages, CompactTellsTheSizesOfADatabaseWithoutGames) {
    OpenWith("Arcade");
    const auto kilobytes = [this] {
        return QString::number((std::filesystem::file_size(Library() / "Arcade/Arcade.mdb") + 512) / 1024);
    };
    const QString before = kilobytes();
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuDBCompact");
    ExpectBox(QStringLiteral("Vellora"),
              QStringLiteral("Compacted Database from %1Kb to %2Kb.").arg(before, kilobytes()),
              QMessageBox::Information);
    ExpectNothingIsBusy();
}

TEST_P(MaintenanceMessages, CompactReportsWhatWentWrongWithItsNumbers) {
    OpenWith("Arcade");
    test::WriteFile(Library() / "Arcade/Arcade.mdb", "no database");
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuDBCompact");
    ASSERT_EQ(driver_.Boxes().size(), 1U);
    const test::SeenBox& box = driver_.Boxes()[0];
    EXPECT_EQ(box.title, QStringLiteral("Marrow-Kit"));
    EXPECT_EQ(box.icon, QMessageBox::Critical);
    EXPECT_TRUE(box.text.startsWith(
        QStringLiteral("Unable to compact database 'C:\\Vellora\\Arcade\\Arcade.mdb'.\n\n")))
        << box.text.toStdString();
    EXPECT_TRUE(box.text.contains(QStringLiteral(" (3343,"))) << box.text.toStdString();
    EXPECT_TRUE(box.text.endsWith(QLatin1Char(')')));
    EXPECT_EQ(test::ReadFile(Library() / "Arcade/Arcade.mdb"), "no database");
    ExpectNothingIsBusy();
}

TEST_P(MaintenanceMessages, ClearExtrasTakesAMissingFileForTooOld) {
    OpenWith("Arcade");
    std::filesystem::remove(Library() / "Arcade/Arcade.mdb");
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuDBClearExtras");
    ExpectBox(QStringLiteral("Marrowkit"),
              QStringLiteral("Database must be v2.1 or higher to perform this operation!"),
              QMessageBox::Information);
}

TEST_P(MaintenanceMessages, RemoveViewsAsksAndANoChangesNothing) {
    OpenWith("Arcade");
    for (const QMessageBox::StandardButton answer : {QMessageBox::No, QMessageBox::Cancel}) {
        driver_.AnswerBox(answer);
        Trigger("mnuDBRemoveViews");
        const test::SeenBox& box = driver_.Boxes().back();
        EXPECT_EQ(box.icon, QMessageBox::Question);
        EXPECT_EQ(box.buttons, QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
        EXPECT_EQ(box.defaultButton, QMessageBox::No);
    }
    EXPECT_EQ(driver_.Boxes().size(), 2U);
    EXPECT_EQ(Status(), QStringLiteral("Right-Click each Node for options"));
}

TEST_P(MaintenanceMessages, AFolderThatHasGoneIsReportedAndLeavesTheTree) {
    OpenWith("Arcade");
    Tree().setCurrentItem(Node(R"(C:\Vellora\Arcade\)"));
    std::filesystem::remove_all(Library() / "Arcade");
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuVelloraDelete");
    ExpectBox(QStringLiteral("Marrowkit"), QStringLiteral("Huh? This folder doesn't exist!"),
              QMessageBox::NoIcon);
    EXPECT_EQ(Node(R"(C:\Vellora\Arcade\)"), nullptr);
}

TEST_P(MaintenanceMessages, TheGenresWizardReportsADatabaseThatHasGone) {
    OpenWith("Arcade");
    std::filesystem::remove_all(Library() / "Arcade");
    Trigger("mnuDBGenres");  // greyed: nothing happens
    EXPECT_TRUE(driver_.Boxes().empty());
    Action("mnuDBGenres").setEnabled(true);
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuDBGenres");
    ExpectBox(QStringLiteral("Marrowkit"), QStringLiteral("Huh? This database doesn't exist!"),
              QMessageBox::NoIcon);
    EXPECT_EQ(Node(R"(C:\Vellora\Arcade\)"), nullptr);
}

TEST_P(MaintenanceMessages, DeletingTheLastRecordOfAListSelectsTheNewLastAndTheOnlyOneLeavesNone) {
    OpenWith("Arcade");
    for (const char* name : {"Anna", "Berta", "Clara"})
        Execute("Arcade", std::string("INSERT INTO Crackers (Cracker) VALUES (\"") + name + "\")");
    struct Deletion {
        int row;
        int selectedAfterwards;
        const char* remaining;
    };
    // The first of three: its successor takes its place. Then the last, then the only one.
    const Deletion deletions[] = {{0, 0, "Berta,Clara"}, {1, 0, "Berta"}, {0, -1, ""}};
    for (const Deletion& deletion : deletions) {
        driver_.UseDialog(QStringLiteral("frmRemoveRec"), [deletion](QDialog& dialog) {
            Child<QListWidget>(dialog, "lstTable").setCurrentRow(4);
            Child<QListWidget>(dialog, "lstRecords").setCurrentRow(deletion.row);
            Child<QPushButton>(dialog, "cmdDelete").click();
        });
        driver_.UseDialog(QStringLiteral("frmGetID"),
                          [](QDialog& dialog) { Child<QPushButton>(dialog, "cmdOK").click(); });
        driver_.AnswerBox(QMessageBox::Yes);
        driver_.AnswerBox(QMessageBox::Ok);
        driver_.UseDialog(QStringLiteral("frmRemoveRec"), [deletion](QDialog& dialog) {
            auto& records = Child<QListWidget>(dialog, "lstRecords");
            QStringList names;
            for (int i = 0; i < records.count(); ++i) names << records.item(i)->text();
            EXPECT_EQ(names.join(QLatin1Char(',')).toStdString(), deletion.remaining);
            EXPECT_EQ(records.currentRow(), deletion.selectedAfterwards);
            EXPECT_EQ(Child<QPushButton>(dialog, "cmdDelete").isEnabled(), records.count() > 0);
            dialog.reject();
        });
        Trigger("mnuDBDeleteRecords");
        ExpectBox(QStringLiteral("Marrowkit"), QStringLiteral("Record Deleted!"), QMessageBox::Information);
    }
    EXPECT_TRUE(Problems("Arcade").empty());
}

TEST_P(MaintenanceMessages, ANoToTheDeletionKeepsTheRecord) {
    OpenWith("Arcade");
    Execute("Arcade", "INSERT INTO Crackers (Cracker) VALUES (\"Static\")");
    driver_.UseDialog(QStringLiteral("frmRemoveRec"), [](QDialog& dialog) {
        Child<QListWidget>(dialog, "lstTable").setCurrentRow(4);
        auto& records = Child<QListWidget>(dialog, "lstRecords");
        Q_EMIT records.itemDoubleClicked(records.item(0));
    });
    driver_.UseDialog(QStringLiteral("frmGetID"), [](QDialog& dialog) {
        auto& records = Child<QListWidget>(dialog, "lstRecords");
        // The frontend's own records are there to replace others.
        EXPECT_EQ(records.count(), 2);
        Q_EMIT records.itemDoubleClicked(records.currentItem());
    });
    driver_.AnswerBox(QMessageBox::No);
    driver_.UseDialog(QStringLiteral("frmRemoveRec"), [](QDialog& dialog) { dialog.reject(); });
    Trigger("mnuDBDeleteRecords");
    EXPECT_EQ(One("Arcade", "SELECT COUNT(*) FROM Crackers WHERE Cracker = \"Static\""), "1");
}

TEST_P(MaintenanceMessages, AMenuActsOnTheSelectedNodeNotOnTheOneUnderThePointer) {
    AddDatabase("Home", 5, GetParam());
    OpenWith("Arcade");
    Tree().expandAll();
    Execute("Home", "INSERT INTO Games (Name) VALUES (NULL)");
    Execute("Arcade", "INSERT INTO Games (Name) VALUES (NULL)");
    QTest::mouseClick(Tree().viewport(), Qt::RightButton, Qt::NoModifier,
                      Tree().visualItemRect(Node(DatabaseKey("Home"))).center());
    ASSERT_NE(QApplication::activePopupWidget(), nullptr);
    QApplication::activePopupWidget()->close();
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuDBFix");
    EXPECT_EQ(One("Arcade", "SELECT Name FROM Games"), "");
    EXPECT_EQ(One("Home", "SELECT Name FROM Games"), "NULL");
}

TEST_P(MaintenanceMessages, NothingElseCanBeStartedWhileAnOperationRuns) {
    OpenWith("Arcade");
    int looks = 0;
    driver_.OnWindow([&](QWidget&) {
        ++looks;
        EXPECT_FALSE(Tree().isEnabled());
        EXPECT_FALSE(Action("mnuFileNew").isEnabled());
        EXPECT_FALSE(window_->close());
        auto* wait = window_->findChild<QDialog*>(QStringLiteral("frmWait"));
        ASSERT_NE(wait, nullptr);
        wait->reject();
        EXPECT_TRUE(wait->isVisible());
        EXPECT_EQ(Child<QLabel>(*wait, "lblPrompt").text(), QStringLiteral("Removing NULL Data..."));
        EXPECT_EQ(Status(), QStringLiteral("Removing NULL Data..."));
    });
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuDBFix");
    EXPECT_EQ(looks, 1);
    ExpectNothingIsBusy();
}

TEST_P(MaintenanceMessages, EveryOperationsWaitWindowIsSeenWhileItWorks) {
    OpenWith("Arcade");
    PaintWatch watch(QStringLiteral("frmWait"));
    const struct {
        const char* action;
        bool asks;
        const char* wait;
    } operations[] = {{"mnuDBFix", false, "Removing NULL Data..."},
                      {"mnuDBCompact", false, "Compacting..."},
                      {"mnuDBClearExtras", true, "Clearing Game Extras..."},
                      {"mnuDBRemoveViews", true, "Removing Custom Views..."}};
    for (const auto& operation : operations) {
        if (operation.asks) driver_.AnswerBox(QMessageBox::Yes);
        driver_.AnswerBox(QMessageBox::Ok);
        Trigger(operation.action);
        EXPECT_EQ(watch.TakePrompt().toStdString(), operation.wait);
    }
    Tree().setCurrentItem(Node(R"(C:\Vellora\Arcade\)"));
    driver_.AnswerBox(QMessageBox::Yes);
    Trigger("mnuVelloraDelete");
    EXPECT_EQ(watch.TakePrompt().toStdString(), "Deleting...");
}

TEST_P(MaintenanceMessages, AClickOnTheTableThatIsShownReadsItAnew) {
    OpenWith("Arcade");
    for (const char* name : {"Anna", "Berta"})
        Execute("Arcade", std::string("INSERT INTO Crackers (Cracker) VALUES (\"") + name + "\")");
    driver_.UseDialog(QStringLiteral("frmRemoveRec"), [this](QDialog& dialog) {
        auto& tables = Child<QListWidget>(dialog, "lstTable");
        auto& records = Child<QListWidget>(dialog, "lstRecords");
        const auto click = [&tables](int row) {
            QTest::mouseClick(tables.viewport(), Qt::LeftButton, Qt::NoModifier,
                              tables.visualItemRect(tables.item(row)).center());
        };
        click(4);
        ASSERT_EQ(records.count(), 2);
        records.setCurrentRow(1);
        Execute("Arcade", "INSERT INTO Crackers (Cracker) VALUES (\"Clara\")");
        click(4);
        EXPECT_EQ(records.count(), 3);
        EXPECT_EQ(records.currentRow(), 0);
        EXPECT_TRUE(Child<QPushButton>(dialog, "cmdDelete").isEnabled());
        click(2);  // no record of it may be deleted
        EXPECT_EQ(records.count(), 0);
        EXPECT_FALSE(Child<QPushButton>(dialog, "cmdDelete").isEnabled());
        dialog.reject();
    });
    Trigger("mnuDBDeleteRecords");
}

TEST_P(MaintenanceMessages, AnOperationLeavesTheFocusOnTheTree) {
    OpenWith("Arcade");
    Tree().setFocus();
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuDBFix");
    EXPECT_EQ(window_->focusWidget(), &Tree());
    EXPECT_EQ(Tree().currentItem(), Node(DatabaseKey("Arcade")));
}

MARROWKIT_TEST_BOTH_FORMATS(MaintenanceMessages);

}  // namespace
}  // namespace marrowkit
