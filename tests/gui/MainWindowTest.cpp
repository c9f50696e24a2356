#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QElapsedTimer>
#include <QImage>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include "forms/FatalError.h"
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

TEST_F(MainWindow, ARightClickBesideTheNodesShowsNoMenu) {
    Open();
    const QRect last = Tree().visualItemRect(Node("ROOT"));
    QTest::mouseClick(Tree().viewport(), Qt::RightButton, Qt::NoModifier, last.center() + QPoint(0, 60));
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

TEST_F(MainWindow, AFolderCalledDocsIsNeverADatabase) {
    for (const char* name : {"Docs", "DOCS", "docs"}) AddDatabase(name);
    AddDatabase("Documents");
    Open();
    ASSERT_EQ(Node("ROOT")->childCount(), 1);
    EXPECT_EQ(Node("ROOT")->child(0)->text(0), QStringLiteral("Documents"));
}

TEST_F(MainWindow, AFolderWithAnotherDatabaseFileIsNotShown) {
    AddDatabase("Arcade");
    std::filesystem::rename(Library() / "Arcade/Arcade.mdb", Library() / "Arcade/B.mdb");
    Open();
    EXPECT_EQ(Node("ROOT")->childCount(), 0);
}

TEST_F(MainWindow, HoldsFiveImagesAndOneForEachDatabaseWithItsOwnAfterEveryRefresh) {
    QImage picture(32, 32, QImage::Format_RGB32);
    picture.fill(Qt::blue);
    for (const char* name : {"Arcade", "Home", "Pocket"}) AddDatabase(name);
    for (const char* name : {"Arcade", "Home"}) {
        std::filesystem::create_directories(Library() / name / "Gfx");
        ASSERT_TRUE(picture.save(
            QString::fromStdString((Library() / name / "Gfx/Startup_32x32.gif").string()), "PNG"));
    }
    Open();
    EXPECT_EQ(window_->ImageCount(), 7U);
    QTest::keyClick(&Tree(), Qt::Key_F5);
    EXPECT_EQ(window_->ImageCount(), 7U);
    std::filesystem::remove(Library() / "Home/Gfx/Startup_32x32.gif");
    QTest::keyClick(&Tree(), Qt::Key_F5);
    EXPECT_EQ(window_->ImageCount(), 6U);
}

TEST_F(MainWindow, ImagesKeepTheirColoursOnASelectedNode) {
    AddDatabase("Arcade");
    Open();
    const QIcon icon = Node(DatabaseKey("Arcade"))->icon(0);
    EXPECT_EQ(icon.pixmap(16, 16, QIcon::Selected).toImage(), icon.pixmap(16, 16, QIcon::Normal).toImage());
}

TEST_F(MainWindow, DoubleClickingAFileOpensItWithItsProgramUnlessItHasVanished) {
    AddDatabase("Arcade");
    test::WriteFile(Library() / "Arcade/Credits.txt", "x");
    test::WriteFile(Library() / "Arcade/Paths.ini", "x");
    // A program that stands in for the desktop's opener and notes what it was given.
    const std::filesystem::path opened = folder_ / "opened";
    const std::filesystem::path opener = folder_ / "bin/xdg-open";
    test::WriteFile(opener, "#!/bin/sh\necho \"$1\" >> '" + opened.string() + "'\n");
    std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
    const std::string path = std::getenv("PATH");
    setenv("PATH", ((folder_ / "bin").string() + ":" + path).c_str(), 1);
    Open();
    Tree().expandAll();
    std::filesystem::remove(Library() / "Arcade/Paths.ini");
    for (const char* file : {"Paths.ini", "Credits.txt"}) {
        QTreeWidgetItem* node = Node(std::string(R"(C:\Vellora\Arcade\)") + file);
        Tree().scrollToItem(node);
        Tree().setCurrentItem(node);
        const QPoint point = Tree().visualItemRect(node).center();
        QTest::mouseClick(Tree().viewport(), Qt::LeftButton, Qt::NoModifier, point);
        QTest::mouseDClick(Tree().viewport(), Qt::LeftButton, Qt::NoModifier, point);
    }
    EXPECT_TRUE(QTest::qWaitFor([&] { return !test::ReadFile(opened).empty(); }, 20000));
    EXPECT_EQ(test::ReadFile(opened), (Library() / "Arcade/Credits.txt").string() + "\n");
    EXPECT_TRUE(driver_.Boxes().empty());
    setenv("PATH", path.c_str(), 1);
}

TEST_F(MainWindow, RefreshesALibraryOfAThousandDatabases) {
    constexpr int kDatabases = 1000;
    AddTemplate();
    QImage picture(32, 32, QImage::Format_RGB32);
    picture.fill(Qt::blue);
    const std::filesystem::path icon = folder_ / "icon.png";
    ASSERT_TRUE(picture.save(QString::fromStdString(icon.string())));
    for (int i = 0; i < kDatabases; ++i) {
        const std::string name = "Database " + std::to_string(i);
        const std::filesystem::path folder = Library() / name;
        for (const char* subfolder : {"Scripts", "Gfx"})
            std::filesystem::create_directories(folder / subfolder);
        for (const char* file : {"Credits.ini", "Emulators.ini", "Paths.ini", "Text.ini", "Credits.txt",
                                 "Notes.txt", "Scripts/Start.txt"})
            std::filesystem::create_hard_link(icon, folder / file);
        std::filesystem::create_hard_link(icon, folder / "Gfx/Startup_32x32.gif");
        std::filesystem::create_hard_link(Library() / "Empty.mdb", folder / (name + ".mdb"));
    }
    Open();
    QElapsedTimer timer;
    timer.start();
    window_->RefreshLibraryTree();
    RecordProperty("refresh_milliseconds", std::to_string(timer.elapsed()));
    std::printf("             1,000 databases of 12 nodes each: refreshed in %lld ms\n",
                static_cast<long long>(timer.elapsed()));
    EXPECT_EQ(Node("ROOT")->childCount(), kDatabases);
    EXPECT_EQ(window_->ImageCount(), 5U + kDatabases);
}

}  // namespace
}  // namespace marrowkit
