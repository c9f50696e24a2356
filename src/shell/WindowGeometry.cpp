#include "shell/WindowGeometry.h"

#include <algorithm>

namespace marrowkit {

WindowGeometry StartGeometry(const WindowGeometry& saved, float screenWidth, float screenHeight,
                             float designWidth, float designHeight) {
    WindowGeometry start = saved;
    start.width = saved.width >= kMinSavedTwips ? std::min(saved.width, screenWidth) : kFirstRunWidthTwips;
    start.height =
        saved.height >= kMinSavedTwips ? std::min(saved.height, screenHeight) : kFirstRunHeightTwips;
    if (saved.left > screenWidth || saved.left < 0 || saved.top > screenHeight || saved.top < 0) {
        start.top = screenHeight / 2 - designHeight / 2;
        start.left = screenWidth / 2 - designWidth / 2;
    }
    return start;
}

}  // namespace marrowkit
