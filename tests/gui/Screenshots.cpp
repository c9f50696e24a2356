// Takes a picture of every window over a made-up library:
//
//   screenshots FOLDER
//
// Each picture shows all windows that are open at that moment. It is no test: people look at the pictures,
// and the README shows four of them.
#include <QApplication>
#include <QCheckBox>
#include <QFileDialog>
#include <QFontMetrics>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QTest>
#include <QToolButton>
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "gui/WindowsFixture.h"
#include "import/ImportSettings.h"
#include "import/frmRomCenter2.h"
#include "maintenance/frmGenres.h"
#include "shell/frmWait.h"

namespace marrowkit {
namespace {

using test::Child;

constexpr int kTitleBarPixels = 26;
constexpr int kMarginPixels = 12;

int Depth(const QWidget* window) {
    int depth = window->windowType() == Qt::Popup ? 100 : window->isModal() ? 1 : 0;
    while ((window = window->parentWidget()) != nullptr) ++depth;
    return depth;
}

/// Back to front.
QList<QWidget*> OpenWindows() {
    QList<QWidget*> windows;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->isVisible()) windows.push_back(window);
    }
    std::stable_sort(windows.begin(), windows.end(),
                     [](const QWidget* a, const QWidget* b) { return Depth(a) < Depth(b); });
    return windows;
}

QRect FrameOf(const QWidget& window) {
    const QRect inner = window.geometry();
    return window.windowType() == Qt::Popup ? inner : inner.adjusted(-1, -kTitleBarPixels, 1, 1);
}

/// Without a display nobody draws frames: a plain one stands in for the window manager's.
void DrawFrame(QPainter& painter, const QWidget& window) {
    const QRect frame = FrameOf(window);
    painter.setPen(QColor(0x8a, 0x8f, 0x98));
    painter.setBrush(QColor(0xdd, 0xe1, 0xe7));
    painter.drawRect(frame.adjusted(0, 0, -1, -1));
    QFont font = QApplication::font();
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(QColor(0x2b, 0x2f, 0x36));
    const QRect bar(frame.left() + 8, frame.top(), frame.width() - 16, kTitleBarPixels);
    painter.drawText(bar, Qt::AlignCenter,
                     QFontMetrics(font).elidedText(window.windowTitle(), Qt::ElideRight, bar.width()));
}

class Screenshots : public test::Windows {
public:
    explicit Screenshots(QString folder) : pictures_(std::move(folder)) {}
    void TakeAll();

private:
    void TestBody() override {}
    void Save(const QString& name);
    void MakeLibrary();
    void MainWindow();
    void ContextMenu(const std::string& key, const QString& picture);
    void Messages();
    void SmallDialogs();
    void Import();
    void Records();

    QString pictures_;
};

