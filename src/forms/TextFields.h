#pragma once

#include <QLineEdit>
#include <QString>

namespace marrowkit {

/// Discards typed characters of a set (letters in any case). Pasted text passes: whoever takes the text tests
/// it again.
void SwallowTypedCharacters(QLineEdit& field, const QString& characters);

/// Selects the whole text whenever the field gets the focus.
void SelectAllOnFocus(QLineEdit& field);

/// Whether any character of `text` is one of the set (letters in any case).
bool ContainsAnyOf(const QString& text, const QString& characters);

}  // namespace marrowkit
