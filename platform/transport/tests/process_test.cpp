/// Between processes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "support/child_process.h"
#include "support/context_fixture.h"

using namespace testing;

namespace {

/// For tests that wait for a lease to run out; busy machines may hold a process up for a good part of it.
constexpr int short_lease_ms = 5'000;
/// For all others: no stall may look like a death.
constexpr int long_lease_ms = 60'000;

test::ContextHandle make_listening_context(int lease_ms)
{
    return test::make_context({{"lease_ms", std::to_string(lease_ms)}});
}

std::size_t losses(const test::Recorder& recorder)
{
    return recorder.count(LBM_MSG_UNRECOVERABLE_LOSS) + recorder.count(LBM_MSG_UNRECOVERABLE_LOSS_BURST);
}

/// Lets the peer send until something of it arrives.
void connect(test::ChildProcess& peer, const std::string& topic, const test::Recorder& recorder)
{
    ASSERT_TRUE(recorder.wait([&] {
        peer.tell("send " + topic + " 1");
        return recorder.count(LBM_MSG_DATA, topic) > 0;
    }));
}

TEST(Processes, GivenAnotherProcess_WhenItSends_ThenItsDataArrivesInOrderWithoutLoss)
{
    const auto ctx = make_listening_context(long_lease_ms);
    test::Recorder recorder;
    const auto receiver = test::make_receiver(ctx, "PROC.A", recorder);
    const auto peer = test::start_peer(long_lease_ms);
    peer->tell("source PROC.A");
    connect(*peer, "PROC.A", recorder);
    const std::size_t before = std::stoul(recorder.payloads().front());
    peer->tell("send PROC.A 20000");
    peer->tell("close PROC.A");
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_EOS));
    std::size_t expected = before;
    for (const std::string& payload : recorder.payloads()) {
        ASSERT_EQ(payload, std::to_string(expected++));
    }
    EXPECT_GE(expected, before + 20'000);
    EXPECT_EQ(losses(recorder), 0U);
}

TEST(Processes, GivenAnotherProcess_WhenItDeletesItsContext_ThenItsSourcesEndOnceWithAllTheirData)
{
    const auto ctx = make_listening_context(long_lease_ms);
    test::Recorder recorder;
    const auto receiver = test::make_wildcard(ctx, "PROC\\..*", recorder);
    const auto peer = test::start_peer(long_lease_ms);
    peer->tell("source PROC.A");
    peer->tell("source PROC.B");
    connect(*peer, "PROC.A", recorder);
    connect(*peer, "PROC.B", recorder);
    peer->tell("send PROC.A 5000");
    peer->tell("delete");
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_EOS, 2));
    EXPECT_GE(recorder.count(LBM_MSG_DATA, "PROC.A"), 5'000U);
    EXPECT_EQ(recorder.count(LBM_MSG_BOS), 2U);
    EXPECT_EQ(recorder.count(LBM_MSG_EOS), 2U);
    EXPECT_EQ(losses(recorder), 0U);
}

TEST(Processes, GivenAnotherProcess_WhenItIsKilled_ThenItsSourcesEndOnce)
{
    const auto ctx = make_listening_context(short_lease_ms);
    test::Recorder recorder;
    const auto receiver = test::make_wildcard(ctx, "KILL\\..*", recorder);
    const auto peer = test::start_peer(short_lease_ms);
    for (int i = 0; i < 150; ++i) {
        peer->tell("source KILL." + std::to_string(i));
    }
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_BOS, 150));
    connect(*peer, "KILL.0", recorder);
    peer->tell("send KILL.0 1000");
    peer->signal(SIGKILL);
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_EOS, 150));
    EXPECT_EQ(recorder.count(LBM_MSG_BOS), 150U);
    EXPECT_EQ(recorder.count(LBM_MSG_EOS), 150U);
}

TEST(Processes, GivenASourceThatWasKilled_WhenItsProcessIsStartedAgain_ThenItIsANewSource)
{
    const auto ctx = make_listening_context(short_lease_ms);
    test::Recorder recorder;
    const auto receiver = test::make_receiver(ctx, "AGAIN.A", recorder);
    for (std::size_t run = 1; run <= 2; ++run) {
        const auto peer = test::start_peer(short_lease_ms);
        peer->tell("source AGAIN.A");
        ASSERT_TRUE(recorder.wait_for(LBM_MSG_BOS, run));
        peer->signal(SIGKILL);
        ASSERT_TRUE(recorder.wait_for(LBM_MSG_EOS, run));
    }
    const auto seen = recorder.seen();
    ASSERT_EQ(seen.size(), 4U);
    EXPECT_NE(seen[0].source, seen[2].source);
    EXPECT_EQ(seen[0].source, seen[1].source);
}

TEST(Processes, GivenAPeerStoppedForLongerThanItsLease_WhenItGoesOn_ThenItsSourceBeginsAgain)
{
    const auto ctx = make_listening_context(short_lease_ms);
    test::Recorder recorder;
    const auto receiver = test::make_receiver(ctx, "STOP.A", recorder);
    const auto peer = test::start_peer(short_lease_ms);
    peer->tell("source STOP.A");
    connect(*peer, "STOP.A", recorder);
    peer->signal(SIGSTOP);
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_EOS));
    peer->signal(SIGCONT);
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_BOS, 2));
    const std::size_t before = recorder.count(LBM_MSG_DATA);
    ASSERT_TRUE(recorder.wait([&] {
        peer->tell("send STOP.A 1");
        return recorder.count(LBM_MSG_DATA) > before;
    }));
    EXPECT_EQ(recorder.count(LBM_MSG_EOS), 1U);
}

TEST(Processes, GivenALongStandingSource_WhenAReceiverJoinsLater_ThenItGetsBosAndLaterData)
{
    const auto peer = test::start_peer(long_lease_ms);
    peer->tell("source LATE.A");
    peer->tell("send LATE.A 100");
    const auto ctx = make_listening_context(long_lease_ms);
    test::Recorder recorder;
    const auto receiver = test::make_wildcard(ctx, "LATE\\.A", recorder);
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_BOS));
    connect(*peer, "LATE.A", recorder);
    EXPECT_EQ(recorder.count(LBM_MSG_BOS), 1U);
    EXPECT_EQ(losses(recorder), 0U);
}

// Where contexts do not share what they ask the engine's peers for, the one that asked takes the answer with it.
TEST(Processes, GivenAProcessJustComes_WhenTheFirstOfTwoContextsIsDeleted_ThenTheOtherHearsTheProcess)
{
    for (int round = 0; round < 10; ++round) {
        auto first = make_listening_context(long_lease_ms);
        const auto second = make_listening_context(long_lease_ms);
        test::Recorder recorder;
        const auto receiver = test::make_receiver(second, "PROC.H", recorder);
        const auto peer = test::start_peer(long_lease_ms);
        peer->tell("source PROC.H");
        first.reset();
        ASSERT_NO_FATAL_FAILURE(connect(*peer, "PROC.H", recorder)) << "round " << round;
    }
}

} // namespace
