/// Requests and their answers within one process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "support/context_fixture.h"
#include "support/requests.h"

using namespace testing;

namespace {

/// A requester and a responder that have met. What the responder keeps can be answered at leisure.
class RequestTest : public Test {
protected:
    RequestTest() { test::connect(source, requests, "ASK.A"); }

    /// Sends a request and waits until it has arrived; gives its position in `kept`.
    std::size_t ask(const std::string& payload = "?", lbm_event_queue_t* evq = nullptr)
    {
        const std::size_t before = kept.size();
        open.push_back(test::send_request(source, payload, answers, evq));
        if (!requests.wait([&] { return kept.size() > before; })) {
            throw std::runtime_error("the request did not arrive");
        }
        return before;
    }
    bool answered(std::size_t times = 1) const { return answers.wait_for(LBM_MSG_RESPONSE, times); }

    test::Recorder requests;
    test::Recorder answers;
    test::ContextHandle asking = test::make_context();
    test::ContextHandle answering = test::make_context();
    test::KeptRequests kept{requests};
    test::ReceiverHandle receiver = test::make_receiver(answering, "ASK.A", requests);
    test::SourceHandle source = test::make_source(asking, "ASK.A");
    std::vector<test::RequestHandle> open;
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
    requests.then = [](lbm_msg_t& msg) {
        if (msg.type == LBM_MSG_REQUEST) {
            EXPECT_EQ(test::answer(msg.response, "at once"), LBM_OK);
        }
    };
    open.push_back(test::send_request(source, "?", answers));
    ASSERT_TRUE(answered());
    EXPECT_THAT(answers.payloads(LBM_MSG_RESPONSE), ElementsAre("at once"));
}

} // namespace
