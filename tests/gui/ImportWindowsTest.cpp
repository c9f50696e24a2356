#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <set>
#include <utility>

#include <gtest/gtest.h>

#include "forms/Twips.h"
#include "gui/ImportFixture.h"
#include "import/ImportSettings.h"
#include "import/frmBrowseFolder.h"
#include "import/frmProgress.h"
#include "import/frmRomCenter2.h"
#include "platform/registry/RegistryStore.h"

namespace marrowkit {
namespace {

using test::Child;
using test::GamesLine;

class ImportWindows : public test::ImportFixture {};

TEST_F(ImportWindows, AFullImportEndsWithTheNewDatabaseSelected) {
    AddTemplate();
    WriteDatafile("Nimbus.dat",
                  GamesLine("Alpha", "alpha.bin", "cbf43926", 9) + GamesLine("Beta", "beta.bin", "1", 5));
    test::WriteFile(folder_ / "drive_c/Roms/Sub/a.bin", "123456789");
    Open();
    ChooseFile("Nimbus.dat");
    driver_.UseDialog(QStringLiteral("frmRomCenter2"), [](QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), QStringLiteral("RomCenter 2.00 Datafile Import"));
        EXPECT_EQ(Child<QLabel>(dialog, "lblDataFile").text(), QStringLiteral("Nimbus.dat"));
        EXPECT_EQ(Child<QLineEdit>(dialog, "txtName").text(), QStringLiteral("Nimbus"));
        EXPECT_FALSE(Child<QCheckBox>(dialog, "chkTosec").isChecked());
        EXPECT_FALSE(Child<QLineEdit>(dialog, "txtRomPath").isEnabled());
        Child<QCheckBox>(dialog, "chkScan").click();
        EXPECT_TRUE(Child<QLineEdit>(dialog, "txtRomPath").isEnabled());
        QTest::keyClicks(&Child<QLineEdit>(dialog, "txtRomPath"), QStringLiteral("C:\\Roms\\"));
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuFileNewRomCenter2");
    ASSERT_EQ(driver_.Boxes().size(), 1U);
    EXPECT_EQ(driver_.Boxes()[0].text,
              QStringLiteral("You will need to run \"Scan and Fix Errors\" on this database "
                             "file before you can use it."));
    EXPECT_EQ(driver_.Boxes()[0].icon, QMessageBox::NoIcon);
    EXPECT_EQ(Tree().currentItem(), Node(R"(C:\Vellora\Nimbus\)"));
    EXPECT_TRUE(Tree().currentItem()->isExpanded());
    EXPECT_EQ(One("Nimbus", "SELECT COUNT(*) FROM Games"), "2");
    EXPECT_EQ(One("Nimbus", "SELECT Filename FROM Games WHERE Name = \"Alpha\""), R"(Sub\a.bin)");
    EXPECT_EQ(One("Nimbus", "SELECT CCode FROM Games WHERE Name = \"Beta\""), "4");
    EXPECT_TRUE(Problems("Nimbus").empty());
    EXPECT_TRUE(std::filesystem::exists(Library() / "Nimbus/Paths.ini"));
}

TEST_F(ImportWindows, HaveTheirInnerSizes) {
    OpenWithDatafile("Nimbus.dat");
    const auto expectSize = [](QWidget& window, double widthTwips, double heightTwips) {
        window.show();
        EXPECT_EQ(window.size(),
                  QSize(TwipsToPixels(widthTwips, &window), TwipsToPixels(heightTwips, &window)))
            << window.objectName().toStdString();
    };
    frmRomCenter2 options(window_.get(), window_->Interface());
    expectSize(options, 8175, 3615);
    frmBrowseFolder picker(window_.get());
    expectSize(picker, 4695, 3855);
}

TEST_F(ImportWindows, TheOptionsGrowWhereTheTextIsTooLargeForTheirSize) {
    OpenWithDatafile("Nimbus.dat");
    const QFont before = QApplication::font();
    QFont large = before;
    large.setPointSizeF(16);
    QApplication::setFont(large);
    {
        frmRomCenter2 options(window_.get(), window_->Interface());
        EXPECT_EQ(options.font().pointSizeF(), 16);
        EXPECT_GT(options.width(), TwipsToPixels(8175, &options));
    }
    QApplication::setFont(before);
}

// A box that is neither ticked nor clear counts as not ticked.
TEST_F(ImportWindows, AGreyedTickIsNone) {
    WriteDatafile("Nimbus.dat", "");  // the import ends at once: there are no games
    OpenWithDatafile("Nimbus.dat");
    frmRomCenter2 options(window_.get(), window_->Interface());
    Child<QLineEdit>(options, "txtRomPath").setText(QStringLiteral("nowhere"));
    for (const char* name : {"chkIgnoreDups", "chkTosec", "chkAddZip", "chkScan", "chkMatch"}) {
        auto& box = Child<QCheckBox>(options, name);
        box.setTristate(true);
        box.setCheckState(Qt::PartiallyChecked);
    }
    driver_.AnswerBox(QMessageBox::Ok);
    Child<QPushButton>(options, "cmdOK").click();
    EXPECT_EQ(driver_.Boxes().back().text, QStringLiteral("There were no games to import!"));
    const ImportSettings& settings = GlobalImportSettings();
    EXPECT_FALSE(settings.SkipDuplicates || settings.TosecNames || settings.AddZipExtension ||
                 settings.ScanForRoms || settings.MatchExtensionsOnly);
}

TEST_F(ImportWindows, TheProgressWindowBeginsInitialising) {
    Open();
    frmProgress progress(window_.get(), window_->Interface(), QStringLiteral("Nimbus.dat"));
    EXPECT_EQ(progress.windowTitle(), QStringLiteral("Importing Nimbus.dat..."));
    EXPECT_EQ(Child<QLabel>(progress, "lblPrompt").text(), QStringLiteral("Initialising..."));
    EXPECT_EQ(Child<QLabel>(progress, "lblStatus").text(), QString());
    EXPECT_EQ(Child<QPushButton>(progress, "cmdCancel").text(), QStringLiteral("&Cancel"));
    EXPECT_EQ(progress.size(), QSize(TwipsToPixels(5175, &progress), TwipsToPixels(1215, &progress)));
    EXPECT_NE(QApplication::overrideCursor(), nullptr);
}

TEST_F(ImportWindows, TheOptionsHaveTheirCaptions) {
    OpenWithDatafile("Nimbus.dat");
    const frmRomCenter2 options(window_.get(), window_->Interface());
    const std::pair<const char*, const char*> kCaptions[] = {
        {"cmdView", "&View"},
        {"chkIgnoreDups", "Ignore &duplicate Game Names"},
        {"chkTosec", "&TOSEC Filenames (TNC v1)"},
        {"chkAddZip", "&Add ZIP extension to filename"},
        {"chkScan", "Scan for &Roms"},
        {"chkMatch", "Only search &matching filename extensions"},
        {"cmdOK", "&Start"},
        {"cmdCancel", "&Cancel"}};
    for (const auto& [control, caption] : kCaptions) {
        const auto* button = options.findChild<QAbstractButton*>(QString::fromLatin1(control));
        ASSERT_NE(button, nullptr) << control;
        EXPECT_EQ(button->text().toStdString(), caption);
    }
    EXPECT_EQ(options.findChild<QGroupBox*>(QStringLiteral("fraOptions"))->title(),
              QStringLiteral("Options"));
    EXPECT_NE(options.findChild<QFrame*>(QStringLiteral("fraScan")), nullptr);
    // Labels with the control that their access key leads to.
    std::set<std::pair<std::string, std::string>> labels;
    for (const QLabel* label : options.findChildren<QLabel*>()) {
        const QString buddy = label->buddy() != nullptr ? label->buddy()->objectName() : QString();
        labels.emplace(label->text().toStdString(), buddy.toStdString());
    }
    EXPECT_EQ(labels, (std::set<std::pair<std::string, std::string>>{{"RomCenter Datafile:", ""},
                                                                     {"Nimbus.dat", ""},
                                                                     {"&Vellora Name:", "txtName"},
                                                                     {"Game &Name Field:", "lstName"},
                                                                     {"Game &Filename Field:", "lstFile"},
                                                                     {"Rom &Path:", "txtRomPath"}}));
}

TEST_F(ImportWindows, ADatafileOfAnotherVersionIsRefused) {
    AddTemplate();
    WriteDatafile("Old.dat", "", "1.92");
    Open();
    ChooseFile("Old.dat");
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuFileNewRomCenter2");
    EXPECT_EQ(
        driver_.Boxes()[0].text,
        QStringLiteral("This datafile was not found to be version 2.00!\n\nReported version is: [1.92]"));
    EXPECT_EQ(driver_.Boxes()[0].title, QStringLiteral("Marrowkit"));
}

TEST_F(ImportWindows, OnlyTheFileMenuStartsANewDatabaseAgain) {
    AddTemplate();
    AddDatabase("Arcade");
    Open();
    SelectDatabase("Arcade");
    const auto cancelFile = [this] {
        driver_.UseDialog(QStringLiteral("cDialog"), [](QDialog& dialog) { dialog.reject(); });
    };
    cancelFile();
    Trigger("mnuDBImportRC2");
    EXPECT_TRUE(GlobalImportSettings().ImportIntoExisting);
    EXPECT_EQ(GlobalImportSettings().ExistingDatabasePath, DatabaseKey("Arcade"));
    EXPECT_EQ(GlobalImportSettings().ExistingDatabaseName, "Arcade");
    cancelFile();
    Trigger("mnuRootNewRomCenter2");
    EXPECT_TRUE(GlobalImportSettings().ImportIntoExisting);
    cancelFile();
    Trigger("mnuFileNewRomCenter2");
    EXPECT_FALSE(GlobalImportSettings().ImportIntoExisting);
}

TEST_F(ImportWindows, TosecNamesAreTickedByTheFilesName) {
    for (const char* name : {"Atari ST - TOSEC.dat", "Tosec.DAT"}) {
        OpenWithDatafile(name);
        driver_.UseDialog(QStringLiteral("frmRomCenter2"), [](QDialog& dialog) {
            EXPECT_TRUE(Child<QCheckBox>(dialog, "chkTosec").isChecked());
            Child<QPushButton>(dialog, "cmdCancel").click();
        });
        std::filesystem::remove(Library() / "Empty.mdb");
        frmRomCenter2(window_.get(), window_->Interface()).exec();
    }
}

struct Refusal {
    const char* name;
    bool scan;
    const char* romPath;
    const char* text;
};

TEST_F(ImportWindows, StartRefusesWhatCannotBe) {
    AddDatabase("Arcade");
    OpenWithDatafile("Nimbus.dat");
    const Refusal refusals[] = {
        {"Arcade", false, "", "There is already a Vellora folder with that name!"},
        {"ARCADE", false, "", "There is already a Vellora folder with that name!"},
        {"New", true, "Roms", "Please enter an absolute (full) Rom Path!"},
        {"New", true, R"(\\server\share)", "Please enter an absolute (full) Rom Path!"},
        {"New", true, R"(C:\Nowhere)", "The Rom Path could not be found!"},
    };
    for (const Refusal& refusal : refusals) {
        driver_.UseDialog(QStringLiteral("frmRomCenter2"), [refusal](QDialog& dialog) {
            Child<QLineEdit>(dialog, "txtName").setText(QString::fromLatin1(refusal.name));
            if (refusal.scan) Child<QCheckBox>(dialog, "chkScan").click();
            Child<QLineEdit>(dialog, "txtRomPath").setText(QString::fromLatin1(refusal.romPath));
            Child<QPushButton>(dialog, "cmdOK").setFocus();
            Child<QPushButton>(dialog, "cmdOK").click();
        });
        driver_.AnswerBox(QMessageBox::Ok);
        driver_.UseDialog(QStringLiteral("frmRomCenter2"), [refusal](QDialog& dialog) {
            EXPECT_TRUE(Child<QPushButton>(dialog, "cmdOK").isEnabled());
            EXPECT_EQ(dialog.focusWidget(),
                      &Child<QLineEdit>(dialog, refusal.scan ? "txtRomPath" : "txtName"));
            EXPECT_EQ(Child<QLineEdit>(dialog, "txtName").text(), QString::fromLatin1(refusal.name));
            EXPECT_EQ(Child<QLineEdit>(dialog, "txtRomPath").text(), QString::fromLatin1(refusal.romPath));
            dialog.reject();
        });
        frmRomCenter2(window_.get(), window_->Interface()).exec();
        ASSERT_FALSE(driver_.Boxes().empty());
        EXPECT_EQ(driver_.Boxes().back().text, QString::fromLatin1(refusal.text));
        EXPECT_EQ(driver_.Boxes().back().title, QStringLiteral("Marrowkit"));
        EXPECT_EQ(driver_.Boxes().back().icon, QMessageBox::Information);
    }
}

TEST_F(ImportWindows, IntoAnExistingDatabaseTheNameIsFixed) {
    AddDatabase("Arcade");
    OpenWithDatafile("Nimbus.dat");
    GlobalImportSettings().ImportIntoExisting = true;
    GlobalImportSettings().ExistingDatabaseName = "Arcade";
    driver_.UseDialog(QStringLiteral("frmRomCenter2"), [](QDialog& dialog) {
        auto& name = Child<QLineEdit>(dialog, "txtName");
        EXPECT_TRUE(name.isReadOnly());
        EXPECT_EQ(name.text(), QStringLiteral("Arcade"));
        EXPECT_EQ(name.palette().color(QPalette::Base), dialog.palette().color(QPalette::Window));
        dialog.reject();
    });
    frmRomCenter2(window_.get(), window_->Interface()).exec();
}

TEST_F(ImportWindows, TheListsCarryTheirColumnNumbers) {
    OpenWithDatafile("Nimbus.dat");
    driver_.UseDialog(QStringLiteral("frmRomCenter2"), [](QDialog& dialog) {
        const auto columns = [&](const char* list) {
            std::vector<int> numbers;
            auto& widget = Child<QListWidget>(dialog, list);
            for (int i = 0; i < widget.count(); ++i)
                numbers.push_back(widget.item(i)->data(Qt::UserRole).toInt());
            EXPECT_EQ(widget.currentRow(), 2);
            return numbers;
        };
        EXPECT_EQ(columns("lstName"), (std::vector<int>{1, 2, 3, 4, 5, 8}));
        // The last one is captioned column 8 and reads column 7.
        EXPECT_EQ(columns("lstFile"), (std::vector<int>{1, 3, 5, 7}));
        const auto texts = [&](const char* list) {
            std::vector<std::string> all;
            auto& widget = Child<QListWidget>(dialog, list);
            for (int i = 0; i < widget.count(); ++i) all.push_back(widget.item(i)->text().toStdString());
            return all;
        };
        EXPECT_EQ(texts("lstName"),
                  (std::vector<std::string>{"Parent Name (col 1)", "Parent Description (col 2)",
                                            "Game Name (col 3)", "Game Description (col 4)",
                                            "Rom Name (col 5)", "RomOf Name (col 8)"}));
        EXPECT_EQ(texts("lstFile"), (std::vector<std::string>{"Parent Name (col 1)", "Game Name (col 3)",
                                                              "Rom Name (col 5)", "RomOf Name (col 8)"}));
        dialog.reject();
    });
    frmRomCenter2(window_.get(), window_->Interface()).exec();
}

TEST_F(ImportWindows, CancellingTheImportLeavesTheDialogOpen) {
    AddTemplate();
    std::string lines;
    for (int i = 0; i < 400000; ++i) lines += GamesLine("Game " + std::to_string(i), "g.bin", "1", i);
    WriteDatafile("Large.dat", lines);
    test::WriteFile(folder_ / "drive_c/Roms/a.bin", "x");
    Open();
    GlobalImportSettings().DatafilePath = R"(C:\Data\Large.dat)";
    driver_.UseDialog(QStringLiteral("frmRomCenter2"), [](QDialog& dialog) {
        Child<QCheckBox>(dialog, "chkScan").click();
        Child<QLineEdit>(dialog, "txtRomPath").setText(QStringLiteral("C:\\Roms"));
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    driver_.UseDialog(QStringLiteral("frmProgress"), [](QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Importing Large.dat..."));
        Child<QPushButton>(dialog, "cmdCancel").click();
        EXPECT_FALSE(Child<QPushButton>(dialog, "cmdCancel").isEnabled());
    });
    driver_.UseDialog(QStringLiteral("frmRomCenter2"), [](QDialog& dialog) {
        EXPECT_TRUE(Child<QPushButton>(dialog, "cmdOK").isEnabled());
        dialog.reject();
    });
    frmRomCenter2(window_.get(), window_->Interface()).exec();
    EXPECT_TRUE(GlobalImportSettings().ImportCancelled);
    EXPECT_FALSE(GlobalImportSettings().ImportSucceeded);
    EXPECT_FALSE(std::filesystem::exists(Library() / "Large"));
    EXPECT_TRUE(driver_.Boxes().empty());
}

TEST_F(ImportWindows, ANewVelloraIsSelectedAndExpanded) {
    AddTemplate();
    Open();
    driver_.UseDialog(QStringLiteral("frmInputBox"), [](QDialog& dialog) {
        QTest::keyClicks(&Child<QLineEdit>(dialog, "txtInput"), QStringLiteral("Space Games"));
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    Trigger("mnuFileNew");
    QTreeWidgetItem* node = Node(R"(C:\Vellora\Space Games\)");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(Tree().currentItem(), node);
    EXPECT_TRUE(node->isExpanded());
    for (const char* key :
         {R"(C:\Vellora\Space Games\Space Games.mdb)", R"(C:\Vellora\Space Games\Credits.ini)",
          R"(C:\Vellora\Space Games\Text.ini)", R"(C:\Vellora\Space Games\Credits.txt)",
          "Space Games INI Files", "Space Games Korvo Scripts", "Space Games Text Files"}) {
        EXPECT_NE(Node(key), nullptr) << key;
    }
    EXPECT_EQ(Node("Space Games INI Files")->childCount(), 2);
    EXPECT_EQ(Node("Space Games Text Files")->childCount(), 1);
    EXPECT_TRUE(Problems("Space Games").empty());
    driver_.UseDialog(QStringLiteral("frmInputBox"), [](QDialog& dialog) {
        QTest::keyClicks(&Child<QLineEdit>(dialog, "txtInput"), QStringLiteral("SPACE GAMES"));
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuFileNew");
    EXPECT_EQ(driver_.Boxes().back().text,
              QStringLiteral("There is already a Vellora folder with that name!"));
    EXPECT_EQ(driver_.Boxes().back().title, QStringLiteral("Marrow-Kit"));
}

TEST_F(ImportWindows, TickingTheScanEnablesItsControlsAndGoesToThePath) {
    OpenWithDatafile("Nimbus.dat");
    driver_.UseDialog(QStringLiteral("frmRomCenter2"), [](QDialog& dialog) {
        auto& path = Child<QLineEdit>(dialog, "txtRomPath");
        path.setText(QStringLiteral("C:\\Roms"));
        for (const bool ticked : {false, true, false}) {
            if (Child<QCheckBox>(dialog, "chkScan").isChecked() != ticked)
                Child<QCheckBox>(dialog, "chkScan").click();
            for (const char* control : {"lblRomPath", "txtRomPath", "cmdRomPath", "chkMatch", "cmdHelpMatch"})
                EXPECT_EQ(Child<QWidget>(dialog, control).isEnabled(), ticked) << control;
            EXPECT_EQ(path.palette().color(QPalette::Base),
                      dialog.palette().color(ticked ? QPalette::Base : QPalette::Window));
            if (ticked) {
                EXPECT_EQ(dialog.focusWidget(), &path);
                QCoreApplication::processEvents();
                EXPECT_EQ(path.selectedText(), QStringLiteral("C:\\Roms"));
            }
        }
        dialog.reject();
    });
    frmRomCenter2(window_.get(), window_->Interface()).exec();
}

TEST_F(ImportWindows, TheNameTakesNoForbiddenCharacterAndStartNeedsAName) {
    OpenWithDatafile("Nimbus.dat");
    frmRomCenter2 options(window_.get(), window_->Interface());
    auto& name = Child<QLineEdit>(options, "txtName");
    name.clear();
    EXPECT_FALSE(Child<QPushButton>(options, "cmdOK").isEnabled());
    QTest::keyClicks(&name, QStringLiteral("A\\/:*?\"<>|B"));
    EXPECT_EQ(name.text(), QStringLiteral("AB"));
    EXPECT_TRUE(Child<QPushButton>(options, "cmdOK").isEnabled());
}

TEST_F(ImportWindows, TheFocusIsOnTheNameOrOnTheColumnsOfAnExistingDatabase) {
    OpenWithDatafile("Nimbus.dat");
    for (const bool existing : {false, true}) {
        GlobalImportSettings().ImportIntoExisting = existing;
        driver_.UseDialog(QStringLiteral("frmRomCenter2"), [existing](QDialog& dialog) {
            EXPECT_EQ(dialog.focusWidget(), &Child<QWidget>(dialog, existing ? "lstName" : "txtName"));
            if (!existing) {
                EXPECT_EQ(Child<QLineEdit>(dialog, "txtName").selectedText(), QStringLiteral("Nimbus"));
            }
            dialog.reject();
        });
        frmRomCenter2(window_.get(), window_->Interface()).exec();
    }
}

TEST_F(ImportWindows, StartStoresEveryChoiceAndDoesNotLookAtARomPathWithoutAScan) {
    WriteDatafile("Nimbus.dat", "");  // the import ends at once: there are no games
    OpenWithDatafile("Nimbus.dat");
    driver_.UseDialog(QStringLiteral("frmRomCenter2"), [](QDialog& dialog) {
        Child<QLineEdit>(dialog, "txtRomPath").setText(QStringLiteral("nowhere\\"));
        Child<QListWidget>(dialog, "lstName").setCurrentRow(5);
        Child<QListWidget>(dialog, "lstFile").setCurrentRow(3);
        for (const char* box : {"chkIgnoreDups", "chkTosec", "chkAddZip"})
            Child<QCheckBox>(dialog, box).click();
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    driver_.AnswerBox(QMessageBox::Ok);
    frmRomCenter2(window_.get(), window_->Interface()).exec();
    const ImportSettings& settings = GlobalImportSettings();
    EXPECT_EQ(settings.NameColumn, 8);
    EXPECT_EQ(settings.FileColumn, 7);  // behind the caption of column 8
    EXPECT_TRUE(settings.SkipDuplicates);
    EXPECT_TRUE(settings.TosecNames);
    EXPECT_TRUE(settings.AddZipExtension);
    EXPECT_FALSE(settings.ScanForRoms);
    EXPECT_FALSE(settings.MatchExtensionsOnly);
    EXPECT_EQ(settings.DatabaseName, "Nimbus");
    EXPECT_EQ(settings.NewFolderPath, R"(C:\Vellora\Nimbus)");
    EXPECT_EQ(settings.NewFolderPathSlash, R"(C:\Vellora\Nimbus\)");
    EXPECT_EQ(settings.RomPath, "nowhere");
    EXPECT_EQ(settings.RomPathSlash, R"(nowhere\)");
    EXPECT_EQ(driver_.Boxes().back().text, QStringLiteral("There were no games to import!"));
}

TEST_F(ImportWindows, ViewSaysWhenNothingCanShowTheDatafile) {
    OpenWithDatafile("Nimbus.dat");
    const std::string path = std::getenv("PATH");
    setenv("PATH", (folder_ / "nothing").c_str(), 1);
    frmRomCenter2 options(window_.get(), window_->Interface());
    driver_.AnswerBox(QMessageBox::Ok);
    Child<QPushButton>(options, "cmdView").click();
    setenv("PATH", path.c_str(), 1);
    ASSERT_EQ(driver_.Boxes().size(), 1U);
    EXPECT_EQ(driver_.Boxes()[0].text,
              QStringLiteral("Oops! Could not view file! Check that notepad.exe is on your path!"));
    EXPECT_EQ(driver_.Boxes()[0].title, QStringLiteral("Marrowkit"));
    EXPECT_EQ(driver_.Boxes()[0].icon, QMessageBox::Warning);
}

TEST_F(ImportWindows, TabGoesThroughTheOptionsInReadingOrder) {
    OpenWithDatafile("Nimbus.dat");
    frmRomCenter2 options(window_.get(), window_->Interface());
    Child<QCheckBox>(options, "chkScan").click();
    std::vector<std::string> order;
    QWidget* first = &Child<QWidget>(options, "cmdView");
    for (QWidget* widget = first;;) {
        const bool stops = (widget->focusPolicy() & Qt::TabFocus) != 0;
        if (stops && widget->isEnabled()) order.push_back(widget->objectName().toStdString());
        widget = widget->nextInFocusChain();
        if (widget == first) break;
    }
    EXPECT_EQ(order, (std::vector<std::string>{"cmdView",       "txtName",
                                               "lstName",       "cmdHelpGameNameField",
                                               "lstFile",       "cmdHelpGameFilenameField",
                                               "chkIgnoreDups", "cmdHelpIgnoreDups",
                                               "chkTosec",      "cmdHelpTosec",
                                               "chkAddZip",     "cmdHelpAddZip",
                                               "chkScan",       "cmdHelpScan",
                                               "txtRomPath",    "cmdRomPath",
                                               "chkMatch",      "cmdHelpMatch",
                                               "cmdOK",         "cmdCancel"}));
}

TEST_F(ImportWindows, TheDatafilesFolderIsRememberedAndACancelledChoiceIsNot) {
    AddTemplate();
    WriteDatafile("Old.dat", "", "1.92");
    Open();
    const auto expectStart = [this](const std::filesystem::path& folder) {
        driver_.UseDialog(QStringLiteral("cDialog"), [folder](QDialog& dialog) {
            const auto& files = dynamic_cast<QFileDialog&>(dialog);
            EXPECT_EQ(files.directory().absolutePath().toStdString(), folder.string());
            EXPECT_EQ(files.nameFilters(), QStringList{QStringLiteral("RomCenter 2.0 Datafiles (*.dat)")});
            dialog.reject();
        });
        Trigger("mnuFileNewRomCenter2");
    };
    expectStart(Library());  // nothing remembered
    ChooseFile("Old.dat");
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuFileNewRomCenter2");
    expectStart(folder_ / "drive_c/Data");
    expectStart(folder_ / "drive_c/Data");
    RegistryVariant remembered = std::string();
    std::int32_t status = 0;
    RegistryStore().ReadValue("HKEY_LOCAL_MACHINE", R"(Software\Quillon\Marrowkit\BrowsePaths)",
                              "RomCenter2DataFilePath", remembered, status);
    EXPECT_EQ(std::get<std::string>(remembered), R"(C:\Data)");
}

TEST_F(ImportWindows, AFileThatIsSetToReadOnlyCannotBeChosen) {
    AddTemplate();
    WriteDatafile("Old.dat", "", "1.92");
    const std::filesystem::path file = folder_ / "drive_c/Data/Old.dat";
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    Open();
    ChooseFile("Old.dat");
    driver_.AnswerBox(QMessageBox::Ok);
    driver_.UseDialog(QStringLiteral("cDialog"), [](QDialog& dialog) { dialog.reject(); });
    Trigger("mnuFileNewRomCenter2");
    ASSERT_EQ(driver_.Boxes().size(), 1U);
    EXPECT_EQ(driver_.Boxes()[0].title, QStringLiteral("Select the RC-2.0 Datafile..."));
    EXPECT_EQ(driver_.Boxes()[0].icon, QMessageBox::Warning);
    EXPECT_TRUE(driver_.Boxes()[0].text.contains(QStringLiteral("read-only")));
}

TEST_F(ImportWindows, EveryHelpButtonSaysItsText) {
    OpenWithDatafile("Nimbus.dat");
    const struct {
        const char* button;
        const char* title;
        const char* text;
    } helps[] = {
        {"cmdHelpGameNameField", "Game Name Field",
         "This is the column in the datafile that you want to use as the Game Name in Vellora."},
        {"cmdHelpGameFilenameField", "Game Filename Field",
         "This is the column in the datafile that you want to use as the Game Filename in Vellora."},
        {"cmdHelpIgnoreDups", "Ignore Duplicate Game Names",
         "Some datafiles have the same game name listed many times (e.g. multiple rom-file games).\n\nIf the "
         "column "
         "you chose as the Game Name Field has duplicate entries, select this option to\nignore them and "
         "only import "
         "games with unique names."},
        {"cmdHelpTosec", "TOSEC Filenames (TNC v1)",
         "If the column you chose as the Game Filename Field in the datafile uses TOSEC (TNC v1) compliant "
         "filenames, "
         "select this option."},
        {"cmdHelpAddZip", "Add ZIP extension to filenames",
         "This field should be used for MAME type setups where the Game Name Field you have chosen does not "
         "represent "
         "the actual rom-filename, but the name of the game.  Vellora will add .zip to the game name so that "
         "your "
         "zipped roms can be found and/or linked to the database."},
        {"cmdHelpScan", "Scan for Roms",
         "Select this option if you want Vellora to try to locate any roms or game files you may already "
         "have on your "
         "hard drive.  This scan will be performed on the datafile column you chose as the 'Game Filename "
         "Field'."},
        {"cmdHelpMatch", "Only search matching filename extensions",
         "If you select this option, Vellora will only scan for files whose filename extension matches any "
         "of those in "
         "the datafile.\n\nE.g.  If the datafile only contains .TAP and .D64 files, only these filetypes "
         "will be "
         "scanned.  Setting this option can speed up the scanning process."},
    };
    frmRomCenter2 options(window_.get(), window_->Interface());
    Child<QCheckBox>(options, "chkScan").click();  // the last one's option belongs to the scan
    for (const auto& [button, title, text] : helps) {
        driver_.AnswerBox(QMessageBox::Ok);
        Child<QToolButton>(options, button).click();
        EXPECT_EQ(driver_.Boxes().back().title.toStdString(), title);
        EXPECT_EQ(driver_.Boxes().back().text.toStdString(), text);
        EXPECT_EQ(driver_.Boxes().back().icon, QMessageBox::Information);
        EXPECT_EQ(driver_.Boxes().back().buttons, QMessageBox::Ok);
    }
}

TEST_F(ImportWindows, OnlyTheFourSpellingsOfVersion2OpenTheOptions) {
    AddTemplate();
    Open();
    for (const char* version : {"2", "2.", "2.0", "2.00"}) {
        WriteDatafile("Nimbus.dat", GamesLine("Alpha", "alpha.bin", "1", 5), version);
        ChooseFile("Nimbus.dat");
        driver_.UseDialog(QStringLiteral("frmRomCenter2"),
                          [](QDialog& dialog) { Child<QPushButton>(dialog, "cmdCancel").click(); });
        Trigger("mnuFileNewRomCenter2");
        EXPECT_TRUE(driver_.Done()) << version;
    }
    for (const char* version : {"2.00 ", "v2.00", "2.000", "02.00", ""}) {
        WriteDatafile("Nimbus.dat", GamesLine("Alpha", "alpha.bin", "1", 5), version);
        ChooseFile("Nimbus.dat");
        driver_.AnswerBox(QMessageBox::Ok);
        Trigger("mnuFileNewRomCenter2");
        EXPECT_EQ(driver_.Boxes().back().text.toStdString(),
                  std::string("This datafile was not found to be version 2.00!\n\nReported version is: [") +
                      version + "]");
        EXPECT_EQ(driver_.Boxes().back().icon, QMessageBox::Information);
    }
    EXPECT_EQ(Node("ROOT")->childCount(), 0);
}

TEST_F(ImportWindows, ViewStartsNotepadWithTheDatafile) {
    WriteDatafile("Nimbus 8.dat", "");
    OpenWithDatafile("Nimbus 8.dat");
    const std::filesystem::path seen = folder_ / "seen";
    // Without a text editor of the desktop this one opens it.
    const std::filesystem::path opener = folder_ / "bin/xdg-open";
    test::WriteFile(opener, "#!/bin/sh\necho \"$*\" >> '" + seen.string() + "'\n");
    std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
    const std::string path = std::getenv("PATH");
    setenv("PATH", (folder_ / "bin").c_str(), 1);
    frmRomCenter2 options(window_.get(), window_->Interface());
    Child<QPushButton>(options, "cmdView").click();
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return std::filesystem::exists(seen) && !test::ReadFile(seen).empty(); }, 20000));
    setenv("PATH", path.c_str(), 1);
    EXPECT_NE(test::ReadFile(seen).find("Nimbus 8.dat"), std::string::npos) << test::ReadFile(seen);
    EXPECT_TRUE(driver_.Boxes().empty());
}

TEST_F(ImportWindows, CancelClosesTheOptionsAndNothingIsImported) {
    AddTemplate();
    WriteDatafile("Nimbus.dat", GamesLine("Alpha", "alpha.bin", "1", 5));
    Open();
    for (const bool byEsc : {false, true}) {
        ChooseFile("Nimbus.dat");
        driver_.UseDialog(QStringLiteral("frmRomCenter2"), [byEsc](QDialog& dialog) {
            if (byEsc) {
                QTest::keyClick(&dialog, Qt::Key_Escape);
            } else {
                Child<QPushButton>(dialog, "cmdCancel").click();
            }
            EXPECT_FALSE(dialog.isVisible());
        });
        Trigger("mnuFileNewRomCenter2");
        EXPECT_FALSE(GlobalImportSettings().ImportSucceeded);
        EXPECT_EQ(Node("ROOT")->childCount(), 0);
    }
    EXPECT_TRUE(driver_.Boxes().empty());
}

TEST_F(ImportWindows, EnterInATextFieldStarts) {
    AddTemplate();
    WriteDatafile("Nimbus.dat", GamesLine("Alpha", "alpha.bin", "1", 5));
    Open();
    ChooseFile("Nimbus.dat");
    driver_.UseDialog(QStringLiteral("frmRomCenter2"), [](QDialog& dialog) {
        QTest::keyClick(&Child<QLineEdit>(dialog, "txtName"), Qt::Key_Return);
    });
    driver_.AnswerBox(QMessageBox::Ok);
    Trigger("mnuFileNewRomCenter2");
    EXPECT_EQ(One("Nimbus", "SELECT Name FROM Games"), "Alpha");
}

TEST_F(ImportWindows, AnEmptyNameIsRefusedForANewDatabaseOnly) {
    AddDatabase("Arcade");
    WriteDatafile("Nimbus.dat", "");
    OpenWithDatafile("Nimbus.dat");
    for (const bool existing : {false, true}) {
        GlobalImportSettings().ImportIntoExisting = existing;
        GlobalImportSettings().ExistingDatabaseName = "Arcade";
        GlobalImportSettings().ExistingDatabasePath = DatabaseKey("Arcade");
        frmRomCenter2 options(window_.get(), window_->Interface());
        Child<QLineEdit>(options, "txtName").clear();
        Child<QPushButton>(options, "cmdOK").setEnabled(true);
        driver_.AnswerBox(QMessageBox::Ok);
        Child<QPushButton>(options, "cmdOK").click();
        EXPECT_EQ(driver_.Boxes().back().text, existing ? QStringLiteral("There were no games to import!")
                                                        : QStringLiteral("You must enter a Vellora name!"));
    }
}

}  // namespace
}  // namespace marrowkit
