#include "shell/frmWait.h"

#include <QVBoxLayout>

#include "forms/QtText.h"
#include "forms/Twips.h"
#include "global/UserInterface.h"

namespace marrowkit {
namespace {

/// Narrow enough for a line of text in the window's inner height.
constexpr int kMarginPixels = 4;

}  // namespace

frmWait::frmWait(QWidget* owner)
    : QDialog(owner, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint) {
    setObjectName(QStringLiteral("frmWait"));
    setWindowTitle(ToQt(kApplicationTitle));
    setModal(false);
    lblPrompt = new QLabel(this);
    lblPrompt->setObjectName(QStringLiteral("lblPrompt"));
    lblPrompt->setAlignment(Qt::AlignCenter);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMarginPixels, kMarginPixels, kMarginPixels, kMarginPixels);
    layout->addWidget(lblPrompt);
    SetInnerSize(*this, 3015, 495);
}

void frmWait::SetMessage(const std::string& message) {
    lblPrompt->setText(ToQt(message));
}

}  // namespace marrowkit
