// Requests that are carried out, and their answers.
#include <cerrno>
#include <deque>
#include <string>
#include <vector>

#include <google/protobuf/stubs/logging.h>

#include "lbm/tests/platform_calls.h"
#include "lbm/tests/triage_fixture.h"
#include "lbm/tests/triage_requests.h"

using namespace qx::logging;
using namespace lbm::test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

class TriageRequest : public TriageTest {
protected:
    explicit TriageRequest(std::int32_t minLevel = QXLOG_DEBUG)
        : TriageTest(minLevel)
    {
        handler.Initialize();
        log.clear();
    }

    void Handle(const std::string& payload)
    {
        handler.handleTriageMessage(transport.make_message(
            {.type = LBM_MSG_REQUEST, .payload = payload, .topic = "T", .source = "S", .withResponse = true}));
    }

    std::deque<lbm::Context> contexts;
    lbm::LbmTriageHandler handler; ///< gone before the contexts
};

class TriageRequestAboveSearch : public TriageRequest {
protected:
    TriageRequestAboveSearch()
        : TriageRequest(QXLOG_INFO_SEARCH + 1)
    {
    }
};

struct Selection {
    int context;
    const char* selector;
};

class TriageSelector : public TriageRequest, public ::testing::WithParamInterface<Selection> {};

} // namespace

TEST_F(TriageRequest, GivenTestRequest_WhenHandled_ThenTwoSearchableLines)
{
    Handle(TestRequest("id-7"));
    EXPECT_THAT(
        log.statements(),
        ElementsAre(TriageLine(QXLOG_INFO_SEARCH, "handling TriageTestRequest request= request_id=id-7 topic=T"),
                    TriageLine(QXLOG_INFO_SEARCH,
                               "responding to TriageTestRequest request with request_id=id-7 :request_id: "
                               "\"id-7\" status: TRIAGE_RESPONSE_STATUS_SUCCESS topic=T")));
}

TEST_F(TriageRequest, GivenTestRequest_WhenHandled_ThenOneAnswerWithItsIdAndSuccess)
{
    Handle(TestRequest("id-7"));
    const auto answers = Answers(transport);
    ASSERT_THAT(answers, SizeIs(1));
    const auto response = Decoded(answers.front());
    ASSERT_TRUE(response);
    EXPECT_EQ(response->request_id(), "id-7");
    EXPECT_TRUE(response->has_status());
    EXPECT_EQ(response->status(), triage::TRIAGE_RESPONSE_STATUS_SUCCESS);
}

TEST_F(TriageRequest, GivenTestRequest_WhenAnswered_ThenBytesAndFlagsAreTheWires)
{
    Handle(TestRequest("id-7"));
    EXPECT_THAT(transport.calls("lbm_send_response"),
                ElementsAre("lbm_send_response(response#1, '" + std::string("\x0a\x04id-7\x10\x00", 8) + "', 12)"));
}

TEST_F(TriageRequest, GivenEmptyId_WhenAnswered_ThenItIsPresentAndEmpty)
{
    Handle(TestRequest(""));
    const auto answers = Answers(transport);
    ASSERT_THAT(answers, SizeIs(1));
    EXPECT_EQ(answers.front().bytes, std::string("\x0a\x00\x10\x00", 4));
    EXPECT_TRUE(Decoded(answers.front())->has_request_id());
}

TEST_F(TriageRequest, GivenTestPayloadThatDoesNotDecode_WhenHandled_ThenAnsweredAllTheSame)
{
    Handle(Enveloped(MakeAction("1", MakeWire(Header::MSG_OPS_TRIAGE_TEST_REQUEST, "\xff\xff\xff"))));
    EXPECT_THAT(Answers(transport), SizeIs(1));
    EXPECT_THAT(log.texts(QXLOG_ERROR), IsEmpty());
}

