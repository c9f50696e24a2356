#pragma once

#include <QDialog>
#include <QListWidget>
#include <QPushButton>
#include <cstdint>
#include <string>

namespace marrowkit {

// What the two dialogs of "Delete Records from Table..." tell each other.

/// The database they work on.
inline std::string CurrentDatabasePath;
/// The statement that frmGetID lists.
inline std::string ReplacementQuery;
/// The chosen replacement's key; 0: none was chosen.
inline std::int32_t ReplacementId = 0;
inline std::string ReplacementName;

/// Picks the record that takes the place of one about to be deleted.
class frmGetID : public QDialog {
    Q_OBJECT

public:
    /// Lists the records; database errors reach the caller.
    explicit frmGetID(QWidget* owner);

private:
    void Choose();

    QListWidget* lstRecords;
    QPushButton* cmdOK;
    QPushButton* cmdCancel;
};

}  // namespace marrowkit
