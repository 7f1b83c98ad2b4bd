#include "qxnotify/signals.h"

#include <csignal>
#include <limits>
#include <thread>

#include <gtest/gtest.h>

#include "pipe.h"

namespace qx::tool {
namespace {

TEST(StopSignals, GivenNoSignal_WhenAsked_ThenZero)
{
    StopSignals stop;
    EXPECT_EQ(stop.received(), 0);
}

TEST(StopSignals, GivenSigterm_WhenItComes_ThenItIsRememberedAndTheProcessLives)
{
    StopSignals stop;
    ::kill(::getpid(), SIGTERM);
    EXPECT_EQ(stop.received(), SIGTERM);
    EXPECT_EQ(stop.received(), SIGTERM);
}

TEST(StopSignals, GivenSignalThatNobodyAskedFor_WhenDestroyed_ThenTheProcessLives)
{
    StopSignals stop;
    ::kill(::getpid(), SIGINT);
}

TEST(WaitFor, GivenPastDeadline_WhenWaiting_ThenTimedOut)
{
    StopSignals stop;
    EXPECT_EQ(wait_for(-1, stop, deadline_in(0.0)), Woken::timed_out);
}

TEST(WaitFor, GivenShortDeadline_WhenWaiting_ThenItDoesNotEndBeforeIt)
{
    StopSignals stop;
    const Deadline deadline = deadline_in(0.003);
    EXPECT_EQ(wait_for(-1, stop, deadline), Woken::timed_out);
    EXPECT_GE(std::chrono::steady_clock::now(), *deadline);
}

TEST(WaitFor, GivenWakerOfAnotherThread_WhenWaitingWithoutLimit_ThenReady)
{
    StopSignals stop;
    Waker waker;
    std::jthread other([&] { waker.wake(); });
    EXPECT_EQ(wait_for(waker.fd(), stop, {}), Woken::ready);
}

TEST(WaitFor, GivenSignalAndReadyDescriptor_WhenWaiting_ThenTheSignalWins)
{
    StopSignals stop;
    Waker waker;
    waker.wake();
    ::kill(::getpid(), SIGTERM);
    EXPECT_EQ(wait_for(waker.fd(), stop, {}), Woken::stopped);
}

TEST(WaitFor, GivenEndedPipe_WhenWaiting_ThenReady)
{
    StopSignals stop;
    Pipe pipe;
    ASSERT_TRUE(pipe.is_open());
    pipe.close_writer();
    EXPECT_EQ(wait_for(pipe.reader(), stop, {}), Woken::ready);
}

TEST(Waker, GivenManyWakes_WhenWaiting_ThenStillReady)
{
    StopSignals stop;
    Waker waker;
    for (int i = 0; i < 1'000; ++i) {
        waker.wake();
    }
    EXPECT_EQ(wait_for(waker.fd(), stop, {}), Woken::ready);
}

TEST(Deadline, GivenNoLimit_WhenMade_ThenNone)
{
    EXPECT_FALSE(deadline_in({}).has_value());
}

TEST(Deadline, GivenAbsurdlyLongTime_WhenMade_ThenItLiesInTheFuture)
{
    EXPECT_GT(*deadline_in(1e300), std::chrono::steady_clock::now());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_GT(time_after(begin, std::numeric_limits<double>::infinity()), begin);
}

TEST(SignalName, GivenSignals_WhenNamed_ThenTheTwoWeTakeHaveNames)
{
    EXPECT_EQ(signal_name(SIGINT), "SIGINT");
    EXPECT_EQ(signal_name(SIGTERM), "SIGTERM");
    EXPECT_EQ(signal_name(99), "signal 99");
}

} // namespace
} // namespace qx::tool
