/// Requests and their answers between processes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <future>
#include <set>
#include <thread>

#include "support/child_process.h"
#include "support/context_fixture.h"
#include "support/requests.h"

using namespace testing;

namespace {

/// For tests that wait for a lease to run out; busy machines may hold a process up for a good part of it.
constexpr int short_lease_ms = 5'000;
/// For all others: no stall may look like a death.
constexpr int long_lease_ms = 60'000;

/// Asks other processes that answer with what they are asked.
class Asker {
public:
    explicit Asker(int lease_ms)
        : ctx_(test::make_context({{"lease_ms", std::to_string(lease_ms)}}))
    {
    }

    /// `answers` must outlive the request.
    test::RequestHandle ask(const std::string& payload, test::Recorder& answers) const
    {
        return test::send_request(source_, payload, answers);
    }
    /// Asks until so many contexts have answered.
    bool meet(std::size_t responders)
    {
        return met_.wait([&] {
            pings_.push_back(ask("ping", met_));
            std::set<std::string> sources;
            for (const auto& answer : met_.seen()) {
                sources.insert(answer.source);
            }
            return sources.size() >= responders;
        });
    }

private:
    test::Recorder met_;
    test::ContextHandle ctx_;
    test::SourceHandle source_ = test::make_source(ctx_, "ASK.A");
    std::vector<test::RequestHandle> pings_;
};

/// Keeps what other processes ask, each under a topic of its own; unless told otherwise with a window of one answer.
class Answerer {
public:
    explicit Answerer(int lease_ms,
                      const test::OptionList& options = {{"response_window_messages", "1"}, {"close_wait_ms", "100"}})
        : ctx_(make_context(lease_ms, options))
        , lease_ms_(lease_ms)
    {
    }

    /// A process that has asked on that topic and got its first answer.
    std::unique_ptr<test::ChildProcess> start_requester(const std::string& topic)
    {
        auto peer = test::start_peer(lease_ms_);
        peer->tell("source " + topic);
        const bool heard = requests_.wait([&] {
            peer->tell("send " + topic + " 1");
            return requests_.count(LBM_MSG_DATA, topic) > 0;
        });
        const std::size_t at = kept_.size();
        peer->tell("request " + topic + " 1");
        if (!heard || !requests_.wait([&] { return kept_.size() > at; })) {
            throw std::runtime_error("no request arrived");
        }
        test::check(answer(at, 0));
        peer->tell("answers " + topic + " 1");
        return peer;
    }

    int answer(std::size_t request, int flags = LBM_MSG_FLUSH | LBM_SRC_NONBLOCK, const std::string& with = "x") const
    {
        return test::answer(kept_.response(request), with, flags);
    }
    /// Answers until that fails; gives how many answers were accepted.
    std::size_t answer_until_refused(std::size_t request, int flags = LBM_MSG_FLUSH | LBM_SRC_NONBLOCK,
                                     const std::string& with = "x") const
    {
        std::size_t accepted = 0;
        while (answer(request, flags, with) == LBM_OK) {
            ++accepted;
        }
        return accepted;
    }
    bool wait(const std::function<bool()>& condition) const { return requests_.wait(condition); }
    std::size_t requests() const { return kept_.size(); }
    void delete_context() { ctx_.reset(); }

private:
    static test::ContextHandle make_context(int lease_ms, test::OptionList options)
    {
        options.emplace_back("lease_ms", std::to_string(lease_ms));
        return test::make_context(options);
    }

