#pragma once

#include <QComboBox>
#include <QDialog>
#include <QListWidget>
#include <QPushButton>
#include <string>

#include "forms/ElidedLabel.h"

namespace marrowkit {

/// Picks a folder: a list of drives, and below it the current folder's way from the drive down to it and its
/// subfolders. A double click (or Enter) on an entry makes it the current folder. BrowseFolderPath of the
/// import settings names the folder to start in, and afterwards the one chosen; empty when none was.
class frmBrowseFolder : public QDialog {
    Q_OBJECT

public:
    explicit frmBrowseFolder(QWidget* owner);

private:
    void FillDrives();
    /// Shows a folder (a Windows path) with its ancestors and subfolders, and makes it the current one.
    void OpenFolder(const std::string& path);
    void OpenEntry(const QListWidgetItem* entry);

    QComboBox* DriveBox;
    QListWidget* DirBox;
    ElidedLabel* lblPath;
    QPushButton* cmdOK;
    QPushButton* cmdCancel;
    std::string currentFolder_;
};

}  // namespace marrowkit
