#include "forms/ElidedLabel.h"

#include <QPainter>
#include <QStyle>

namespace marrowkit {

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

void ElidedLabel::ShowText(const QString& text) {
    setText(text);
    setToolTip(text);
}

void ElidedLabel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const QRect area = contentsRect().adjusted(margin(), margin(), -margin(), -margin());
    style()->drawItemText(&painter, area, static_cast<int>(alignment()), palette(), isEnabled(),
                          fontMetrics().elidedText(text(), Qt::ElideMiddle, area.width()), foregroundRole());
}

}  // namespace marrowkit
