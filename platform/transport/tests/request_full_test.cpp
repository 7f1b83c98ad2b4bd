/// What becomes of requests and data whose receivers do not acknowledge, in a process that has been stopped.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/context_fixture.h"
#include "support/requests.h"

using namespace testing;

namespace {

constexpr int lease_ms = 60'000; // no stall may look like a death
constexpr int at_once = LBM_MSG_FLUSH | LBM_SRC_NONBLOCK;

/// A source whose only receiver, in another process, answers each request with its own bytes.
class FullStreamTest : public Test {
protected:
    FullStreamTest()
    {
        peer->tell("respond ASK.A");
        const bool met = answers.wait([&] {
            pings.push_back(test::send_request(source, "ping", answers));
            return answers.count(LBM_MSG_RESPONSE) > 0;
        });
        EXPECT_TRUE(met);
    }

    /// The result of sending more than a frame takes.
    int send_large() const { return lbm_src_send(source.get(), large.data(), large.size(), at_once); }
    void stop_and_fill() const
    {
        peer->stop();
        while (send_large() == LBM_OK) {
        }
        ASSERT_EQ(lbm_errnum(), LBM_EWOULDBLOCK);
    }

    const std::string large = std::string(100'000, 'x');
    test::Recorder answers;
    std::unique_ptr<test::ChildProcess> peer = test::start_peer(lease_ms);
    test::ContextHandle ctx = test::make_context({{"lease_ms", std::to_string(lease_ms)}, {"close_wait_ms", "60000"}});
    test::SourceHandle source = test::make_source(ctx, "ASK.A");
    std::vector<test::RequestHandle> pings;
};

TEST_F(FullStreamTest, GivenAFullStream_WhenARequestMayNotWait_ThenItFailsAndTheHandleIsAsBefore)
{
    stop_and_fill();
    lbm_request_t* const before = pings.front().get();
    lbm_request_t* req = before;
    EXPECT_EQ(lbm_send_request(&req, source.get(), "?", 1, &test::Recorder::on_answer, &answers, nullptr, at_once),
              LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EWOULDBLOCK);
    EXPECT_EQ(req, before);
    peer->signal(SIGCONT);
}

TEST_F(FullStreamTest, GivenARequestThatFailedForWantOfRoom_WhenThereIsRoom_ThenTheNextIsAnswered)
{
    stop_and_fill();
    lbm_request_t* req = nullptr;
    test::Recorder none;
    EXPECT_EQ(lbm_send_request(&req, source.get(), "?", 1, &test::Recorder::on_answer, &none, nullptr, at_once),
              LBM_FAILURE);
    peer->signal(SIGCONT);
    test::Recorder next;
    const auto request = test::send_request(source, "next", next);
    ASSERT_TRUE(next.wait_for(LBM_MSG_RESPONSE));
    EXPECT_THAT(next.payloads(LBM_MSG_RESPONSE), ElementsAre("next"));
    EXPECT_THAT(none.seen(), IsEmpty());
}

TEST_F(FullStreamTest, GivenADeletionThatWaitsForAStoppedReceiver_WhenAnotherThreadSends_ThenItIsToldAtOnce)
{
    peer->stop();
    test::send(source, "unacknowledged", LBM_MSG_FLUSH);
    auto deletion = std::async(std::launch::async, [&] { ctx.reset(); });
    ASSERT_TRUE(answers.wait([&] { return send_large() == LBM_FAILURE && lbm_errnum() == LBM_EOP; }));
    auto sending = std::async(std::launch::async, [&] {
        const auto long_enough =
            std::chrono::steady_clock::now() + std::chrono::milliseconds{200}; // to be well into it
        while (std::chrono::steady_clock::now() < long_enough) {
            EXPECT_EQ(send_large(), LBM_FAILURE);
        }
    });
    EXPECT_EQ(sending.wait_for(test::patience), std::future_status::ready);
    EXPECT_EQ(deletion.wait_for(std::chrono::seconds{0}), std::future_status::timeout);
    peer->signal(SIGCONT);
    EXPECT_EQ(deletion.wait_for(test::patience), std::future_status::ready);
}

} // namespace
