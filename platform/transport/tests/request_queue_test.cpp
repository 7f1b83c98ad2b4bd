/// Requests and their answers on event queues.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "support/request_fixture.h"

using namespace testing;

namespace {

using RequestQueueTest = test::Asking;

TEST_F(RequestQueueTest, GivenARequestOnAnEventQueue_WhenDispatched_ThenItsAnswerRunsOnTheDispatchingThread)
{
    const auto queue = test::make_queue();
    std::thread::id ran_on;
    answers.then = [&](lbm_msg_t&) { ran_on = std::this_thread::get_id(); };
    ask("?", queue.get());
    EXPECT_EQ(test::answer(kept.response(0), "x"), LBM_OK);
    EXPECT_TRUE(answers.wait([&] {
        test::check(lbm_event_dispatch(queue.get(), 10));
        return answers.count(LBM_MSG_RESPONSE) == 1;
    }));
    EXPECT_EQ(ran_on, std::this_thread::get_id());
}

TEST_F(RequestQueueTest, GivenAnEventQueueThatIsDeleted_WhenAnAnswerComes_ThenNobodyIsCalledAndTheRequestMayBeDeleted)
{
    auto queue = test::make_queue();
    ask("?", queue.get());
    queue.reset();
    EXPECT_EQ(test::answer(kept.response(0), "nobody listens"), LBM_OK);
    ask();
    EXPECT_EQ(test::answer(kept.response(1), "heard"), LBM_OK);
    ASSERT_TRUE(answered());
    EXPECT_THAT(answers.payloads(LBM_MSG_RESPONSE), ElementsAre("heard"));
    EXPECT_EQ(lbm_request_delete(open.front().release()), LBM_OK);
}

TEST_F(RequestQueueTest, GivenAReceiverOnAnEventQueue_WhenARequestIsDispatched_ThenItCanBeAnswered)
{
    const auto queue = test::make_queue();
    test::Recorder queued;
    test::KeptRequests waiting{queued};
    const auto late = test::make_receiver(answering, "ASK.A", queued, queue.get());
    ask();
    ASSERT_TRUE(queued.wait([&] {
        test::check(lbm_event_dispatch(queue.get(), 10));
        return waiting.size() == 1;
    }));
    EXPECT_EQ(test::answer(waiting.response(0), "x"), LBM_OK);
    EXPECT_TRUE(answered());
}

TEST_F(RequestQueueTest, GivenAnAnswerThatIsQueued_WhenItsRequestIsDeleted_ThenItIsNotDispatched)
{
    const auto queue = test::make_queue();
    test::Recorder on_context;
    test::Recorder queued;
    auto deleted = test::send_request(source, "?", queued, queue.get());
    const auto other = test::send_request(source, "?", on_context);
    ASSERT_TRUE(requests.wait([&] { return kept.size() == 2; }));
    EXPECT_EQ(test::answer(kept.response(0), "queued"), LBM_OK);
    EXPECT_EQ(test::answer(kept.response(1), "after it"), LBM_OK);
    ASSERT_TRUE(on_context.wait_for(LBM_MSG_RESPONSE)); // so that the other has reached its queue
    deleted.reset();
    EXPECT_EQ(lbm_event_dispatch(queue.get(), LBM_EVENT_QUEUE_POLL), 0);
    EXPECT_THAT(queued.seen(), IsEmpty());
}

TEST_F(RequestQueueTest, GivenACallbackOnADispatchingThread_WhenItsRequestIsDeleted_ThenDeletionWaitsForIt)
{
    const auto queue = test::make_queue();
    std::promise<void> entered;
    std::promise<void> leave;
    std::atomic<bool> left{false};
    answers.then = [&](lbm_msg_t&) {
        entered.set_value();
        leave.get_future().wait();
        left = true;
    };
    ask("?", queue.get());
    EXPECT_EQ(test::answer(kept.response(0), "x"), LBM_OK);
    std::thread dispatcher{[&] { EXPECT_EQ(lbm_event_dispatch(queue.get(), LBM_EVENT_QUEUE_BLOCK), 1); }};
    entered.get_future().wait();
    auto deletion = std::async(std::launch::async, [&] {
        open.clear();
        EXPECT_TRUE(left);
    });
    // Long enough for a deletion that does not wait to show itself; one that does never ends here.
    EXPECT_EQ(deletion.wait_for(std::chrono::milliseconds{50}), std::future_status::timeout);
    leave.set_value();
    deletion.get();
    test::check(lbm_event_dispatch_unblock(queue.get()));
    dispatcher.join();
}

} // namespace
