/// Deleting requests and what they depend on, in any order.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>

#include "support/request_fixture.h"

using namespace testing;

namespace {

using RequestLifeTest = test::Asking;

TEST_F(RequestLifeTest, GivenADeletedRequest_WhenItIsAnswered_ThenTheAnswerIsTakenAndDropped)
{
    ask();
    open.clear();
    EXPECT_EQ(test::answer(kept.response(0), "nobody listens"), LBM_OK);
    ask();
    EXPECT_EQ(test::answer(kept.response(1), "heard"), LBM_OK);
    ASSERT_TRUE(answered());
    EXPECT_THAT(answers.payloads(LBM_MSG_RESPONSE), ElementsAre("heard"));
}

TEST_F(RequestLifeTest, GivenARequest_WhenItsCallbackDeletesIt_ThenThatWasItsLastAnswer)
{
    ask();
    const auto deleted = std::make_shared<std::atomic<bool>>(false);
    answers.then = [this, deleted](lbm_msg_t&) {
        if (!*deleted) {
            open.clear();
            *deleted = true;
        }
    };
    EXPECT_EQ(test::answer(kept.response(0), "first"), LBM_OK);
    EXPECT_EQ(test::answer(kept.response(0), "second"), LBM_OK);
    ASSERT_TRUE(answers.wait([&] { return deleted->load(); }));
    ask();
    EXPECT_EQ(test::answer(kept.response(1), "of another"), LBM_OK);
    ASSERT_TRUE(answered(2));
    EXPECT_THAT(answers.payloads(LBM_MSG_RESPONSE), ElementsAre("first", "of another"));
}

TEST_F(RequestLifeTest, GivenACallbackInProgress_WhenItsRequestIsDeleted_ThenDeletionWaitsForIt)
{
    ask();
    std::promise<void> entered;
    std::promise<void> leave;
    std::atomic<bool> left{false};
    answers.then = [&](lbm_msg_t&) {
        entered.set_value();
        leave.get_future().wait();
        left = true;
    };
    EXPECT_EQ(test::answer(kept.response(0), "x"), LBM_OK);
    ASSERT_EQ(entered.get_future().wait_for(test::patience), std::future_status::ready);
    std::promise<void> deleting;
    std::thread deleter{[&] {
        deleting.set_value();
        open.clear();
        EXPECT_TRUE(left);
    }};
    deleting.get_future().wait();
    leave.set_value();
    deleter.join();
}

TEST_F(RequestLifeTest, GivenARequest_WhenItsContextIsDeletedFirst_ThenItMayStillBeDeleted)
{
    ask();
    asking.reset();
    EXPECT_EQ(lbm_request_delete(open.front().release()), LBM_OK);
}

TEST_F(RequestLifeTest, GivenASourceWhoseContextIsDeleted_WhenARequestIsSent_ThenTheCallFailsAndLeavesTheHandleAlone)
{
    asking.reset();
    lbm_request_t* req = nullptr;
    EXPECT_EQ(lbm_send_request(&req, source.get(), "x", 1, &test::Recorder::on_answer, &answers, nullptr, 0),
              LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EOP);
    EXPECT_EQ(req, nullptr);
}

TEST_F(RequestLifeTest, GivenARequest_WhenItsSourceIsDeletedFirst_ThenItsAnswerStillComes)
{
    ask();
    source.reset();
    EXPECT_EQ(test::answer(kept.response(0), "x"), LBM_OK);
    EXPECT_TRUE(answered());
}

TEST_F(RequestLifeTest, GivenAThreadThatAnswersAllTheWhile_WhenItsContextIsDeleted_ThenItsNextAnswerFails)
{
    ask();
    std::promise<void> begun;
    std::thread answerer{[&] {
        EXPECT_EQ(test::answer(kept.response(0), "x", 0), LBM_OK);
        begun.set_value();
        while (test::answer(kept.response(0), "x", 0) == LBM_OK) {
        }
        EXPECT_EQ(lbm_errnum(), LBM_EOP);
    }};
    begun.get_future().wait();
    answering.reset();
    answerer.join();
}

} // namespace
