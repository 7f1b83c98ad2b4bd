#include <cerrno>
#include <climits>
#include <string>

#include <gmock/gmock.h>

#include <lbm/lbm_cpp.h>

#include "lbm/tests/platform_calls.h"
#include "lbm/tests/statement.h"
#include "tests/doubles/captured_log.h"
#include "tests/doubles/lbm_double/lbm_double.h"

using namespace qx::logging;
using lbm::test::Interval;
using lbm::test::RecordedSleep;
using lbm::test::ThrownText;
using qx::test::CapturedLog;
using qx::test::CapturedStatement;
using qx::test::LbmDouble;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace {

class Response : public ::testing::Test {
protected:
    explicit Response(std::int32_t minLevel = QXLOG_DEBUG)
        : log(minLevel)
    {
    }

    /// Of a request that carries a response object.
    lbm::Response Answerable()
    {
        return transport.make_message({.type = LBM_MSG_REQUEST, .withResponse = true})->response;
    }

    bool Send(int maxRetries, int timeBetweenRetries, int flags = LBM_MSG_FLUSH)
    {
        return Answerable().SendWithRetries("SRC", "TOPIC", "reply", 5, "id-1", maxRetries, timeBetweenRetries, flags);
    }

    void BlockAlways() { transport.fail_always("lbm_send_response", LBM_EWOULDBLOCK); }
    std::size_t Sends() const { return transport.calls("lbm_send_response").size(); }

    LbmDouble transport;
    CapturedLog log;
    RecordedSleep sleep;
};

class ResponseAboveDebug : public Response {
protected:
    ResponseAboveDebug()
        : Response(QXLOG_DEBUG + 1)
    {
    }
};

class ResponseAboveError : public Response {
protected:
    ResponseAboveError()
        : Response(QXLOG_ERROR + 1)
    {
    }
};

std::string Blocked(int sleepMs, const std::string& remaining, int maxRetries)
{
    return "LBMEWouldBlockException responding to requestId=id-1 retrySleepMs=" + std::to_string(sleepMs) +
           " retriesRemaining=" + remaining + " maxRetries=" + std::to_string(maxRetries) +
           " source=SRC topicName=TOPIC error=2";
}

std::string Failed(int sleepMs, int maxRetries)
{
    return "Failed responding: requestId=id-1 retrySleepMs=" + std::to_string(sleepMs) +
           " retriesRemaining=0 maxRetries=" + std::to_string(maxRetries) + " source=SRC topicName=TOPIC error=2";
}

} // namespace

