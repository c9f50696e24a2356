#include "forms/TextFields.h"

#include <QEvent>
#include <QKeyEvent>
#include <QTimer>
#include <algorithm>

namespace marrowkit {
namespace {

class CharacterFilter : public QObject {
public:
    CharacterFilter(QLineEdit* field, QString characters)
        : QObject(field), characters_(std::move(characters)) {}

    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        if (event->type() == QEvent::KeyPress) {
            return ContainsAnyOf(static_cast<QKeyEvent*>(event)->text(), characters_);
        }
        if (event->type() == QEvent::InputMethod) {
            return ContainsAnyOf(static_cast<QInputMethodEvent*>(event)->commitString(), characters_);
        }
        return false;
    }

private:
    QString characters_;
};

class FocusSelector : public QObject {
public:
    explicit FocusSelector(QLineEdit* field) : QObject(field), field_(field) {}

    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        // The click that gave the focus would undo the selection if it were made at once.
        if (event->type() == QEvent::FocusIn) QTimer::singleShot(0, field_, &QLineEdit::selectAll);
        return false;
    }

private:
    QLineEdit* field_;
};

}  // namespace

void SwallowTypedCharacters(QLineEdit& field, const QString& characters) {
    field.installEventFilter(new CharacterFilter(&field, characters));
}

void SelectAllOnFocus(QLineEdit& field) {
    field.installEventFilter(new FocusSelector(&field));
}

bool ContainsAnyOf(const QString& text, const QString& characters) {
    return std::any_of(text.begin(), text.end(),
                       [&](QChar c) { return characters.contains(c, Qt::CaseInsensitive); });
}

}  // namespace marrowkit
