// Every entry of the main window's menus, chosen once, with a look at what comes of it. An entry that is
// missing in the list fails IsTestedHere. What else an entry can come to is in the tests of its operation.

#include <QFileDialog>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <filesystem>
#include <ostream>
#include <set>

#include <gtest/gtest.h>

#include "gui/ImportFixture.h"

namespace marrowkit {
namespace {

using test::Child;

class EveryMenuEntry : public test::ImportFixture {
protected:
    /// Chooses the entry over the database "Arcade", which has one game with an extra, and one view.
    void Choose(const char* entry) {
        Tree().setCurrentItem(Node(DatabaseKey("Arcade")));
        Trigger(entry);
        EXPECT_TRUE(driver_.Done()) << entry;
    }
    void Expect(const QString& lastMessage) {
        ASSERT_FALSE(driver_.Boxes().empty());
        EXPECT_EQ(driver_.Boxes().back().text.toStdString(), lastMessage.toStdString());
    }
    bool Exists(const char* name) const { return std::filesystem::exists(Library() / name); }
    void OpenArcade() {
        AddTemplate();
        AddDatabase("Arcade");
        Execute("Arcade", "INSERT INTO Games (Name) VALUES (\"Gem\")");
        Execute("Arcade", "UPDATE Games SET Name = NULL, Extras = True");
        Execute("Arcade", "INSERT INTO ViewData (Name) VALUES (\"view\")");
        Execute("Arcade", "INSERT INTO Publishers (Publisher) VALUES (\"Aardvark\")");
        WriteDatafile("Nimbus.dat", test::GamesLine("Alpha", "alpha.bin", "1", 5));
        Open();
    }
    /// Types a name into the question for one, or chooses the datafile and starts.
    void NameItTape() {
        driver_.UseDialog(QStringLiteral("frmInputBox"), [](QDialog& dialog) {
            Child<QLineEdit>(dialog, "txtInput").setText(QStringLiteral("Tape"));
            Child<QPushButton>(dialog, "cmdOK").click();
        });
    }
    void ImportNimbus() {
        ChooseFile("Nimbus.dat");
        driver_.UseDialog(QStringLiteral("frmRomCenter2"),
                          [](QDialog& dialog) { Child<QPushButton>(dialog, "cmdOK").click(); });
        driver_.AnswerBox(QMessageBox::Ok);
    }

public:
    void FileNew() {
        NameItTape();
        Choose("mnuFileNew");
        EXPECT_TRUE(Exists("Tape/Tape.mdb"));
    }
    void RootNew() {
        NameItTape();
        Choose("mnuRootNew");
        EXPECT_TRUE(Exists("Tape/Tape.mdb"));
        EXPECT_EQ(Tree().currentItem(), Node(R"(C:\Vellora\Tape\)"));
    }
    void FileNewRomCenter2() {
        ImportNimbus();
        Choose("mnuFileNewRomCenter2");
        EXPECT_EQ(One("Nimbus", "SELECT Name FROM Games"), "Alpha");
    }
    void RootNewRomCenter2() {
        ImportNimbus();
        Choose("mnuRootNewRomCenter2");
        EXPECT_EQ(One("Nimbus", "SELECT Name FROM Games"), "Alpha");
    }
    void FileExit() {
        Choose("mnuFileExit");
        EXPECT_FALSE(window_->isVisible());
    }
    void VelloraDelete() {
        Tree().setCurrentItem(Node(R"(C:\Vellora\Arcade\)"));
        driver_.AnswerBox(QMessageBox::Yes);
        Trigger("mnuVelloraDelete");
        EXPECT_FALSE(Exists("Arcade"));
        EXPECT_EQ(Node(R"(C:\Vellora\Arcade\)"), nullptr);
    }
    void DBCompact() {
        driver_.AnswerBox(QMessageBox::Ok);
        Choose("mnuDBCompact");
        EXPECT_TRUE(driver_.Boxes().back().text.startsWith(QStringLiteral("Compacted Database from ")));
        EXPECT_TRUE(Problems("Arcade").empty());
    }
    void DBFix() {
        driver_.AnswerBox(QMessageBox::Ok);
        Choose("mnuDBFix");
        Expect(QStringLiteral("Fixed: All NULL Data Removed!"));
        EXPECT_EQ(One("Arcade", "SELECT COUNT(*) FROM Games WHERE Name IS NULL"), "0");
    }
    void DBImportRC2() {
        ImportNimbus();
        Choose("mnuDBImportRC2");
        EXPECT_EQ(One("Arcade", "SELECT COUNT(*) FROM Games WHERE Name = \"Alpha\""), "1");
        EXPECT_FALSE(Exists("Nimbus"));
    }
    void DBGenres() {
        Choose("mnuDBGenres");  // is greyed
        EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
        driver_.UseDialog(QStringLiteral("frmGenres"),
                          [](QDialog& dialog) { Child<QPushButton>(dialog, "cmdClose").click(); });
        Action("mnuDBGenres").setEnabled(true);
        Choose("mnuDBGenres");
    }
    void DBClearExtras() {
        driver_.AnswerBox(QMessageBox::Yes);
        driver_.AnswerBox(QMessageBox::Ok);
        Choose("mnuDBClearExtras");
        Expect(QStringLiteral("Cleared all Game Extras!"));
        EXPECT_EQ(One("Arcade", "SELECT Extras FROM Games"), "False");
    }
    void DBRemoveViews() {
        driver_.AnswerBox(QMessageBox::Yes);
        driver_.AnswerBox(QMessageBox::Ok);
        Choose("mnuDBRemoveViews");
        Expect(QStringLiteral("Removed All Custom Views!"));
        EXPECT_EQ(One("Arcade", "SELECT COUNT(*) FROM ViewData"), "0");
    }
    void DBDeleteRecords() {
        driver_.UseDialog(QStringLiteral("frmRemoveRec"), [](QDialog& dialog) {
            Child<QListWidget>(dialog, "lstTable").setCurrentRow(0);
            Child<QPushButton>(dialog, "cmdDelete").click();
        });
        driver_.UseDialog(QStringLiteral("frmGetID"),
                          [](QDialog& dialog) { Child<QPushButton>(dialog, "cmdOK").click(); });
        driver_.AnswerBox(QMessageBox::Yes);
        driver_.AnswerBox(QMessageBox::Ok);
        driver_.UseDialog(QStringLiteral("frmRemoveRec"),
                          [](QDialog& dialog) { Child<QPushButton>(dialog, "cmdClose").click(); });
        Choose("mnuDBDeleteRecords");
        Expect(QStringLiteral("Record Deleted!"));
        EXPECT_EQ(One("Arcade", "SELECT COUNT(*) FROM Publishers WHERE Publisher = \"Aardvark\""), "0");
    }
    void ScriptNew() {
        Choose("mnuScriptNew");  // is greyed
        EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
        EXPECT_FALSE(Action("mnuScriptNew").isEnabled());
    }