    test::Recorder requests_;
    test::KeptRequests kept_{requests_};
    test::ContextHandle ctx_;
    test::WildcardHandle receiver_ = test::make_wildcard(ctx_, "ASK\\..*", requests_);
    int lease_ms_;
};

TEST(RequestProcesses, GivenTwoRespondingProcesses_WhenARequestIsSent_ThenEachAnswersItOnce)
{
    const auto one = test::start_peer(long_lease_ms);
    const auto two = test::start_peer(long_lease_ms);
    one->tell("respond ASK.A");
    two->tell("respond ASK.A");
    Asker asker{long_lease_ms};
    ASSERT_TRUE(asker.meet(2));
    test::Recorder answers;
    const auto request = asker.ask("who?", answers);
    ASSERT_TRUE(answers.wait_for(LBM_MSG_RESPONSE, 2));
    const auto seen = answers.seen();
    EXPECT_THAT(seen, SizeIs(2));
    EXPECT_THAT(seen, Each(AllOf(Field(&test::Seen::payload, "who?"), Field(&test::Seen::sequence, 0U))));
    EXPECT_NE(seen[0].source, seen[1].source);
}

TEST(RequestProcesses, GivenAResponderThatIsKilled_WhenARequestIsSent_ThenOnlyTheOtherAnswers)
{
    auto victim = test::start_peer(long_lease_ms);
    const auto survivor = test::start_peer(long_lease_ms);
    victim->tell("respond ASK.A");
    survivor->tell("respond ASK.A");
    Asker asker{long_lease_ms};
    ASSERT_TRUE(asker.meet(2));
    victim.reset();
    test::Recorder answers;
    const auto first = asker.ask("first", answers);
    const auto second = asker.ask("second", answers);
    ASSERT_TRUE(answers.wait_for(LBM_MSG_RESPONSE, 2));
    EXPECT_THAT(answers.payloads(LBM_MSG_RESPONSE), ElementsAre("first", "second"));
}

TEST(RequestProcesses, GivenAStoppedRequester_WhenItAndAnotherAreAnswered_ThenItAloneBlocksUntilItGoesOn)
{
    Answerer answerer{long_lease_ms};
    const auto stopped = answerer.start_requester("ASK.STOPPED");
    const auto other = answerer.start_requester("ASK.OTHER");
    stopped->stop();
    const std::size_t accepted = answerer.answer_until_refused(0);
    EXPECT_EQ(lbm_errnum(), LBM_EWOULDBLOCK);
    EXPECT_LE(accepted, 2U); // one, and another if the acknowledgement of what came before was still on its way
    EXPECT_EQ(answerer.answer(1, 0), LBM_OK);
    other->tell("answers ASK.OTHER 2");
    EXPECT_EQ(answerer.answer(0), LBM_FAILURE);
    stopped->signal(SIGCONT);
    ASSERT_TRUE(answerer.wait([&] { return answerer.answer(0) == LBM_OK; }));
    stopped->tell("answers ASK.STOPPED " + std::to_string(1 + accepted + 1));
}

TEST(RequestProcesses, GivenARequesterThatIsKilled_WhenAnswersToItWait_ThenTheyFailWhenItsLeaseIsOver)
{
    Answerer answerer{short_lease_ms};
    const auto requester = answerer.start_requester("ASK.KILLED");
    requester->signal(SIGKILL);
    answerer.answer_until_refused(0, LBM_MSG_FLUSH | LBM_SRC_BLOCK);
    EXPECT_EQ(lbm_errnum(), LBM_EOP);
    EXPECT_STREQ(lbm_errmsg(), "lbm_send_response(): the requester is gone");
}

TEST(RequestProcesses, GivenARequesterThatDeletesItsContext_WhenAnswered_ThenTheAnswerFailsAtOnce)
{
    Answerer answerer{long_lease_ms};
    const auto requester = answerer.start_requester("ASK.DELETED");
    requester->tell("delete");
    answerer.answer_until_refused(0, LBM_MSG_FLUSH | LBM_SRC_BLOCK);
    EXPECT_EQ(lbm_errnum(), LBM_EOP);
}

TEST(RequestProcesses, GivenAnAnswerThatWaitsForAStoppedRequester_WhenItsContextIsDeleted_ThenItFails)
{
    Answerer answerer{long_lease_ms};
    const auto stopped = answerer.start_requester("ASK.STOPPED");
    stopped->stop();
    answerer.answer_until_refused(0);
    ASSERT_EQ(lbm_errnum(), LBM_EWOULDBLOCK);
    std::thread waiting{[&] {
        EXPECT_EQ(answerer.answer(0, 0), LBM_FAILURE);
        EXPECT_EQ(lbm_errnum(), LBM_EOP);
    }};
    answerer.delete_context();
    waiting.join();
}

TEST(RequestProcesses, GivenADeletionThatWaitsForAStoppedRequester_WhenAnotherThreadAnswers_ThenItIsToldAtOnce)
{
    Answerer answerer{long_lease_ms, {{"response_window_messages", "1"}, {"close_wait_ms", "60000"}}};
    const auto stopped = answerer.start_requester("ASK.STOPPED");
    stopped->stop();
    answerer.answer_until_refused(0);
    auto deletion = std::async(std::launch::async, [&] { answerer.delete_context(); });
    ASSERT_TRUE(answerer.wait([&] { return answerer.answer(0) == LBM_FAILURE && lbm_errnum() == LBM_EOP; }));
    auto answering = std::async(std::launch::async, [&] {
        const auto long_enough =
            std::chrono::steady_clock::now() + std::chrono::milliseconds{200}; // to be well into it
        while (std::chrono::steady_clock::now() < long_enough) {
            EXPECT_EQ(answerer.answer(0), LBM_FAILURE);
        }
    });
    EXPECT_EQ(answering.wait_for(test::patience), std::future_status::ready);
    EXPECT_EQ(deletion.wait_for(std::chrono::seconds{0}), std::future_status::timeout);
    stopped->signal(SIGCONT);
    EXPECT_EQ(deletion.wait_for(test::patience), std::future_status::ready);
}

TEST(RequestProcesses, GivenAnAnswerOnItsWay_WhenTheContextIsDeleted_ThenItWarnsThatTheAnswerMayBeMissed)
{
    Answerer answerer{long_lease_ms};
    const auto stopped = answerer.start_requester("ASK.STOPPED");
    stopped->stop();
    answerer.answer_until_refused(0);
    testing::internal::CaptureStderr();
    answerer.delete_context();
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("had not acknowledged within 100 ms"));
}

