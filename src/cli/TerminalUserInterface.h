#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "global/UserInterface.h"

namespace marrowkit::cli {

/// The person in front is at a terminal, or a script is. Messages go to standard error, line by line as the
/// message box shows them; questions are read from standard input.
class TerminalUserInterface : public UserInterface {
public:
    TerminalUserInterface(std::istream& in, std::ostream& err) : in_(in), err_(err) {}

    /// Questions are answered with Yes without being asked.
    void SetAnswerYes(bool yes) { answerYes_ = yes; }
    /// Notices are held back until it is known whether the command failed. Warnings, errors and questions are
    /// always shown.
    void SetQuiet(bool quiet) { quiet_ = quiet; }
    /// At the end of a command: a notice that explains a failure must not be lost.
    void ShowHeldBack();

    /// A question that standard input does not answer counts as Cancel (No, when there is no Cancel): nothing
    /// is destroyed without a clear answer.
    MessageAnswer ShowMessage(const std::string& text, MessageIcon icon, const std::string& title,
                              MessageButtons buttons = MessageButtons::Ok, bool noIsDefault = false) override;

    std::string StatusText() const override { return status_; }
    void SetStatusText(const std::string& text) override { status_ = text; }
    void BeginBusy(const std::string& waitMessage) override;
    void EndBusy() override {}
    void SetHourglass(bool) override {}
    void LetEventsRun() override {}
    void RefreshLibraryTree() override {}

private:
    bool ReadAnswer(std::string& line);
    void Print(const std::string& text);

    std::istream& in_;
    std::ostream& err_;
    bool answerYes_ = false;
    bool quiet_ = false;
    std::string status_;
    std::vector<std::string> heldBack_;
};

}  // namespace marrowkit::cli
