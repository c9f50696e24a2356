#pragma once

#include <QWidget>
#include <string>

#include "global/UserInterface.h"

namespace marrowkit {

/// The one door through which every message box is shown. Lines of `text` end in CR LF.
/// While the program is being ended from outside nothing is shown, and questions are answered with No.
MessageAnswer ShowMessageBox(QWidget* owner, const std::string& text, MessageIcon icon,
                             const std::string& title, MessageButtons buttons = MessageButtons::Ok,
                             bool noIsDefault = false);

/// Whether a display frame has passed since events ran last: whoever shows fast-changing texts sets them only
/// then.
bool FrameIsDue();

/// Lets pending window events run, at most once per display frame, so that it may be called after every unit
/// of work.
void PumpEvents();

/// Lets them run now, however short ago the last time was: for a pointer or a text that must be seen before
/// long work.
void PumpEventsNow();

/// Shows the hourglass pointer, or the normal one. Not counted: one call to switch back is enough.
void ShowHourglass(bool on);

}  // namespace marrowkit
