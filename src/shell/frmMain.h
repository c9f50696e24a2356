#pragma once

#include <QMainWindow>
#include <QMenu>
#include <QShortcut>
#include <memory>
#include <string>

#include "forms/ElidedLabel.h"
#include "global/UserInterface.h"
#include "maintenance/SelectedNode.h"
#include "shell/LibraryView.h"
#include "shell/frmWait.h"

namespace marrowkit {

/// The main window: the library tree, the menus over it, and the handlers that start every operation. Its
/// operations run on the selected node and talk to the person through the UserInterface that this window is.
class frmMain : public QMainWindow, private UserInterface {
    Q_OBJECT

public:
    /// `commandLine` holds the switches that Start reads.
    explicit frmMain(const std::string& commandLine);
    ~frmMain() override;

    /// Restores the geometry, shows the start-up warning unless a switch forbids it, fills the tree and shows
    /// the window.
    void Start();

    void RefreshLibraryTree() override;
    std::size_t ImageCount() const { return tvVellora->ImageCount(); }
    /// How operations started from elsewhere talk to the person through this window.
    UserInterface& Interface() { return *this; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    // UserInterface
    MessageAnswer ShowMessage(const std::string& text, MessageIcon icon, const std::string& title,
                              MessageButtons buttons, bool noIsDefault) override;
    std::string StatusText() const override;
    void SetStatusText(const std::string& text) override;
    void BeginBusy(const std::string& waitMessage) override;
    void EndBusy() override;
    void SetHourglass(bool on) override;
    void LetEventsRun() override;

    /// While an operation runs nothing else may be started and the window stays open.
    void AllowStarting(bool allowed);

    void BuildControls();
    void BuildMenus();
    QAction* AddAction(QMenu* menu, const char* name, const char* caption, void (frmMain::*handler)());
    void LoadGeometry();
    void SaveGeometry();

    // What the person does with the tree
    void NodeClicked(const QString& key);
    void NodeDoubleClicked();
    void ShowMenuOf(const QString& key, const QString& parentKey, const QPoint& globalPosition);

    // Menu handlers
    void FileNew();
    void FileNewRomCenter2();
    void FileExit();
    void RootNewRomCenter2();
    void VelloraDelete();
    void DBCompact();
    void DBFix();
    void DBImportRC2();
    void DBGenres();
    void DBClearExtras();
    void DBRemoveViews();
    void DBDeleteRecords();
    void ChooseDatafile();

    LibraryView* tvVellora;
    ElidedLabel* sbVelloraPanel1_;
    QMenu* mnuFile;
    QMenu* mnuRoot;
    QMenu* mnuVellora;
    QMenu* mnuDB;
    QMenu* mnuScriptRoot;
    QShortcut* refresh_;
    std::unique_ptr<frmWait> wait_;
    bool treeHadFocus_ = false;
    std::string commandLine_;
};

}  // namespace marrowkit
