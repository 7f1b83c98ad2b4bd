#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <limits>
#include <thread>

#include "support/context_fixture.h"

using namespace testing;

namespace {

/// Dispatches until the condition holds.
template <class Condition>
bool dispatch_until(const test::QueueHandle& queue, Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + test::patience;
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
        test::check(lbm_event_dispatch(queue.get(), 10));
    }
    return condition();
}

TEST(EventQueue, GivenAReceiverOnAQueue_WhenDispatched_ThenItsCallbacksRunOnTheDispatchingThread)
{
    const auto queue = test::make_queue({{"queue_cancellation_callbacks_enabled", "1"}});
    const auto ctx = test::make_context();
    test::Recorder recorder;
    std::atomic<bool> elsewhere{false};
    recorder.then = [&, here = std::this_thread::get_id()](lbm_msg_t&) {
        elsewhere = elsewhere || std::this_thread::get_id() != here;
    };
    const auto receiver = test::make_receiver(ctx, "QUEUE.A", recorder, queue.get());
    auto source = test::make_source(ctx, "QUEUE.A");
    ASSERT_TRUE(dispatch_until(queue, [&] { return recorder.count(LBM_MSG_BOS) == 1; }));
    source.reset();
    ASSERT_TRUE(dispatch_until(queue, [&] { return recorder.count(LBM_MSG_EOS) == 1; }));
    EXPECT_FALSE(elsewhere);
}

TEST(EventQueue, GivenAnEmptyQueue_WhenPolled_ThenNothingIsDispatchedAtOnce)
{
    const auto queue = test::make_queue();
    EXPECT_EQ(lbm_event_dispatch(queue.get(), LBM_EVENT_QUEUE_POLL), 0);
}

TEST(EventQueue, GivenAnEmptyQueue_WhenDispatchedForATime_ThenItReturnsAfterIt)
{
    const auto queue = test::make_queue();
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(lbm_event_dispatch(queue.get(), 20), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds{20});
}

TEST(EventQueue, GivenNoRunningDispatch_WhenUnblocked_ThenTheNextOneReturnsAtOnce)
{
    const auto queue = test::make_queue();
    EXPECT_EQ(lbm_event_dispatch_unblock(queue.get()), LBM_OK);
    EXPECT_EQ(lbm_event_dispatch(queue.get(), LBM_EVENT_QUEUE_BLOCK), 0);
}

TEST(EventQueue, GivenADispatchWithoutLimit_WhenUnblocked_ThenItReturns)
{
    const auto queue = test::make_queue();
    std::thread dispatcher{[&] { EXPECT_EQ(lbm_event_dispatch(queue.get(), LBM_EVENT_QUEUE_BLOCK), 0); }};
    EXPECT_EQ(lbm_event_dispatch_unblock(queue.get()), LBM_OK);
    dispatcher.join();
}

/// Has a queue dispatched without limit on another thread and, once a callback has run there, does something to it.
int dispatch_during(test::QueueHandle& queue, int (*act)(test::QueueHandle&))
{
    const auto ctx = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_receiver(ctx, "DURING.A", recorder, queue.get());
    const auto source = test::make_source(ctx, "DURING.A");
    auto dispatched =
        std::async(std::launch::async, [raw = queue.get()] { return lbm_event_dispatch(raw, LBM_EVENT_QUEUE_BLOCK); });
    EXPECT_TRUE(recorder.wait_for(LBM_MSG_BOS));
    EXPECT_EQ(act(queue), LBM_OK);
    return dispatched.get();
}

TEST(EventQueue, GivenADispatchWithoutLimit_WhenTheQueueIsShutDown_ThenItReturnsWhatRan)
{
    auto queue = test::make_queue();
    EXPECT_EQ(dispatch_during(queue, [](auto& q) { return lbm_event_queue_shutdown(q.get()); }), 1);
}

TEST(EventQueue, GivenADispatchWithoutLimit_WhenTheQueueIsDeleted_ThenItReturnsWhatRan)
{
    auto queue = test::make_queue();
    EXPECT_EQ(dispatch_during(queue, [](auto& q) { return lbm_event_queue_delete(q.release()); }), 1);
}

TEST(EventQueue, GivenACallback_WhenItDeletesItsQueue_ThenItsDispatchReturnsAfterIt)
{
    auto queue = test::make_queue();
    const auto ctx = test::make_context();
    test::Recorder recorder;
    recorder.then = [&](lbm_msg_t&) { EXPECT_EQ(lbm_event_queue_delete(queue.release()), LBM_OK); };
    const auto receiver = test::make_receiver(ctx, "OWN.A", recorder, queue.get());
    const auto source = test::make_source(ctx, "OWN.A");
    EXPECT_EQ(lbm_event_dispatch(queue.get(), LBM_EVENT_QUEUE_BLOCK), 1);
}

TEST(EventQueue, GivenATimeBeyondTheClock_WhenDispatched_ThenItWaitsWithoutLimit)
{
    const auto queue = test::make_queue();
    const auto ctx = test::make_context();
    test::Recorder recorder;
    recorder.then = [&](lbm_msg_t&) { lbm_event_dispatch_unblock(queue.get()); };
    const auto receiver = test::make_receiver(ctx, "LONG.A", recorder, queue.get());
    const auto source = test::make_source(ctx, "LONG.A");
    EXPECT_EQ(lbm_event_dispatch(queue.get(), std::numeric_limits<unsigned long>::max()), 1);
}

