/// Requests and their answers within one process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <thread>

#include "support/request_fixture.h"

using namespace testing;

namespace {

using RequestTest = test::Asking;

/// Answers each request with its own bytes, within the callback.
class Echo {
public:
    Echo()
    {
        requests_.then = [](lbm_msg_t& msg) {
            if (msg.type == LBM_MSG_REQUEST) {
                EXPECT_EQ(lbm_send_response(msg.response, msg.data, msg.len, 0), LBM_OK);
            }
        };
    }
    /// The receiver has met the source of the fixture when this returns.
    test::ReceiverHandle listen(const test::ContextHandle& ctx)
    {
        auto receiver = test::make_receiver(ctx, "ASK.A", requests_);
        EXPECT_TRUE(requests_.wait_for(LBM_MSG_BOS));
        return receiver;
    }

private:
    test::Recorder requests_;
};

TEST_F(RequestTest, GivenAReceiver_WhenARequestIsSent_ThenItComesInOrderWithDataAndCanBeAnswered)
{
    test::send(source, "before");
    const auto request = test::send_request(source, "what?", answers);
    test::send(source, "after");
    ASSERT_TRUE(requests.wait([&] { return requests.payloads().back() == "after"; }));
    const auto seen = requests.seen();
    const std::size_t at = seen.size() - 2;
    EXPECT_EQ(seen[at].type, LBM_MSG_REQUEST);
    EXPECT_EQ(seen[at].payload, "what?");
    EXPECT_EQ(seen[at - 1].payload, "before");
    EXPECT_EQ(seen[at].sequence, seen[at - 1].sequence + 1);
    EXPECT_EQ(seen[at + 1].sequence, seen[at].sequence + 1);
    EXPECT_NE(kept.response(0), nullptr);
}

TEST_F(RequestTest, GivenARequest_WhenItIsAnsweredTwice_ThenBothAnswersComeInOrderWithTopicAndContext)
{
    ask();
    ASSERT_EQ(test::answer(kept.response(0), "one"), LBM_OK);
    ASSERT_EQ(test::answer(kept.response(0), ""), LBM_OK);
    ASSERT_TRUE(answered(2));
    const auto seen = answers.seen();
    ASSERT_EQ(seen.size(), 2U);
    EXPECT_EQ(seen[0].payload, "one");
    EXPECT_EQ(seen[0].topic, "ASK.A");
    EXPECT_EQ(seen[0].sequence, 0U);
    EXPECT_THAT(seen[0].source, MatchesRegex("LBMDDS:127\\.0\\.0\\.1:[0-9]+:[0-9a-f]+"));
    EXPECT_EQ(seen[1].payload, "");
    EXPECT_EQ(seen[1].sequence, 1U);
}

TEST_F(RequestTest, GivenAResponder_WhenItAnswersWithinItsCallback_ThenTheAnswerComes)
{
    Echo echo;
    const auto echoing = echo.listen(answering);
    open.push_back(test::send_request(source, "?", answers));
    ASSERT_TRUE(answered());
    EXPECT_THAT(answers.payloads(LBM_MSG_RESPONSE), ElementsAre("?"));
}

TEST_F(RequestTest, GivenRequestsInFlight_WhenEachIsAnswered_ThenEachGetsItsOwnAnswer)
{
    Echo echo;
    const auto echoing = echo.listen(answering);
    std::vector<std::unique_ptr<test::Recorder>> each;
    std::vector<test::RequestHandle> in_flight;
    for (int i = 0; i < 1'000; ++i) {
        each.push_back(std::make_unique<test::Recorder>());
        in_flight.push_back(test::send_request(source, std::to_string(i), *each.back()));
    }
    for (std::size_t i = 0; i < each.size(); ++i) {
        ASSERT_TRUE(each[i]->wait_for(LBM_MSG_RESPONSE)) << i;
        EXPECT_THAT(each[i]->payloads(LBM_MSG_RESPONSE), ElementsAre(std::to_string(i)));
    }
}

TEST_F(RequestTest, GivenManyAnswersThatMayWait_WhenSent_ThenAllComeInOrder)
{
    ask();
    constexpr std::size_t count = 2'000;
    for (std::size_t i = 0; i < count; ++i) {
        ASSERT_EQ(test::answer(kept.response(0), std::to_string(i), 0), LBM_OK);
    }
    ASSERT_TRUE(answered(count));
    const auto seen = answers.seen();
    for (std::size_t i = 0; i < count; ++i) {
        ASSERT_EQ(seen[i].payload, std::to_string(i));
        ASSERT_EQ(seen[i].sequence, i);
    }
}

TEST_F(RequestTest, GivenALargeAnswer_WhenSent_ThenItComesUnchanged)
{
    ask();
    std::string large(1U << 20U, 'x');
    large.back() = 'y';
    ASSERT_EQ(test::answer(kept.response(0), large), LBM_OK);
    ASSERT_TRUE(answered());
    EXPECT_TRUE(answers.payloads(LBM_MSG_RESPONSE).front() == large);
}

TEST_F(RequestTest, GivenAKeptRequest_WhenAnsweredFromManyThreads_ThenEveryAnswerComesOnce)
{
    ask();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 25; ++i) {
                EXPECT_EQ(test::answer(kept.response(0), std::to_string(25 * t + i), 0), LBM_OK);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    ASSERT_TRUE(answered(100));
    auto payloads = answers.payloads(LBM_MSG_RESPONSE);
    std::sort(payloads.begin(), payloads.end());
    EXPECT_EQ(std::unique(payloads.begin(), payloads.end()) - payloads.begin(), 100);
}

TEST_F(RequestTest, GivenTwoReceiversInTheContext_WhenBothAnswer_ThenTheirAnswersAreNumberedTogether)
{
    test::Recorder others;
    test::KeptRequests other{others};
    const auto wildcard = test::make_wildcard(answering, "ASK\\..*", others);
    ASSERT_TRUE(others.wait_for(LBM_MSG_BOS));
    ask();
    ASSERT_TRUE(others.wait([&] { return other.size() == 1; }));
    EXPECT_EQ(test::answer(kept.response(0), "a"), LBM_OK);
    EXPECT_EQ(test::answer(other.response(0), "b"), LBM_OK);
    ASSERT_TRUE(answered(2));
    EXPECT_EQ(answers.seen()[1].sequence, 1U);
}

TEST_F(RequestTest, GivenADeletedReceiver_WhenARequestItKeptIsAnswered_ThenTheAnswerComes)
{
    ask();
    receiver.reset();
    EXPECT_EQ(test::answer(kept.response(0), "still"), LBM_OK);
    EXPECT_TRUE(answered());
}

TEST_F(RequestTest, GivenADeletedContext_WhenARequestItKeptIsAnswered_ThenTheCallFails)
{
    ask();
    answering.reset();
    EXPECT_EQ(test::answer(kept.response(0), "too late"), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EOP);
    EXPECT_STREQ(lbm_errmsg(), "lbm_send_response(): the context is deleted");
    asking.reset();
    EXPECT_EQ(test::answer(kept.response(0), "too late"), LBM_FAILURE);
}

TEST_F(RequestTest, GivenARequesterThatIsDeleted_WhenAnswered_ThenTheCallFailsSoon)
{
    ask();
    ASSERT_EQ(test::answer(kept.response(0), "first"), LBM_OK);
    ASSERT_TRUE(answered());
    asking.reset();
    EXPECT_TRUE(answers.wait([&] { return test::answer(kept.response(0), "too late") == LBM_FAILURE; }));
    EXPECT_EQ(lbm_errnum(), LBM_EOP);
    EXPECT_STREQ(lbm_errmsg(), "lbm_send_response(): the requester is gone");
}

TEST_F(RequestTest, GivenAnAnswerAndThenTheEndOfItsContext_WhenSent_ThenTheAnswerStillComes)
{
    ask();
    ASSERT_EQ(test::answer(kept.response(0), "last words"), LBM_OK);
    answering.reset();
    EXPECT_TRUE(answered());
}

} // namespace
