#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <unistd.h>

#include "platform/process/StopRequest.h"
#include "platform/process/StopSignals.h"

namespace marrowkit {

namespace {

constexpr std::array kStopping = {SIGTERM, SIGINT, SIGHUP};
constexpr std::array kIgnored = {SIGPIPE, SIGXFSZ};

using Handler = void (*)(int);
/// Who had the signals before, in the order of the two lists.
std::array<Handler, kStopping.size() + kIgnored.size()> before{};

volatile std::sig_atomic_t received = 0;
volatile std::sig_atomic_t idle = 0;
volatile std::sig_atomic_t wakeDescriptor = -1;

extern "C" void TakeSignal(int signal) {
    received = signal;
    if (idle != 0) {
        std::signal(signal, SIG_DFL);
        std::raise(signal);
        return;
    }
    RequestStop();
    if (wakeDescriptor < 0) return;
    const int code = errno;
    static_cast<void>(!write(static_cast<int>(wakeDescriptor), "", 1));
    errno = code;
}

}  // namespace

StopSignals::StopSignals() {
    std::size_t next = 0;
    for (const int signal : kStopping) before.at(next++) = std::signal(signal, TakeSignal);
    for (const int signal : kIgnored) before.at(next++) = std::signal(signal, SIG_IGN);
    // A program that was started to ignore one of them (nohup) goes on doing so.
    next = 0;
    for (const int signal : kStopping) {
        if (before.at(next++) == SIG_IGN) std::signal(signal, SIG_IGN);
    }
}

StopSignals::~StopSignals() {
    std::size_t next = 0;
    const auto putBack = [&](int signal) {
        const Handler previous = before.at(next++);
        std::signal(signal, previous == SIG_ERR ? SIG_DFL : previous);
    };
    for (const int signal : kStopping) putBack(signal);
    for (const int signal : kIgnored) putBack(signal);
}

int StopSignals::Received() {
    return static_cast<int>(received);
}

void StopSignals::WakeBy(int descriptor) {
    wakeDescriptor = descriptor;
}

void StopSignals::EndBy(int signal) {
    std::signal(signal, SIG_DFL);
    std::raise(signal);
    std::_Exit(128 + signal);  // the signal is blocked: the shell's number for it
}

StopSignals::Idle::Idle() {
    idle = 1;
}

StopSignals::Idle::~Idle() {
    idle = 0;
}

}  // namespace marrowkit
