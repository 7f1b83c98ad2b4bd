/// What the counters say of what happened.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <future>
#include <string>

#include "support/context_fixture.h"
#include "support/watched_source.h"

using namespace testing;

namespace {

lbm_context_stats_t stats_of(lbm_context_t* ctx)
{
    lbm_context_stats_t stats{};
    test::check(lbm_context_retrieve_stats(ctx, &stats));
    return stats;
}

void send(const test::WatchedSource& watched, int count, const std::string& payload)
{
    for (int i = 0; i < count; ++i) {
        test::send(watched.source, payload);
    }
}

TEST(Stats, GivenASourceAndAReceiver_WhenItSends_ThenBothCountTheSameAndNothingIsLost)
{
    const auto sending = test::make_context();
    const auto hearing = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_receiver(hearing, "STATS.A", recorder);
    test::WatchedSource watched{sending, "STATS.A"};
    ASSERT_TRUE(watched.wait_for({LBM_SRC_EVENT_CONNECT}));
    send(watched, 10, "12345");
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_DATA, 10));
    const lbm_context_stats_t sent = stats_of(sending.get());
    EXPECT_EQ(sent.messages_sent, 10U);
    EXPECT_EQ(sent.bytes_sent, 50U);
    EXPECT_GE(sent.frames_sent, 1U);
    EXPECT_EQ(sent.sends_refused, 0U);
    const lbm_context_stats_t heard = stats_of(hearing.get());
    EXPECT_EQ(heard.messages_received, 10U);
    EXPECT_EQ(heard.bytes_received, 50U);
    EXPECT_EQ(heard.messages_lost, 0U);
    EXPECT_EQ(heard.messages_overflowed, 0U);
    EXPECT_EQ(heard.packets_refused, 0U);
    EXPECT_EQ(heard.sources, 1U);
    EXPECT_GE(heard.queue_messages_max, 1U);
    EXPECT_GE(heard.queue_bytes_max, 5U);
}

TEST(Stats, GivenAFullReceiveQueue_WhenMoreComes_ThenDeliveredAndLostAreWhatWasSent)
{
    constexpr std::uint64_t count = 1'000;
    const auto hearing = test::make_context({{"receive_queue_bytes_max", "65536"}});
    test::Recorder recorder;
    std::promise<void> go;
    recorder.then = [going = go.get_future().share()](lbm_msg_t& message) {
        if (message.type == LBM_MSG_BOS) {
            going.wait();
        }
    };
    const auto receiver = test::make_receiver(hearing, "STATS.A", recorder);
    const auto sending = test::make_context();
    test::WatchedSource watched{sending, "STATS.A"};
    ASSERT_TRUE(watched.wait_for({LBM_SRC_EVENT_CONNECT}));
    send(watched, count, std::string(1'000, 'x'));
    EXPECT_TRUE(recorder.wait([&] { return stats_of(hearing.get()).messages_received == count; }));
    go.set_value();
    const lbm_context_stats_t stats = stats_of(hearing.get());
    EXPECT_GT(stats.messages_overflowed, 0U);
    EXPECT_EQ(stats.messages_lost, stats.messages_overflowed);
    EXPECT_LE(stats.queue_bytes_max, 65'536U);
    EXPECT_TRUE(recorder.wait_for(LBM_MSG_DATA, count - stats.messages_lost));
    watched.source.reset();
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_EOS));
    EXPECT_EQ(recorder.count(LBM_MSG_DATA) + stats.messages_lost, count);
    EXPECT_EQ(recorder.count(LBM_MSG_UNRECOVERABLE_LOSS_BURST), 1U);
}

TEST(Stats, GivenATopicThatNobodyWants_WhenItComesAlong_ThenItIsCountedAsThat)
{
    const auto hearing = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_receiver(hearing, "STATS.A", recorder);
    const auto sending = test::make_context();
    test::WatchedSource wanted{sending, "STATS.A"};
    test::WatchedSource unwanted{sending, "STATS.B"};
    ASSERT_TRUE(wanted.wait_for({LBM_SRC_EVENT_CONNECT}));
    // Until the routing has looked at a source, its messages are queued for whoever may want them.
    EXPECT_TRUE(recorder.wait([&] {
        send(unwanted, 1, "x");
        return stats_of(hearing.get()).messages_unwanted > 0;
    }));
    EXPECT_EQ(recorder.count(LBM_MSG_DATA), 0U);
}

TEST(Stats, GivenContextsThatAreAndThatWere_WhenNoneIsNamed_ThenTheSumCountsAll)
{
    const lbm_context_stats_t before = stats_of(nullptr);
    {
        const auto gone = test::make_context();
        test::send(test::make_source(gone, "STATS.A"), "123");
    }
    const auto here = test::make_context();
    test::send(test::make_source(here, "STATS.A"), "4567");
    const lbm_context_stats_t sum = stats_of(nullptr);
    EXPECT_EQ(sum.messages_sent - before.messages_sent, 2U);
    EXPECT_EQ(sum.bytes_sent - before.bytes_sent, 7U);
    EXPECT_EQ(stats_of(here.get()).bytes_sent, 4U);
}

TEST(Stats, GivenAnEventQueueThatNobodyDispatches_WhenItIsFull_ThenItCountsWhatItLost)
{
    const auto queue = test::make_queue({{"queue_bytes_max", "65536"}});
    const auto ctx = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_receiver(ctx, "STATS.A", recorder, queue.get());
    test::WatchedSource watched{ctx, "STATS.A"};
    ASSERT_TRUE(watched.wait_for({LBM_SRC_EVENT_CONNECT}));
    send(watched, 200, std::string(1'000, 'x'));
    lbm_event_queue_stats_t stats{};
    EXPECT_TRUE(recorder.wait([&] {
        test::check(lbm_event_queue_retrieve_stats(queue.get(), &stats));
        return stats.messages + stats.messages_overflowed == 200 + 2; // a beginning and one loss, too
    }));
    EXPECT_GT(stats.messages_overflowed, 0U);
    EXPECT_EQ(stats.messages_max, stats.messages);
    EXPECT_LE(stats.bytes_max, 65'536U);
    EXPECT_EQ(stats_of(ctx.get()).messages_lost, 0U) << "they are the queue's, not the context's";
}

} // namespace
