#include "shell/frmMain.h"

#include <QAction>
#include <QCloseEvent>
#include <QMenuBar>
#include <QScreen>
#include <QStatusBar>

#include "forms/FatalError.h"
#include "forms/Messages.h"
#include "forms/QtText.h"
#include "forms/Twips.h"
#include "global/modGlobal.h"
#include "import/DatafileChoice.h"
#include "import/ImportSettings.h"
#include "import/frmRomCenter2.h"
#include "maintenance/ClearGameExtras.h"
#include "maintenance/CompactDatabase.h"
#include "maintenance/DeleteDatabaseFolder.h"
#include "maintenance/FixNullData.h"
#include "maintenance/RemoveCustomViews.h"
#include "maintenance/VanishedDatabase.h"
#include "maintenance/frmGenres.h"
#include "maintenance/frmGetID.h"
#include "maintenance/frmRemoveRec.h"
#include "platform/files/FileTools.h"
#include "platform/text/Text.h"
#include "shell/CommandLine.h"
#include "shell/Images.h"
#include "shell/NewDatabase.h"
#include "shell/OpenFileDialog.h"
#include "shell/WindowGeometry.h"

namespace marrowkit {

frmMain::frmMain(const std::string& commandLine) : commandLine_(commandLine) {
    setObjectName(QStringLiteral("frmMain"));
    setWindowIcon(BuiltInImage("marrowkit"));
    BuildControls();
    BuildMenus();
}

frmMain::~frmMain() = default;

void frmMain::Start() {
    LoadGeometry();
    const CommandLineSwitches switches = ReadSwitches(commandLine_);
    modGlobal::Expert = switches.expert;
    if (!switches.noMessageBox && !switches.expert) {
        ShowMessage("Please make sure the Vellora frontend is NOT running when using this tool.",
                    MessageIcon::Information, "Vellora", MessageButtons::Ok, false);
    }
    setWindowTitle(ToQt("Vellora Marrowkit v" + modGlobal::VersionText()));
    RefreshLibraryTree();
    show();
}

void frmMain::BuildControls() {
    tvVellora = new LibraryView(this);
    setCentralWidget(tvVellora);

    statusBar()->setObjectName(QStringLiteral("sbVellora"));
    sbVelloraPanel1_ = new ElidedLabel;
    sbVelloraPanel1_->setObjectName(QStringLiteral("sbVelloraPanel1"));
    constexpr int kGapPixels = 4;
    sbVelloraPanel1_->setContentsMargins(kGapPixels, 0, kGapPixels, 0);
    statusBar()->addWidget(sbVelloraPanel1_, 1);

    connect(tvVellora, &LibraryView::NodeClicked, this, &frmMain::NodeClicked);
    connect(tvVellora, &LibraryView::NodeDoubleClicked, this, Guarded([this] { NodeDoubleClicked(); }));
    connect(tvVellora, &LibraryView::MenuWanted, this, &frmMain::ShowMenuOf);
    refresh_ = new QShortcut(QKeySequence(Qt::Key_F5), this);
    connect(refresh_, &QShortcut::activated, this, Guarded([this] { RefreshLibraryTree(); }));
}

QAction* frmMain::AddAction(QMenu* menu, const char* name, const char* caption, void (frmMain::*handler)()) {
    QAction* action = menu->addAction(ToQt(caption));
    action->setObjectName(ToQt(name));
    if (handler == nullptr) {
        action->setEnabled(false);
    } else {
        connect(action, &QAction::triggered, this, Guarded([this, handler] { (this->*handler)(); }));
    }
    return action;
}

void frmMain::BuildMenus() {
    const auto addMenu = [this](const char* name, const char* caption) {
        auto* menu = new QMenu(ToQt(caption), this);
        menu->setObjectName(ToQt(name));
        return menu;
    };
    mnuFile = addMenu("mnuFile", "&File");
    menuBar()->addMenu(mnuFile);
    AddAction(mnuFile, "mnuFileNew", "&New Vellora...", &frmMain::FileNew)
        ->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_N));
    AddAction(mnuFile, "mnuFileNewRomCenter2", "Import &RomCenter 2.00 Datafile...",
              &frmMain::FileNewRomCenter2)
        ->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
    mnuFile->addSeparator()->setObjectName(QStringLiteral("mnuFileBar"));
    AddAction(mnuFile, "mnuFileExit", "E&xit", &frmMain::FileExit);

    // The other four are never in the menu bar: they pop up over the tree.
    mnuRoot = addMenu("mnuRoot", "Root");
    AddAction(mnuRoot, "mnuRootNew", "&New Vellora...", &frmMain::FileNew);
    AddAction(mnuRoot, "mnuRootNewRomCenter2", "Import &RomCenter 2.00 Datafile...",
              &frmMain::RootNewRomCenter2);

    mnuVellora = addMenu("mnuVellora", "VelloraRoot");
    AddAction(mnuVellora, "mnuVelloraDelete", "&Delete...", &frmMain::VelloraDelete);

    mnuDB = addMenu("mnuDB", "DB");
    AddAction(mnuDB, "mnuDBCompact", "&Compact", &frmMain::DBCompact);
    AddAction(mnuDB, "mnuDBFix", "&Scan and Fix Errors", &frmMain::DBFix);
    mnuDB->addSeparator()->setObjectName(QStringLiteral("mnuDBBar1"));
    AddAction(mnuDB, "mnuDBImportRC2", "Import &RomCenter 2.00 Datafile...", &frmMain::DBImportRC2);
    mnuDB->addSeparator()->setObjectName(QStringLiteral("mnuDBBar3"));
    // The wizard is there, the way to it is not open in this release.
    AddAction(mnuDB, "mnuDBGenres", "&Genres Wizard...", &frmMain::DBGenres)->setEnabled(false);
    mnuDB->addSeparator()->setObjectName(QStringLiteral("mnuDBBar2"));
    AddAction(mnuDB, "mnuDBClearExtras", "Clear all Game &Extras...", &frmMain::DBClearExtras);
    AddAction(mnuDB, "mnuDBRemoveViews", "&Remove All Custom Views...", &frmMain::DBRemoveViews);
    AddAction(mnuDB, "mnuDBDeleteRecords", "&Delete Records from Table...", &frmMain::DBDeleteRecords);

    mnuScriptRoot = addMenu("mnuScriptRoot", "ScriptRoot");
    AddAction(mnuScriptRoot, "mnuScriptNew", "&New Script...", nullptr);
}

