#pragma once

#include <QSize>
#include <QWidget>

namespace marrowkit {

/// Window sizes and positions are told in twips, 1/1440 inch. A screen of 96 dots per inch has 15 twips to a
/// pixel; Qt's pixels are logical ones, so scaling factors are out of the picture.
double TwipsPerPixel(const QWidget* window = nullptr);
int TwipsToPixels(double twips, const QWidget* window = nullptr);
double PixelsToTwips(int pixels, const QWidget* window = nullptr);

/// Gives a window an inner area of this many twips, whatever its border adds outside. Where the font or the
/// platform's style needs more room than that, the window gets what its layout needs.
void SetInnerSize(QWidget& window, double widthTwips, double heightTwips);

}  // namespace marrowkit
