#pragma once

#include <QDialog>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QObject>
#include <QString>
#include <deque>
#include <functional>
#include <vector>

namespace marrowkit::test {

/// What a message box showed before it was answered.
struct SeenBox {
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons;
    QMessageBox::StandardButton defaultButton = QMessageBox::NoButton;
};

/// Sits in front of the modal windows that a handler under test opens, and does to each what was laid out
/// beforehand, in order. A window that nobody expected, or one that stays open for long, fails the test and
/// is closed.
class ModalDriver : public QObject {
public:
    ModalDriver();
    ~ModalDriver() override;

    /// The next modal window is to be a message box; it is noted and answered; by closing it for NoButton.
    void AnswerBox(QMessageBox::StandardButton answer);
    /// The next one is to be the dialog of this object name. When `use` returns and the dialog is still open,
    /// it stays so; the next step may concern a window above it or the dialog itself again.
    void UseDialog(const QString& objectName, std::function<void(QDialog&)> use);
    /// Called with each expected window before its step is taken.
    void OnWindow(std::function<void(QWidget&)> look) { look_ = std::move(look); }

    const std::vector<SeenBox>& Boxes() const { return boxes_; }
    /// All steps were taken.
    bool Done() const { return steps_.empty(); }

private:
    struct Step {
        QString dialogName;  ///< empty: a message box
        QMessageBox::StandardButton answer = QMessageBox::NoButton;
        std::function<void(QDialog&)> use;
    };
    void Poll();
    void Schedule();
    void GiveUp(QWidget& window, const QString& why);

    std::deque<Step> steps_;
    std::vector<SeenBox> boxes_;
    std::function<void(QWidget&)> look_;
    std::vector<QWidget*> inUse_;  ///< by steps that have not returned
    QElapsedTimer waiting_;
    QWidget* settled_ = nullptr;  ///< was in front at the last look; compared only
};

/// A child by its object name; fails the test and throws when there is none.
template <typename T>
T& Child(QObject& parent, const char* name) {
    T* child = parent.findChild<T*>(QString::fromLatin1(name));
    if (child == nullptr) throw std::runtime_error(std::string("no control named ") + name);
    return *child;
}

}  // namespace marrowkit::test
