#pragma once

#include <QHash>
#include <QIcon>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QTreeWidget>
#include <memory>
#include <string>
#include <vector>

#include "maintenance/LibraryTree.h"
#include "maintenance/SelectedNode.h"
#include "shell/UserInterface.h"
#include "shell/frmWait.h"

namespace marrowkit {

/// The main window: the library tree, the menus over it, and the handlers that start every operation. Its
/// operations run on the selected node and talk to the person through the UserInterface that this window is.
class frmMain : public QMainWindow, private UserInterface {
    Q_OBJECT

public:
    /// Reads the switches, restores the saved geometry, sets the title. The tree is filled by Start.
    explicit frmMain(const std::string& commandLine);
    ~frmMain() override;

    /// Shows the window, then the start-up warning unless a switch forbids it, then fills the tree.
    void Start();

    void RefreshLibraryTree() override;
    /// How operations started from elsewhere talk to the person through this window.
    UserInterface& Interface() { return *this; }

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

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

    void BuildControls();
    void BuildMenus();
    QAction* AddAction(QMenu* menu, const char* name, const char* caption, void (frmMain::*handler)());
    void LoadGeometry();
    void SaveGeometry();

    // Tree
    void AddNode(QTreeWidgetItem* parent, const LibraryNode& node);
    QIcon NodeIcon(const LibraryNode& node);
    void ShowMenuOf(const QTreeWidgetItem& node, const QPoint& globalPosition);
    void NodeClicked(const QTreeWidgetItem& node);
    void NodeDoubleClicked();
    void SelectDatabase(const std::string& folderKey);
    SelectedNode Selected() const;

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

    QTreeWidget* tvVellora;
    QLabel* sbVelloraPanel1_;
    QMenu* mnuFile;
    QMenu* mnuRoot;
    QMenu* mnuVellora;
    QMenu* mnuDB;
    QMenu* mnuScriptRoot;
    /// Built-in images at 0 to 4; behind them the start-up icons that databases bring along, new at every
    /// refresh.
    std::vector<QIcon> ilstVellora_;
    QHash<QString, QTreeWidgetItem*> nodesByKey_;
    std::unique_ptr<frmWait> wait_;
    std::string commandLine_;
};

}  // namespace marrowkit
