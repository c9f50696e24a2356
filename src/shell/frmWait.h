#pragma once

#include <QDialog>
#include <QLabel>
#include <string>

namespace marrowkit {

/// The small modeless window that stands in front while long work runs.
class frmWait : public QDialog {
    Q_OBJECT

public:
    explicit frmWait(QWidget* owner);

    /// Only its owner ends it, never Esc.
    void reject() override {}
    void SetMessage(const std::string& message);

private:
    QLabel* lblPrompt;
};

}  // namespace marrowkit
