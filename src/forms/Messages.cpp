#include "forms/Messages.h"

#include <QApplication>
#include <QFontMetrics>
#include <QLabel>
#include <QMessageBox>
#include <QScreen>
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <limits>

#include "forms/QtText.h"
#include "platform/process/StopRequest.h"

namespace marrowkit {
namespace {

// One frame of a 60 Hz display: painting more often cannot be seen.
constexpr std::int64_t kFrameMilliseconds = 16;

/// Asked after every unit of work, hundreds of thousands of times: the clock that ticks every few
/// milliseconds and costs next to nothing is good enough.
std::int64_t NowMilliseconds() {
#ifdef CLOCK_MONOTONIC_COARSE
    timespec now{};
    if (clock_gettime(CLOCK_MONOTONIC_COARSE, &now) == 0)
        return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
#endif
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

std::int64_t lastPumpMilliseconds = std::numeric_limits<std::int64_t>::min() / 2;

QMessageBox::Icon QtIcon(MessageIcon icon) {
    switch (icon) {
        case MessageIcon::Information:
            return QMessageBox::Information;
        case MessageIcon::Exclamation:
            return QMessageBox::Warning;
        case MessageIcon::Question:
            return QMessageBox::Question;
        case MessageIcon::Error:
            return QMessageBox::Critical;
        case MessageIcon::None:
            break;
    }
    return QMessageBox::NoIcon;
}

QMessageBox::StandardButtons QtButtons(MessageButtons buttons) {
    switch (buttons) {
        case MessageButtons::YesNo:
            return QMessageBox::Yes | QMessageBox::No;
        case MessageButtons::YesNoCancel:
            return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
        case MessageButtons::Ok:
            break;
    }
    return QMessageBox::Ok;
}

/// Enter answers with the first button unless the message says otherwise. Left alone, the button that comes
/// first would be the desktop's choice.
QMessageBox::StandardButton DefaultButton(MessageButtons buttons, bool noIsDefault) {
    if (buttons == MessageButtons::Ok) return QMessageBox::Ok;
    return noIsDefault ? QMessageBox::No : QMessageBox::Yes;
}

/// Message boxes wrap at a width of their own choice. Texts that bring their line breaks along are shown in
/// these lines where the screen has the room.
void KeepLines(QMessageBox& box) {
    auto* label = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_label"));
    if (label == nullptr) return;
    constexpr int kLongestLineCharacters = 110;
    const QFontMetrics metrics = label->fontMetrics();
    int longest = 0;
    for (const QString& line : box.text().split(QLatin1Char('\n')))
        longest = std::max(longest, metrics.horizontalAdvance(line));
    const int room = std::min(metrics.averageCharWidth() * kLongestLineCharacters,
                              box.screen()->availableGeometry().width() * 3 / 4);
    if (longest <= room) label->setMinimumWidth(longest + 2);
}

}  // namespace

MessageAnswer ShowMessageBox(QWidget* owner, const std::string& text, MessageIcon icon,
                             const std::string& title, MessageButtons buttons, bool noIsDefault) {
    if (IsStopRequested()) return buttons == MessageButtons::Ok ? MessageAnswer::Ok : MessageAnswer::No;
    QMessageBox box(owner);
    box.setObjectName(QStringLiteral("messageBox"));
    box.setTextFormat(Qt::PlainText);
    box.setWindowTitle(ToQt(title));
    box.setText(ToQt(text).replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
    box.setIcon(QtIcon(icon));
    KeepLines(box);
    box.setStandardButtons(QtButtons(buttons));
    box.setDefaultButton(DefaultButton(buttons, noIsDefault));
    // What the box says must not look like a busy program.
    const bool hourglass = QApplication::overrideCursor() != nullptr;
    if (hourglass) QApplication::setOverrideCursor(Qt::ArrowCursor);
    const int answer = box.exec();
    if (hourglass) QApplication::restoreOverrideCursor();
    switch (answer) {
        case QMessageBox::Yes:
            return MessageAnswer::Yes;
        case QMessageBox::No:
            return MessageAnswer::No;
        case QMessageBox::Cancel:
            return MessageAnswer::Cancel;
        default:
            return MessageAnswer::Ok;
    }
}

bool FrameIsDue() {
    return NowMilliseconds() - lastPumpMilliseconds >= kFrameMilliseconds;
}

void PumpEvents() {
    if (FrameIsDue()) PumpEventsNow();
}

void PumpEventsNow() {
    QCoreApplication::processEvents();
    lastPumpMilliseconds = NowMilliseconds();
}

void ShowHourglass(bool on) {
    while (QApplication::overrideCursor() != nullptr) QApplication::restoreOverrideCursor();
    if (on) QApplication::setOverrideCursor(Qt::WaitCursor);
}

}  // namespace marrowkit
