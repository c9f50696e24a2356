#include <atomic>
#include <windows.h>

#include "cli/Interrupt.h"

namespace marrowkit::cli {

namespace {

std::atomic<bool> pressed{false};

/// Runs in a thread that the system makes for it. The handler that came last is asked first, and keeps Ctrl-C
/// from those before.
BOOL WINAPI RememberInterrupt(DWORD event) {
    if (event != CTRL_C_EVENT) return FALSE;
    pressed = true;
    return TRUE;
}

}  // namespace

InterruptWatch::InterruptWatch() {
    pressed = false;
    SetConsoleCtrlHandler(RememberInterrupt, TRUE);
}

InterruptWatch::~InterruptWatch() {
    SetConsoleCtrlHandler(RememberInterrupt, FALSE);
}

// A member by its meaning: there is an answer only while a watch lives.
bool InterruptWatch::Pressed() const {  // NOLINT(readability-convert-member-functions-to-static)
    return pressed;
}

}  // namespace marrowkit::cli