void frmMain::LoadGeometry() {
    const QSize screenPixels = screen()->size();
    const WindowGeometry start =
        StartGeometry(ReadSavedGeometry(), static_cast<float>(PixelsToTwips(screenPixels.width(), this)),
                      static_cast<float>(PixelsToTwips(screenPixels.height(), this)));
    move(TwipsToPixels(start.left, this), TwipsToPixels(start.top, this));
    resize(TwipsToPixels(start.width, this), TwipsToPixels(start.height, this));
}

void frmMain::SaveGeometry() {
    const auto twips = [this](int pixels) { return static_cast<float>(PixelsToTwips(pixels, this)); };
    WriteSavedGeometry({twips(width()), twips(height()), twips(y()), twips(x())});
}

void frmMain::closeEvent(QCloseEvent* event) {
    if (wait_ != nullptr) return event->ignore();
    RunHandler([this] { SaveGeometry(); });
    QMainWindow::closeEvent(event);
}

// Tree

void frmMain::RefreshLibraryTree() {
    SetHourglass(true);
    PumpEventsNow();
    tvVellora->ShowNodes(ReadLibraryTree());
    SetStatusText(std::string(kTreeHint));
    SetHourglass(false);
}

void frmMain::NodeClicked(const QString& key) {
    SetStatusText(FromQt(key) == kRootKey ? std::string(kTreeHint) : FromQt(key));
}

void frmMain::ShowMenuOf(const QString& key, const QString& parentKey, const QPoint& globalPosition) {
    switch (MenuOfNode(FromQt(key), FromQt(parentKey))) {
        case NodeMenu::Root:
            return mnuRoot->popup(globalPosition);
        case NodeMenu::DatabaseFolder:
            return mnuVellora->popup(globalPosition);
        case NodeMenu::Database:
            return mnuDB->popup(globalPosition);
        case NodeMenu::ScriptFolder:
            return mnuScriptRoot->popup(globalPosition);
        case NodeMenu::None:
            return;
    }
}

void frmMain::NodeDoubleClicked() {
    const SelectedNode node = tvVellora->Selected();
    const DoubleClickAction action = DoubleClickOnNode(node.key, node.parentKey);
    if (action == DoubleClickAction::Nothing || !FileTools().FileExists(node.key, 0, "Vellora")) return;
    if (action == DoubleClickAction::OpenDatabase && !modGlobal::Expert) {
        ShowMessage(
            "WARNING: Only EXPERTS should change the Vellora database in MS Access!\r\n\r\nIf you change "
            "something by hand then your database doesn't work, you've only yourself to blame!",
            MessageIcon::Information, std::string(kApplicationTitle), MessageButtons::Ok, false);
    }
    FileTools().OpenDocument(node.key, "");
}

