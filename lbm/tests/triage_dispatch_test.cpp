// What the receivers' callback does with each kind of message.
#include <cstdint>
#include <limits>
#include <string>

#include "lbm/tests/triage_fixture.h"
#include "lbm/tests/triage_requests.h"

using namespace qx::logging;
using lbm::test::Answers;
using lbm::test::envDcTopic;
using lbm::test::envTopic;
using lbm::test::TestRequest;
using lbm::test::TriageLine;
using qx::test::MessageSpec;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

class TriageDispatch : public lbm::test::TriageTest {
protected:
    explicit TriageDispatch(std::int32_t minLevel = QXLOG_DEBUG)
        : TriageTest(minLevel)
    {
        handler.Initialize();
        log.clear();
    }

    int Handle(const MessageSpec& spec) { return handler.handleLbmMessage(transport.make_message(spec)); }

    lbm::LbmTriageHandler handler;
};

class TriageDispatchAboveSearch : public TriageDispatch {
protected:
    TriageDispatchAboveSearch()
        : TriageDispatch(QXLOG_INFO_SEARCH + 1)
    {
    }
};

class TriageDispatchAtSearch : public TriageDispatch {
protected:
    TriageDispatchAtSearch()
        : TriageDispatch(QXLOG_INFO_SEARCH)
    {
    }
};

struct Event {
    int type;
    const char* text;
};

class TriageEvent : public TriageDispatch, public ::testing::WithParamInterface<Event> {};
class TriageNonEvent : public TriageDispatch, public ::testing::WithParamInterface<int> {};

MessageSpec ValidRequest()
{
    return {.type = LBM_MSG_REQUEST, .payload = TestRequest("id"), .withResponse = true};
}

} // namespace

TEST_P(TriageEvent, GivenIt_WhenHandled_ThenOneSearchableLineWithAllFields)
{
    EXPECT_EQ(Handle({.type = GetParam().type, .topic = "T", .source = "S", .sequenceNumber = 7, .flags = 3}), 0);
    EXPECT_THAT(log.statements(),
                ElementsAre(TriageLine(QXLOG_INFO_SEARCH,
                                       std::string(GetParam().text) + " lbm_topic=T lbm_src=S lbm_sqn=7 lbm_flags=3")));
    EXPECT_THAT(Answers(transport), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Kinds, TriageEvent,
                         ::testing::Values(Event{0, "Received LBM message"}, Event{1, "End of Transport Session"},
                                           Event{4, "LOST"}, Event{5, "LOSS BURST"},
                                           Event{6, "no sources found for topic"},
                                           Event{20, "Beginning of Transport Session"}));

TEST_P(TriageNonEvent, GivenIt_WhenHandled_ThenNothingHappens)
{
    auto spec = ValidRequest();
    spec.type = GetParam();
    EXPECT_EQ(Handle(spec), 0);
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_THAT(Answers(transport), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Kinds, TriageNonEvent,
                         ::testing::Values(3, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 21, 22, 100, -1, -2,
                                           std::numeric_limits<int>::max(), std::numeric_limits<int>::min()));

TEST_F(TriageDispatch, GivenTheHighestSequenceNumber_WhenHandled_ThenItPrintsUnsigned)
{
    Handle({.sequenceNumber = std::numeric_limits<std::uint32_t>::max()});
    EXPECT_THAT(log.texts(), ElementsAre(HasSubstr(" lbm_sqn=4294967295 ")));
}

TEST_F(TriageDispatch, GivenNegativeFlags_WhenHandled_ThenTheyPrintSigned)
{
    Handle({.flags = -1});
    EXPECT_THAT(log.texts(), ElementsAre(::testing::EndsWith(" lbm_flags=-1")));
}

TEST_F(TriageDispatch, GivenEmptyTexts_WhenHandled_ThenTheLineHasItsLabels)
{
    Handle({.topic = "", .source = ""});
    EXPECT_THAT(log.texts(), ElementsAre("Received LBM message lbm_topic= lbm_src= lbm_sqn=0 lbm_flags=0"));
}

TEST_F(TriageDispatch, GivenNoTexts_WhenHandled_ThenThisLineAndTheNextAreWritten)
{
    auto* const msg = transport.make_message();
    msg->topic_name = nullptr;
    msg->source = nullptr;
    handler.handleLbmMessage(msg);
    Handle({.type = LBM_MSG_BOS});
    EXPECT_THAT(log.texts(), ElementsAre("Received LBM message lbm_topic= lbm_src= lbm_sqn=0 lbm_flags=0",
                                         HasSubstr("Beginning of Transport Session")));
}

TEST_F(TriageDispatch, GivenDataMessageWithARequestInside_WhenHandled_ThenOnlyLoggedAndNotDecoded)
{
    auto spec = ValidRequest();
    spec.type = LBM_MSG_DATA;
    Handle(spec);
    EXPECT_THAT(log.statements(), SizeIs(1));
    EXPECT_THAT(Answers(transport), IsEmpty());
}

TEST_F(TriageDispatch, GivenRequest_WhenHandled_ThenReceivedAndFinishedStandAroundEverythingElse)
{
    auto spec = ValidRequest();
    spec.topic = "T";
    spec.source = "S";
    spec.sequenceNumber = 9;
    spec.flags = 2;
    EXPECT_EQ(Handle(spec), 0);
    const std::string fields = "lbm_topic=T lbm_src=S lbm_sqn=9 lbm_flags=2";
    EXPECT_THAT(log.statements(),
                ElementsAre(TriageLine(QXLOG_INFO_SEARCH, "Received LBM request " + fields), ::testing::_, ::testing::_,
                            TriageLine(QXLOG_INFO_SEARCH, "Finished with LBM request " + fields)));
}

TEST_F(TriageDispatch, GivenEmptyRequest_WhenHandled_ThenItsDropStandsBetween)
{
    EXPECT_EQ(Handle({.type = LBM_MSG_REQUEST}), 0);
    EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("Received LBM request "), HasSubstr("dropping request."),
                                         HasSubstr("Finished with LBM request ")));
}

