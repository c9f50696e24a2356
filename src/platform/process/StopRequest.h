#pragma once

#include <atomic>

namespace marrowkit {

// Somebody outside wants the program to end before its work is done. Work that takes long looks for that
// wherever it may leave without damage, and leaves with an error, so that everything on the way is undone and
// cleaned up as after any other error.

namespace detail {
inline std::atomic<bool> stopRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "signal handlers set it");
[[noreturn]] void RaiseStopped();
}  // namespace detail

/// Asks for the end. May be called by a signal handler.
inline void RequestStop() noexcept {
    detail::stopRequested.store(true, std::memory_order_relaxed);
}
inline void WithdrawStopRequest() noexcept {
    detail::stopRequested.store(false, std::memory_order_relaxed);
}
inline bool IsStopRequested() noexcept {
    return detail::stopRequested.load(std::memory_order_relaxed);
}

/// Raises 18 once the end was asked for. Costs nothing to call often.
inline void LeaveIfStopRequested() {
    if (IsStopRequested()) detail::RaiseStopped();
}

}  // namespace marrowkit
