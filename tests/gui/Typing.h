#pragma once

#include <QCoreApplication>
#include <QKeyEvent>
#include <QString>
#include <QWidget>
#include <string_view>

namespace marrowkit::test {

/// Types a text into a control, key by key.
inline void Type(QWidget& control, std::string_view text) {
    for (const QChar c : QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()))) {
        QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(c));
        QCoreApplication::sendEvent(&control, &press);
        QKeyEvent release(QEvent::KeyRelease, 0, Qt::NoModifier, QString(c));
        QCoreApplication::sendEvent(&control, &release);
    }
}

/// Presses and releases one key.
inline void Press(QWidget& control, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QKeyEvent press(QEvent::KeyPress, key, modifiers);
    QCoreApplication::sendEvent(&control, &press);
    QKeyEvent release(QEvent::KeyRelease, key, modifiers);
    QCoreApplication::sendEvent(&control, &release);
}

}  // namespace marrowkit::test
