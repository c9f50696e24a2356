// The library tree: its nodes, their images and menus, and what clicks and keys do.
#include <QApplication>
#include <QContextMenuEvent>
#include <QImage>
#include <QMenu>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include "forms/FatalError.h"
#include "global/modGlobal.h"
#include "gui/WindowsFixture.h"

namespace marrowkit {
namespace {

class LibraryTreeView : public test::Windows {
protected:
    ~LibraryTreeView() override {
        if (!path_.empty()) setenv("PATH", path_.c_str(), 1);
    }
    /// A program in the place of the desktop's opener notes what it is given.
    void StandInForTheOpener() {
        const std::filesystem::path opener = folder_ / "bin/xdg-open";
        test::WriteFile(opener, "#!/bin/sh\necho \"$1\" >> '" + Opened().string() + "'\n");
        std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
        path_ = std::getenv("PATH");
        setenv("PATH", ((folder_ / "bin").string() + ":" + path_).c_str(), 1);
    }
    std::filesystem::path Opened() const { return folder_ / "opened"; }
    /// It was given these lines so far.
    void ExpectOpened(const std::string& lines) {
        EXPECT_TRUE(QTest::qWaitFor(
            [&] {
                return std::filesystem::exists(Opened()) && test::ReadFile(Opened()).size() >= lines.size();
            },
            20000));
        EXPECT_EQ(test::ReadFile(Opened()), lines);
    }
    QPoint Show(const std::string& key) {
        Tree().expandAll();
        QTreeWidgetItem* node = Node(key);
        Tree().scrollToItem(node);
        return Tree().visualItemRect(node).center();
    }
    void DoubleClick(const std::string& key) {
        const QPoint point = Show(key);
        QTest::mouseClick(Tree().viewport(), Qt::LeftButton, Qt::NoModifier, point);
        QTest::mouseDClick(Tree().viewport(), Qt::LeftButton, Qt::NoModifier, point);
    }
    QMenu* MenuAfterRightClick(const std::string& key) {
        QTest::mouseClick(Tree().viewport(), Qt::RightButton, Qt::NoModifier, Show(key));
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (menu != nullptr) menu->close();
        return menu;
    }

private:
    std::string path_;
};

TEST_F(LibraryTreeView, ShowsTheLibraryAsATree) {
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

TEST_F(LibraryTreeView, F5ShowsWhatIsOnTheDiskNow) {
    AddDatabase("Arcade");
    Open();
    AddDatabase("Home");
    std::filesystem::remove_all(Library() / "Home/Scripts");
    EXPECT_EQ(Node(R"(C:\Vellora\Home\)"), nullptr);
    QTest::keyClick(&Tree(), Qt::Key_F5);
    EXPECT_NE(Node(R"(C:\Vellora\Home\)"), nullptr);
    EXPECT_TRUE(std::filesystem::is_directory(Library() / "Home/Scripts"));
}

TEST_F(LibraryTreeView, ARefreshShowsTheHourglassBeforeItTouchesTheTree) {
    AddDatabase("Arcade");
    Open();
    AddDatabase("Home");
    bool looked = false;
    QTimer::singleShot(0, window_.get(), [&] {
        looked = true;
        ASSERT_NE(QApplication::overrideCursor(), nullptr);
        EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
        EXPECT_EQ(Node("ROOT")->childCount(), 1);
    });
    window_->RefreshLibraryTree();
    EXPECT_TRUE(looked);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(Node("ROOT")->childCount(), 2);
}

TEST_F(LibraryTreeView, ALeftClickShowsTheNodesKey) {
    AddDatabase("Arcade");
    Open();
    Tree().expandAll();
    const auto click = [&](const std::string& key) {
        QTest::mouseClick(Tree().viewport(), Qt::LeftButton, Qt::NoModifier,
                          Tree().visualItemRect(Node(key)).center());
    };
    click(DatabaseKey("Arcade"));
    EXPECT_EQ(Status(), QStringLiteral(R"(C:\Vellora\Arcade\Arcade.mdb)"));
    click(R"(C:\Vellora\Arcade\)");
    EXPECT_EQ(Status(), QStringLiteral(R"(C:\Vellora\Arcade\)"));
    click("Arcade INI Files");
    EXPECT_EQ(Status(), QStringLiteral("Arcade INI Files"));
    click("ROOT");
    EXPECT_EQ(Status(), QStringLiteral("Right-Click each Node for options"));
}

TEST_F(LibraryTreeView, AnArrowKeyClicksTheNodeItLeadsTo) {
    AddDatabase("Arcade");
    Open();
    Tree().setCurrentItem(Node("ROOT"));
    QTest::keyClick(&Tree(), Qt::Key_Down);
    QCoreApplication::processEvents();
    EXPECT_EQ(Tree().currentItem(), Node(R"(C:\Vellora\Arcade\)"));
    EXPECT_EQ(Status(), QStringLiteral(R"(C:\Vellora\Arcade\)"));
}

TEST_F(LibraryTreeView, ARightClickPopsUpTheMenuOfItsNodeAndSelectsNothing) {
    AddDatabase("Arcade");
    for (const char* file : {"Paths.ini", "Credits.txt", "Scripts/run.txt"})
        test::WriteFile(Library() / "Arcade" / file, "x");
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
        {R"(C:\Vellora\Arcade\Credits.txt)", nullptr},
        {R"(C:\Vellora\Arcade\Scripts\run.txt)", nullptr},
    };
    for (const auto& [key, menuName] : expected) {
        const QMenu* menu = MenuAfterRightClick(key);
        EXPECT_EQ(menu != nullptr ? menu->objectName() : QString(), QString::fromLatin1(menuName)) << key;
        EXPECT_EQ(Tree().currentItem(), Node("ROOT")) << key;
    }
}

TEST_F(LibraryTreeView, TheMenuKeyOpensTheSelectedNodesMenu) {
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

TEST_F(LibraryTreeView, ADatabaseFolderShowsItsOwnIconWithWhiteTransparent) {
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

TEST_F(LibraryTreeView, AnIconThatIsNoPictureEndsTheProgramWithTheReport) {
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

TEST_F(LibraryTreeView, DoubleClickingTheDatabaseWarnsUnlessExpertAndOpensIt) {
    AddDatabase("Arcade");
    StandInForTheOpener();
    Open();
    const std::string database = (Library() / "Arcade/Arcade.mdb").string() + "\n";
    driver_.AnswerBox(QMessageBox::Ok);
    DoubleClick(DatabaseKey("Arcade"));
    ASSERT_EQ(driver_.Boxes().size(), 1U);
    EXPECT_EQ(driver_.Boxes()[0].title, QStringLiteral("Marrowkit"));
    EXPECT_EQ(driver_.Boxes()[0].icon, QMessageBox::Information);
    EXPECT_EQ(driver_.Boxes()[0].buttons, QMessageBox::Ok);
    EXPECT_EQ(driver_.Boxes()[0].text,
              QStringLiteral(
                  "WARNING: Only EXPERTS should change the Vellora database in MS Access!\n\nIf you change "
                  "something by hand then your database doesn't work, you've only yourself to blame!"));
    ExpectOpened(database);
    modGlobal::Expert = true;
    DoubleClick(DatabaseKey("Arcade"));
    ExpectOpened(database + database);
    // Enter does the same.
    QTest::keyClick(&Tree(), Qt::Key_Return);
    ExpectOpened(database + database + database);
    EXPECT_EQ(driver_.Boxes().size(), 1U);
}

TEST_F(LibraryTreeView, DoubleClickingAFolderOpensNothing) {
    AddDatabase("Arcade");
    test::WriteFile(Library() / "Arcade/Credits.txt", "x");
    StandInForTheOpener();
    Open();
    for (const char* key :
         {"ROOT", R"(C:\Vellora\Arcade\)", "Arcade INI Files", "Arcade Text Files", "Arcade Korvo Scripts"})
        DoubleClick(key);
    DoubleClick(R"(C:\Vellora\Arcade\Credits.txt)");
    ExpectOpened((Library() / "Arcade/Credits.txt").string() + "\n");
    EXPECT_TRUE(driver_.Boxes().empty());
}

TEST_F(LibraryTreeView, DoubleClickingADatabaseThatHasVanishedDoesNothing) {
    AddDatabase("Arcade");
    Open();
    std::filesystem::remove(Library() / "Arcade/Arcade.mdb");
    DoubleClick(DatabaseKey("Arcade"));
    EXPECT_TRUE(driver_.Boxes().empty());
}

TEST_F(LibraryTreeView, ARightClickBesideTheNodesShowsNoMenu) {
    Open();
    const QRect last = Tree().visualItemRect(Node("ROOT"));
    QTest::mouseClick(Tree().viewport(), Qt::RightButton, Qt::NoModifier, last.center() + QPoint(0, 60));
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

TEST_F(LibraryTreeView, AFolderCalledDocsIsNeverADatabase) {
    for (const char* name : {"Docs", "DOCS", "docs"}) AddDatabase(name);
    AddDatabase("Documents");
    Open();
    ASSERT_EQ(Node("ROOT")->childCount(), 1);
    EXPECT_EQ(Node("ROOT")->child(0)->text(0), QStringLiteral("Documents"));
}

TEST_F(LibraryTreeView, AFolderWithAnotherDatabaseFileIsNotShown) {
    AddDatabase("Arcade");
    std::filesystem::rename(Library() / "Arcade/Arcade.mdb", Library() / "Arcade/B.mdb");
    Open();
    EXPECT_EQ(Node("ROOT")->childCount(), 0);
}

TEST_F(LibraryTreeView, HoldsFiveImagesAndOneForEachDatabaseWithItsOwnAfterEveryRefresh) {
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

TEST_F(LibraryTreeView, ImagesKeepTheirColoursOnASelectedNode) {
    AddDatabase("Arcade");
    Open();
    const QIcon icon = Node(DatabaseKey("Arcade"))->icon(0);
    EXPECT_EQ(icon.pixmap(16, 16, QIcon::Selected).toImage(), icon.pixmap(16, 16, QIcon::Normal).toImage());
}

TEST_F(LibraryTreeView, DoubleClickingAFileOpensItWithItsProgramUnlessItHasVanished) {
    AddDatabase("Arcade");
    test::WriteFile(Library() / "Arcade/Credits.txt", "x");
    test::WriteFile(Library() / "Arcade/Paths.ini", "x");
    StandInForTheOpener();
    Open();
    Tree().expandAll();
    std::filesystem::remove(Library() / "Arcade/Paths.ini");
    for (const char* file : {"Paths.ini", "Credits.txt"})
        DoubleClick(std::string(R"(C:\Vellora\Arcade\)") + file);
    ExpectOpened((Library() / "Arcade/Credits.txt").string() + "\n");
    EXPECT_TRUE(driver_.Boxes().empty());
}

TEST_F(LibraryTreeView, ShowsALibraryOfManyDatabasesAgainAndAgain) {
    constexpr int kDatabases = 150;
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
    for (int i = 0; i < 3; ++i) window_->RefreshLibraryTree();
    EXPECT_EQ(Node("ROOT")->childCount(), kDatabases);
    EXPECT_EQ(window_->ImageCount(), 5U + kDatabases);
}

}  // namespace
}  // namespace marrowkit
