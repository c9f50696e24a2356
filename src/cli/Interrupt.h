#pragma once

namespace marrowkit::cli {

/// While it lives, Ctrl-C does not end the program but is remembered, so that work which can be cancelled
/// stops at its next unit. Not more than one at a time.
class InterruptWatch {
public:
    InterruptWatch();
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;
    ~InterruptWatch();

    /// Whether Ctrl-C was pressed since.
    bool Pressed() const;
};

}  // namespace marrowkit::cli
