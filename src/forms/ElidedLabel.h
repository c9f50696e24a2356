#pragma once

#include <QLabel>

namespace marrowkit {

/// A label of one line, for paths and file names of any length: it never asks for room, and what does not fit
/// is left out in the middle. The whole text is its tool tip and what text() and screen readers tell.
class ElidedLabel : public QLabel {
public:
    explicit ElidedLabel(QWidget* parent = nullptr);
    void ShowText(const QString& text);

protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace marrowkit
