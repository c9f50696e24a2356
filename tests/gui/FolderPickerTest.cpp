#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <string_view>

#include <gtest/gtest.h>

#include "gui/ImportFixture.h"
#include "import/ImportSettings.h"
#include "import/frmBrowseFolder.h"
#include "import/frmRomCenter2.h"
#include "platform/files/HostPath.h"

namespace marrowkit {
namespace {

using test::Child;

class FolderPicker : public test::ImportFixture {
protected:
    static QStringList Entries(QDialog& picker) {
        QStringList texts;
        auto& folders = Child<QListWidget>(picker, "DirBox");
        for (int i = 0; i < folders.count(); ++i) texts << folders.item(i)->text().remove(QChar::Nbsp);
        return texts;
    }
    static QString Path(QDialog& picker) { return Child<QLabel>(picker, "lblPath").text(); }
};

TEST_F(FolderPicker, GivesBackTheFolderThatWasOpened) {
    std::filesystem::create_directories(folder_ / "drive_c/Roms/Atari ST");
    Open();
    std::string& path = GlobalImportSettings().BrowseFolderPath;
    path = R"(C:\Roms)";
    driver_.UseDialog(QStringLiteral("frmBrowseFolder"), [](QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Select Folder..."));
        auto& folders = Child<QListWidget>(dialog, "DirBox");
        EXPECT_EQ(Child<QLabel>(dialog, "lblPath").text(), QStringLiteral("C:\\Roms"));
        ASSERT_EQ(folders.count(), 3);  // C:\, Roms, Atari ST
        folders.setCurrentRow(2);
        EXPECT_EQ(Child<QLabel>(dialog, "lblPath").text(), QStringLiteral("C:\\Roms\\Atari ST"));
        QTest::keyClick(&folders, Qt::Key_Return);
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    frmBrowseFolder(window_.get()).exec();
    EXPECT_EQ(path, R"(C:\Roms\Atari ST)");
    driver_.UseDialog(QStringLiteral("frmBrowseFolder"),
                      [](QDialog& dialog) { Child<QPushButton>(dialog, "cmdCancel").click(); });
    frmBrowseFolder(window_.get()).exec();
    EXPECT_EQ(path, "");
}

TEST_F(FolderPicker, ItsFolderBecomesTheRomPath) {
    std::filesystem::create_directories(folder_ / "drive_c/Roms/Tapes");
    OpenWithDatafile("Nimbus.dat");
    driver_.UseDialog(QStringLiteral("frmRomCenter2"), [](QDialog& dialog) {
        Child<QCheckBox>(dialog, "chkScan").click();
        Child<QLineEdit>(dialog, "txtRomPath").setText(QStringLiteral("C:\\Roms\\"));
        Child<QToolButton>(dialog, "cmdRomPath").click();
    });
    driver_.UseDialog(QStringLiteral("frmBrowseFolder"), [](QDialog& dialog) {
        EXPECT_EQ(Child<QLabel>(dialog, "lblPath").text(), QStringLiteral("C:\\Roms"));
        auto& folders = Child<QListWidget>(dialog, "DirBox");
        folders.setCurrentRow(2);
        QTest::keyClick(&folders, Qt::Key_Return);
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    driver_.UseDialog(QStringLiteral("frmRomCenter2"), [](QDialog& dialog) {
        EXPECT_EQ(Child<QLineEdit>(dialog, "txtRomPath").text(), QStringLiteral("C:\\Roms\\Tapes"));
        EXPECT_EQ(dialog.focusWidget(), &Child<QWidget>(dialog, "txtRomPath"));
        dialog.reject();
    });
    frmRomCenter2(window_.get(), window_->Interface()).exec();
}

TEST_F(FolderPicker, StartsAtTheRomPathOnlyWhenThatIsAFolder) {
    std::filesystem::create_directories(folder_ / "drive_c/Roms");
    OpenWithDatafile("Nimbus.dat");
    frmRomCenter2 options(window_.get(), window_->Interface());
    Child<QCheckBox>(options, "chkScan").click();
    auto& path = Child<QLineEdit>(options, "txtRomPath");
    for (const char* typed : {"C:\\Roms", "", "Roms", "C:\\Nowhere", "\\\\server\\share", "C:/Roms"}) {
        path.setText(QString::fromLatin1(typed));
        const QString start =
            QString::fromLatin1(std::string_view(typed) == "C:\\Roms" ? "C:\\Roms" : "C:\\Vellora");
        driver_.UseDialog(QStringLiteral("frmBrowseFolder"), [start](QDialog& dialog) {
            EXPECT_EQ(Path(dialog), start);
            Child<QPushButton>(dialog, "cmdCancel").click();
        });
        Child<QToolButton>(options, "cmdRomPath").click();
        EXPECT_EQ(path.text(), QString::fromLatin1(typed)) << "cancelled: the path stays";
    }
}

TEST_F(FolderPicker, ListsTheDrivesAndMovesToTheOneChosen) {
    std::filesystem::create_directories(folder_ / "drive_c/Roms");
    std::filesystem::create_directories(folder_ / "drive_d/Tapes/Deep");
    UseDrives(DriveMap({{'C', (folder_ / "drive_c").string()}, {'D', (folder_ / "drive_d").string()}}));
    Open();
    std::string& path = GlobalImportSettings().BrowseFolderPath;
    path = R"(C:\Roms)";
    frmBrowseFolder picker(window_.get());
    EXPECT_EQ(path, "");  // closing it now gives back nothing
    auto& drives = Child<QComboBox>(picker, "DriveBox");
    ASSERT_EQ(drives.count(), 2);
    EXPECT_EQ(drives.itemText(0), QStringLiteral("C:\\"));
    EXPECT_EQ(drives.itemText(1), QStringLiteral("D:\\"));
    EXPECT_EQ(drives.currentIndex(), 0);
    drives.setCurrentIndex(1);
    Q_EMIT drives.activated(1);
    EXPECT_EQ(Entries(picker), (QStringList{QStringLiteral("D:\\"), QStringLiteral("Tapes")}));
    EXPECT_EQ(Path(picker), QStringLiteral("D:\\"));
    Child<QPushButton>(picker, "cmdOK").click();
    EXPECT_EQ(path, "D:\\");
}

TEST_F(FolderPicker, AClickOnlyShowsAnEntryAndADoubleClickOpensIt) {
    for (const char* name : {"Roms/Tapes/Deep", "Roms/Disks", "Roms/.hidden"})
        std::filesystem::create_directories(folder_ / "drive_c" / name);
    Open();
    std::string& path = GlobalImportSettings().BrowseFolderPath;
    path = R"(C:\Roms)";
    frmBrowseFolder picker(window_.get());
    auto& folders = Child<QListWidget>(picker, "DirBox");
    picker.show();
    const QStringList roms{QStringLiteral("C:\\"), QStringLiteral("Roms"), QStringLiteral("Disks"),
                           QStringLiteral("Tapes")};
    EXPECT_EQ(Entries(picker), roms);
    const auto point = [&](int row) { return folders.visualItemRect(folders.item(row)).center(); };
    QTest::mouseClick(folders.viewport(), Qt::LeftButton, Qt::NoModifier, point(3));
    EXPECT_EQ(Path(picker), QStringLiteral("C:\\Roms\\Tapes"));
    EXPECT_EQ(Entries(picker), roms);
    QTest::mouseDClick(folders.viewport(), Qt::LeftButton, Qt::NoModifier, point(3));
    EXPECT_EQ(Entries(picker), (QStringList{QStringLiteral("C:\\"), QStringLiteral("Roms"),
                                            QStringLiteral("Tapes"), QStringLiteral("Deep")}));
    // Upwards the same way.
    QTest::mouseClick(folders.viewport(), Qt::LeftButton, Qt::NoModifier, point(1));
    QTest::mouseDClick(folders.viewport(), Qt::LeftButton, Qt::NoModifier, point(1));
    EXPECT_EQ(Entries(picker), roms);
    // What is highlighted and was not opened is not the current folder.
    QTest::mouseClick(folders.viewport(), Qt::LeftButton, Qt::NoModifier, point(2));
    Child<QPushButton>(picker, "cmdOK").click();
    EXPECT_EQ(path, R"(C:\Roms)");
}

TEST_F(FolderPicker, StartsInTheLibraryWithoutAPath) {
    Open();
    GlobalImportSettings().BrowseFolderPath.clear();
    frmBrowseFolder picker(window_.get());
    EXPECT_EQ(Path(picker), QStringLiteral("C:\\Vellora"));
    QTest::keyClick(&picker, Qt::Key_Escape);
    EXPECT_EQ(GlobalImportSettings().BrowseFolderPath, "");
}

TEST_F(FolderPicker, OpensAThousandFoldersAtOnce) {
    constexpr int kFolders = 1000;
    for (int i = 0; i < kFolders; ++i)
        std::filesystem::create_directories(folder_ / "drive_c/Roms" / ("Folder " + std::to_string(i)));
    Open();
    GlobalImportSettings().BrowseFolderPath = R"(C:\Roms)";
    frmBrowseFolder picker(window_.get());
    EXPECT_EQ(Child<QListWidget>(picker, "DirBox").count(), kFolders + 2);
}

}  // namespace
}  // namespace marrowkit
