#pragma once

#include <QImage>
#include <QWidget>

namespace marrowkit::test {

/// All open windows of the program as they lie over each other, with plain frames in the place of those that
/// a window manager draws, and a margin of white. In device pixels of `window`.
QImage PictureOfOpenWindows(const QWidget& window);

}  // namespace marrowkit::test
