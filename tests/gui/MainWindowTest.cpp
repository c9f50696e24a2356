#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QTest>

#include <gtest/gtest.h>

#include "global/modGlobal.h"
#include "gui/WindowsFixture.h"
#include "platform/registry/RegistryStore.h"

namespace marrowkit {
namespace {

class MainWindow : public test::Windows {
protected:
    float SavedValue(const char* name) {
        RegistryVariant value = 0.0F;
        std::int32_t status = 0;
        RegistryStore().ReadValue("HKEY_LOCAL_MACHINE", R"(Software\Quillon\Marrowkit\Window)", name, value,
                                  status);
        return std::get<float>(value);
    }
    void Save(const char* name, float twips) {
        RegistryStore().WriteValue("HKEY_LOCAL_MACHINE", R"(Software\Quillon\Marrowkit\Window)", name, twips);
    }
};

struct MenuEntry {
    const char* name;
    const char* caption;
    bool enabled;
};

const std::vector<std::pair<const char*, std::vector<MenuEntry>>> kMenus = {
    {"mnuFile",
     {{"mnuFileNew", "&New Vellora...", true},
      {"mnuFileNewRomCenter2", "Import &RomCenter 2.00 Datafile...", true},
      {"mnuFileBar", "", true},
      {"mnuFileExit", "E&xit", true}}},
    {"mnuRoot",
     {{"mnuRootNew", "&New Vellora...", true},
      {"mnuRootNewRomCenter2", "Import &RomCenter 2.00 Datafile...", true}}},
    {"mnuVellora", {{"mnuVelloraDelete", "&Delete...", true}}},
    {"mnuDB",
     {{"mnuDBCompact", "&Compact", true},
      {"mnuDBFix", "&Scan and Fix Errors", true},
      {"mnuDBBar1", "", true},
      {"mnuDBImportRC2", "Import &RomCenter 2.00 Datafile...", true},
      {"mnuDBBar3", "", true},
      {"mnuDBGenres", "&Genres Wizard...", false},
      {"mnuDBBar2", "", true},
      {"mnuDBClearExtras", "Clear all Game &Extras...", true},
      {"mnuDBRemoveViews", "&Remove All Custom Views...", true},
      {"mnuDBDeleteRecords", "&Delete Records from Table...", true}}},
    {"mnuScriptRoot", {{"mnuScriptNew", "&New Script...", false}}},
};

TEST_F(MainWindow, HasTheMenusWithTheirCaptions) {
    Open();
    for (const auto& [menuName, entries] : kMenus) {
        const QList<QAction*> actions = test::Child<QMenu>(*window_, menuName).actions();
        ASSERT_EQ(static_cast<std::size_t>(actions.size()), entries.size()) << menuName;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            const QAction& action = *actions[static_cast<qsizetype>(i)];
            EXPECT_EQ(action.objectName(), QString::fromLatin1(entries[i].name)) << menuName;
            EXPECT_EQ(action.isSeparator(), *entries[i].caption == '\0') << entries[i].name;
            if (action.isSeparator()) continue;
            EXPECT_EQ(action.text(), QString::fromLatin1(entries[i].caption));
            EXPECT_EQ(action.isEnabled(), entries[i].enabled) << entries[i].name;
        }
    }
    EXPECT_EQ(window_->menuBar()->actions().size(), 1);
    EXPECT_EQ(Action("mnuFileNew").shortcut(), QKeySequence(Qt::CTRL | Qt::Key_N));
    EXPECT_EQ(Action("mnuFileNewRomCenter2").shortcut(), QKeySequence(Qt::CTRL | Qt::Key_R));
}

TEST_F(MainWindow, WarnsAtStartUnlessASwitchForbidsIt) {
    driver_.AnswerBox(QMessageBox::Ok);
    Open("");
    ASSERT_EQ(driver_.Boxes().size(), 1U);
    EXPECT_EQ(driver_.Boxes()[0].text,
              QStringLiteral("Please make sure the Vellora frontend is NOT running when using this tool."));
    EXPECT_EQ(driver_.Boxes()[0].title, QStringLiteral("Vellora"));
    EXPECT_EQ(driver_.Boxes()[0].icon, QMessageBox::Information);
    EXPECT_FALSE(modGlobal::Expert);
    Open("-nomsgbox");
    EXPECT_FALSE(modGlobal::Expert);
    Open("-EXPERT");
    EXPECT_TRUE(modGlobal::Expert);
    EXPECT_EQ(driver_.Boxes().size(), 1U);
}

TEST_F(MainWindow, WarnsOverAWindowThatHasItsSizeAndIsNotFilledYet) {
    AddDatabase("Arcade");
    std::filesystem::remove_all(Library() / "Arcade/Scripts");
    Save("MainWidth", 6000);
    Save("MainTop", 300);
    driver_.OnWindow([this](QWidget& box) {
        const QWidget& window = *box.parentWidget();
        EXPECT_EQ(window.objectName(), QStringLiteral("frmMain"));
        EXPECT_FALSE(window.isVisible());
        const double twips = 1440.0 / window.screen()->logicalDotsPerInch();
        EXPECT_EQ(window.width(), qRound(6000 / twips));
        EXPECT_EQ(test::Child<QTreeWidget>(*box.parent(), "tvVellora").topLevelItemCount(), 0);
        EXPECT_FALSE(std::filesystem::exists(Library() / "Arcade/Scripts"));
    });
    driver_.AnswerBox(QMessageBox::Ok);
    Open("");
    EXPECT_NE(Node(DatabaseKey("Arcade")), nullptr);
    EXPECT_TRUE(std::filesystem::exists(Library() / "Arcade/Scripts"));
    EXPECT_EQ(window_->y(), qRound(300 / (1440.0 / window_->screen()->logicalDotsPerInch())));
}

TEST_F(MainWindow, IsNamedWithItsVersion) {
    Open();
    EXPECT_EQ(window_->windowTitle(), QStringLiteral("Vellora Marrowkit v1.1"));
    EXPECT_FALSE(window_->windowIcon().isNull());
}

TEST_F(MainWindow, OpensAtTheTopLeftCornerAtFirstAndWhereItWasLater) {
    Open();
    const double twips = 1440.0 / window_->screen()->logicalDotsPerInch();
    EXPECT_EQ(window_->pos(), QPoint(0, 0));
    EXPECT_NEAR(window_->width() * twips, 4770, twips);
    EXPECT_NEAR(window_->height() * twips, 4230, twips);
    window_->resize(420, 340);
    window_->move(33, 44);
    window_->close();
    EXPECT_NEAR(SavedValue("MainWidth"), 420 * twips, 0.01);
    EXPECT_NEAR(SavedValue("MainHeight"), 340 * twips, 0.01);
    EXPECT_NEAR(SavedValue("MainTop"), 44 * twips, 0.01);
    EXPECT_NEAR(SavedValue("MainLeft"), 33 * twips, 0.01);
    Open();
    EXPECT_EQ(window_->size(), QSize(420, 340));
    EXPECT_EQ(window_->pos(), QPoint(33, 44));
}

TEST_F(MainWindow, CtrlNAndCtrlRWorkFromAnywhereInTheWindow) {
    AddDatabase("Arcade");
    Open();
    const auto press = [this](QWidget* widget, Qt::Key key) {
        window_->activateWindow();  // the dialog before had been the active window
        ASSERT_TRUE(QTest::qWaitForWindowActive(window_.get()));
        QTest::keyClick(widget, key, Qt::ControlModifier);
    };
    for (QWidget* focused : std::initializer_list<QWidget*>{&Tree(), window_.get()}) {
        driver_.UseDialog(QStringLiteral("frmInputBox"), [](QDialog& dialog) { dialog.reject(); });
        press(focused, Qt::Key_N);
        EXPECT_TRUE(driver_.Done());
        driver_.UseDialog(QStringLiteral("cDialog"), [](QDialog& dialog) { dialog.reject(); });
        press(focused, Qt::Key_R);
        EXPECT_TRUE(driver_.Done());
    }
}

TEST_F(MainWindow, TheTreeFillsTheWindowAboveTheStatusBar) {
    Open();
    for (const QSize size : {QSize(700, 500), QSize(240, 200)}) {
        window_->resize(size);
        QCoreApplication::processEvents();
        const QRect tree(Tree().mapTo(window_.get(), QPoint()), Tree().size());
        const QRect status = test::Child<QStatusBar>(*window_, "sbVellora").geometry();
        EXPECT_EQ(tree.left(), 0);
        EXPECT_EQ(tree.width(), size.width());
        EXPECT_EQ(tree.top(), window_->menuBar()->geometry().bottom() + 1);
        EXPECT_EQ(tree.bottom() + 1, status.top());
        EXPECT_EQ(status.bottom() + 1, size.height());
        EXPECT_EQ(status.width(), size.width());
    }
}

TEST_F(MainWindow, ALongPathDoesNotWidenTheWindow) {
    const std::string name(64, 'n');
    AddDatabase(name);
    Open();
    const QSize before = window_->size();
    SelectDatabase(name);
    QTest::mouseClick(Tree().viewport(), Qt::LeftButton, Qt::NoModifier,
                      Tree().visualItemRect(Node(DatabaseKey(name))).center());
    QCoreApplication::processEvents();
    EXPECT_EQ(Status().toStdString(), DatabaseKey(name));
    EXPECT_EQ(window_->size(), before);
}

TEST_F(MainWindow, WhatIsSavedTooLargeOrOutsideIsBroughtOntoTheScreen) {
    Open();  // tells how large the screen is
    const QSize screen = window_->screen()->size();
    const double twips = 1440.0 / window_->screen()->logicalDotsPerInch();
    const QSize design(qRound(4770 / twips), qRound(4230 / twips));
    const QPoint centred((screen.width() - design.width()) / 2, (screen.height() - design.height()) / 2);
    Save("MainWidth", 99999);
    Save("MainHeight", 3000);
    for (const float left : {-1.0F, static_cast<float>(screen.width() * twips) + 1}) {
        Save("MainLeft", left);
        Open();
        EXPECT_EQ(window_->width(), screen.width());
        EXPECT_EQ(window_->height(), qRound(3000 / twips));
        // By the size that it is made with, not by the one that it gets.
        EXPECT_LE((window_->pos() - centred).manhattanLength(), 2) << left;
    }
    Save("MainWidth", 499);
    Save("MainLeft", 0);
    Open();
    EXPECT_EQ(window_->width(), design.width());
    EXPECT_EQ(window_->pos(), QPoint(0, 0));
}

TEST_F(MainWindow, AMinimisedOrMaximisedWindowIsSavedAsItStands) {
    Open();
    const double twips = 1440.0 / window_->screen()->logicalDotsPerInch();
    const QSize screen = window_->screen()->size();
    window_->showMaximized();
    QCoreApplication::processEvents();
    const QSize maximised = window_->size();
    EXPECT_GE(maximised.width(), screen.width() - 16);
    window_->close();
    EXPECT_NEAR(SavedValue("MainWidth"), maximised.width() * twips, 0.01);
    EXPECT_NEAR(SavedValue("MainHeight"), maximised.height() * twips, 0.01);
    EXPECT_NEAR(SavedValue("MainTop"), window_->y() * twips, 0.01);
    EXPECT_NEAR(SavedValue("MainLeft"), window_->x() * twips, 0.01);
    Open();
    EXPECT_FALSE(window_->isMaximized());
    EXPECT_EQ(window_->size(), maximised);

    window_->resize(300, 250);
    window_->move(-32000, -32000);  // where some systems put a minimised window
    window_->showMinimized();
    QCoreApplication::processEvents();
    window_->close();
    EXPECT_NEAR(SavedValue("MainWidth"), window_->width() * twips, 0.01);
    EXPECT_NEAR(SavedValue("MainTop"), window_->y() * twips, 0.01);
    EXPECT_LT(SavedValue("MainLeft"), 0);
    Open();
    EXPECT_FALSE(window_->isMinimized());
    EXPECT_TRUE(window_->screen()->geometry().contains(window_->pos()));
}

TEST_F(MainWindow, AGreyedEntryDoesNothing) {
    AddDatabase("Arcade");
    Open();
    SelectDatabase("Arcade");
    for (const char* entry : {"mnuScriptNew", "mnuDBGenres"}) Trigger(entry);
    EXPECT_TRUE(driver_.Boxes().empty());
    EXPECT_EQ(Status(), QStringLiteral("Right-Click each Node for options"));
}

TEST_F(MainWindow, ExitClosesTheWindowAndSavesItsPlace) {
    Open();
    window_->move(70, 80);
    Trigger("mnuFileExit");
    EXPECT_FALSE(window_->isVisible());
    EXPECT_GT(SavedValue("MainLeft"), 0);
}

}  // namespace
}  // namespace marrowkit
