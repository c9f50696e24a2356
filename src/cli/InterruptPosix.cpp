#include <csignal>

#include "cli/Interrupt.h"

namespace marrowkit::cli {

namespace {

volatile std::sig_atomic_t pressed = 0;
void (*before)(int) = SIG_DFL;

extern "C" void RememberInterrupt(int) {
    pressed = 1;
}

}  // namespace

InterruptWatch::InterruptWatch() {
    pressed = 0;
    before = std::signal(SIGINT, RememberInterrupt);
    // A program that was started to ignore it goes on doing so.
    if (before == SIG_IGN) std::signal(SIGINT, SIG_IGN);
}

InterruptWatch::~InterruptWatch() {
    std::signal(SIGINT, before == SIG_ERR ? SIG_DFL : before);
}

bool InterruptWatch::Pressed() const {
    return pressed != 0;
}

}  // namespace marrowkit::cli
