#pragma once

#include <deque>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "global/UserInterface.h"

namespace marrowkit::test {

/// The person in front of a test: remembers what is shown, and answers questions with what the test has put
/// into `answers` beforehand. A question nobody prepared fails the test and gets Cancel.
class RecordingUserInterface : public UserInterface {
public:
    struct Message {
        std::string text;
        MessageIcon icon = MessageIcon::None;
        std::string title;
        MessageButtons buttons = MessageButtons::Ok;
        bool noIsDefault = false;
        bool operator==(const Message&) const = default;
    };

    std::deque<MessageAnswer> answers;

    std::vector<Message> messages;
    std::vector<std::string> statusTexts;   ///< each one that was set, in order
    std::vector<std::string> waitMessages;  ///< of each busy display
    int busyDepth = 0;                      ///< 0 once every busy display has ended
    bool hourglass = false;
    int hourglassCount = 0;  ///< how often it was switched on
    int eventRuns = 0;
    int treeRefreshes = 0;

    MessageAnswer ShowMessage(const std::string& text, MessageIcon icon, const std::string& title,
                              MessageButtons buttons = MessageButtons::Ok,
                              bool noIsDefault = false) override {
        messages.push_back({text, icon, title, buttons, noIsDefault});
        if (buttons == MessageButtons::Ok) return MessageAnswer::Ok;
        if (answers.empty()) {
            ADD_FAILURE() << "unexpected question: " << text;
            return MessageAnswer::Cancel;
        }
        const MessageAnswer answer = answers.front();
        answers.pop_front();
        return answer;
    }

    std::string StatusText() const override { return statusTexts.empty() ? "" : statusTexts.back(); }
    void SetStatusText(const std::string& text) override { statusTexts.push_back(text); }
    void BeginBusy(const std::string& waitMessage) override {
        waitMessages.push_back(waitMessage);
        ++busyDepth;
    }
    void EndBusy() override {
        EXPECT_GT(busyDepth, 0) << "a busy display ended that had not begun";
        --busyDepth;
    }
    void SetHourglass(bool on) override {
        hourglassCount += on ? 1 : 0;
        hourglass = on;
    }
    void LetEventsRun() override { ++eventRuns; }
    void RefreshLibraryTree() override { ++treeRefreshes; }
};

}  // namespace marrowkit::test