void Screenshots::Save(const QString& name) {
    QCoreApplication::processEvents();
    const QList<QWidget*> windows = OpenWindows();
    QRect all;
    for (const QWidget* window : windows) all = all.united(FrameOf(*window));
    all.adjust(-kMarginPixels, -kMarginPixels, kMarginPixels, kMarginPixels);
    const qreal ratio = window_->devicePixelRatioF();
    QPixmap picture(all.size() * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    painter.translate(-all.topLeft());
    for (QWidget* window : windows) {
        if (window->windowType() != Qt::Popup) DrawFrame(painter, *window);
        painter.drawPixmap(window->geometry().topLeft(), window->grab());
    }
    painter.end();
    const QString file = pictures_ + QLatin1Char('/') + name + QStringLiteral(".png");
    if (!picture.save(file)) ADD_FAILURE() << "cannot write " << file.toStdString();
}

void Screenshots::MakeLibrary() {
    AddTemplate();
    for (const char* name : {"Arcade", "Atlas 16", "Nimbus 8", "Pocket Star"}) AddDatabase(name);
    for (const char* file :
         {"Atlas 16/Text.ini", "Nimbus 8/Emulators.ini", "Nimbus 8/Paths.ini", "Nimbus 8/Text.ini",
          "Nimbus 8/Credits.txt", "Nimbus 8/Scripts/Start disk.txt", "Nimbus 8/Scripts/Start tape.txt"}) {
        test::WriteFile(Library() / file, "\r\n");
    }
    for (int i = 1; i <= 12; ++i) {
        const char* const names[] = {"Brightwater", "Copperleaf Software", "Dovetail Games", "Eastgate"};
        Execute("Nimbus 8", std::string("INSERT INTO Publishers (Publisher) VALUES (\"") + names[i % 4] +
                                (i > 4 ? " " + std::to_string(i) : "") + "\")");
    }
    std::string datafile =
        "[CREDITS]\r\nAuthor=A\r\nVersion=1\r\nComment=C\r\n[DAT]\r\nversion=2.00\r\n[GAMES]\r\n";
    for (int i = 0; i < 20000; ++i) {
        const std::string name = "Astral Harbour " + std::to_string(i) + " (1987)(Brightwater)(PAL)";
        datafile += "\xAC" + name + "\xAC" + name + "\xAC" + name + "\xAC" + name + "\xAC" + name +
                    ".n8t\xAC" + "0badcafe\xAC" + "4096\xAC\xAC\xAC\r\n";
    }
    test::WriteFile(folder_ / "drive_c/Datafiles/Nimbus 64 - TOSEC.dat", datafile);
    test::WriteFile(folder_ / "drive_c/Games/Nimbus 64/Tapes/astral.n8t", "x");
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

void Screenshots::Messages() {
    SelectDatabase("Nimbus 8");
    const std::pair<const char*, std::vector<QMessageBox::StandardButton>> operations[] = {
        {"mnuDBFix", {QMessageBox::Ok}},
        {"mnuDBCompact", {QMessageBox::Ok}},
        {"mnuDBClearExtras", {QMessageBox::Yes, QMessageBox::Ok}},
        {"mnuDBRemoveViews", {QMessageBox::No}},
        {"mnuVelloraDelete", {QMessageBox::No}},
    };
    for (const auto& [action, answers] : operations) {
        if (action == std::string("mnuVelloraDelete")) Tree().setCurrentItem(Node(R"(C:\Vellora\Nimbus 8\)"));
        int number = 0;
        for (const QMessageBox::StandardButton answer : answers) driver_.AnswerBox(answer);
        driver_.OnWindow([&, name = std::string(action)](QWidget&) {
            Save(QStringLiteral("message-%1-%2").arg(QString::fromStdString(name)).arg(++number));
        });
        Trigger(action);
    }
    driver_.OnWindow({});
}

void Screenshots::SmallDialogs() {
    driver_.UseDialog(QStringLiteral("frmInputBox"), [this](QDialog& dialog) {
        QTest::keyClicks(&Child<QLineEdit>(dialog, "txtInput"), QStringLiteral("Nimbus 64"));
        Save(QStringLiteral("frmInputBox"));
        dialog.reject();
    });
    Trigger("mnuFileNew");
    {
        frmWait wait(window_.get());
        wait.SetMessage("Clearing Game Extras...");
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
    driver_.AnswerBox(QMessageBox::No);
    driver_.UseDialog(QStringLiteral("frmRemoveRec"), [](QDialog& dialog) { dialog.reject(); });
    driver_.OnWindow([this](QWidget& window) {
        if (qobject_cast<QMessageBox*>(&window) != nullptr) Save(QStringLiteral("message-delete-record"));
    });
    Trigger("mnuDBDeleteRecords");
    driver_.OnWindow({});
}

void Screenshots::Import() {
    GlobalImportSettings().DatafilePath = R"(C:\Datafiles\Nimbus 64 - TOSEC.dat)";
    driver_.UseDialog(QStringLiteral("frmRomCenter2"), [this](QDialog& dialog) {
        Child<QCheckBox>(dialog, "chkScan").click();
        Child<QLineEdit>(dialog, "txtRomPath").setText(QStringLiteral("C:\\Games\\Nimbus 64"));
        Save(QStringLiteral("import-options"));
        Child<QToolButton>(dialog, "cmdRomPath").click();
    });
    driver_.UseDialog(QStringLiteral("frmBrowseFolder"), [this](QDialog& dialog) {
        Save(QStringLiteral("frmBrowseFolder"));
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    driver_.UseDialog(QStringLiteral("frmRomCenter2"),
                      [](QDialog& dialog) { Child<QToolButton>(dialog, "cmdHelpIgnoreDups").click(); });
    driver_.AnswerBox(QMessageBox::Ok);
    driver_.OnWindow([this](QWidget& window) {
        if (qobject_cast<QMessageBox*>(&window) != nullptr) Save(QStringLiteral("message-help"));
    });
    driver_.UseDialog(QStringLiteral("frmRomCenter2"),
                      [](QDialog& dialog) { Child<QPushButton>(dialog, "cmdOK").click(); });
    std::function<void(QDialog&)> watch = [this, &watch](QDialog& dialog) {
        const auto& bar = Child<QProgressBar>(dialog, "pbStatus");
        const bool writing = !Child<QPushButton>(dialog, "cmdCancel").isEnabled();
        if (!writing || bar.value() == bar.maximum() || bar.value() * 5 < bar.maximum() * 3) {
            driver_.UseDialog(QStringLiteral("frmProgress"), watch);
            return;
        }
        Save(QStringLiteral("progress"));
    };
    driver_.UseDialog(QStringLiteral("frmProgress"), watch);
    frmRomCenter2(window_.get(), window_->Interface()).exec();
    driver_.OnWindow({});
}

void Screenshots::TakeAll() {
    MakeLibrary();
    Open();
    window_->setGeometry(40, 40, 400, 420);
    MainWindow();
    ContextMenu("ROOT", QStringLiteral("menu-root"));
    ContextMenu(R"(C:\Vellora\Nimbus 8\)", QStringLiteral("menu-folder"));
    ContextMenu(DatabaseKey("Nimbus 8"), QStringLiteral("context-menu"));
    ContextMenu("Nimbus 8 Korvo Scripts", QStringLiteral("menu-scripts"));
    SmallDialogs();
    Records();
    Messages();
    Import();
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
    std::filesystem::create_directories(argv[1]);
    marrowkit::Screenshots(QString::fromLocal8Bit(argv[1])).TakeAll();
    return ::testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed() ? 1 : 0;
}
