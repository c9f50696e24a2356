#include "gui/ScreenPicture.h"

#include <QApplication>
#include <QFontMetrics>
#include <QPainter>
#include <QPixmap>
#include <algorithm>

namespace marrowkit::test {
namespace {

constexpr int kTitleBarPixels = 26;
constexpr int kMarginPixels = 12;

int Depth(const QWidget* window) {
    int depth = window->windowType() == Qt::Popup ? 100 : window->isModal() ? 1 : 0;
    while ((window = window->parentWidget()) != nullptr) ++depth;
    return depth;
}

/// Back to front.
QList<QWidget*> OpenWindows() {
    QList<QWidget*> windows;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->isVisible()) windows.push_back(window);
    }
    std::stable_sort(windows.begin(), windows.end(),
                     [](const QWidget* a, const QWidget* b) { return Depth(a) < Depth(b); });
    return windows;
}

QRect FrameOf(const QWidget& window) {
    const QRect inner = window.geometry();
    return window.windowType() == Qt::Popup ? inner : inner.adjusted(-1, -kTitleBarPixels, 1, 1);
}

void DrawFrame(QPainter& painter, const QWidget& window) {
    const QRect frame = FrameOf(window);
    painter.setPen(QColor(0x8a, 0x8f, 0x98));
    painter.setBrush(QColor(0xdd, 0xe1, 0xe7));
    painter.drawRect(frame.adjusted(0, 0, -1, -1));
    QFont font = QApplication::font();
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(QColor(0x2b, 0x2f, 0x36));
    const QRect bar(frame.left() + 8, frame.top(), frame.width() - 16, kTitleBarPixels);
    painter.drawText(bar, Qt::AlignCenter,
                     QFontMetrics(font).elidedText(window.windowTitle(), Qt::ElideRight, bar.width()));
}

}  // namespace

QImage PictureOfOpenWindows(const QWidget& window) {
    const QList<QWidget*> windows = OpenWindows();
    QRect all;
    for (const QWidget* open : windows) all = all.united(FrameOf(*open));
    all.adjust(-kMarginPixels, -kMarginPixels, kMarginPixels, kMarginPixels);
    const qreal ratio = window.devicePixelRatioF();
    QImage picture(all.size() * ratio, QImage::Format_RGB32);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    painter.translate(-all.topLeft());
    for (QWidget* open : windows) {
        if (open->windowType() != Qt::Popup) DrawFrame(painter, *open);
        painter.drawPixmap(open->geometry().topLeft(), open->grab());
    }
    return picture;
}

}  // namespace marrowkit::test
