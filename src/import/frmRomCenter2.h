#pragma once

#include <QCheckBox>
#include <QDialog>
#include <QFrame>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QToolButton>

#include "forms/ElidedLabel.h"
#include "global/UserInterface.h"

namespace marrowkit {

/// The import options dialog. Reads DatafilePath and ImportIntoExisting from GlobalImportSettings(), stores
/// the choices there and runs the import in frmProgress.
class frmRomCenter2 : public QDialog {
    Q_OBJECT

public:
    /// `ui` shows the messages of the import itself.
    frmRomCenter2(QWidget* owner, UserInterface& ui);

protected:
    void showEvent(QShowEvent* event) override;

private:
    QWidget* BuildDatafileRow();
    QWidget* BuildOptions();
    QWidget* BuildScan();
    void Load();
    void Connect();

    void EnableScan(bool enabled);
    void ViewDatafile();
    void PickRomFolder();
    void Start();

    UserInterface& ui_;
    ElidedLabel* lblDataFile;
    QPushButton* cmdView;
    QLineEdit* txtName;
    QGroupBox* fraOptions;
    QListWidget* lstName;
    QListWidget* lstFile;
    QCheckBox* chkIgnoreDups;
    QCheckBox* chkTosec;
    QCheckBox* chkAddZip;
    QFrame* fraScan;
    QCheckBox* chkScan;
    QLabel* lblRomPath;
    QLineEdit* txtRomPath;
    QToolButton* cmdRomPath;
    QCheckBox* chkMatch;
    QToolButton* cmdHelpMatch;
    QPushButton* cmdOK;
    QPushButton* cmdCancel;
    bool activated_ = false;
};

}  // namespace marrowkit