TEST_F(TriageDispatchAboveSearch, GivenRequest_WhenHandled_ThenAnsweredWithoutALine)
{
    EXPECT_EQ(Handle(ValidRequest()), 0);
    EXPECT_THAT(Answers(transport), SizeIs(1));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(TriageDispatchAtSearch, GivenRequest_WhenHandled_ThenItsLinesAreWritten)
{
    Handle(ValidRequest());
    EXPECT_THAT(log.statements(), SizeIs(4));
}

TEST_F(TriageDispatch, GivenLevelRaisedMeanwhile_WhenHandled_ThenFinishedIsNotWritten)
{
    transport.on_call("lbm_send_response", [] { g_minLogLevel = QXLOG_INFO_SEARCH + 1; });
    Handle(ValidRequest());
    EXPECT_THAT(log.texts(), ::testing::Not(::testing::Contains(HasSubstr("Finished"))));
}

TEST_F(TriageDispatchAboveSearch, GivenLevelLoweredMeanwhile_WhenHandled_ThenFinishedIsWritten)
{
    transport.on_call("lbm_send_response", [] { g_minLogLevel = QXLOG_INFO_SEARCH; });
    Handle(ValidRequest());
    EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("Finished with LBM request ")));
}

TEST_F(TriageDispatch, GivenSomethingElseThrown_WhenHandled_ThenItPassesThroughWithoutFinished)
{
    transport.on_call("lbm_send_response", [] { throw 42; });
    EXPECT_THROW(Handle(ValidRequest()), int);
    EXPECT_THAT(log.texts(), ::testing::Not(::testing::Contains(HasSubstr("Finished"))));
}

TEST_F(TriageDispatch, GivenRegisteredContext_WhenARequestArrivesOnEitherTopic_ThenAnswered)
{
    lbm::Context context;
    lbm::LbmTriageHandler inner; // gone before its context
    inner.Initialize();
    inner.registerContext("", &context);
    EXPECT_EQ(transport.deliver(envTopic, transport.make_message(ValidRequest())), 0);
    EXPECT_EQ(transport.deliver(envDcTopic, transport.make_message(ValidRequest())), 0);
    EXPECT_THAT(Answers(transport), SizeIs(2));
}

TEST_F(TriageDispatch, GivenDeliveredRequest_WhenHandled_ThenItsReferencesAreGivenBack)
{
    lbm::Context context;
    lbm::LbmTriageHandler inner;
    inner.Initialize();
    inner.registerContext("", &context);
    auto* const msg = transport.make_message(ValidRequest());
    transport.deliver(envTopic, msg);
    EXPECT_EQ(transport.refcount(msg), 0);
}
