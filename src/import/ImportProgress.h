#pragma once

#include <cstdint>
#include <string>

namespace marrowkit {

/// What the stages of an import show while they work, and how they learn that they are to stop. The progress
/// window, the command line and the tests each have their own. Every call is cheap enough to be made after
/// each line, entry or file: an implementation repaints at its own pace.
class ImportProgress {
public:
    virtual ~ImportProgress() = default;

    /// The current stage.
    virtual void SetPrompt(const std::string& text) = 0;
    /// A running count, or empty.
    virtual void SetStatus(const std::string& text) = 0;
    virtual void SetBarRange(std::int32_t minimum, std::int32_t maximum) = 0;
    virtual void SetBarValue(std::int32_t value) = 0;

    /// False once the import can no longer be cancelled.
    virtual void SetCancelEnabled(bool enabled) = 0;
    virtual bool Cancelled() const = 0;

    virtual void LetEventsRun() = 0;
};

}  // namespace marrowkit
