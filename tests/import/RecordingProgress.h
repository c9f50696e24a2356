#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "import/ImportProgress.h"

namespace marrowkit::test {

/// Remembers what the stages of an import show, and presses Cancel at the n-th time that events may run.
class RecordingProgress : public ImportProgress {
public:
    void SetPrompt(const std::string& text) override { prompts.push_back(text); }
    void SetStatus(const std::string& text) override { statuses.push_back(text); }
    void SetBarRange(std::int32_t minimum, std::int32_t maximum) override {
        ranges.push_back({minimum, maximum});
    }
    void SetBarValue(std::int32_t value) override { values.push_back(value); }
    void SetCancelEnabled(bool enabled) override { cancelEnabled = enabled; }
    bool Cancelled() const override { return cancelled; }
    void LetEventsRun() override {
        if (++eventRuns == cancelAtEventRun && cancelEnabled) cancelled = true;
    }

    std::vector<std::string> prompts;
    std::vector<std::string> statuses;
    std::vector<std::pair<std::int32_t, std::int32_t>> ranges;
    std::vector<std::int32_t> values;
    bool cancelEnabled = true;
    bool cancelled = false;
    int eventRuns = 0;
    int cancelAtEventRun = 0;  ///< 0: never
};

}  // namespace marrowkit::test
