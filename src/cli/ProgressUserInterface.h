#pragma once

#include <string>

#include "cli/TerminalProgress.h"
#include "global/UserInterface.h"

namespace marrowkit::cli {

/// Another user interface, whose messages do not run into a progress line that is being drawn. A message with
/// the words of the one before, in a second box with another title, is printed once: a terminal shows no
/// titles.
class ProgressUserInterface : public UserInterface {
public:
    ProgressUserInterface(UserInterface& ui, TerminalProgress& progress) : ui_(ui), progress_(progress) {}

    MessageAnswer ShowMessage(const std::string& text, MessageIcon icon, const std::string& title,
                              MessageButtons buttons = MessageButtons::Ok,
                              bool noIsDefault = false) override {
        progress_.Clear();
        if (buttons == MessageButtons::Ok && text == lastNotice_) return MessageAnswer::Ok;
        lastNotice_ = buttons == MessageButtons::Ok ? text : "";
        return ui_.ShowMessage(text, icon, title, buttons, noIsDefault);
    }
    std::string StatusText() const override { return ui_.StatusText(); }
    void SetStatusText(const std::string& text) override { ui_.SetStatusText(text); }
    void BeginBusy(const std::string& waitMessage) override { ui_.BeginBusy(waitMessage); }
    void EndBusy() override { ui_.EndBusy(); }
    void SetHourglass(bool on) override { ui_.SetHourglass(on); }
    void LetEventsRun() override { ui_.LetEventsRun(); }
    void RefreshLibraryTree() override { ui_.RefreshLibraryTree(); }

private:
    UserInterface& ui_;
    TerminalProgress& progress_;
    std::string lastNotice_;
};

}  // namespace marrowkit::cli
