#include "import/frmProgress.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QTimer>
#include <QVBoxLayout>
#include <utility>

#include "forms/FatalError.h"
#include "forms/Messages.h"
#include "forms/QtText.h"
#include "forms/Twips.h"
#include "import/ImportEngine.h"
#include "import/ImportSettings.h"

namespace marrowkit {
namespace {

// Narrow enough for the stage, its count, the bar and the button in the window's inner height.
constexpr int kMarginPixels = 7;
constexpr int kSpacingPixels = 4;

}  // namespace

frmProgress::frmProgress(QWidget* owner, UserInterface& ui, const QString& datafileName)
    : QDialog(owner), ui_(ui) {
    setObjectName(QStringLiteral("frmProgress"));
    lblPrompt = new ElidedLabel;
    lblPrompt->setObjectName(QStringLiteral("lblPrompt"));
    lblPrompt->setText(QStringLiteral("Initialising..."));
    lblStatus = new QLabel;
    lblStatus->setObjectName(QStringLiteral("lblStatus"));
    pbStatus = new QProgressBar;
    pbStatus->setObjectName(QStringLiteral("pbStatus"));
    pbStatus->setAccessibleName(QStringLiteral("Progress of this stage"));
    pbStatus->setTextVisible(false);
    pbStatus->setRange(0, 1);
    pbStatus->setValue(0);
    cmdCancel = new QPushButton(QStringLiteral("&Cancel"));
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));

    auto* bottom = new QHBoxLayout;
    bottom->addWidget(pbStatus, 1);
    bottom->addWidget(cmdCancel);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMarginPixels, kMarginPixels, kMarginPixels, kMarginPixels);
    layout->setSpacing(kSpacingPixels);
    layout->addWidget(lblPrompt);
    layout->addWidget(lblStatus);
    layout->addLayout(bottom);

    connect(cmdCancel, &QPushButton::clicked, this, [this] {
        cmdCancel->setEnabled(false);
        cancelled_ = true;
    });
    SetInnerSize(*this, 5175, 1215);
    GlobalImportSettings().ImportCancelled = false;
    setWindowTitle(QStringLiteral("Importing %1...").arg(datafileName));
    ShowHourglass(true);
}

frmProgress::~frmProgress() {
    ShowHourglass(false);
}

void frmProgress::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (started_) return;
    started_ = true;
    QTimer::singleShot(0, this, Guarded([this] { Run(); }));
}

void frmProgress::Run() {
    PumpEventsNow();
    running_ = true;
    RunImport(GlobalImportSettings(), tables_, *this, ui_);
    running_ = false;
    GlobalImportSettings().ImportCancelled = cancelled_;
    accept();
}

void frmProgress::reject() {
    if (running_) {
        cmdCancel->click();
    } else {
        QDialog::reject();
    }
}

void frmProgress::closeEvent(QCloseEvent* event) {
    if (!running_) return QDialog::closeEvent(event);
    cmdCancel->click();
    event->ignore();
}

void frmProgress::SetPrompt(const std::string& text) {
    lblPrompt->setText(ToQt(text));
    ShowHourglass(true);  // for as long as this window is open; a stage may have ended its own
    stageIsNew_ = true;
    barValue_ = pbStatus->minimum();  // the bar is the stage's own
}

void frmProgress::SetStatus(const std::string& text) {
    status_ = text;
}

void frmProgress::SetBarRange(std::int32_t minimum, std::int32_t maximum) {
    // A range of nothing would make the bar run to and fro instead of standing still.
    pbStatus->setRange(minimum, maximum > minimum ? maximum : minimum + 1);
    barValue_ = minimum;
}

void frmProgress::SetBarValue(std::int32_t value) {
    barValue_ = value;
}

void frmProgress::SetCancelEnabled(bool enabled) {
    cmdCancel->setEnabled(enabled);
}

void frmProgress::LetEventsRun() {
    // A new stage is always shown, and Cancel heard before it begins.
    const bool stageIsNew = std::exchange(stageIsNew_, false);
    if (!stageIsNew && !FrameIsDue()) return;
    // Events are heard every frame; the texts need not change quite as often as that.
    constexpr int kFramesForATextToStand = 2;
    if (stageIsNew || ++framesShown_ >= kFramesForATextToStand) ShowLatest();
    PumpEventsNow();
}

void frmProgress::ShowLatest() {
    framesShown_ = 0;
    lblStatus->setText(ToQt(status_));
    pbStatus->setValue(barValue_);
}

}  // namespace marrowkit
