#include "shell/frmInputBox.h"

#include <QDialogButtonBox>
#include <QVBoxLayout>

#include "forms/FatalError.h"
#include "forms/Messages.h"
#include "forms/QtText.h"
#include "forms/TextFields.h"
#include "forms/Twips.h"
#include "shell/InputDialog.h"

namespace marrowkit {
namespace {

// Narrow enough for the prompt, the field and the buttons in the window's inner height.
constexpr int kMarginPixels = 7;
constexpr int kSpacingPixels = 3;

}  // namespace

frmInputBox::frmInputBox(QWidget* owner) : QDialog(owner) {
    setObjectName(QStringLiteral("frmInputBox"));
    lblPrompt = new QLabel(this);
    lblPrompt->setObjectName(QStringLiteral("lblPrompt"));
    txtInput = new QLineEdit(this);
    txtInput->setObjectName(QStringLiteral("txtInput"));
    lblPrompt->setBuddy(txtInput);
    cmdOK = new QPushButton(this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdCancel = new QPushButton(this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));

    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(cmdOK, QDialogButtonBox::AcceptRole);
    buttons->addButton(cmdCancel, QDialogButtonBox::RejectRole);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMarginPixels, kMarginPixels, kMarginPixels, kMarginPixels);
    layout->setSpacing(kSpacingPixels);
    layout->addWidget(lblPrompt);
    layout->addWidget(txtInput);
    layout->addStretch();
    layout->addWidget(buttons);

    setWindowTitle(ToQt(InputTitle));
    lblPrompt->setText(ToQt(InputPrompt));
    txtInput->setMaxLength(InputMaxLength);
    SwallowTypedCharacters(*txtInput, ToQt(InputInvalidChars));
    SelectAllOnFocus(*txtInput);
    cmdOK->setText(ToQt(InputOkCaption));
    cmdCancel->setText(ToQt(InputCancelCaption));
    InputResult.clear();
    InputAccepted = false;
    txtInput->setText(ToQt(InputDefault));
    cmdOK->setEnabled(InputAllowEmpty || !txtInput->text().isEmpty());
    cmdOK->setDefault(true);

    connect(txtInput, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (!InputAllowEmpty) cmdOK->setEnabled(!text.isEmpty());
    });
    connect(cmdOK, &QPushButton::clicked, this, Guarded([this] { AcceptInput(); }));
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    SetInnerSize(*this, 4575, 1335);
}

void frmInputBox::AcceptInput() {
    // Typing cannot enter them, pasting can.
    if (ContainsAnyOf(txtInput->text(), ToQt(InputInvalidChars))) {
        ShowMessageBox(this, "You have entered one or more invalid characters!", MessageIcon::Exclamation,
                       std::string(kApplicationTitle));
        txtInput->setFocus();
        return;
    }
    InputAccepted = true;
    InputResult = FromQt(txtInput->text());
    accept();
}

}  // namespace marrowkit