TEST_F(TriageRequest, GivenFurtherPayloads_WhenHandled_ThenOnlyTheFirstCounts)
{
    auto inner = MakeWire(Header::MSG_OPS_TRIAGE_NAK_KILL_REQUEST, "");
    triage::TriageNakKillRequest second;
    second.set_context(triage::ALL);
    inner.add_payload(second.SerializeAsString());
    auto outer = MakeWire(Header::MSG_OPS_TRIAGE_ACTION_WITH_WIRE, MakeAction("first", inner).SerializeAsString());
    outer.add_payload(MakeAction("second", inner).SerializeAsString());
    Handle(outer.SerializeAsString());
    EXPECT_THAT(log.texts(), ::testing::Contains(HasSubstr("request_id=first ")));
    EXPECT_THAT(log.texts(), ::testing::Contains("begin toggling NAKs for contexts matching  enable_naks=0"));
    EXPECT_THAT(Answers(transport), SizeIs(1));
}

TEST_F(TriageRequest, GivenNakKillRequest_WhenHandled_ThenLinesInOrder)
{
    handler.registerContext("Prices", &contexts.emplace_back());
    log.clear();
    Handle(NakKillRequest("n", triage::ALL, false));
    EXPECT_THAT(
        log.statements(),
        ElementsAre(
            TriageLine(QXLOG_INFO_SEARCH, "handling TriageNakKillRequest request=context: ALL request_id=n topic=T"),
            TriageLine(QXLOG_INFO_SEARCH, "begin toggling NAKs for contexts matching ALL enable_naks=0"),
            ::testing::Field(&qx::test::CapturedStatement::level, QXLOG_ERROR),
            TriageLine(QXLOG_INFO_SEARCH, "end toggling NAKs for contexts matching ALL enable_naks=0"),
            TriageLine(QXLOG_INFO_SEARCH,
                       "responding to TriageNakKillRequest request with request_id=n :request_id: \"n\" "
                       "status: TRIAGE_RESPONSE_STATUS_SUCCESS topic=T")));
}

TEST_F(TriageRequest, GivenNakKillRequestForAll_WhenEverySwitchFails_ThenStillAnsweredWithSuccess)
{
    for (const char* name : {"a", "b", ""}) {
        handler.registerContext(name, &contexts.emplace_back());
    }
    log.clear();
    Handle(NakKillRequest("n", triage::ALL, false));
    EXPECT_THAT(log.texts(QXLOG_ERROR), SizeIs(3));
    const auto answers = Answers(transport);
    ASSERT_THAT(answers, SizeIs(1));
    EXPECT_EQ(Decoded(answers.front())->status(), triage::TRIAGE_RESPONSE_STATUS_SUCCESS);
}

TEST_F(TriageRequest, GivenEnable_WhenANakKillRequestIsHandled_ThenNaksAreEnabled)
{
    Handle(NakKillRequest("n", triage::ALL, true));
    EXPECT_THAT(log.texts(), ::testing::Contains("begin toggling NAKs for contexts matching ALL enable_naks=1"));
    EXPECT_THAT(log.texts(), ::testing::Contains(HasSubstr("request=context: ALL enable: true request_id=n")));
}

