#pragma once

#include <QApplication>
#include <utility>

#include "platform/errors/RuntimeError.h"
#include "platform/process/StopRequest.h"

namespace marrowkit {

/// Something that holds a database open for longer than one handler runs. It is closed before a fatal error
/// ends the process.
class HoldsDatabase {
public:
    HoldsDatabase();
    HoldsDatabase(const HoldsDatabase&) = delete;
    HoldsDatabase& operator=(const HoldsDatabase&) = delete;
    virtual ~HoldsDatabase();
    virtual void CloseDatabase() noexcept = 0;
};

/// The end of every error that nobody traps: closes what HoldsDatabase holds, shows number and description
/// the way the runtime does ("Run-time error 'N':" above) and ends the process with exit code 1.
[[noreturn]] void ReportFatalError(const RuntimeError& error);

/// Runs an event handler; an error that leaves it is fatal, unless it is the answer to the wish to end the
/// program. No exception may travel through Qt.
template <typename F>
void RunHandler(F&& handler) {
    try {
        std::forward<F>(handler)();
    } catch (const RuntimeError& error) {
        if (!IsStopRequested()) ReportFatalError(error);
    } catch (const std::bad_alloc&) {
        ReportFatalError(RuntimeError(static_cast<int>(RuntimeErrorNumber::OutOfMemory), "Out of memory"));
    } catch (const std::exception& error) {
        ReportFatalError(RuntimeError(static_cast<int>(RuntimeErrorNumber::InternalError), error.what()));
    }
}

/// Wraps a handler for a signal: connect(button, &QPushButton::clicked, this, Guarded([this] { ... }));
template <typename F>
auto Guarded(F handler) {
    return [handler = std::move(handler)]() mutable { RunHandler(handler); };
}

}  // namespace marrowkit
