#include "qxnotify/triage_transport.h"

#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/doubles/lbm_double/lbm_double.h"

namespace qx::tool {
namespace {

using test::LbmDouble;
using test::Script;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* context = "PriceEnvironmentContext";

TEST(TriageRequester, GivenAnswer_WhenItComes_ThenTheWaitEndsAndItIsHandedOverOnce)
{
    LbmDouble lbm;
    StopSignals stop;
    TriageRequester requester(context, "T", stop);
    ASSERT_TRUE(requester.send("ask"));
    ASSERT_TRUE(lbm.answer(1, "yes", "somebody"));
    EXPECT_EQ(requester.wait_for_answer({}), Woken::ready);
    const auto answers = requester.take_answers();
    ASSERT_THAT(answers, SizeIs(1));
    EXPECT_EQ(answers[0].source, "somebody");
    EXPECT_EQ(answers[0].payload, "yes");
    EXPECT_GE(answers[0].at, requester.sent_at());
    EXPECT_THAT(requester.take_answers(), IsEmpty());
    EXPECT_EQ(requester.wait_for_answer(deadline_in(0)), Woken::timed_out);
}

TEST(TriageRequester, GivenEmptyAnswer_WhenTaken_ThenEmptyPayload)
{
    LbmDouble lbm;
    StopSignals stop;
    TriageRequester requester(context, "T", stop);
    ASSERT_TRUE(requester.send("ask"));
    ASSERT_TRUE(lbm.answer(1, ""));
    ASSERT_THAT(requester.take_answers(), SizeIs(1));
}

TEST(TriageRequester, GivenSecondRequest_WhenSent_ThenTheFirstAndItsAnswersAreGone)
{
    LbmDouble lbm;
    StopSignals stop;
    TriageRequester requester(context, "T", stop);
    ASSERT_TRUE(requester.send("one"));
    lbm.answer(1, "late");
    ASSERT_TRUE(requester.send("two"));
    EXPECT_FALSE(lbm.answer(1, "too late"));
    EXPECT_THAT(requester.take_answers(), IsEmpty());
    EXPECT_EQ(lbm.request(2), "two");
}

TEST(TriageRequester, GivenAnswerBeforeTheCallHasReturned_WhenSent_ThenItIsKept)
{
    LbmDouble lbm;
    StopSignals stop;
    TriageRequester requester(context, "T", stop);
    lbm.on_call("lbm_send_request", [&] { lbm.answer(1, "yes"); });
    ASSERT_TRUE(requester.send("ask"));
    EXPECT_THAT(requester.take_answers(), SizeIs(1));
}

TEST(TriageRequester, GivenRequester_WhenDestroyed_ThenNothingIsLeftAndTheContextGoesLast)
{
    LbmDouble lbm;
    StopSignals stop;
    {
        TriageRequester requester(context, "T", stop);
        requester.send("ask");
    }
    EXPECT_THAT(lbm.leaks(), IsEmpty());
    EXPECT_THAT(lbm.calls().back(), HasSubstr("lbm_context_delete"));
}

TEST(TriageRequester, GivenFullTransport_WhenSent_ThenItTriesAgain)
{
    LbmDouble lbm;
    StopSignals stop;
    TriageRequester requester(context, "T", stop);
    lbm.script_nth("lbm_send_request", 1, Script{LBM_FAILURE, LBM_EWOULDBLOCK});
    EXPECT_TRUE(requester.send("ask"));
    EXPECT_THAT(lbm.calls("lbm_send_request"), SizeIs(2));
}

TEST(TriageRequester, GivenTransportThatStaysFull_WhenASignalComes_ThenNotSent)
{
    LbmDouble lbm;
    StopSignals stop;
    TriageRequester requester(context, "T", stop);
    lbm.fail_always("lbm_send_request", LBM_EWOULDBLOCK);
    ::kill(::getpid(), SIGTERM);
    EXPECT_FALSE(requester.send("ask"));
}

std::string error_of_sending(TriageRequester& requester)
{
    try {
        requester.send("ask");
        return "nothing was thrown";
    } catch (const TransportError& e) {
        return e.what();
    }
}

TEST(TriageRequester, GivenOtherFailure_WhenSent_ThenTheErrorNamesCallAndTopic)
{
    LbmDouble lbm;
    StopSignals stop;
    TriageRequester requester(context, "T", stop);
    lbm.fail_next("lbm_send_request", 1, "no");
    EXPECT_EQ(error_of_sending(requester), "lbm_send_request(T): no [1]");
}

TEST(TriageRequester, GivenReasonThatNamesTheCall_WhenThrown_ThenItIsNotNamedTwice)
{
    LbmDouble lbm;
    StopSignals stop;
    TriageRequester requester(context, "T", stop);
    lbm.fail_next("lbm_send_request", 1, "lbm_send_request(T): no");
    EXPECT_EQ(error_of_sending(requester), "lbm_send_request(T): no [1]");
}

TEST(TriageRequester, GivenAnswerAndPastDeadline_WhenWaited_ThenTimedOutAndItCanBeTaken)
{
    LbmDouble lbm;
    StopSignals stop;
    TriageRequester requester(context, "T", stop);
    ASSERT_TRUE(requester.send("ask"));
    ASSERT_TRUE(lbm.answer(1, "yes"));
    EXPECT_EQ(requester.wait_for_answer(deadline_in(0)), Woken::timed_out);
    EXPECT_THAT(requester.take_answers(), SizeIs(1));
}

TEST(TriageRequester, GivenRequestThatIsEnded_WhenAnswersCome_ThenOnlyThoseBeforeAreKept)
{
    LbmDouble lbm;
    StopSignals stop;
    TriageRequester requester(context, "T", stop);
    ASSERT_TRUE(requester.send("ask"));
    ASSERT_TRUE(lbm.answer(1, "yes"));
    requester.end_request();
    requester.end_request();
    EXPECT_FALSE(lbm.answer(1, "late"));
    EXPECT_THAT(requester.take_answers(), SizeIs(1));
}

TEST(TriageRequester, GivenMoreThanIsKept_WhenAnswered_ThenTheRestIsDroppedAndCountedUntilTheNextRequest)
{
    LbmDouble lbm;
    StopSignals stop;
    TriageRequester requester(context, "T", stop);
    ASSERT_TRUE(requester.send("ask"));
    const std::string large(answer_bytes_max / 4, 'x');
    for (int i = 0; i < 6; ++i) {
        ASSERT_TRUE(lbm.answer(1, large));
        EXPECT_THAT(requester.take_answers(), SizeIs(i < 3 ? 1 : 0)); // taking makes no room
    }
    EXPECT_EQ(requester.dropped(), 3U);
    ASSERT_TRUE(requester.send("again"));
    EXPECT_EQ(requester.dropped(), 0U);
    ASSERT_TRUE(lbm.answer(2, large));
    EXPECT_THAT(requester.take_answers(), SizeIs(1));
}

TEST(TriageRequester, GivenEmptyAnswerOfALongSource_WhenItIsMoreThanIsKept_ThenItIsDroppedToo)
{
    LbmDouble lbm;
    StopSignals stop;
    TriageRequester requester(context, "T", stop);
    ASSERT_TRUE(requester.send("ask"));
    ASSERT_TRUE(lbm.answer(1, "", std::string(answer_bytes_max, 's')));
    EXPECT_EQ(requester.dropped(), 1U);
}

TEST(TriageRequester, GivenNobody_WhenTheWaitIsOver_ThenTimedOut)
{
    LbmDouble lbm;
    StopSignals stop;
    TriageRequester requester(context, "T", stop);
    EXPECT_EQ(requester.wait_for_responder(0.001), Woken::timed_out);
}

TEST(TriageRequester, GivenConnection_WhenWaited_ThenReadyAndAgain)
{
    LbmDouble lbm;
    StopSignals stop;
    TriageRequester requester(context, "T", stop);
    ASSERT_TRUE(lbm.tell_source("T", LBM_SRC_EVENT_CONNECT));
    EXPECT_EQ(requester.wait_for_responder(1'000), Woken::ready);
    EXPECT_EQ(requester.wait_for_responder(1'000), Woken::ready);
}

} // namespace
} // namespace qx::tool
