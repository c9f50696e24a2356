#include "gui/ModalDriver.h"

#include <QAbstractButton>
#include <QApplication>
#include <QPushButton>
#include <QTimer>
#include <algorithm>

#include <gtest/gtest.h>

namespace marrowkit::test {
namespace {

constexpr int kPollMilliseconds = 5;
constexpr int kPatienceMilliseconds = 20000;
constexpr int kSettlingMilliseconds = 60;

}  // namespace

ModalDriver::ModalDriver() {
    Schedule();
}

ModalDriver::~ModalDriver() {
    if (!Done()) ADD_FAILURE() << steps_.size() << " expected modal window(s) never came";
}

void ModalDriver::AnswerBox(QMessageBox::StandardButton answer) {
    steps_.push_back({QString(), answer, nullptr});
}

void ModalDriver::UseDialog(const QString& objectName, std::function<void(QDialog&)> use) {
    steps_.push_back({objectName, QMessageBox::NoButton, std::move(use)});
}

void ModalDriver::Schedule() {
    // A new shot each time: a repeating timer does not fire inside the event loops that its own steps open.
    QTimer::singleShot(kPollMilliseconds, this, [this] { Poll(); });
}

void ModalDriver::Poll() {
    Schedule();
    QWidget* window = QApplication::activeModalWidget();
    if (window == nullptr || !window->isVisible()) {
        waiting_.invalidate();
        settled_ = nullptr;
        return;
    }
    // What a step did to this window (a click on Start) is still going on.
    if (std::find(inUse_.begin(), inUse_.end(), window) != inUse_.end()) return;
    if (!waiting_.isValid()) waiting_.start();
    // A person waits until the window has come to the front and has settled there; so does every step. A
    // window that is in front again, after one above it has gone, is not always told so on this platform.
    if (window != settled_) {
        if (window->isActiveWindow()) settled_ = window;
        if (waiting_.elapsed() <= kSettlingMilliseconds) return;
    }
    auto* box = qobject_cast<QMessageBox*>(window);
    if (steps_.empty()) {
        if (box != nullptr) GiveUp(*window, QStringLiteral("unexpected message: ") + box->text());
        if (waiting_.elapsed() > kPatienceMilliseconds)
            GiveUp(*window, QStringLiteral("nobody closes this window"));
        return;
    }
    const Step& next = steps_.front();
    const bool wantsBox = next.dialogName.isEmpty();
    if (box != nullptr && !wantsBox)
        return GiveUp(*window, QStringLiteral("unexpected message: ") + box->text());
    if (wantsBox != (box != nullptr) || (!wantsBox && window->objectName() != next.dialogName)) {
        if (waiting_.elapsed() > kPatienceMilliseconds)
            GiveUp(*window, QStringLiteral("another window was expected"));
        return;
    }
    const Step step = next;
    steps_.pop_front();
    waiting_.invalidate();
    if (look_) look_(*window);
    if (box == nullptr) {
        inUse_.push_back(window);
        step.use(*qobject_cast<QDialog*>(window));
        inUse_.pop_back();
        return;
    }

    SeenBox seen;
    seen.title = box->windowTitle();
    seen.text = box->text();
    seen.icon = box->icon();
    seen.buttons = box->standardButtons();
    if (QPushButton* button = box->defaultButton()) seen.defaultButton = box->standardButton(button);
    boxes_.push_back(seen);
    if (step.answer == QMessageBox::NoButton) {
        box->reject();
    } else if (QAbstractButton* button = box->button(step.answer)) {
        button->click();
    } else {
        GiveUp(*window, QStringLiteral("the box has no such button: ") + box->text());
    }
}

void ModalDriver::GiveUp(QWidget& window, const QString& why) {
    ADD_FAILURE() << window.objectName().toStdString() << ": " << why.toStdString();
    waiting_.invalidate();
    if (auto* dialog = qobject_cast<QDialog*>(&window)) dialog->reject();
}

}  // namespace marrowkit::test
