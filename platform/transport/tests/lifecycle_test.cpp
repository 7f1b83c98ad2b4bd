/// Making and deleting, in any order and from anywhere.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include <pthread.h>

#include "support/context_fixture.h"

using namespace testing;

namespace {

TEST(Lifecycle, GivenManyContexts_WhenMadeAndDeletedInTurn_ThenEachWorks)
{
    for (int i = 0; i < 200; ++i) {
        const auto ctx = test::make_context();
        const auto source = test::make_source(ctx, "LOOP.A");
        test::send(source, "x");
    }
}

TEST(Lifecycle, GivenATopic_WhenLookedUpAgain_ThenItIsTheSame)
{
    const auto ctx = test::make_context();
    lbm_topic_t* first = nullptr;
    lbm_topic_t* again = nullptr;
    lbm_topic_t* other = nullptr;
    ASSERT_EQ(lbm_rcv_topic_lookup(&first, ctx.get(), "SAME.A", nullptr), LBM_OK);
    ASSERT_EQ(lbm_rcv_topic_lookup(&again, ctx.get(), "SAME.A", nullptr), LBM_OK);
    ASSERT_EQ(lbm_rcv_topic_lookup(&other, ctx.get(), "SAME.B", nullptr), LBM_OK);
    EXPECT_EQ(first, again);
    EXPECT_NE(first, other);
}

TEST(Lifecycle, GivenAThreadDefaultOfSmallStacks_WhenACallbackRuns_ThenItsStackIsTheTransports)
{
    pthread_attr_t before{};
    ASSERT_EQ(pthread_getattr_default_np(&before), 0);
    pthread_attr_t small = before;
    pthread_attr_setstacksize(&small, 1U << 20U);
    ASSERT_EQ(pthread_setattr_default_np(&small), 0);
    test::Recorder recorder;
    std::atomic<std::size_t> bytes{0};
    recorder.then = [&](lbm_msg_t&) {
        pthread_attr_t mine{};
        pthread_getattr_np(pthread_self(), &mine);
        std::size_t size = 0;
        pthread_attr_getstacksize(&mine, &size);
        pthread_attr_destroy(&mine);
        bytes = size;
    };
    const auto ctx = test::make_context();
    const auto receiver = test::make_receiver(ctx, "STACK.A", recorder);
    const auto source = test::make_source(ctx, "STACK.A");
    EXPECT_TRUE(recorder.wait([&] { return bytes > 0; }));
    pthread_setattr_default_np(&before);
    EXPECT_GE(bytes, 8U << 20U);
}

TEST(Lifecycle, GivenAReceiver_WhenItsContextIsDeletedFirst_ThenItMayStillBeDeleted)
{
    auto ctx = test::make_context();
    test::Recorder recorder;
    auto receiver = test::make_receiver(ctx, "ORPHAN.A", recorder);
    auto wildcard = test::make_wildcard(ctx, "ORPHAN\\..*", recorder);
    ctx.reset();
    EXPECT_EQ(lbm_rcv_delete(receiver.release()), LBM_OK);
    EXPECT_EQ(lbm_wildcard_rcv_delete(wildcard.release()), LBM_OK);
}

TEST(Lifecycle, GivenASource_WhenItsContextIsDeletedFirst_ThenSendingFailsAndItMayBeDeleted)
{
    auto ctx = test::make_context();
    auto source = test::make_source(ctx, "ORPHAN.A");
    ctx.reset();
    EXPECT_EQ(lbm_src_send(source.get(), "x", 1, 0), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EOP);
    EXPECT_EQ(lbm_src_delete(source.release()), LBM_OK);
}

TEST(Lifecycle, GivenACallbackInProgress_WhenTheReceiverIsDeleted_ThenDeletionWaitsForIt)
{
    const auto ctx = test::make_context();
    test::Recorder recorder;
    std::promise<void> entered;
    std::promise<void> leave;
    std::atomic<bool> first{true};
    std::atomic<bool> left{false};
    recorder.then = [&](lbm_msg_t&) {
        if (first.exchange(false)) {
            entered.set_value();
            leave.get_future().wait();
            left = true;
        }
    };
    auto receiver = test::make_receiver(ctx, "BUSY.A", recorder);
    const auto source = test::make_source(ctx, "BUSY.A");
    ASSERT_EQ(entered.get_future().wait_for(test::patience), std::future_status::ready);
    std::promise<void> deleting;
    std::thread deleter{[&] {
        deleting.set_value();
        receiver.reset();
        EXPECT_TRUE(left);
    }};
    deleting.get_future().wait();
    leave.set_value();
    deleter.join();
}

TEST(Lifecycle, GivenADeletedReceiver_WhenItsSourceGoesOn_ThenItIsCalledNoMore)
{
    const auto ctx = test::make_context();
    test::Recorder gone;
    test::Recorder other;
    auto receiver = test::make_receiver(ctx, "GONE.A", gone);
    const auto witness = test::make_receiver(ctx, "GONE.A", other);
    const auto source = test::make_source(ctx, "GONE.A");
    test::connect(source, gone, "GONE.A");
    receiver.reset();
    const std::size_t calls = gone.seen().size();
    test::send(source, "later");
    ASSERT_TRUE(other.wait([&] { return !other.payloads().empty() && other.payloads().back() == "later"; }));
    EXPECT_EQ(gone.seen().size(), calls);
}

TEST(Lifecycle, GivenAReceiver_WhenItsOwnCallbackDeletesIt_ThenThatWasItsLastCall)
{
    const auto ctx = test::make_context();
    test::Recorder recorder;
    test::Recorder other;
    test::ReceiverHandle receiver;
    std::atomic<bool> ready{false};
    recorder.then = [&](lbm_msg_t& msg) {
        if (msg.type == LBM_MSG_DATA && ready) {
            receiver.reset();
        }
    };
    receiver = test::make_receiver(ctx, "SELF.A", recorder);
    const auto witness = test::make_receiver(ctx, "SELF.A", other);
    const auto source = test::make_source(ctx, "SELF.A");
    ready = true;
    test::connect(source, other, "SELF.A");
    test::send(source, "later");
    ASSERT_TRUE(other.wait([&] { return other.payloads().back() == "later"; }));
    EXPECT_EQ(recorder.count(LBM_MSG_DATA), 1U);
}

TEST(Lifecycle, GivenACallback_WhenItMakesAndDeletesReceiversOfItsContext_ThenTheyWork)
{
    const auto ctx = test::make_context();
    test::Recorder outer;
    test::Recorder inner;
    test::ReceiverHandle made;
    std::atomic<bool> done{false};
    outer.then = [&](lbm_msg_t& msg) {
        if (msg.type == LBM_MSG_BOS) {
            made = test::make_receiver(ctx, "INNER.A", inner);
            done = true;
        }
    };
    const auto receiver = test::make_receiver(ctx, "OUTER.A", outer);
    const auto source = test::make_source(ctx, "OUTER.A");
    const auto inner_source = test::make_source(ctx, "INNER.A");
    EXPECT_TRUE(inner.wait_for(LBM_MSG_BOS));
    EXPECT_TRUE(done);
}

TEST(Lifecycle, GivenReceiversComingAndGoing_WhenSourcesSendAllTheWhile_ThenNothingBreaks)
{
    const auto ctx = test::make_context();
    const auto source = test::make_source(ctx, "CHURN.A");
    std::atomic<bool> stop{false};
    std::thread sender{[&] {
        while (!stop) {
            test::send(source, "x");
        }
    }};
    for (int i = 0; i < 50; ++i) {
        test::Recorder recorder;
        const auto exact = test::make_receiver(ctx, "CHURN.A", recorder);
        const auto wildcard = test::make_wildcard(ctx, "C.*", recorder);
        EXPECT_TRUE(recorder.wait_for(LBM_MSG_DATA, 2));
    }
    stop = true;
    sender.join();
    lbm_context_stats_t stats{};
    test::check(lbm_context_retrieve_stats(ctx.get(), &stats));
    EXPECT_EQ(stats.messages_lost, stats.messages_overflowed)
        << "what a full queue threw away is a loss, all else none";
}

} // namespace
