#include "shell/frmMain.h"

#include <QAction>
#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenuBar>
#include <QMouseEvent>
#include <QScreen>
#include <QStatusBar>
#include <QTimer>

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
#include "platform/files/HostPath.h"
#include "platform/registry/RegistryStore.h"
#include "platform/text/Text.h"
#include "shell/CommandLine.h"
#include "shell/Images.h"
#include "shell/NewDatabase.h"
#include "shell/OpenFileDialog.h"
#include "shell/WindowGeometry.h"

namespace marrowkit {
namespace {

constexpr int kKeyRole = Qt::UserRole;
constexpr const char* kHive = "HKEY_LOCAL_MACHINE";
constexpr const char* kWindowKey = R"(Software\Quillon\Marrowkit\Window)";
constexpr std::size_t kBuiltInImages = 5;

std::string KeyOf(const QTreeWidgetItem& node) {
    return FromQt(node.data(0, kKeyRole).toString());
}
std::string ParentKeyOf(const QTreeWidgetItem& node) {
    return node.parent() != nullptr ? KeyOf(*node.parent()) : "";
}

float ReadWindowValue(RegistryStore& store, const char* name) {
    RegistryVariant value = 0.0F;
    std::int32_t status = 0;
    store.ReadValue(kHive, kWindowKey, name, value, status, true);
    return std::get<float>(value);
}

}  // namespace

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
    tvVellora = new QTreeWidget(this);
    tvVellora->setObjectName(QStringLiteral("tvVellora"));
    tvVellora->setAccessibleName(QStringLiteral("Library"));
    tvVellora->setHeaderHidden(true);
    tvVellora->setUniformRowHeights(true);
    tvVellora->setEditTriggers(QAbstractItemView::NoEditTriggers);
    tvVellora->viewport()->installEventFilter(this);
    tvVellora->installEventFilter(this);
    setCentralWidget(tvVellora);

    statusBar()->setObjectName(QStringLiteral("sbVellora"));
    sbVelloraPanel1_ = new ElidedLabel;
    sbVelloraPanel1_->setObjectName(QStringLiteral("sbVelloraPanel1"));
    statusBar()->addWidget(sbVelloraPanel1_, 1);

    for (const char* image : {"vellora", "access", "folder", "inifile", "textfile"}) {
        ilstVellora_.push_back(BuiltInImage(image));
    }
    connect(tvVellora, &QTreeWidget::itemClicked, this,
            [this](const QTreeWidgetItem* node) { NodeClicked(*node); });
    connect(tvVellora, &QTreeWidget::itemDoubleClicked, this, Guarded([this] { NodeDoubleClicked(); }));
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
    WindowGeometry saved;
    {
        RegistryStore store;
        saved.width = ReadWindowValue(store, "MainWidth");
        saved.height = ReadWindowValue(store, "MainHeight");
        saved.top = ReadWindowValue(store, "MainTop");
        saved.left = ReadWindowValue(store, "MainLeft");
    }
    const QSize screenPixels = screen()->size();
    const WindowGeometry start =
        StartGeometry(saved, static_cast<float>(PixelsToTwips(screenPixels.width(), this)),
                      static_cast<float>(PixelsToTwips(screenPixels.height(), this)));
    move(TwipsToPixels(start.left, this), TwipsToPixels(start.top, this));
    resize(TwipsToPixels(start.width, this), TwipsToPixels(start.height, this));
}

void frmMain::SaveGeometry() {
    const auto twips = [this](int pixels) { return static_cast<float>(PixelsToTwips(pixels, this)); };
    RegistryStore store;
    store.WriteValue(kHive, kWindowKey, "MainWidth", twips(width()));
    store.WriteValue(kHive, kWindowKey, "MainHeight", twips(height()));
    store.WriteValue(kHive, kWindowKey, "MainTop", twips(y()));
    store.WriteValue(kHive, kWindowKey, "MainLeft", twips(x()));
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
    tvVellora->setUpdatesEnabled(false);
    tvVellora->clear();
    nodesByKey_.clear();
    ilstVellora_.resize(kBuiltInImages);
    // The items are made first and put into the tree at once: the tree looks around at every item it is
    // given.
    std::unique_ptr<QTreeWidgetItem> root = MakeItem(ReadLibraryTree());
    QTreeWidgetItem* rootItem = root.get();
    tvVellora->addTopLevelItem(root.release());
    QFont bold = rootItem->font(0);
    bold.setBold(true);
    rootItem->setFont(0, bold);
    rootItem->setExpanded(true);
    tvVellora->setUpdatesEnabled(true);
    SetStatusText(std::string(kTreeHint));
    SetHourglass(false);
}

std::unique_ptr<QTreeWidgetItem> frmMain::MakeItem(const LibraryNode& node) {
    auto item = std::make_unique<QTreeWidgetItem>();
    const QString key = ToQt(node.key);
    item->setText(0, ToQt(node.text));
    item->setData(0, kKeyRole, key);
    item->setIcon(0, NodeIcon(node));
    nodesByKey_.insert(key, item.get());
    QList<QTreeWidgetItem*> children;
    children.reserve(static_cast<qsizetype>(node.children.size()));
    for (const LibraryNode& child : node.children) children.push_back(MakeItem(child).release());
    item->addChildren(children);
    return item;
}

