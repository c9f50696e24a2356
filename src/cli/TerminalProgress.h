#pragma once

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "cli/Interrupt.h"
#include "import/ImportProgress.h"

namespace marrowkit::cli {

/// Shows an import's progress on standard error: on a terminal as one line that is drawn over and over, with
/// a bar, count, rate and time left; elsewhere, and on a terminal that is dumb, as a line for each stage.
/// Ctrl-C cancels, as long as the import can be cancelled; later it is answered that it cannot.
class TerminalProgress : public ImportProgress {
public:
    enum class Style { Silent, Lines, Bar };

    TerminalProgress(std::ostream& err, Style style) : err_(err), style_(style) {}
    /// Ends a line that is still being drawn.
    ~TerminalProgress() override;

    /// What suits a run: nothing with --quiet, a bar when standard error is a terminal.
    static Style StyleFor(const std::ostream& err, bool quiet);

    void SetPrompt(const std::string& text) override;
    void SetStatus(const std::string& text) override { status_ = text; }
    void SetBarRange(std::int32_t minimum, std::int32_t maximum) override;
    void SetBarValue(std::int32_t value) override { value_ = value; }
    void SetCancelEnabled(bool enabled) override { cancelEnabled_ = enabled; }
    bool Cancelled() const override { return cancelled_; }
    void LetEventsRun() override;

    /// Clears the drawn line, so that a message can be printed in its place.
    void Clear();

    /// A stage by its prompt and how long it took, or has taken so far.
    struct Stage {
        std::string prompt;
        double seconds = 0;
    };
    std::vector<Stage> Stages() const;

private:
    using Clock = std::chrono::steady_clock;

    std::string Pace() const;
    std::string Line() const;
    void Draw();
    void RefuseToCancel();

    std::ostream& err_;
    Style style_;
    InterruptWatch interrupt_;
    std::string prompt_;
    std::string status_;
    std::int32_t minimum_ = 0;
    std::int32_t maximum_ = 0;
    std::int32_t value_ = 0;
    bool cancelEnabled_ = true;
    bool cancelled_ = false;
    bool refused_ = false;  ///< Ctrl-C came too late, and that was told
    std::size_t drawnCharacters_ = 0;
    std::uint32_t eventRuns_ = 0;
    Clock::time_point lastDrawn_;
    std::vector<std::string> prompts_;
    std::vector<Clock::time_point> starts_;  ///< of each stage
};

}  // namespace marrowkit::cli
