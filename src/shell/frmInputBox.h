#pragma once

#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace marrowkit {

/// Asks for one line of text. Everything about it is in the variables of shell/InputDialog.h.
class frmInputBox : public QDialog {
    Q_OBJECT

public:
    explicit frmInputBox(QWidget* owner);

private:
    void AcceptInput();

    QLabel* lblPrompt;
    QLineEdit* txtInput;
    QPushButton* cmdOK;
    QPushButton* cmdCancel;
};

}  // namespace marrowkit