QIcon frmMain::NodeIcon(const LibraryNode& node) {
    if (node.image != TreeImage::Own) return ilstVellora_[static_cast<std::size_t>(node.image)];
    ilstVellora_.push_back(LoadStartupIcon(HostPath(node.ownImagePath)));
    return ilstVellora_.back();
}

void frmMain::NodeClicked(const QTreeWidgetItem& node) {
    const std::string key = KeyOf(node);
    SetStatusText(key == kRootKey ? std::string(kTreeHint) : key);
}

bool frmMain::eventFilter(QObject* watched, QEvent* event) {
    if (watched == tvVellora->viewport() && event->type() == QEvent::MouseButtonPress) {
        const auto* press = static_cast<QMouseEvent*>(event);
        if (press->button() != Qt::RightButton) return false;
        // The menu is that of the node under the pointer; what is selected stays so, and is what the menu
        // acts on.
        if (const QTreeWidgetItem* node = tvVellora->itemAt(press->position().toPoint())) {
            ShowMenuOf(*node, press->globalPosition().toPoint());
        }
        return true;
    }
    if (watched == tvVellora && event->type() == QEvent::ContextMenu &&
        static_cast<QContextMenuEvent*>(event)->reason() == QContextMenuEvent::Keyboard) {
        if (const QTreeWidgetItem* node = tvVellora->currentItem()) {
            ShowMenuOf(*node, tvVellora->viewport()->mapToGlobal(tvVellora->visualItemRect(node).center()));
        }
        return true;
    }
    if (watched == tvVellora && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            RunHandler([this] { NodeDoubleClicked(); });
            return true;
        }
        // Arrow keys click the node that they lead to, once the tree has followed them.
        QTimer::singleShot(0, this, [this, before = tvVellora->currentItem()] {
            const QTreeWidgetItem* now = tvVellora->currentItem();
            if (now != nullptr && now != before) NodeClicked(*now);
        });
        return false;
    }
    return QMainWindow::eventFilter(watched, event);
}

void frmMain::ShowMenuOf(const QTreeWidgetItem& node, const QPoint& globalPosition) {
    switch (MenuOfNode(KeyOf(node), ParentKeyOf(node))) {
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
    const QTreeWidgetItem* node = tvVellora->currentItem();
    if (node == nullptr) return;
    const std::string key = KeyOf(*node);
    const DoubleClickAction action = DoubleClickOnNode(key, ParentKeyOf(*node));
    if (action == DoubleClickAction::Nothing || !FileTools().FileExists(key, 0, "Vellora")) return;
    if (action == DoubleClickAction::OpenDatabase && !modGlobal::Expert) {
        ShowMessage(
            "WARNING: Only EXPERTS should change the Vellora database in MS Access!\r\n\r\nIf you change "
            "something by "
            "hand then your database doesn't work, you've only yourself to blame!",
            MessageIcon::Information, std::string(kApplicationTitle), MessageButtons::Ok, false);
    }
    FileTools().OpenDocument(key, "");
}

void frmMain::SelectDatabase(const std::string& folderKey) {
    QTreeWidgetItem* node = nodesByKey_.value(ToQt(folderKey), nullptr);
    if (node == nullptr) return;
    tvVellora->setCurrentItem(node);
    node->setExpanded(true);
    tvVellora->scrollToItem(node);
}

SelectedNode frmMain::Selected() const {
    const QTreeWidgetItem* node = tvVellora->currentItem();
    if (node == nullptr) return {};
    SelectedNode selected{KeyOf(*node), FromQt(node->text(0)), ParentKeyOf(*node), {}};
    if (node->parent() != nullptr) selected.parentText = FromQt(node->parent()->text(0));
    return selected;
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
    if (const auto folderKey = AskAndCreateDatabase(this, *this)) SelectDatabase(*folderKey);
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
    const SelectedNode node = Selected();
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
        SelectDatabase(settings.NewDatabaseKey);
    }
    RemindOfScanAndFix(*this);
}

void frmMain::VelloraDelete() {
    DeleteDatabaseFolder(*this, Selected());
}

void frmMain::DBCompact() {
    CompactWithBusyDisplay(*this, Selected());
}

void frmMain::DBFix() {
    ScanAndFixErrors(*this, Selected());
}

void frmMain::DBClearExtras() {
    ClearGameExtras(*this, Selected());
}

void frmMain::DBRemoveViews() {
    RemoveCustomViews(*this, Selected());
}

void frmMain::DBDeleteRecords() {
    CurrentDatabasePath = Selected().key;
    frmRemoveRec(this, *this).exec();
}

void frmMain::DBGenres() {
    const std::string path = Selected().key;
    if (!FileTools().FileExists(path, 0, kApplicationTitle)) return ReportVanishedDatabase(*this);
    GenresDatabasePath = path;
    frmGenres(this).exec();
}

}  // namespace marrowkit
