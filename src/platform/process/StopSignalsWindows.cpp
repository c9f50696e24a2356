#include <atomic>
#include <csignal>
#include <cstdint>
#include <windows.h>

#include "platform/process/StopRequest.h"
#include "platform/process/StopSignals.h"

namespace marrowkit {

namespace {

std::atomic<int> received{0};
std::atomic<bool> idle{false};

bool IsKey(DWORD event) {
    return event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
}

/// Runs in a thread that the system makes for it.
BOOL WINAPI TakeEvent(DWORD event) {
    received = IsKey(event) ? SIGINT : SIGTERM;
    if (idle) return FALSE;  // which ends the program
    RequestStop();
    // The console or the session closes as soon as we return, whatever the program is doing; the system
    // itself puts an end to it after some seconds.
    if (!IsKey(event)) Sleep(INFINITE);
    return TRUE;
}

}  // namespace

StopSignals::StopSignals() {
    SetConsoleCtrlHandler(TakeEvent, TRUE);
}

StopSignals::~StopSignals() {
    SetConsoleCtrlHandler(TakeEvent, FALSE);
}

int StopSignals::Received() {
    return received;
}

// Only the desktop program waits at a pipe.
void StopSignals::WakeBy(int) {}

void StopSignals::EndBy(int) {
    ExitProcess(static_cast<UINT>(STATUS_CONTROL_C_EXIT));
}

StopSignals::Idle::Idle() {
    idle = true;
}

StopSignals::Idle::~Idle() {
    idle = false;
}

}  // namespace marrowkit
