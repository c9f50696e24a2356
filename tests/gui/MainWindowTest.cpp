#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QImage>
#include <QMenu>
#include <QMenuBar>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include "forms/FatalError.h"
#include "gui/WindowsFixture.h"
#include "platform/registry/RegistryStore.h"
#include "shell/modGlobal.h"

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

    QMenu* MenuAfterRightClick(const std::string& key) {
        Tree().expandAll();
        QTreeWidgetItem* node = Node(key);
        Tree().scrollToItem(node);
        QTest::mouseClick(Tree().viewport(), Qt::RightButton, Qt::NoModifier,
                          Tree().visualItemRect(node).center());
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (menu != nullptr) menu->close();
        return menu;
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

TEST_F(MainWindow, ShowsTheLibraryAsATree) {
    AddDatabase("Arcade");
    test::WriteFile(Library() / "Arcade/Paths.ini", "x");
    test::WriteFile(Library() / "Arcade/Credits.txt", "x");
    test::WriteFile(Library() / "Arcade/Scripts/run.txt", "x");
    Open();
    ASSERT_EQ(Tree().topLevelItemCount(), 1);
    QTreeWidgetItem* root = Node("ROOT");
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->text(0), QStringLiteral("Velloras"));
    EXPECT_TRUE(root->font(0).bold());
    EXPECT_TRUE(root->isExpanded());
    ASSERT_EQ(root->childCount(), 1);
    EXPECT_FALSE(root->child(0)->isExpanded());
    for (const char* key : {R"(C:\Vellora\Arcade\)", R"(C:\Vellora\Arcade\Arcade.mdb)", "Arcade INI Files",
                            "Arcade Korvo Scripts", "Arcade Text Files", R"(C:\Vellora\Arcade\Paths.ini)",
                            R"(C:\Vellora\Arcade\Credits.txt)", R"(C:\Vellora\Arcade\Scripts\run.txt)"}) {
        EXPECT_NE(Node(key), nullptr) << key;
    }
    EXPECT_EQ(Status(), QStringLiteral("Right-Click each Node for options"));
}

TEST_F(MainWindow, F5ShowsWhatIsOnTheDiskNow) {
    AddDatabase("Arcade");
    Open();
    AddDatabase("Home");
    std::filesystem::remove_all(Library() / "Home/Scripts");
    EXPECT_EQ(Node(R"(C:\Vellora\Home\)"), nullptr);
    QTest::keyClick(&Tree(), Qt::Key_F5);
    EXPECT_NE(Node(R"(C:\Vellora\Home\)"), nullptr);
    EXPECT_TRUE(std::filesystem::is_directory(Library() / "Home/Scripts"));
}

TEST_F(MainWindow, ALeftClickShowsTheNodesKey) {
    AddDatabase("Arcade");
    Open();
    Tree().expandAll();
    const auto click = [&](const std::string& key) {
        QTest::mouseClick(Tree().viewport(), Qt::LeftButton, Qt::NoModifier,
                          Tree().visualItemRect(Node(key)).center());
    };
    click(DatabaseKey("Arcade"));
    EXPECT_EQ(Status(), QStringLiteral(R"(C:\Vellora\Arcade\Arcade.mdb)"));
    click("ROOT");
    EXPECT_EQ(Status(), QStringLiteral("Right-Click each Node for options"));
}

TEST_F(MainWindow, AnArrowKeyClicksTheNodeItLeadsTo) {
    AddDatabase("Arcade");
    Open();
    Tree().setCurrentItem(Node("ROOT"));
    QTest::keyClick(&Tree(), Qt::Key_Down);
    QCoreApplication::processEvents();
    EXPECT_EQ(Tree().currentItem(), Node(R"(C:\Vellora\Arcade\)"));
    EXPECT_EQ(Status(), QStringLiteral(R"(C:\Vellora\Arcade\)"));
}