    struct Entry {
        const char* name;
        void (EveryMenuEntry::*look)();
        friend void PrintTo(const Entry& one, std::ostream* out) { *out << one.name; }
    };
    static const std::vector<Entry>& Entries() {
        static const std::vector<Entry> entries = {
            {"mnuFileNew", &EveryMenuEntry::FileNew},
            {"mnuFileNewRomCenter2", &EveryMenuEntry::FileNewRomCenter2},
            {"mnuFileExit", &EveryMenuEntry::FileExit},
            {"mnuRootNew", &EveryMenuEntry::RootNew},
            {"mnuRootNewRomCenter2", &EveryMenuEntry::RootNewRomCenter2},
            {"mnuVelloraDelete", &EveryMenuEntry::VelloraDelete},
            {"mnuDBCompact", &EveryMenuEntry::DBCompact},
            {"mnuDBFix", &EveryMenuEntry::DBFix},
            {"mnuDBImportRC2", &EveryMenuEntry::DBImportRC2},
            {"mnuDBGenres", &EveryMenuEntry::DBGenres},
            {"mnuDBClearExtras", &EveryMenuEntry::DBClearExtras},
            {"mnuDBRemoveViews", &EveryMenuEntry::DBRemoveViews},
            {"mnuDBDeleteRecords", &EveryMenuEntry::DBDeleteRecords},
            {"mnuScriptNew", &EveryMenuEntry::ScriptNew},
        };
        return entries;
    }
};

TEST_F(EveryMenuEntry, IsTestedHere) {
    Open();
    std::set<std::string> real;
    for (const QMenu* menu : window_->findChildren<QMenu*>()) {
        for (const QAction* action : menu->actions()) {
            if (!action->isSeparator()) real.insert(action->objectName().toStdString());
        }
    }
    std::set<std::string> tested;
    for (const Entry& entry : Entries()) tested.insert(entry.name);
    EXPECT_EQ(tested, real);
}

class ChosenMenuEntry : public EveryMenuEntry, public testing::WithParamInterface<EveryMenuEntry::Entry> {};

TEST_P(ChosenMenuEntry, DoesItsWork) {
    OpenArcade();
    (this->*GetParam().look)();
}

INSTANTIATE_TEST_SUITE_P(MainWindow, ChosenMenuEntry, testing::ValuesIn(EveryMenuEntry::Entries()),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace marrowkit
