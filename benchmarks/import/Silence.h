#pragma once

#include <cstdio>
#include <string>

#include "global/UserInterface.h"
#include "import/ImportProgress.h"

namespace marrowkit::benchmark {

/// Nobody to talk to: what an import has to say goes to the error output.
class SilentInterface : public UserInterface {
public:
    MessageAnswer ShowMessage(const std::string& text, MessageIcon, const std::string&, MessageButtons,
                              bool) override {
        std::fprintf(stderr, "%s\n", text.c_str());
        return MessageAnswer::Ok;
    }
    std::string StatusText() const override { return {}; }
    void SetStatusText(const std::string&) override {}
    void BeginBusy(const std::string&) override {}
    void EndBusy() override {}
    void SetHourglass(bool) override {}
    void LetEventsRun() override {}
    void RefreshLibraryTree() override {}
};

/// Shows nothing and lets nothing run.
class NoProgress : public ImportProgress {
public:
    void SetPrompt(const std::string&) override {}
    void SetStatus(const std::string&) override {}
    void SetBarRange(std::int32_t, std::int32_t) override {}
    void SetBarValue(std::int32_t) override {}
    void SetCancelEnabled(bool) override {}
    bool Cancelled() const override { return false; }
    void LetEventsRun() override {}
};

}  // namespace marrowkit::benchmark
