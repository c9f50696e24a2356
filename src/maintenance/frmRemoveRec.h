#pragma once

#include <QDialog>
#include <QListWidget>
#include <QPushButton>
#include <optional>

#include "forms/FatalError.h"
#include "global/UserInterface.h"
#include "platform/dao/Dao.h"

namespace marrowkit {

/// Deletes records of the lookup tables, after moving their games to another record. Holds one connection to
/// CurrentDatabasePath from its load to its unload.
class frmRemoveRec : public QDialog, private HoldsDatabase {
    Q_OBJECT

public:
    /// Opens the database; its errors reach the caller. `ui` shows the messages.
    frmRemoveRec(QWidget* owner, UserInterface& ui);
    ~frmRemoveRec() override;

protected:
    /// Notes which table a click finds selected. The first arrow key chooses the first table: without a
    /// selection the list would step from there to the second.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void CloseDatabase() noexcept override;
    /// Reads the selected table's records, also when they are shown already.
    void ShowTable();
    void DeleteRecord();
    void RemoveFromList(int row);
    void FocusRecords();

    UserInterface& ui_;
    QListWidget* lstTable;
    QListWidget* lstRecords;
    QPushButton* cmdDelete;
    QPushButton* cmdClose;
    int tableBeforeClick_ = -1;
    std::optional<dao::Database> database_;
};

}  // namespace marrowkit
