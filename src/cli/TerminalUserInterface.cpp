#include "cli/TerminalUserInterface.h"

#include <istream>
#include <ostream>

#include "platform/process/StopRequest.h"
#include "platform/process/StopSignals.h"

namespace marrowkit::cli {

namespace {

/// The first letter of an answer decides; an empty line is the default button.
MessageAnswer AnswerOf(const std::string& line, MessageAnswer byDefault, MessageAnswer otherwise) {
    const std::size_t at = line.find_first_not_of(" \t");
    if (at == std::string::npos || line[at] == '\r') return byDefault;
    switch (line[at]) {
        case 'y':
        case 'Y':
            return MessageAnswer::Yes;
        case 'n':
        case 'N':
            return MessageAnswer::No;
        default:
            return otherwise;
    }
}

}  // namespace

void TerminalUserInterface::ShowHeldBack() {
    for (const std::string& text : heldBack_) Print(text);
    heldBack_.clear();
}

MessageAnswer TerminalUserInterface::ShowMessage(const std::string& text, MessageIcon icon,
                                                 const std::string&, MessageButtons buttons,
                                                 bool noIsDefault) {
    if (buttons == MessageButtons::Ok) {
        if (quiet_ && icon == MessageIcon::Information) {
            heldBack_.push_back(text);
        } else {
            Print(text);
        }
        return MessageAnswer::Ok;
    }
    if (answerYes_) {
        if (!quiet_) Print(text);
        return MessageAnswer::Yes;
    }
    const bool canCancel = buttons == MessageButtons::YesNoCancel;
    const MessageAnswer unanswered = canCancel ? MessageAnswer::Cancel : MessageAnswer::No;
    Print(text);
    err_ << (noIsDefault ? "[y/N" : "[Y/n") << (canCancel ? "/c] " : "] ") << std::flush;
    std::string line;
    if (!ReadAnswer(line)) {
        err_ << '\n';
        return unanswered;
    }
    return AnswerOf(line, noIsDefault ? MessageAnswer::No : MessageAnswer::Yes, unanswered);
}

bool TerminalUserInterface::ReadAnswer(std::string& line) {
    const StopSignals::Idle idle;
    return !IsStopRequested() && std::getline(in_, line);
}

void TerminalUserInterface::BeginBusy(const std::string& waitMessage) {
    if (!quiet_) Print(waitMessage);
}

void TerminalUserInterface::Print(const std::string& text) {
    std::string lines = text;
    std::erase(lines, '\r');
    err_ << lines << '\n' << std::flush;
}

}  // namespace marrowkit::cli