TEST_F(Response, GivenSuccess_WhenSent_ThenTrueAndNothingIsLogged)
{
    EXPECT_TRUE(Send(3, 100));
    EXPECT_EQ(Sends(), 1U);
    EXPECT_THAT(sleep.intervals, IsEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(Response, GivenPositiveResult_WhenSent_ThenItCountsAsSuccess)
{
    transport.script_nth("lbm_send_response", 1, {.result = 1});
    EXPECT_TRUE(Send(3, 100));
}

TEST_F(Response, GivenNegativeResultOtherThanFailure_WhenSent_ThenItCountsAsSuccess)
{
    transport.script_nth("lbm_send_response", 1, {.result = -2});
    EXPECT_TRUE(Send(3, 100));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(Response, GivenNoResponseObject_WhenSent_ThenOneErrorAndNothingIsSent)
{
    const lbm::Response none(nullptr);
    EXPECT_FALSE(none.SendWithRetries("SRC", "TOPIC", "reply", 5, "id-1", 3, 100, LBM_MSG_FLUSH));
    EXPECT_EQ(Sends(), 0U);
    EXPECT_THAT(log.texts(QXLOG_ERROR),
                ElementsAre("source=SRC topicName=TOPIC does not contain a valid response object."));
    EXPECT_THAT(log.statements(), SizeIs(1));
}

TEST_F(Response, GivenRetries_WhenSent_ThenFlagsAreReplacedByFlushAndNonBlocking)
{
    Send(3, 0, 1);
    EXPECT_THAT(transport.calls("lbm_send_response"), ElementsAre("lbm_send_response(response#1, 'reply', 12)"));
}

TEST_F(Response, GivenZeroRetries_WhenSent_ThenFlagsAreReplacedToo)
{
    Send(0, 0, 1);
    EXPECT_THAT(transport.calls("lbm_send_response"), ElementsAre("lbm_send_response(response#1, 'reply', 12)"));
}

TEST_F(Response, GivenRetriesMinusTwo_WhenSent_ThenFlagsAreReplacedToo)
{
    Send(-2, 0, 1);
    EXPECT_THAT(transport.calls("lbm_send_response"), ElementsAre("lbm_send_response(response#1, 'reply', 12)"));
}

TEST_F(Response, GivenRetriesMinusOne_WhenSent_ThenTheCallersFlagsAreUsed)
{
    Send(-1, 0, 1);
    EXPECT_THAT(transport.calls("lbm_send_response"), ElementsAre("lbm_send_response(response#1, 'reply', 1)"));
}

TEST_F(Response, GivenBytesWithNulInside_WhenSent_ThenAllOfThemAreSent)
{
    Answerable().SendWithRetries("SRC", "TOPIC", "a\0b", 3, "id-1", 1, 0, 0);
    EXPECT_THAT(transport.calls("lbm_send_response"),
                ElementsAre(std::string("lbm_send_response(response#1, 'a\0b', 12)", 40)));
}

TEST_F(Response, GivenWouldBlockForEver_WhenSentWithThreeRetries_ThenThreeSendsThreeSleepsAndFalse)
{
    BlockAlways();
    EXPECT_FALSE(Send(3, 100));
    EXPECT_EQ(Sends(), 3U);
    EXPECT_THAT(sleep.intervals,
                ElementsAre(Interval{0, 100'000'000}, Interval{0, 100'000'000}, Interval{0, 100'000'000}));
}

TEST_F(Response, GivenWouldBlockForEver_WhenSentWithThreeRetries_ThenTwoDebugLinesAndOneError)
{
    BlockAlways();
    Send(3, 100);
    EXPECT_THAT(log.texts(), ElementsAre(Blocked(100, "2", 3), Blocked(100, "1", 3), Failed(100, 3)));
    EXPECT_THAT(log.texts(QXLOG_DEBUG), SizeIs(2));
    EXPECT_THAT(log.texts(QXLOG_ERROR), SizeIs(1));
}

TEST_F(Response, GivenEachKindOfLine_WhenLogged_ThenItNamesNoSourceAndNoHandler)
{
    lbm::Response(nullptr).SendWithRetries("SRC", "TOPIC", "reply", 5, "id-1", 2, 0, LBM_MSG_FLUSH);
    transport.fail_next("lbm_send_response", LBM_EOP);
    Send(2, 0);
    BlockAlways();
    Send(2, 0);
    EXPECT_THAT(log.texts(), ElementsAre(EndsWith(" valid response object."), StartsWith("Error responding to "),
                                         Blocked(0, "1", 2), Failed(0, 2)));
    EXPECT_THAT(
        log.statements(),
        Each(AllOf(Field(&CapturedStatement::source, ""), Field(&CapturedStatement::handlerName, ""),
                   Field(&CapturedStatement::id, 0U), Field(&CapturedStatement::decodeType, QXLOG_DECODE_AS_KV))));
}

TEST_F(Response, GivenWouldBlockForEver_WhenSentWithOneRetry_ThenOneSendOneSleepAndFalse)
{
    BlockAlways();
    EXPECT_FALSE(Send(1, 55));
    EXPECT_EQ(Sends(), 1U);
    EXPECT_THAT(sleep.intervals, ElementsAre(Interval{0, 55'000'000}));
    EXPECT_THAT(log.texts(), ElementsAre(Failed(55, 1)));
}

TEST_F(Response, GivenWouldBlockOnce_WhenSent_ThenOneDebugLineAndTrue)
{
    transport.fail_next("lbm_send_response", LBM_EWOULDBLOCK);
    EXPECT_TRUE(Send(3, 100));
    EXPECT_EQ(Sends(), 2U);
    EXPECT_THAT(log.texts(), ElementsAre(Blocked(100, "2", 3)));
}

TEST_F(Response, GivenOtherError_WhenSent_ThenOneErrorWithItsNumberAndNoSleep)
{
    transport.fail_next("lbm_send_response", LBM_EINVAL);
    EXPECT_FALSE(Send(3, 100));
    EXPECT_EQ(Sends(), 1U);
    EXPECT_THAT(sleep.intervals, IsEmpty());
    EXPECT_THAT(log.texts(QXLOG_ERROR),
                ElementsAre("Error responding to requestId=id-1 retrySleepMs=100 retriesRemaining=3 maxRetries=3 "
                            "source=SRC topicName=TOPIC errorCode=" +
                            std::to_string(LBM_EINVAL)));
    EXPECT_THAT(log.statements(), SizeIs(1));
}

TEST_F(Response, GivenOtherErrorAfterWouldBlock_WhenSent_ThenTheErrorShowsTheRetriesLeft)
{
    transport.fail_nth("lbm_send_response", 1, LBM_EWOULDBLOCK);
    transport.fail_nth("lbm_send_response", 2, LBM_EOP);
    EXPECT_FALSE(Send(3, 0));
    EXPECT_THAT(log.texts(QXLOG_ERROR),
                ElementsAre("Error responding to requestId=id-1 retrySleepMs=0 retriesRemaining=2 maxRetries=3 "
                            "source=SRC topicName=TOPIC errorCode=" +
                            std::to_string(LBM_EOP)));
}

TEST_F(Response, GivenZeroRetriesAndWouldBlock_WhenSent_ThenOneSendOneSleepAndTrueAllTheSame)
{
    BlockAlways();
    EXPECT_TRUE(Send(0, 100));
    EXPECT_EQ(Sends(), 1U);
    EXPECT_THAT(sleep.intervals, SizeIs(1));
    EXPECT_THAT(log.texts(), ElementsAre(Blocked(100, "-1", 0)));
}

TEST_F(Response, GivenRetriesMinusOneAndWouldBlock_WhenSent_ThenOneSendOneSleepAndTrue)
{
    BlockAlways();
    EXPECT_TRUE(Send(-1, 100));
    EXPECT_EQ(Sends(), 1U);
    EXPECT_THAT(sleep.intervals, SizeIs(1));
    EXPECT_THAT(log.texts(), ElementsAre(Blocked(100, "-2", -1)));
}

TEST_F(Response, GivenNegativeRetriesAndWouldBlock_WhenSent_ThenOneSendAndTrue)
{
    BlockAlways();
    EXPECT_TRUE(Send(-7, 0));
    EXPECT_EQ(Sends(), 1U);
    EXPECT_THAT(log.texts(), ElementsAre(Blocked(0, "-8", -7)));
}

TEST_F(Response, GivenTheLowestNumberOfRetriesAndWouldBlock_WhenSent_ThenOneSendAndTrue)
{
    BlockAlways();
    transport.on_call("lbm_send_response", [&] {
        if (Sends() > 3) {
            transport.fail_always("lbm_send_response", LBM_EINVAL); // a fourth attempt ends what would not end
        }
    });
    EXPECT_TRUE(Send(INT_MIN, 0));
    EXPECT_EQ(Sends(), 1U);
    EXPECT_THAT(log.texts(), ElementsAre(Blocked(0, "-2147483649", INT_MIN)));
}

TEST_F(Response, GivenZeroAndNegativePause_WhenRetried_ThenNothingSleeps)
{
    BlockAlways();
    EXPECT_FALSE(Send(2, 0));
    EXPECT_FALSE(Send(2, -1500));
    EXPECT_THAT(sleep.intervals, IsEmpty());
    EXPECT_EQ(Sends(), 4U);
    EXPECT_THAT(log.texts(QXLOG_ERROR), ElementsAre(Failed(0, 2), Failed(-1500, 2)));
}

TEST_F(Response, GivenPauseAboveASecond_WhenRetried_ThenSecondsAndNanoseconds)
{
    BlockAlways();
    Send(1, 1500);
    EXPECT_THAT(sleep.intervals, ElementsAre(Interval{1, 500'000'000}));
}

TEST_F(Response, GivenPauseOfOneMillisecond_WhenRetried_ThenAMillionNanoseconds)
{
    BlockAlways();
    Send(1, 1);
    EXPECT_THAT(sleep.intervals, ElementsAre(Interval{0, 1'000'000}));
}

TEST_F(Response, GivenTheLongestPause_WhenRetried_ThenNothingOverflows)
{
    BlockAlways();
    Send(1, INT_MAX);
    EXPECT_THAT(sleep.intervals, ElementsAre(Interval{2'147'483, 647'000'000}));
}

TEST_F(Response, GivenInterruptedSleep_WhenRetried_ThenItGoesOnWithWhatIsLeft)
{
    BlockAlways();
    sleep.answers = {{.error = EINTR, .left = {0, 300}}, {.error = EINTR, .left = {0, 200}}};
    Send(1, 100);
    EXPECT_THAT(sleep.intervals, ElementsAre(Interval{0, 100'000'000}, Interval{0, 300}, Interval{0, 200}));
}

TEST_F(Response, GivenInterruptedSleep_WhenBlockedAgain_ThenTheNextSleepIsWhole)
{
    BlockAlways();
    sleep.answers = {{.error = EINTR, .left = {0, 300}}};
    Send(2, 100);
    EXPECT_THAT(sleep.intervals, ElementsAre(Interval{0, 100'000'000}, Interval{0, 300}, Interval{0, 100'000'000}));
}

TEST_F(Response, GivenSleepThatFails_WhenRetried_ThenItEndsEarlyAndTheRetryFollows)
{
    transport.fail_next("lbm_send_response", LBM_EWOULDBLOCK);
    sleep.answers = {{.error = EINVAL}};
    EXPECT_TRUE(Send(3, 100));
    EXPECT_THAT(sleep.intervals, SizeIs(1));
    EXPECT_EQ(Sends(), 2U);
}

TEST_F(ResponseAboveDebug, GivenWouldBlockForEver_WhenSent_ThenOnlyTheErrorIsLogged)
{
    BlockAlways();
    EXPECT_FALSE(Send(3, 0));
    EXPECT_THAT(log.texts(), ElementsAre(Failed(0, 3)));
}

TEST_F(ResponseAboveError, GivenAnyFailure_WhenSent_ThenFalseWithoutALine)
{
    EXPECT_FALSE(lbm::Response(nullptr).SendWithRetries("SRC", "TOPIC", "reply", 5, "id-1", 3, 100, 0));
    BlockAlways();
    EXPECT_FALSE(Send(3, 0));
    transport.fail_always("lbm_send_response", LBM_EINVAL);
    EXPECT_FALSE(Send(3, 0));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(Response, GivenText_WhenSentWithRetries_ThenTheSameAsItsBytes)
{
    EXPECT_TRUE(Answerable().SendWithRetries("SRC", "TOPIC", std::string("reply"), "id-1", 1, 0, 0));
    EXPECT_THAT(transport.calls("lbm_send_response"), ElementsAre("lbm_send_response(response#1, 'reply', 12)"));
}

TEST_F(Response, GivenOneAttempt_WhenSent_ThenFlagsAreTheCallers)
{
    Answerable().Send("reply", LBM_MSG_FLUSH);
    EXPECT_THAT(transport.calls("lbm_send_response"), ElementsAre("lbm_send_response(response#1, 'reply', 4)"));
}

TEST_F(Response, GivenOneAttemptThatFails_WhenSent_ThenThrows)
{
    transport.fail_next("lbm_send_response");
    EXPECT_EQ(ThrownText([&] { Answerable().Send("reply", 0); }), "Failed to send LBM response: scripted");
}

TEST_F(Response, GivenResponse_WhenConverted_ThenItsHandle)
{
    auto* const handle = transport.make_message({.withResponse = true})->response;
    const lbm::Response response(handle);
    EXPECT_EQ(static_cast<lbm_response_t*>(response), handle);
    EXPECT_EQ(static_cast<lbm_response_t*>(lbm::Response(nullptr)), nullptr);
}
