#include <sstream>

#include <gtest/gtest.h>

#include "cli/TerminalUserInterface.h"

namespace marrowkit::cli {
namespace {

class Terminal : public testing::Test {
protected:
    MessageAnswer Ask(const std::string& typed, MessageButtons buttons, bool noIsDefault) {
        in_.str(typed);
        in_.clear();
        return ui_.ShowMessage("Sure?", MessageIcon::Question, "Marrowkit", buttons, noIsDefault);
    }
    std::istringstream in_;
    std::ostringstream err_;
    TerminalUserInterface ui_{in_, err_};
};

TEST_F(Terminal, PrintsMessagesLineByLine) {
    ui_.ShowMessage("One.\r\n\r\nTwo.", MessageIcon::Information, "Marrow-Kit");
    EXPECT_EQ(err_.str(), "One.\n\nTwo.\n");
}

TEST_F(Terminal, ReadsAnswers) {
    constexpr auto kYesNoCancel = MessageButtons::YesNoCancel;
    EXPECT_EQ(Ask("y\n", kYesNoCancel, true), MessageAnswer::Yes);
    EXPECT_EQ(Ask("YES\n", kYesNoCancel, true), MessageAnswer::Yes);
    EXPECT_EQ(Ask("no\n", kYesNoCancel, true), MessageAnswer::No);
    EXPECT_EQ(Ask("c\n", kYesNoCancel, true), MessageAnswer::Cancel);
    EXPECT_EQ(Ask("what?\n", kYesNoCancel, true), MessageAnswer::Cancel);
    EXPECT_EQ(Ask("what?\n", MessageButtons::YesNo, false), MessageAnswer::No);
}

TEST_F(Terminal, TakesTheDefaultForAnEmptyLine) {
    EXPECT_EQ(Ask("\n", MessageButtons::YesNoCancel, true), MessageAnswer::No);
    EXPECT_EQ(Ask("\n", MessageButtons::YesNo, false), MessageAnswer::Yes);
}

TEST_F(Terminal, DestroysNothingWithoutAnAnswer) {
    EXPECT_EQ(Ask("", MessageButtons::YesNoCancel, true), MessageAnswer::Cancel);
    EXPECT_EQ(Ask("", MessageButtons::YesNo, false), MessageAnswer::No);
}

TEST_F(Terminal, AnswersYesByItselfWhenToldSo) {
    ui_.SetAnswerYes(true);
    EXPECT_EQ(Ask("n\n", MessageButtons::YesNoCancel, true), MessageAnswer::Yes);
    EXPECT_EQ(err_.str(), "Sure?\n");
}

TEST_F(Terminal, HoldsNoticesBackWhenQuietAndShowsThemForAFailure) {
    ui_.SetQuiet(true);
    ui_.BeginBusy("Working...");
    ui_.ShowMessage("Done.", MessageIcon::Information, "Marrowkit");
    EXPECT_EQ(err_.str(), "");
    ui_.ShowMessage("Careful!", MessageIcon::Exclamation, "Marrowkit");
    EXPECT_EQ(err_.str(), "Careful!\n");
    ui_.ShowHeldBack();
    EXPECT_EQ(err_.str(), "Careful!\nDone.\n");
}

}  // namespace
}  // namespace marrowkit::cli