TEST_P(TriageSelector, GivenContextOfARequest_WhenHandled_ThenItsSelector)
{
    Handle(NakKillRequest("n", GetParam().context, false));
    EXPECT_THAT(log.texts(), ::testing::Contains(std::string("begin toggling NAKs for contexts matching ") +
                                                 GetParam().selector + " enable_naks=0"));
    EXPECT_THAT(Answers(transport), SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(Contexts, TriageSelector,
                         ::testing::Values(Selection{0, ""}, Selection{1, "PRICEENVIRONMENT"}, Selection{2, "QXNOTIFY"},
                                           Selection{3, "ALL"}, Selection{4, "unknown"}, Selection{-1, "unknown"},
                                           Selection{2147483647, "unknown"}));

TEST_F(TriageRequest, GivenNakPayloadThatDoesNotDecode_WhenHandled_ThenDefaultsCountAndItIsAnswered)
{
    Handle(Enveloped(MakeAction("n", MakeWire(Header::MSG_OPS_TRIAGE_NAK_KILL_REQUEST, "\xff"))));
    EXPECT_THAT(log.texts(), ::testing::Contains("begin toggling NAKs for contexts matching  enable_naks=0"));
    EXPECT_THAT(Answers(transport), SizeIs(1));
}

TEST_F(TriageRequest, GivenNakPayloadThatBreaksOff_WhenHandled_ThenWhatWasReadCounts)
{
    Handle(Enveloped(MakeAction("n", MakeWire(Header::MSG_OPS_TRIAGE_NAK_KILL_REQUEST, "\x08\x03\xff"))));
    EXPECT_THAT(log.texts(), ::testing::Contains("begin toggling NAKs for contexts matching ALL enable_naks=0"));
    EXPECT_THAT(Answers(transport), SizeIs(1));
}

TEST_F(TriageRequest, GivenActionThatBreaksOffBehindItsWire_WhenHandled_ThenWhatWasReadCounts)
{
    const auto action = MakeAction("1", MakeWire(Header::MSG_OPS_TRIAGE_TEST_REQUEST, "")).SerializeAsString() + "\xff";
    Handle(MakeWire(Header::MSG_OPS_TRIAGE_ACTION_WITH_WIRE, action).SerializeAsString());
    EXPECT_THAT(Answers(transport), SizeIs(1));
}

TEST_F(TriageRequest, GivenIdThatIsNotUtf8BehindTheWire_WhenHandled_ThenAnsweredWithTheSameBytes)
{
    auto* const protobufsLog = google::protobuf::SetLogHandler(nullptr); // it reports the id on standard error
    const std::string action =
        MakeAction("", MakeWire(Header::MSG_OPS_TRIAGE_TEST_REQUEST, "")).SerializeAsString() + "\x0a\x02\xc3\x28";
    Handle(MakeWire(Header::MSG_OPS_TRIAGE_ACTION_WITH_WIRE, action).SerializeAsString());
    google::protobuf::SetLogHandler(protobufsLog);
    ASSERT_THAT(Answers(transport), SizeIs(1));
    EXPECT_EQ(Answers(transport).front().bytes, std::string("\x0a\x02\xc3\x28\x10\x00", 6));
}

TEST_F(TriageRequestAboveSearch, GivenRequests_WhenHandled_ThenAnsweredWithoutALine)
{
    Handle(TestRequest("1"));
    Handle(NakKillRequest("2", triage::ALL, true));
    EXPECT_THAT(Answers(transport), SizeIs(2));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(TriageRequest, GivenNoResponseObject_WhenHandled_ThenTheRespondingLineStandsBeforeTheError)
{
    handler.handleTriageMessage(
        transport.make_message({.type = LBM_MSG_REQUEST, .payload = TestRequest("1"), .topic = "T", .source = "S"}));
    EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("handling "), HasSubstr("responding "),
                                         "source=S topicName=T does not contain a valid response object."));
    EXPECT_THAT(Answers(transport), IsEmpty());
}

TEST_F(TriageRequest, GivenFailingSend_WhenHandled_ThenTheErrorNamesSourceTopicAndId)
{
    transport.fail_next("lbm_send_response", LBM_EOP);
    Handle(TestRequest("1"));
    EXPECT_THAT(log.texts(QXLOG_ERROR), ElementsAre("Error responding to requestId=1 retrySleepMs=0 retriesRemaining=0 "
                                                    "maxRetries=0 source=S topicName=T errorCode=" +
                                                    std::to_string(LBM_EOP)));
}

TEST_F(TriageRequest, GivenWouldBlockAndNoRetries_WhenHandled_ThenItIsNotSentAgain)
{
    transport.fail_always("lbm_send_response", LBM_EWOULDBLOCK);
    Handle(TestRequest("1"));
    EXPECT_THAT(Answers(transport), SizeIs(1));
    EXPECT_THAT(log.texts(QXLOG_ERROR), IsEmpty());
}

TEST_F(TriageRequest, GivenRetriesInTheEnvironment_WhenTheAnswerWouldBlock_ThenSentAndPausedAsOften)
{
    variables.Set("TRIAGE_HANDLER_MAX_RETRIES", "3");
    variables.Set("TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS", "20");
    lbm::LbmTriageHandler retrying;
    retrying.Initialize();
    transport.fail_always("lbm_send_response", LBM_EWOULDBLOCK);
    const RecordedSleep sleep;
    retrying.handleTriageMessage(
        transport.make_message({.type = LBM_MSG_REQUEST, .payload = TestRequest("1"), .withResponse = true}));
    EXPECT_THAT(Answers(transport), SizeIs(3));
    EXPECT_THAT(sleep.intervals,
                ElementsAre(Interval{0, 20'000'000}, Interval{0, 20'000'000}, Interval{0, 20'000'000}));
}

TEST_F(TriageRequest, GivenMinusOneRetry_WhenAnswered_ThenTheFlagIsFlushAlone)
{
    variables.Set("TRIAGE_HANDLER_MAX_RETRIES", "-1");
    lbm::LbmTriageHandler retrying;
    retrying.Initialize();
    retrying.handleTriageMessage(
        transport.make_message({.type = LBM_MSG_REQUEST, .payload = TestRequest("1"), .withResponse = true}));
    ASSERT_THAT(Answers(transport), SizeIs(1));
    EXPECT_EQ(Answers(transport).front().flags, "4");
}

TEST_F(TriageRequest, GivenStandardExceptionWhileSending_WhenHandled_ThenLoggedAndSwallowed)
{
    transport.on_call("lbm_send_response", [] { throw std::runtime_error("broken"); });
    EXPECT_NO_THROW(Handle(TestRequest("1")));
    EXPECT_THAT(log.statements(),
                ElementsAre(::testing::_, ::testing::_,
                            TriageLine(QXLOG_ERROR, "exception parsing Triage Message topic=T error=broken")));
}

TEST_F(TriageRequest, GivenSomethingElseThrown_WhenHandled_ThenItEscapes)
{
    transport.on_call("lbm_send_response", [] { throw 42; });
    EXPECT_THROW(Handle(TestRequest("1")), int);
}

TEST_F(TriageRequest, GivenPayloadThatCannotBeCopied_WhenHandled_ThenTheExceptionEscapes)
{
    auto* const msg = transport.make_message({.type = LBM_MSG_REQUEST, .topic = "T"});
    msg->len = static_cast<std::size_t>(-1);
    EXPECT_THROW(handler.handleTriageMessage(msg), std::exception);
    EXPECT_THAT(log.texts(), IsEmpty());
    msg->len = 0;
}

TEST_F(TriageRequest, GivenNoSourceAndNoTopic_WhenAnswered_ThenLogAndAnswerGoOn)
{
    auto* const msg =
        transport.make_message({.type = LBM_MSG_REQUEST, .payload = TestRequest("1"), .withResponse = true});
    msg->topic_name = nullptr;
    msg->source = nullptr;
    transport.fail_next("lbm_send_response", LBM_EOP);
    handler.handleTriageMessage(msg);
    EXPECT_THAT(log.texts(QXLOG_ERROR), ElementsAre(HasSubstr(" source= topicName= errorCode=")));
}

TEST_F(TriageRequest, GivenTheSameRequestTwice_WhenHandled_ThenBothAreAnswered)
{
    Handle(TestRequest("1"));
    Handle(TestRequest("1"));
    EXPECT_THAT(Answers(transport), SizeIs(2));
}
