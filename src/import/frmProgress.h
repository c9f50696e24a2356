#pragma once

#include <QDialog>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QString>

#include "forms/ElidedLabel.h"
#include "global/UserInterface.h"
#include "import/ImportProgress.h"
#include "import/ImportTables.h"

namespace marrowkit {

/// Runs one import as soon as it is first shown, shows how far it is, and closes itself at the end.
/// Everything it needs is in GlobalImportSettings(); it leaves ImportSucceeded, NewDatabaseKey and
/// ImportCancelled there.
class frmProgress : public QDialog, private ImportProgress {
    Q_OBJECT

public:
    frmProgress(QWidget* owner, UserInterface& ui, const QString& datafileName);
    ~frmProgress() override;

    /// Esc and the close box press Cancel; the window goes when the import has noticed.
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void SetPrompt(const std::string& text) override;
    void SetStatus(const std::string& text) override;
    void SetBarRange(std::int32_t minimum, std::int32_t maximum) override;
    void SetBarValue(std::int32_t value) override;
    void SetCancelEnabled(bool enabled) override;
    bool Cancelled() const override { return cancelled_; }
    void LetEventsRun() override;

    void Run();
    void ShowLatest();

    UserInterface& ui_;
    ImportTables tables_;
    ElidedLabel* lblPrompt;
    QLabel* lblStatus;
    QProgressBar* pbStatus;
    QPushButton* cmdCancel;

    bool cancelled_ = false;
    bool started_ = false;
    bool running_ = false;
    bool stageIsNew_ = false;
    // What the stages said last; the controls follow every other frame.
    std::string status_;
    std::int32_t barValue_ = 0;
    int framesShown_ = 0;  ///< since they followed
};

}  // namespace marrowkit