TEST(RequestProcesses, GivenAStoppedRequester_WhenItsAnswersAreLarge_ThenTheirBytesAreBoundedBeforeTheirNumber)
{
    Answerer answerer{long_lease_ms, {{"response_window_messages", "256"}, {"close_wait_ms", "100"}}};
    const auto stopped = answerer.start_requester("ASK.STOPPED");
    stopped->stop();
    const std::string mebibyte(1U << 20U, 'x');
    const std::size_t accepted = answerer.answer_until_refused(0, LBM_MSG_FLUSH | LBM_SRC_NONBLOCK, mebibyte);
    EXPECT_EQ(lbm_errnum(), LBM_EWOULDBLOCK);
    EXPECT_GE(accepted, 4U);
    EXPECT_LE(accepted, 5U);
    stopped->signal(SIGCONT);
    EXPECT_EQ(answerer.answer(0, 0, mebibyte), LBM_OK);
    stopped->tell("answers ASK.STOPPED " + std::to_string(1 + accepted + 1));
}

TEST(RequestProcesses, GivenARequesterStoppedForLongerThanItsLease_WhenItAsksAgain_ThenThatIsAnswered)
{
    Answerer answerer{short_lease_ms};
    const auto requester = answerer.start_requester("ASK.AGAIN");
    requester->stop();
    answerer.answer_until_refused(0, LBM_MSG_FLUSH | LBM_SRC_BLOCK);
    ASSERT_EQ(lbm_errnum(), LBM_EOP);
    requester->signal(SIGCONT);
    ASSERT_TRUE(answerer.wait([&] {
        requester->tell("request ASK.AGAIN 1");
        return answerer.requests() > 1;
    }));
    EXPECT_EQ(answerer.answer(1, 0), LBM_OK);
    requester->tell("answers ASK.AGAIN 2");
}

} // namespace
