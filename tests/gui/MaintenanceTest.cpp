#include <QHeaderView>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include "gui/MaintenanceFixture.h"
#include "maintenance/frmGenres.h"
#include "platform/registry/RegistryStore.h"

namespace marrowkit {
namespace {

using test::Child;

class Maintenance : public test::MaintenanceFixture {};

TEST_P(Maintenance, ScanAndFixRepairsAndReports) {
    OpenWith("Arcade");
    Execute("Arcade", "INSERT INTO Games (Name, V_LengthType) VALUES (NULL, 20)");
    Execute("Arcade", "UPDATE Games SET Name = NULL, Comment = NULL");
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuDBFix");
    EXPECT_EQ(Box(0).text, QStringLiteral("Fixed: All NULL Data Removed!"));
    EXPECT_EQ(Box(0).title, QStringLiteral("Vellora"));
    EXPECT_EQ(Box(0).icon, QMessageBox::Information);
    EXPECT_EQ(One("Arcade", "SELECT Name FROM Games"), "");
    EXPECT_EQ(One("Arcade", "SELECT V_LengthType FROM Games"), "19");
    EXPECT_EQ(Status(), QStringLiteral("Right-Click each Node for options"));
    ExpectNothingIsBusy();
    ExpectTheNormalPointer();
    EXPECT_TRUE(Problems("Arcade").empty());
}

TEST_P(Maintenance, CompactReportsTheSizes) {
    OpenWith("Arcade");
    AddGame("Arcade", "Zaxxon");
    test::WriteFile(Library() / "Arcade/vltemp.mdb", "left over");
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuDBCompact");
    EXPECT_TRUE(Box(0).text.startsWith(QStringLiteral("Compacted Database from ")))
        << Box(0).text.toStdString();
    EXPECT_TRUE(Box(0).text.endsWith(QStringLiteral("Kb."))) << Box(0).text.toStdString();
    EXPECT_EQ(Box(0).title, QStringLiteral("Vellora"));
    EXPECT_FALSE(std::filesystem::exists(Library() / "Arcade/vltemp.mdb"));
    EXPECT_EQ(One("Arcade", "SELECT Name FROM Games"), "Zaxxon");
    ExpectNothingIsBusy();
    ExpectTheNormalPointer();
    EXPECT_TRUE(Problems("Arcade").empty());
}

TEST_P(Maintenance, ClearExtrasAsksWithNoAsTheDefault) {
    OpenWith("Arcade");
    AddGame("Arcade", "Zaxxon");
    Execute("Arcade", "UPDATE Games SET Extras = True");
    driver_.AnswerBox(QMessageBox::Cancel);
    Trigger("mnuDBClearExtras");
    EXPECT_EQ(Box(0).title, QStringLiteral("Confirm Clearing All Game Extras"));
    EXPECT_EQ(Box(0).text,
              QStringLiteral("Do you really want to clear all the Game Extras linked this database?\n\n(This "
                             "will not remove the files themselves.)"));
    EXPECT_EQ(Box(0).icon, QMessageBox::Question);
    EXPECT_EQ(Box(0).buttons, QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
    EXPECT_EQ(Box(0).defaultButton, QMessageBox::No);
    EXPECT_EQ(One("Arcade", "SELECT Extras FROM Games"), "True");
    driver_.AnswerBox(QMessageBox::Yes);
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuDBClearExtras");
    EXPECT_EQ(Box(2).text, QStringLiteral("Cleared all Game Extras!"));
    EXPECT_EQ(One("Arcade", "SELECT Extras FROM Games"), "False");
    ExpectNothingIsBusy();
    ExpectTheNormalPointer();
}

TEST_P(Maintenance, ClearExtrasRefusesAnOldDatabase) {
    OpenWith("Arcade", 0);
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuDBClearExtras");
    EXPECT_EQ(Box(0).text, QStringLiteral("Database must be v2.1 or higher to perform this operation!"));
}

TEST_P(Maintenance, RemoveViewsResetsTheFrontendsCount) {
    OpenWith("My Arcade");
    RegistryStore().WriteValue("HKEY_LOCAL_MACHINE",
                               R"(Software\Quillon\Vellora\Vellora\My Arcade\QuickFilter)", "NumFilters",
                               std::int32_t{7});
    driver_.AnswerBox(QMessageBox::Yes);
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuDBRemoveViews");
    EXPECT_EQ(Box(0).text,
              QStringLiteral("Do you really want to delete all the custom views from this database?"));
    EXPECT_EQ(Box(0).title, QStringLiteral("Confirm Removing All Custom Views"));
    EXPECT_EQ(Box(1).text, QStringLiteral("Removed All Custom Views!"));
    RegistryVariant count = std::int32_t{-1};
    std::int32_t status = 0;
    RegistryStore().ReadValue("HKEY_LOCAL_MACHINE",
                              R"(Software\Quillon\Vellora\Vellora\My Arcade\QuickFilter)", "NumFilters",
                              count, status);
    EXPECT_EQ(std::get<std::int32_t>(count), 0);
    ExpectNothingIsBusy();
    ExpectTheNormalPointer();
}

TEST_P(Maintenance, AVanishedDatabaseIsReportedAndLeavesTheTree) {
    OpenWith("Arcade");
    std::filesystem::remove_all(Library() / "Arcade");
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuDBRemoveViews");
    EXPECT_EQ(Box(0).text, QStringLiteral("Huh? This database doesn't exist!"));
    EXPECT_EQ(Box(0).icon, QMessageBox::NoIcon);
    EXPECT_EQ(Node(R"(C:\Vellora\Arcade\)"), nullptr);
}

TEST_P(Maintenance, DeleteRecordMovesItsGamesToTheReplacement) {
    OpenWith("Arcade");
    Execute("Arcade", "INSERT INTO Publishers (Publisher) VALUES (\"Aardvark\")");
    Execute("Arcade", "INSERT INTO Publishers (Publisher) VALUES (\"Zebra\")");
    Execute("Arcade",
            "INSERT INTO Games (Name, PU_Id) SELECT \"Zaxxon\", PU_Id FROM Publishers WHERE Publisher = "
            "\"Aardvark\"");
    driver_.UseDialog(QStringLiteral("frmRemoveRec"), [](QDialog& dialog) {
        auto& tables = Child<QListWidget>(dialog, "lstTable");
        auto& records = Child<QListWidget>(dialog, "lstRecords");
        auto& remove = Child<QPushButton>(dialog, "cmdDelete");
        EXPECT_EQ(tables.count(), 5);
        EXPECT_FALSE(remove.isEnabled());
        tables.setCurrentRow(0);
        // The frontend's own records are not offered.
        ASSERT_EQ(records.count(), 2);
        EXPECT_EQ(records.item(0)->text(), QStringLiteral("Aardvark"));
        EXPECT_EQ(records.item(1)->text(), QStringLiteral("Zebra"));
        EXPECT_EQ(records.currentRow(), 0);
        EXPECT_TRUE(remove.isEnabled());
        remove.click();
    });
    driver_.UseDialog(QStringLiteral("frmGetID"), [](QDialog& dialog) {
        auto& records = Child<QListWidget>(dialog, "lstRecords");
        EXPECT_EQ(records.count(), 3);  // Zebra and the two of the frontend
        const auto zebra = records.findItems(QStringLiteral("Zebra"), Qt::MatchExactly);
        ASSERT_EQ(zebra.size(), 1);
        records.setCurrentItem(zebra[0]);
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    driver_.AnswerBox(QMessageBox::Yes);
    driver_.AnswerBox(QMessageBox::Ok);
    driver_.UseDialog(QStringLiteral("frmRemoveRec"), [](QDialog& dialog) {
        auto& records = Child<QListWidget>(dialog, "lstRecords");
        ASSERT_EQ(records.count(), 1);
        EXPECT_EQ(records.item(0)->text(), QStringLiteral("Zebra"));
        EXPECT_EQ(records.currentRow(), 0);
        EXPECT_TRUE(Child<QPushButton>(dialog, "cmdDelete").isEnabled());
        Child<QPushButton>(dialog, "cmdClose").click();
    });
    Trigger("mnuDBDeleteRecords");
    EXPECT_EQ(Box(0).text,
              QStringLiteral("Delete the record \"Aardvark\" from the table \"Publishers\" and\nmove all "
                             "affected games to the record \"Zebra\"?\n\nARE YOU SURE?   THIS CANNOT BE "
                             "UNDONE!"));
    EXPECT_EQ(Box(0).buttons, QMessageBox::Yes | QMessageBox::No);
    EXPECT_EQ(Box(0).defaultButton, QMessageBox::Yes);
    EXPECT_EQ(Box(0).icon, QMessageBox::Question);
    EXPECT_EQ(Box(0).title, QStringLiteral("Marrowkit"));
    EXPECT_EQ(Box(1).text, QStringLiteral("Record Deleted!"));
    EXPECT_EQ(One("Arcade", "SELECT Publisher FROM Publishers WHERE Publisher = \"Aardvark\""), "none");
    EXPECT_EQ(
        One("Arcade", "SELECT Publisher FROM Publishers INNER JOIN Games ON Publishers.PU_Id = Games.PU_Id"),
        "Zebra");
    EXPECT_TRUE(Problems("Arcade").empty());
}

// A list without a selection would step from its first row, which nobody has chosen, to the second.
TEST_P(Maintenance, TheFirstArrowKeyChoosesTheFirstTable) {
    OpenWith("Arcade");
    for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Up}) {
        driver_.UseDialog(QStringLiteral("frmRemoveRec"), [key](QDialog& dialog) {
            auto& tables = Child<QListWidget>(dialog, "lstTable");
            tables.setFocus();
            EXPECT_TRUE(tables.selectedItems().isEmpty());
            QTest::keyClick(&tables, key);
            ASSERT_EQ(tables.selectedItems().size(), 1);
            EXPECT_EQ(tables.selectedItems()[0]->text(), QStringLiteral("Publishers"));
            EXPECT_EQ(dialog.focusWidget(), &tables);
            QTest::keyClick(&tables, Qt::Key_Down);
            EXPECT_EQ(tables.selectedItems()[0]->text(), QStringLiteral("Musicians"));
            dialog.reject();
        });
        Trigger("mnuDBDeleteRecords");
    }
}

TEST_P(Maintenance, CancellingTheReplacementDeletesNothing) {
    OpenWith("Arcade");
    Execute("Arcade", "INSERT INTO Crackers (Cracker) VALUES (\"Static\")");
    driver_.UseDialog(QStringLiteral("frmRemoveRec"), [](QDialog& dialog) {
        Child<QListWidget>(dialog, "lstTable").setCurrentRow(4);
        Child<QPushButton>(dialog, "cmdDelete").click();
    });
    driver_.UseDialog(QStringLiteral("frmGetID"),
                      [](QDialog& dialog) { Child<QPushButton>(dialog, "cmdCancel").click(); });
    driver_.UseDialog(QStringLiteral("frmRemoveRec"), [](QDialog& dialog) {
        EXPECT_EQ(Child<QListWidget>(dialog, "lstRecords").count(), 1);
        dialog.close();
    });
    Trigger("mnuDBDeleteRecords");
    EXPECT_EQ(One("Arcade", "SELECT Cracker FROM Crackers WHERE Cracker = \"Static\""), "Static");
}

TEST_P(Maintenance, DeletingAFolderNeedsAYes) {
    OpenWith("My Arcade");
    test::WriteFile(Library() / "My Arcade/Gfx/deep/er/picture.gif", "x");
    Tree().setCurrentItem(Node(R"(C:\Vellora\My Arcade\)"));
    // No, Cancel, and the box closed without a button.
    for (const QMessageBox::StandardButton answer :
         {QMessageBox::No, QMessageBox::Cancel, QMessageBox::NoButton}) {
        driver_.AnswerBox(answer);
        Trigger("mnuVelloraDelete");
        EXPECT_TRUE(std::filesystem::exists(Library() / "My Arcade/Gfx/deep/er/picture.gif"));
        EXPECT_EQ(Status(), QStringLiteral("Right-Click each Node for options"));
    }
    EXPECT_EQ(Box(0).title, QStringLiteral("Really Delete 'My Arcade'?"));
    EXPECT_EQ(
        Box(0).text,
        QStringLiteral("Are you sure you want to permanently delete this Vellora folder?\n\n'C:\\Vellora\\My "
                       "Arcade'\n\nWARNING: This action is irreversable.  Once it's gone, it's gone!"));
    EXPECT_EQ(Box(0).icon, QMessageBox::Question);
    EXPECT_EQ(Box(0).buttons, QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
    EXPECT_EQ(Box(0).defaultButton, QMessageBox::No);
    driver_.AnswerBox(QMessageBox::Yes);
    Trigger("mnuVelloraDelete");
    EXPECT_FALSE(std::filesystem::exists(Library() / "My Arcade"));
    EXPECT_EQ(Node(R"(C:\Vellora\My Arcade\)"), nullptr);
    EXPECT_TRUE(std::filesystem::exists(Library()));
    ExpectNothingIsBusy();
}

TEST_P(Maintenance, WorksOnNamesWithBlanksUmlautsAndDots) {
    const std::string names[] = {"My  Old Games",
                                 "K\xC3\xB6ln \xC3\x9C"
                                 "bung",
                                 "v1.2.3", "100% more's"};
    for (const std::string& name : names) AddDatabase(name, 5, GetParam());
    Open();
    for (const std::string& name : names) {
        SelectDatabase(name);
        AddGame(name, "Zaxxon");
        const std::initializer_list<std::pair<const char*, int>> operations = {
            {"mnuDBFix", 0}, {"mnuDBCompact", 0}, {"mnuDBClearExtras", 1}, {"mnuDBRemoveViews", 1}};
        for (const auto& [action, questions] : operations) {
            for (int i = 0; i < questions; ++i) driver_.AnswerBox(QMessageBox::Yes);
            driver_.AnswerBox(QMessageBox::Ok);
            Trigger(action);
            EXPECT_EQ(driver_.Boxes().back().icon, QMessageBox::Information) << name << " " << action;
        }
        EXPECT_EQ(One(name, "SELECT Name FROM Games"), "Zaxxon");
        EXPECT_TRUE(Problems(name).empty());
        Tree().setCurrentItem(Node(R"(C:\Vellora\)" + name + "\\"));
        driver_.AnswerBox(QMessageBox::Yes);
        Trigger("mnuVelloraDelete");
        EXPECT_FALSE(std::filesystem::exists(Library() / name));
        EXPECT_EQ(Node(R"(C:\Vellora\)" + name + "\\"), nullptr);
    }
    EXPECT_EQ(Node("ROOT")->childCount(), 0);
}

TEST_P(Maintenance, TheGenresWizardChangesNothing) {
    OpenWith("Arcade");
    const std::string before = test::ReadFile(Library() / "Arcade/Arcade.mdb");
    EXPECT_FALSE(Action("mnuDBGenres").isEnabled());
    GenresDatabasePath = DatabaseKey("Arcade");
    driver_.UseDialog(QStringLiteral("frmGenres"), [](QDialog& dialog) {
        EXPECT_TRUE(Child<QWidget>(dialog, "picPage_0").isVisible());
        for (int option = 0; option < 5; ++option)
            Child<QRadioButton>(dialog, qPrintable(QStringLiteral("optWizSelect_%1").arg(option))).click();
        auto& games = Child<QTreeWidget>(dialog, "lvRP1");
        Q_EMIT games.header()->sectionClicked(1);
        EXPECT_EQ(games.topLevelItemCount(), 0);
        for (const char* button : {"cmdBack", "cmdNext", "cmdRP1"})
            Child<QPushButton>(dialog, button).click();
        EXPECT_TRUE(Child<QWidget>(dialog, "picPage_0").isVisible());
        EXPECT_TRUE(dialog.isVisible());
        Child<QPushButton>(dialog, "cmdClose").click();
    });
    frmGenres(window_.get()).exec();
    EXPECT_EQ(test::ReadFile(Library() / "Arcade/Arcade.mdb"), before);
}

MARROWKIT_TEST_BOTH_FORMATS(Maintenance);

}  // namespace
}  // namespace marrowkit
