// Takes a picture of every window over a made-up library:
//
//   screenshots FOLDER
//
// Each picture shows all windows that are open at that moment. It is no test: people look at the pictures,
// and the README and docs/tour.md show some of them. MARROWKIT_DARK in the environment gives dark colours.
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QStyleFactory>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "gui/ScreenPicture.h"
#include "gui/WindowsFixture.h"
#include "import/ImportSettings.h"
#include "import/frmRomCenter2.h"
#include "maintenance/frmGenres.h"
#include "shell/frmWait.h"

namespace marrowkit {
namespace {

using test::Child;

constexpr QMessageBox::StandardButton kOk = QMessageBox::Ok;

class Screenshots : public test::Windows {
public:
    explicit Screenshots(QString folder) : pictures_(std::move(folder)) {}
    void TakeAll();

private:
    void TestBody() override {}
    void Save(const QString& name);
    /// Chooses a menu entry, and takes a picture of each message box that comes before it is answered.
    void Message(const char* action, const QString& picture,
                 std::vector<QMessageBox::StandardButton> answers);
    void ChooseDatafile(const QString& name, const QString& picture = {});

    void MakeLibrary();
    void MakeDatafiles();
    void MainWindow();
    void ContextMenu(const std::string& key, const QString& picture);
    void MaintenanceMessages();
    void Failures();
    void SmallDialogs();
    void OptionsDialog();
    void Import();
    void Records();
    QMenu& mnuFile() { return Child<QMenu>(*window_, "mnuFile"); }

