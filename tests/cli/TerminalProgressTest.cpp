#include <csignal>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/TerminalProgress.h"
#include "support/HeardSignals.h"

namespace marrowkit::cli {
namespace {

using Style = TerminalProgress::Style;

TEST(TerminalProgress, WritesALineForEachStageWhereThereIsNoTerminal) {
    std::ostringstream err;
    {
        TerminalProgress progress(err, Style::Lines);
        progress.SetPrompt("Loading...");
        for (int i = 0; i < 1000; ++i) {
            progress.SetStatus(std::to_string(i));
            progress.SetBarValue(i);
            progress.LetEventsRun();
        }
        progress.SetPrompt("Writing...");
    }
    EXPECT_EQ(err.str(), "Loading...\nWriting...\n");
}

TEST(TerminalProgress, WritesNothingWhenQuiet) {
    std::ostringstream err;
    TerminalProgress progress(err, TerminalProgress::StyleFor(err, true));
    progress.SetPrompt("Loading...");
    progress.LetEventsRun();
    EXPECT_EQ(err.str(), "");
    EXPECT_EQ(TerminalProgress::StyleFor(err, false), Style::Lines);
}

TEST(TerminalProgress, DrawsABarOverTheSameLineAndClearsIt) {
    std::ostringstream err;
    TerminalProgress progress(err, Style::Bar);
    progress.SetPrompt("Adding...");
    progress.SetBarRange(0, 100);
    progress.SetBarValue(50);
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    for (int i = 0; i < 64; ++i) progress.LetEventsRun();
    EXPECT_EQ(err.str(), "\rAdding...\rAdding... [###############...............] 50%");
    progress.Clear();
    EXPECT_THAT(err.str(), testing::EndsWith(" \r"));
    EXPECT_EQ(err.str().find('\n'), std::string::npos);
}

TEST(TerminalProgress, ShowsCountRateAndTimeLeftAfterAWhile) {
    std::ostringstream err;
    TerminalProgress progress(err, Style::Bar);
    progress.SetPrompt("Adding...");
    progress.SetBarRange(0, 999);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    progress.SetBarValue(499);
    for (int i = 0; i < 64; ++i) progress.LetEventsRun();
    EXPECT_THAT(err.str(), testing::ContainsRegex("#\\.+\\] 49% 500/1000, [0-9]+/s, 0:0[0-9] left"));
}

TEST(TerminalProgress, NeverDrawsALineThatTheTerminalWouldBreak) {
    std::ostringstream err;
    TerminalProgress progress(err, Style::Bar);
    const std::string longPrompt(75, 'x');
    progress.SetPrompt(longPrompt);
    progress.SetBarRange(0, 100);
    progress.SetBarValue(50);
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    for (int i = 0; i < 64; ++i) progress.LetEventsRun();
    EXPECT_EQ(err.str(), "\r" + longPrompt + "\r" + longPrompt + " 50%");
    progress.SetPrompt(std::string(300, 'y'));
    EXPECT_THAT(err.str(), testing::EndsWith("%\r" + std::string(79, 'y')));
}

TEST(TerminalProgress, TellsOnceThatItIsTooLateToCancel) {
    const test::HeardSignals heard;
    std::ostringstream err;
    TerminalProgress progress(err, Style::Lines);
    progress.SetPrompt("Writing...");
    progress.SetCancelEnabled(false);
    std::raise(SIGINT);
    for (int i = 0; i < 3; ++i) progress.LetEventsRun();
    EXPECT_FALSE(progress.Cancelled());
    EXPECT_EQ(err.str(), "Writing...\nThe database is being written; this cannot be cancelled any more.\n");
}

TEST(TerminalProgress, RemembersItsStages) {
    std::ostringstream err;
    TerminalProgress progress(err, Style::Silent);
    progress.SetPrompt("Loading...");
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    progress.SetPrompt("Writing...");
    const auto stages = progress.Stages();
    ASSERT_EQ(stages.size(), 2U);
    EXPECT_EQ(stages[0].prompt, "Loading...");
    EXPECT_GE(stages[0].seconds, 0.02);
    EXPECT_EQ(stages[1].prompt, "Writing...");
    EXPECT_LT(stages[1].seconds, stages[0].seconds + 1);
}

TEST(TerminalProgress, IsNotCancelledWhereInterruptsAreIgnored) {
    const auto before = std::signal(SIGINT, SIG_IGN);
    {
        std::ostringstream err;
        TerminalProgress progress(err, Style::Lines);
        std::raise(SIGINT);
        progress.LetEventsRun();
        EXPECT_FALSE(progress.Cancelled());
    }
    EXPECT_EQ(std::signal(SIGINT, before), SIG_IGN);
}

TEST(TerminalProgress, CancelsAtAnInterruptUnlessThatIsNoLongerPossible) {
    const test::HeardSignals heard;
    std::ostringstream err;
    TerminalProgress progress(err, Style::Lines);
    progress.LetEventsRun();
    EXPECT_FALSE(progress.Cancelled());
    progress.SetCancelEnabled(false);
    std::raise(SIGINT);
    progress.LetEventsRun();
    EXPECT_FALSE(progress.Cancelled());
    progress.SetCancelEnabled(true);
    progress.LetEventsRun();
    EXPECT_TRUE(progress.Cancelled());
}

}  // namespace
}  // namespace marrowkit::cli