TEST(EventQueue, GivenNoRunningDispatch_WhenUnblockedBeforeAPoll_ThenTheOneAfterItIsNotEnded)
{
    const auto queue = test::make_queue();
    const auto ctx = test::make_context();
    test::Recorder recorder;
    EXPECT_EQ(lbm_event_dispatch_unblock(queue.get()), LBM_OK);
    EXPECT_EQ(lbm_event_dispatch(queue.get(), LBM_EVENT_QUEUE_POLL), 0);
    recorder.then = [&](lbm_msg_t&) { lbm_event_dispatch_unblock(queue.get()); };
    const auto receiver = test::make_receiver(ctx, "NEXT.A", recorder, queue.get());
    const auto source = test::make_source(ctx, "NEXT.A");
    EXPECT_EQ(lbm_event_dispatch(queue.get(), LBM_EVENT_QUEUE_BLOCK), 1);
}

TEST(EventQueue, GivenAQueueThatWasShutDown_WhenDispatched_ThenItFails)
{
    const auto queue = test::make_queue();
    EXPECT_EQ(lbm_event_queue_shutdown(queue.get()), LBM_OK);
    EXPECT_EQ(lbm_event_dispatch(queue.get(), LBM_EVENT_QUEUE_BLOCK), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EOP);
}

TEST(EventQueue, GivenReceiversThatReferToIt_WhenDeleted_ThenTheyAreStoppedAndMayBeDeleted)
{
    auto queue = test::make_queue();
    const auto ctx = test::make_context();
    test::Recorder queued;
    test::Recorder direct;
    auto receiver = test::make_receiver(ctx, "LEFT.A", queued, queue.get());
    const auto witness = test::make_receiver(ctx, "LEFT.A", direct);
    const auto source = test::make_source(ctx, "LEFT.A");
    ASSERT_TRUE(direct.wait_for(LBM_MSG_BOS));
    EXPECT_EQ(lbm_event_queue_delete(queue.release()), LBM_OK);
    test::connect(source, direct, "LEFT.A");
    EXPECT_EQ(lbm_rcv_delete(receiver.release()), LBM_OK);
    EXPECT_THAT(queued.seen(), IsEmpty());
}

TEST(EventQueue, GivenWaitingMessages_WhenTheirReceiverIsDeleted_ThenTheyAreNotDispatched)
{
    const auto queue = test::make_queue();
    const auto ctx = test::make_context();
    test::Recorder queued;
    test::Recorder direct;
    auto receiver = test::make_receiver(ctx, "WAIT.A", queued, queue.get());
    const auto witness = test::make_receiver(ctx, "WAIT.A", direct);
    const auto source = test::make_source(ctx, "WAIT.A");
    test::connect(source, direct, "WAIT.A");
    receiver.reset();
    EXPECT_EQ(lbm_event_dispatch(queue.get(), LBM_EVENT_QUEUE_POLL), 0);
    EXPECT_THAT(queued.seen(), IsEmpty());
}

TEST(EventQueue, GivenACallback_WhenItUnblocksItsQueue_ThenItsDispatchReturnsAfterIt)
{
    const auto queue = test::make_queue();
    const auto ctx = test::make_context();
    test::Recorder recorder;
    recorder.then = [&](lbm_msg_t&) { lbm_event_dispatch_unblock(queue.get()); };
    const auto receiver = test::make_receiver(ctx, "UNBLOCK.A", recorder, queue.get());
    const auto source = test::make_source(ctx, "UNBLOCK.A");
    EXPECT_EQ(lbm_event_dispatch(queue.get(), LBM_EVENT_QUEUE_BLOCK), 1);
    EXPECT_EQ(recorder.count(LBM_MSG_BOS), 1U);
}

TEST(EventQueue, GivenMoreDataThanItsBound_WhenDispatchedLater_ThenTheOverflowIsLossInItsPlace)
{
    const auto queue = test::make_queue({{"queue_bytes_max", "65536"}});
    const auto ctx = test::make_context();
    test::Recorder queued;
    test::Recorder direct;
    const auto receiver = test::make_receiver(ctx, "FULL.A", queued, queue.get());
    const auto witness = test::make_receiver(ctx, "FULL.A", direct);
    const auto source = test::make_source(ctx, "FULL.A");
    test::connect(source, direct, "FULL.A");
    for (int i = 0; i < 100; ++i) {
        test::send(source, std::string(1'000, 'x'));
    }
    ASSERT_TRUE(direct.wait([&] {
        const auto payloads = direct.payloads();
        return std::count_if(payloads.begin(), payloads.end(), [](const auto& p) { return p.size() == 1'000; }) == 100;
    }));
    ASSERT_TRUE(dispatch_until(queue, [&] { return queued.count(LBM_MSG_UNRECOVERABLE_LOSS_BURST) == 1; }));
    const auto seen = queued.seen();
    EXPECT_EQ(seen.back().type, LBM_MSG_UNRECOVERABLE_LOSS_BURST);
    EXPECT_EQ(seen.back().sequence, seen[seen.size() - 2].sequence + 1);
}

} // namespace
