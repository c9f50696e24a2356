#include <csignal>
#include <cstdlib>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"
#include "platform/process/StandardStreams.h"
#include "platform/process/StopRequest.h"
#include "platform/process/StopSignals.h"
#include "support/HeardSignals.h"

namespace marrowkit {
namespace {

class StopSignalsTest : public testing::Test {
protected:
    ~StopSignalsTest() override {
        StopSignals::WakeBy(-1);
        WithdrawStopRequest();
    }

    const test::HeardSignals heard_;
};

TEST_F(StopSignalsTest, NothingIsRaisedUnlessAsked) {
    EXPECT_NO_THROW(LeaveIfStopRequested());
    RequestStop();
    try {
        LeaveIfStopRequested();
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 18);
        EXPECT_EQ(error.description, "User interrupt occurred");
    }
}

TEST_F(StopSignalsTest, SignalsBecomeARequest) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        WithdrawStopRequest();
        const StopSignals signals;
        std::raise(signal);
        EXPECT_TRUE(IsStopRequested());
        EXPECT_EQ(StopSignals::Received(), signal);
    }
}

TEST_F(StopSignalsTest, FailingOutputDoesNotEndTheProgram) {
    const StopSignals signals;
    std::raise(SIGPIPE);
    std::raise(SIGXFSZ);
    EXPECT_FALSE(IsStopRequested());
}

TEST_F(StopSignalsTest, SignalsThatWereIgnoredStayIgnored) {
    std::signal(SIGHUP, SIG_IGN);
    {
        const StopSignals signals;
        std::raise(SIGHUP);
        EXPECT_FALSE(IsStopRequested());
    }
    EXPECT_EQ(std::signal(SIGHUP, SIG_DFL), SIG_IGN);
}

TEST_F(StopSignalsTest, WakesAWaiter) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const StopSignals signals;
    StopSignals::WakeBy(ends[1]);
    std::raise(SIGTERM);
    char byte = 1;
    EXPECT_EQ(read(ends[0], &byte, 1), 1);
    close(ends[0]);
    close(ends[1]);
}

TEST_F(StopSignalsTest, EndsAtOnceWithoutWorkUnderWay) {
    EXPECT_EXIT(std::raise(SIGTERM), testing::KilledBySignal(SIGTERM), "");
    EXPECT_EXIT(
        {
            const StopSignals signals;
            const StopSignals::Idle idle;
            std::raise(SIGTERM);
            std::exit(0);
        },
        testing::KilledBySignal(SIGTERM), "");
}

TEST_F(StopSignalsTest, EndsByTheSignalThatWasTaken) {
    EXPECT_EXIT(
        {
            const StopSignals signals;
            std::raise(SIGHUP);
            StopSignals::EndBy(StopSignals::Received());
        },
        testing::KilledBySignal(SIGHUP), "");
}

TEST(StandardStreams, ClosedOnesAreTakenAndUseless) {
    EXPECT_EXIT(
        {
            close(0);
            close(1);
            OccupyStandardStreams();
            char byte = 0;
            const bool useless = read(0, &byte, 1) < 0 && write(1, &byte, 1) < 0;
            std::exit(useless && dup(2) > 2 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(StandardStreams, OpenOnesStay) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    EXPECT_EXIT(
        {
            dup2(ends[1], 1);
            OccupyStandardStreams();
            std::exit(write(1, "x", 1) == 1 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    close(ends[0]);
    close(ends[1]);
}

}  // namespace
}  // namespace marrowkit