// UserInterface

MessageAnswer frmMain::ShowMessage(const std::string& text, MessageIcon icon, const std::string& title,
                                   MessageButtons buttons, bool noIsDefault) {
    QWidget* front = QApplication::activeModalWidget();
    return ShowMessageBox(front != nullptr ? front : this, text, icon, title, buttons, noIsDefault);
}

std::string frmMain::StatusText() const {
    return FromQt(sbVelloraPanel1_->text());
}

void frmMain::SetStatusText(const std::string& text) {
    sbVelloraPanel1_->ShowText(ToQt(text));
}

void frmMain::BeginBusy(const std::string& waitMessage) {
    wait_ = std::make_unique<frmWait>(this);
    wait_->SetMessage(waitMessage);
    wait_->show();
    treeHadFocus_ = focusWidget() == tvVellora;
    AllowStarting(false);
    PumpEventsNow();  // not every operation lets events run before its first long step
}

void frmMain::EndBusy() {
    wait_.reset();
    AllowStarting(true);
    if (treeHadFocus_) tvVellora->setFocus();  // a disabled tree loses it, and the arrow keys with it
}

void frmMain::AllowStarting(bool allowed) {
    tvVellora->setEnabled(allowed);
    for (QAction* action : mnuFile->actions()) action->setEnabled(allowed);
    refresh_->setEnabled(allowed);
}

void frmMain::SetHourglass(bool on) {
    ShowHourglass(on);
}

void frmMain::LetEventsRun() {
    PumpEvents();
}

// Menu handlers

void frmMain::FileNew() {
    if (const auto folderKey = AskAndCreateDatabase(this, *this)) tvVellora->SelectAndExpand(*folderKey);
}

void frmMain::FileNewRomCenter2() {
    GlobalImportSettings().ImportIntoExisting = false;
    ChooseDatafile();
}

void frmMain::FileExit() {
    close();
}

// Unlike the File menu's entry this one leaves ImportIntoExisting as the last import set it.
void frmMain::RootNewRomCenter2() {
    ChooseDatafile();
}

void frmMain::DBImportRC2() {
    const SelectedNode node = tvVellora->Selected();
    ImportSettings& settings = GlobalImportSettings();
    settings.ExistingDatabasePath = node.key;
    settings.ExistingDatabaseName = Left(node.text, std::max(0, Len(node.text) - 4));
    settings.ImportIntoExisting = true;
    ChooseDatafile();
}

void frmMain::ChooseDatafile() {
    const std::string datafile = ShowOpenFileDialog(this, LastDatafileFolder(), std::string(kDatafileFilter),
                                                    std::string(kDatafileDialogTitle));
    if (datafile.empty()) return;
    RememberDatafileFolder(datafile);
    ImportSettings& settings = GlobalImportSettings();
    if (!AcceptDatafile(*this, datafile, settings)) return;
    frmRomCenter2(this, *this).exec();
    if (!settings.ImportSucceeded) return;
    if (!settings.ImportIntoExisting) {
        RefreshLibraryTree();
        tvVellora->SelectAndExpand(settings.NewDatabaseKey);
    }
    RemindOfScanAndFix(*this);
}

void frmMain::VelloraDelete() {
    DeleteDatabaseFolder(*this, tvVellora->Selected());
}

void frmMain::DBCompact() {
    CompactWithBusyDisplay(*this, tvVellora->Selected());
}

void frmMain::DBFix() {
    ScanAndFixErrors(*this, tvVellora->Selected());
}

void frmMain::DBClearExtras() {
    ClearGameExtras(*this, tvVellora->Selected());
}

void frmMain::DBRemoveViews() {
    RemoveCustomViews(*this, tvVellora->Selected());
}

void frmMain::DBDeleteRecords() {
    CurrentDatabasePath = tvVellora->Selected().key;
    frmRemoveRec(this, *this).exec();
}

void frmMain::DBGenres() {
    const std::string path = tvVellora->Selected().key;
    if (!FileTools().FileExists(path, 0, kApplicationTitle)) return ReportVanishedDatabase(*this);
    GenresDatabasePath = path;
    frmGenres(this).exec();
}

}  // namespace marrowkit