TEST_F(MainWindow, ARightClickPopsUpTheMenuOfItsNodeAndSelectsNothing) {
    AddDatabase("Arcade");
    test::WriteFile(Library() / "Arcade/Paths.ini", "x");
    Open();
    Tree().setCurrentItem(Node("ROOT"));
    const std::vector<std::pair<std::string, const char*>> expected = {
        {"ROOT", "mnuRoot"},
        {R"(C:\Vellora\Arcade\)", "mnuVellora"},
        {DatabaseKey("Arcade"), "mnuDB"},
        {"Arcade INI Files", nullptr},
        {"Arcade Text Files", nullptr},
        {"Arcade Korvo Scripts", "mnuScriptRoot"},
        {R"(C:\Vellora\Arcade\Paths.ini)", nullptr},
    };
    for (const auto& [key, menuName] : expected) {
        const QMenu* menu = MenuAfterRightClick(key);
        EXPECT_EQ(menu != nullptr ? menu->objectName() : QString(), QString::fromLatin1(menuName)) << key;
        EXPECT_EQ(Tree().currentItem(), Node("ROOT")) << key;
    }
}

TEST_F(MainWindow, TheMenuKeyOpensTheSelectedNodesMenu) {
    AddDatabase("Arcade");
    Open();
    SelectDatabase("Arcade");
    QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(), QPoint());
    QCoreApplication::sendEvent(&Tree(), &event);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(menu->objectName(), QStringLiteral("mnuDB"));
    menu->close();
}

TEST_F(MainWindow, ADatabaseFolderShowsItsOwnIconWithWhiteTransparent) {
    AddDatabase("Arcade");
    QImage picture(32, 32, QImage::Format_RGB32);
    picture.fill(Qt::white);
    for (int i = 8; i < 24; ++i) picture.setPixelColor(i, i, Qt::red);
    std::filesystem::create_directories(Library() / "Arcade/Gfx");
    // The picture's format is told by its content: what players save under this name is not always a GIF.
    ASSERT_TRUE(
        picture.save(QString::fromStdString((Library() / "Arcade/Gfx/Startup_32x32.gif").string()), "PNG"));
    Open();
    const QImage shown = Node(R"(C:\Vellora\Arcade\)")->icon(0).pixmap(32, 32).toImage();
    EXPECT_EQ(shown.pixelColor(0, 0).alpha(), 0);
    EXPECT_EQ(shown.pixelColor(10, 10), QColor(Qt::red));
}

TEST_F(MainWindow, AnIconThatIsNoPictureEndsTheProgramWithTheReport) {
    AddDatabase("Arcade");
    test::WriteFile(Library() / "Arcade/Gfx/Startup_32x32.gif", "no picture");
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_EXIT(
        {
            QTimer poll;
            QObject::connect(&poll, &QTimer::timeout, &poll, [] {
                if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                    fprintf(stderr, "[%s] %s", qPrintable(box->windowTitle()), qPrintable(box->text()));
                    box->accept();
                }
            });
            poll.start(5);
            RunHandler([this] { Open(); });
        },
        ::testing::ExitedWithCode(1), "\\[Marrowkit\\] Run-time error '481':");
}

TEST_F(MainWindow, DoubleClickingTheDatabaseWarnsUnlessExpert) {
    AddDatabase("Arcade");
    const std::string path = std::getenv("PATH");
    setenv("PATH", (folder_ / "nothing").c_str(), 1);  // no opener to be started
    Open();
    SelectDatabase("Arcade");
    driver_.AnswerBox(QMessageBox::Ok);
    QTest::keyClick(&Tree(), Qt::Key_Return);
    ASSERT_EQ(driver_.Boxes().size(), 1U);
    EXPECT_EQ(driver_.Boxes()[0].title, QStringLiteral("Marrowkit"));
    EXPECT_EQ(driver_.Boxes()[0].text,
              QStringLiteral(
                  "WARNING: Only EXPERTS should change the Vellora database in MS Access!\n\nIf you change "
                  "something by hand then your database doesn't work, you've only yourself to blame!"));
    modGlobal::Expert = true;
    QTest::keyClick(&Tree(), Qt::Key_Return);
    Tree().setCurrentItem(Node("Arcade INI Files"));
    QTest::keyClick(&Tree(), Qt::Key_Return);
    EXPECT_EQ(driver_.Boxes().size(), 1U);
    setenv("PATH", path.c_str(), 1);
}

}  // namespace
}  // namespace marrowkit
