#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "support/context_fixture.h"
#include "support/watched_source.h"

using namespace testing;

namespace {

using test::WatchedSource;

TEST(SourceEvents, GivenAWatchedSource_WhenAReceiverComesAndGoes_ThenItIsToldOfBoth)
{
    const auto ctx = test::make_context();
    WatchedSource watched{ctx, "WATCH.A"};
    test::Recorder recorder;
    const auto other = test::make_context();
    auto receiver = test::make_receiver(other, "WATCH.A", recorder);
    EXPECT_TRUE(watched.wait_for({LBM_SRC_EVENT_CONNECT}));
    receiver.reset();
    EXPECT_TRUE(watched.wait_for({LBM_SRC_EVENT_CONNECT, LBM_SRC_EVENT_DISCONNECT}));
}

TEST(SourceEvents, GivenAReceiverThatIsThere_WhenASourceOfAKnownStreamIsMade_ThenItIsToldToo)
{
    const auto ctx = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_receiver(ctx, "WATCH.A", recorder);
    WatchedSource first{ctx, "WATCH.A"};
    EXPECT_TRUE(first.wait_for({LBM_SRC_EVENT_CONNECT}));
    WatchedSource second{ctx, "WATCH.B"};
    EXPECT_TRUE(second.wait_for({LBM_SRC_EVENT_CONNECT}));
}

TEST(SourceEvents, GivenAConnectedSource_WhenItSends_ThenNothingIsMissed)
{
    const auto ctx = test::make_context();
    const auto other = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_receiver(other, "WATCH.A", recorder);
    WatchedSource watched{ctx, "WATCH.A"};
    ASSERT_TRUE(watched.wait_for({LBM_SRC_EVENT_CONNECT}));
    test::send(watched.source, "first");
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_DATA));
    EXPECT_THAT(recorder.payloads(), ElementsAre("first"));
}

// The source is there first and sends while the receiver may still be in the making. Every round is a new chance to be
// too early.
TEST(SourceEvents, GivenASourceThatSendsOnceConnected_WhenAReceiverIsMade_ThenItGetsTheFirstMessage)
{
    for (int round = 0; round < 25; ++round) {
        const auto ctx = test::make_context();
        WatchedSource watched{ctx, "WATCH.A"};
        std::thread sender{[&] {
            if (watched.wait_for({LBM_SRC_EVENT_CONNECT})) {
                test::send(watched.source, "first");
            }
        }};
        const auto other = test::make_context();
        test::Recorder recorder;
        const auto receiver = test::make_receiver(other, "WATCH.A", recorder);
        sender.join();
        ASSERT_TRUE(recorder.wait_for(LBM_MSG_DATA)) << round;
        EXPECT_THAT(recorder.payloads(), ElementsAre("first"));
    }
}

TEST(SourceEvents, GivenASourceOnAQueue_WhenDispatched_ThenItsEventComesThere)
{
    const auto queue = test::make_queue();
    const auto ctx = test::make_context();
    WatchedSource watched{ctx, "WATCH.A", queue.get()};
    test::Recorder recorder;
    const auto receiver = test::make_receiver(ctx, "WATCH.A", recorder);
    const auto deadline = std::chrono::steady_clock::now() + test::patience;
    while (watched.events().empty() && std::chrono::steady_clock::now() < deadline) {
        test::check(lbm_event_dispatch(queue.get(), 10));
    }
    EXPECT_THAT(watched.events(), ElementsAre(LBM_SRC_EVENT_CONNECT));
}

TEST(SourceEvents, GivenAWatchedSource_WhenItsContextIsDeletedFirst_ThenItMayStillBeDeleted)
{
    auto ctx = test::make_context();
    WatchedSource watched{ctx, "WATCH.A"};
    ctx.reset();
    EXPECT_EQ(lbm_src_delete(watched.source.release()), LBM_OK);
}

} // namespace
