#include "forms/Twips.h"

#include <QGuiApplication>
#include <QLayout>
#include <QScreen>
#include <cmath>

namespace marrowkit {

double TwipsPerPixel(const QWidget* window) {
    const QScreen* screen = window != nullptr ? window->screen() : QGuiApplication::primaryScreen();
    const double dpi = screen != nullptr ? screen->logicalDotsPerInch() : 96.0;
    return 1440.0 / dpi;
}

int TwipsToPixels(double twips, const QWidget* window) {
    return static_cast<int>(std::lround(twips / TwipsPerPixel(window)));
}

double PixelsToTwips(int pixels, const QWidget* window) {
    return pixels * TwipsPerPixel(window);
}

void SetInnerSize(QWidget& window, double widthTwips, double heightTwips) {
    const QSize wanted(TwipsToPixels(widthTwips, &window), TwipsToPixels(heightTwips, &window));
    const QSize needed = window.layout() != nullptr ? window.layout()->minimumSize() : QSize();
    window.resize(wanted.expandedTo(needed).expandedTo(window.minimumSize()));
}

}  // namespace marrowkit