    QString pictures_;
};

void Screenshots::Save(const QString& name) {
    QCoreApplication::processEvents();
    const QString file = pictures_ + QLatin1Char('/') + name + QStringLiteral(".png");
    constexpr int kSmallest = 0;
    if (!test::PictureOfOpenWindows(*window_).save(file, "PNG", kSmallest))
        ADD_FAILURE() << "cannot write " << file.toStdString();
}

void Screenshots::Message(const char* action, const QString& picture,
                          std::vector<QMessageBox::StandardButton> answers) {
    int number = 0;
    for (const QMessageBox::StandardButton answer : answers) driver_.AnswerBox(answer);
    driver_.OnWindow([&](QWidget& window) {
        if (qobject_cast<QMessageBox*>(&window) == nullptr) return;
        Save(answers.size() == 1 ? picture : picture + QStringLiteral("-%1").arg(++number));
    });
    Trigger(action);
    driver_.OnWindow({});
}

void Screenshots::ChooseDatafile(const QString& name, const QString& picture) {
    driver_.UseDialog(QStringLiteral("cDialog"), [this, name, picture](QDialog& dialog) {
        const QString path =
            QString::fromStdString((folder_ / "drive_c/Datafiles").string()) + QLatin1Char('/') + name;
        auto& files = dynamic_cast<QFileDialog&>(dialog);
        files.setDirectory(QString::fromStdString((folder_ / "drive_c/Datafiles").string()));
        if (!picture.isEmpty()) {
            dialog.resize(640, 300);
            QTest::qWait(200);  // for the list to be read
            files.selectFile(path);
            files.findChild<QLineEdit*>()->setText(name);
            Save(picture);
        }
        files.findChild<QLineEdit*>()->setText(path);
        dialog.accept();
    });
}

void Screenshots::MakeLibrary() {
    AddTemplate();
    for (const char* name : {"Arcade", "Atlas 16", "Nimbus 8", "Pocket Star"}) AddDatabase(name);
    for (const char* file :
         {"Atlas 16/Text.ini", "Nimbus 8/Emulators.ini", "Nimbus 8/Paths.ini", "Nimbus 8/Text.ini",
          "Nimbus 8/Credits.txt", "Nimbus 8/Scripts/Start disk.txt", "Nimbus 8/Scripts/Start tape.txt"}) {
        test::WriteFile(Library() / file, "\r\n");
    }
    const std::pair<const char*, QColor> icons[] = {{"Arcade", QColor(0xC2, 0x3B, 0x22)},
                                                    {"Pocket Star", QColor(0x2E, 0x7D, 0x32)}};
    for (const auto& [name, colour] : icons) {
        constexpr int kPixels = 32;
        QImage picture(kPixels, kPixels, QImage::Format_RGB32);
        picture.fill(Qt::white);
        QPainter painter(&picture);
        painter.setBrush(colour);
        painter.setPen(Qt::black);
        painter.drawEllipse(3, 3, 25, 25);
        painter.end();
        std::filesystem::create_directories(Library() / name / "Gfx");
        if (!picture.save(QString::fromStdString((Library() / name / "Gfx/Startup_32x32.gif").string()),
                          "PNG"))
            ADD_FAILURE() << "no icon";
    }
    for (int i = 1; i <= 12; ++i) {
        const char* const names[] = {"Brightwater", "Copperleaf Software", "Dovetail Games", "Eastgate"};
        Execute("Nimbus 8", std::string("INSERT INTO Publishers (Publisher) VALUES (\"") + names[i % 4] +
                                (i > 4 ? " " + std::to_string(i) : "") + "\")");
    }
}

void Screenshots::MakeDatafiles() {
    constexpr int kGames = 20000;
    constexpr int kFiles = 3000;
    const char* const first[] = {"Amber",   "Astral", "Binary",   "Cobalt",
                                 "Crystal", "Lunar",  "Midnight", "Velvet"};
    const char* const second[] = {"Harbour", "Labyrinth", "Courier", "Orchard",
                                  "Voyage",  "Gliders",   "Fortress"};
    const std::string head = "[CREDITS]\r\nAuthor=A\r\nVersion=1\r\nComment=C\r\n[DAT]\r\nversion=";
    std::string datafile = head + "2.00\r\n[GAMES]\r\n";
    for (int i = 0; i < kGames; ++i) {
        const std::string name = std::string(first[i % 8]) + " " + second[i % 7] + " " + std::to_string(i) +
                                 " (1987)(Brightwater)(PAL)";
        for (int column = 1; column <= 4; ++column) datafile += "\xAC" + name;
        datafile += "\xAC" + name + ".n8t\xAC" + "0badcafe\xAC" + "4096\xAC\xAC\xAC\r\n";
    }
    test::WriteFile(folder_ / "drive_c/Datafiles/Nimbus 64 - TOSEC.dat", datafile);
    test::WriteFile(folder_ / "drive_c/Datafiles/Atlas 16.dat", head + "1.92\r\n[GAMES]\r\n");
    test::WriteFile(folder_ / "drive_c/Datafiles/Pocket Star.dat", head + "2.00\r\n[GAMES]\r\n");
    const std::filesystem::path tapes = folder_ / "drive_c/Games/Nimbus 64/Tapes";
    test::WriteFile(tapes / "0.n8t", std::string(100000, 'x'));
    for (int i = 1; i < kFiles; ++i)
        std::filesystem::create_hard_link(tapes / "0.n8t", tapes / (std::to_string(i) + ".n8t"));
    std::filesystem::create_directories(folder_ / "drive_c/Games/Nimbus 64/Disks");
}

void Screenshots::MainWindow() {
    Tree().expandItem(Node(R"(C:\Vellora\Nimbus 8\)"));
    for (const char* key : {"Nimbus 8 INI Files", "Nimbus 8 Korvo Scripts", "Nimbus 8 Text Files"})
        Tree().expandItem(Node(key));
    SelectDatabase("Nimbus 8");
    QTest::mouseClick(Tree().viewport(), Qt::LeftButton, Qt::NoModifier,
                      Tree().visualItemRect(Node(DatabaseKey("Nimbus 8"))).center());
    Save(QStringLiteral("main-window"));
}

void Screenshots::ContextMenu(const std::string& key, const QString& picture) {
    QTreeWidgetItem* node = Node(key);
    Tree().scrollToItem(node);
    Tree().setCurrentItem(node);
    QTest::mouseClick(Tree().viewport(), Qt::RightButton, Qt::NoModifier,
                      Tree().visualItemRect(node).center());
    Save(picture);
    if (QWidget* menu = QApplication::activePopupWidget()) menu->close();
}

void Screenshots::MaintenanceMessages() {
    SelectDatabase("Nimbus 8");
    Message("mnuDBFix", QStringLiteral("message-fix"), {kOk});
    Message("mnuDBCompact", QStringLiteral("message-compact"), {kOk});
    Message("mnuDBClearExtras", QStringLiteral("message-extras"), {QMessageBox::Yes, kOk});
    Message("mnuDBRemoveViews", QStringLiteral("message-views"), {QMessageBox::Yes, kOk});
    Tree().setCurrentItem(Node(R"(C:\Vellora\Nimbus 8\)"));
    Message("mnuVelloraDelete", QStringLiteral("message-delete"), {QMessageBox::No});
}

void Screenshots::Failures() {
    AddDatabase("Broken");
    window_->RefreshLibraryTree();
    SelectDatabase("Broken");
    test::WriteFile(Library() / "Broken/Broken.mdb", "no database");
    Message("mnuDBFix", QStringLiteral("message-fix-old"), {kOk});
    Message("mnuDBClearExtras", QStringLiteral("message-extras-old"), {kOk});
    Message("mnuDBCompact", QStringLiteral("message-compact-failed"), {kOk});
    std::filesystem::remove(Library() / "Broken/Broken.mdb");
    Message("mnuDBCompact", QStringLiteral("message-compact-missing"), {kOk});
    Message("mnuDBRemoveViews", QStringLiteral("message-database-gone"), {kOk});
    std::filesystem::remove_all(Library() / "Broken");

    ChooseDatafile(QStringLiteral("Atlas 16.dat"));
    Message("mnuFileNewRomCenter2", QStringLiteral("message-version"), {kOk});
    const auto enterName = [this](const char* name) {
        driver_.UseDialog(QStringLiteral("frmInputBox"), [name](QDialog& dialog) {
            Child<QLineEdit>(dialog, "txtInput").setText(QString::fromLatin1(name));
            Child<QPushButton>(dialog, "cmdOK").click();
        });
    };
    enterName("Arcade");
    Message("mnuFileNew", QStringLiteral("message-name-exists"), {kOk});
    std::filesystem::rename(Library() / "Empty.mdb", Library() / "Hidden");
    enterName("Another");
    Message("mnuFileNew", QStringLiteral("message-no-template"), {kOk});
    std::filesystem::rename(Library() / "Hidden", Library() / "Empty.mdb");
}

void Screenshots::SmallDialogs() {
    driver_.UseDialog(QStringLiteral("frmInputBox"), [this](QDialog& dialog) {
        QTest::keyClicks(&Child<QLineEdit>(dialog, "txtInput"), QStringLiteral("Nimbus 64"));
        Save(QStringLiteral("frmInputBox"));
        Child<QLineEdit>(dialog, "txtInput").setText(QStringLiteral("Nimbus/64"));
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    driver_.AnswerBox(kOk);
    driver_.UseDialog(QStringLiteral("frmInputBox"), [](QDialog& dialog) { dialog.reject(); });
    driver_.OnWindow([this](QWidget& window) {
        if (qobject_cast<QMessageBox*>(&window) != nullptr)
            Save(QStringLiteral("message-invalid-characters"));
    });
    Trigger("mnuFileNew");
    driver_.OnWindow({});
    {
        frmWait wait(window_.get());
        wait.SetMessage("Removing Custom Views...");
        wait.show();
        Save(QStringLiteral("frmWait"));
    }
    GenresDatabasePath = DatabaseKey("Nimbus 8");
    driver_.UseDialog(QStringLiteral("frmGenres"), [this](QDialog& dialog) {
        auto* pages = dialog.findChild<QStackedWidget*>();
        for (int page = 0; page < pages->count(); ++page) {
            pages->setCurrentIndex(page);
            Save(QStringLiteral("frmGenres-%1").arg(page));
        }
        dialog.reject();
    });
    frmGenres(window_.get()).exec();
}

void Screenshots::Records() {
    SelectDatabase("Nimbus 8");
    driver_.UseDialog(QStringLiteral("frmRemoveRec"), [this](QDialog& dialog) {
        Child<QListWidget>(dialog, "lstTable").setCurrentRow(0);
        Save(QStringLiteral("frmRemoveRec"));
        Child<QPushButton>(dialog, "cmdDelete").click();
    });
    driver_.UseDialog(QStringLiteral("frmGetID"), [this](QDialog& dialog) {
        Save(QStringLiteral("frmGetID"));
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    driver_.AnswerBox(QMessageBox::Yes);
    driver_.AnswerBox(kOk);
    driver_.UseDialog(QStringLiteral("frmRemoveRec"), [](QDialog& dialog) { dialog.reject(); });
    int number = 0;
    driver_.OnWindow([&](QWidget& window) {
        if (qobject_cast<QMessageBox*>(&window) != nullptr)
            Save(QStringLiteral("message-delete-record-%1").arg(++number));
    });
    Trigger("mnuDBDeleteRecords");
    driver_.OnWindow({});
}

/// Each help text and each refusal over the options.
void Screenshots::OptionsDialog() {
    GlobalImportSettings().DatafilePath = R"(C:\Datafiles\Nimbus 64 - TOSEC.dat)";
    frmRomCenter2 options(window_.get(), window_->Interface());
    options.show();
    QTest::qWait(50);
    Save(QStringLiteral("frmRomCenter2"));
    Child<QCheckBox>(options, "chkScan").click();
    driver_.OnWindow([this](QWidget& window) {
        if (auto* box = qobject_cast<QMessageBox*>(&window))
            Save(QStringLiteral("message-options-%1")
                     .arg(box->text().left(12).simplified().replace(u' ', u'-')));
    });
    for (QToolButton* button : options.findChildren<QToolButton*>()) {
        if (!button->objectName().startsWith(QStringLiteral("cmdHelp"))) continue;
        driver_.AnswerBox(kOk);
        button->click();
    }
    const std::pair<const char*, const char*> refused[] = {
        {"Nimbus 64", "Roms"}, {"Nimbus 64", R"(C:\Gone)"}, {"Arcade", ""}};
    for (const auto& [name, path] : refused) {
        Child<QLineEdit>(options, "txtName").setText(QString::fromLatin1(name));
        Child<QLineEdit>(options, "txtRomPath").setText(QString::fromLatin1(path));
        driver_.AnswerBox(kOk);
        Child<QPushButton>(options, "cmdOK").click();
    }
    driver_.OnWindow({});

    SelectDatabase("Arcade");
    ChooseDatafile(QStringLiteral("Pocket Star.dat"));
    driver_.UseDialog(QStringLiteral("frmRomCenter2"), [this](QDialog& dialog) {
        Save(QStringLiteral("frmRomCenter2-existing"));
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    options.hide();
    Message("mnuDBImportRC2", QStringLiteral("message-no-games"), {kOk});
}

/// From the menu entry to the new database: the tour of docs/tour.md.
void Screenshots::Import() {
    mnuFile().popup(window_->menuBar()->mapToGlobal(QPoint(0, window_->menuBar()->height())));
    mnuFile().setActiveAction(&Action("mnuFileNewRomCenter2"));
    Save(QStringLiteral("tour-menu"));
    mnuFile().close();

    ChooseDatafile(QStringLiteral("Nimbus 64 - TOSEC.dat"), QStringLiteral("tour-datafile"));
    driver_.UseDialog(QStringLiteral("frmRomCenter2"), [](QDialog& dialog) {
        Child<QCheckBox>(dialog, "chkScan").click();
        Child<QLineEdit>(dialog, "txtRomPath").setText(QStringLiteral("C:\\Games\\Nimbus 64"));
        Child<QToolButton>(dialog, "cmdRomPath").click();
    });
    driver_.UseDialog(QStringLiteral("frmBrowseFolder"), [this](QDialog& dialog) {
        Save(QStringLiteral("tour-folder"));
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    driver_.UseDialog(QStringLiteral("frmRomCenter2"), [this](QDialog& dialog) {
        for (const char* box : {"chkIgnoreDups", "chkMatch"}) Child<QCheckBox>(dialog, box).click();
        Save(QStringLiteral("import-options"));
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    driver_.AnswerBox(kOk);
    driver_.OnWindow([this](QWidget& window) {
        if (qobject_cast<QMessageBox*>(&window) != nullptr) Save(QStringLiteral("tour-reminder"));
    });

    // Of each stage: its first sight, and again when it is three fifths through.
    QStringList stages;
    bool farSaved = false;
    bool looking = false;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &watch, [&] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (looking || dialog == nullptr || dialog->objectName() != QStringLiteral("frmProgress")) return;
        looking = true;  // taking a picture lets events run
        const QString stage = Child<QLabel>(*dialog, "lblPrompt").text();
        const auto& bar = Child<QProgressBar>(*dialog, "pbStatus");
        const bool isNew = stages.isEmpty() || stages.back() != stage;
        if (isNew) {
            stages << stage;
            farSaved = false;
        }
        // Checksumming is over in a few frames: any of them is far enough.
        const bool checksumming = stage.startsWith(QStringLiteral("Grabbing"));
        const bool isFar =
            bar.value() < bar.maximum() &&
            (checksumming ? bar.value() > bar.minimum() : bar.value() * 5 >= bar.maximum() * 3);
        if (isNew || (isFar && !farSaved)) {
            farSaved = isFar;
            Save(QStringLiteral("stage-%1").arg(stages.size()));
            if (stage.startsWith(QStringLiteral("Adding"))) Save(QStringLiteral("progress"));
            if (checksumming) Save(QStringLiteral("tour-scan"));
        }
        looking = false;
    });
    watch.start(0);
    Trigger("mnuFileNewRomCenter2");
    watch.stop();
    driver_.OnWindow({});
    QTest::mouseClick(Tree().viewport(), Qt::LeftButton, Qt::NoModifier,
                      Tree().visualItemRect(Tree().currentItem()).center());
    Save(QStringLiteral("tour-selected"));
}

void Screenshots::TakeAll() {
    MakeLibrary();
    MakeDatafiles();
    driver_.AnswerBox(kOk);
    driver_.OnWindow([this](QWidget&) { Save(QStringLiteral("message-start")); });
    window_ = std::make_unique<frmMain>("");
    window_->Start();
    driver_.OnWindow({});
    window_->setGeometry(40, 40, 400, 420);
    QTest::qWait(50);
    MainWindow();
    ContextMenu("ROOT", QStringLiteral("menu-root"));
    ContextMenu(R"(C:\Vellora\Nimbus 8\)", QStringLiteral("menu-folder"));
    ContextMenu(DatabaseKey("Nimbus 8"), QStringLiteral("context-menu"));
    ContextMenu("Nimbus 8 Korvo Scripts", QStringLiteral("menu-scripts"));
    SmallDialogs();
    Records();
    MaintenanceMessages();
    Failures();
    OptionsDialog();
    Import();
}

/// The colours of a dark desktop.
void UseDarkColours() {
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QPalette dark;
    const QColor window(0x2b, 0x2d, 0x30);
    const QColor base(0x1e, 0x1f, 0x22);
    const QColor text(0xdf, 0xe1, 0xe5);
    for (const QPalette::ColorRole role : {QPalette::Window, QPalette::Button, QPalette::AlternateBase})
        dark.setColor(role, window);
    for (const QPalette::ColorRole role : {QPalette::Base, QPalette::ToolTipBase}) dark.setColor(role, base);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
                                           QPalette::ToolTipText, QPalette::BrightText})
        dark.setColor(role, text);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        dark.setColor(QPalette::Disabled, role, QColor(0x7a, 0x7e, 0x85));
    dark.setColor(QPalette::Highlight, QColor(0x2e, 0x43, 0x6e));
    dark.setColor(QPalette::HighlightedText, text);
    dark.setColor(QPalette::PlaceholderText, QColor(0x7a, 0x7e, 0x85));
    QApplication::setPalette(dark);
}

}  // namespace
}  // namespace marrowkit

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    ::testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: screenshots FOLDER\n");
        return 2;
    }
    if (!qEnvironmentVariableIsEmpty("MARROWKIT_DARK")) marrowkit::UseDarkColours();
    std::filesystem::create_directories(argv[1]);
    marrowkit::Screenshots(QString::fromLocal8Bit(argv[1])).TakeAll();
    return ::testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed() ? 1 : 0;
}
