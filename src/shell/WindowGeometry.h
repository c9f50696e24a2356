#pragma once

namespace marrowkit {

/// A window's size (without the frame that the desktop gives it) and the place of its frame, in twips, as the
/// registry keeps them.
struct WindowGeometry {
    float width = 0;
    float height = 0;
    float top = 0;
    float left = 0;
};

/// A saved width or height below this was never a window's: the size of the first run is used instead.
inline constexpr float kMinSavedTwips = 500;
inline constexpr float kFirstRunWidthTwips = 4770;
inline constexpr float kFirstRunHeightTwips = 4230;

/// Where the main window opens. Values that were never saved are 0: then it opens at the screen's top left
/// corner, with the size of the first run. A place outside of the screen is centred, by the window's design
/// size and not by the saved one.
WindowGeometry StartGeometry(const WindowGeometry& saved, float screenWidth, float screenHeight,
                             float designWidth = kFirstRunWidthTwips,
                             float designHeight = kFirstRunHeightTwips);

/// What the last run left in the registry. Values that were never saved are 0.
WindowGeometry ReadSavedGeometry();
void WriteSavedGeometry(const WindowGeometry& geometry);

}  // namespace marrowkit
