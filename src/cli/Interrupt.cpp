#include "cli/Interrupt.h"

#include <csignal>

namespace marrowkit::cli {

namespace {

volatile std::sig_atomic_t pressed = 0;

extern "C" void RememberInterrupt(int) {
    pressed = 1;
}

}  // namespace

InterruptWatch::InterruptWatch() {
    pressed = 0;
    before_ = std::signal(SIGINT, RememberInterrupt);
}

InterruptWatch::~InterruptWatch() {
    std::signal(SIGINT, before_ == SIG_ERR ? SIG_DFL : before_);
}

bool InterruptWatch::Pressed() const {
    return pressed != 0;
}

}  // namespace marrowkit::cli
