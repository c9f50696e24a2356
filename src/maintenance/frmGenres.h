#pragma once

#include <QDialog>
#include <QListWidget>
#include <QPushButton>
#include <QStackedWidget>
#include <QTreeWidget>
#include <optional>
#include <string>

#include "forms/FatalError.h"
#include "platform/dao/Dao.h"

namespace marrowkit {

/// Path of the database that the next frmGenres opens.
inline std::string GenresDatabasePath;

/// The genres wizard. A shell in this release: its pages and texts are there and the database is open while
/// it is, but none of its operations is carried out and Back, Next and Link do nothing.
class frmGenres : public QDialog, private HoldsDatabase {
    Q_OBJECT

public:
    /// Opens the database; its errors reach the caller.
    explicit frmGenres(QWidget* owner);
    ~frmGenres() override;

private:
    void CloseDatabase() noexcept override;

    QWidget* BuildSelectorPage();
    QWidget* BuildClearDonePage();
    QWidget* BuildRecategorisePage();
    QWidget* BuildChooseParentPage();
    QWidget* BuildNothingToDoPage();
    QWidget* BuildClearConfirmPage();

    QStackedWidget* pages_;
    QPushButton* cmdBack;
    QPushButton* cmdNext;
    QPushButton* cmdClose;
    QPushButton* cmdRP1;
    QListWidget* lstRP1;
    QTreeWidget* lvRP1;
    QListWidget* lstRP2;
    std::optional<dao::Database> database_;
};

}  // namespace marrowkit
