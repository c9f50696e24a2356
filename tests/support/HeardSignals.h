#pragma once

#include <array>
#include <csignal>
#include <cstddef>

namespace marrowkit::test {

/// While it lives, the signals that stop a program have their usual effect, though whoever started the tests
/// had them ignored: a shell does so for what runs in its background, nohup does.
class HeardSignals {
public:
    HeardSignals() {
        for (std::size_t i = 0; i < kSignals.size(); ++i) before_[i] = std::signal(kSignals[i], SIG_DFL);
    }
    HeardSignals(const HeardSignals&) = delete;
    HeardSignals& operator=(const HeardSignals&) = delete;
    ~HeardSignals() {
        for (std::size_t i = 0; i < kSignals.size(); ++i) std::signal(kSignals[i], before_[i]);
    }

private:
#ifdef SIGHUP
    static constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};
#else
    static constexpr std::array kSignals{SIGINT, SIGTERM};
#endif

    std::array<void (*)(int), kSignals.size()> before_{};
};

}  // namespace marrowkit::test
