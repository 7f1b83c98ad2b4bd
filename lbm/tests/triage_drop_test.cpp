// Requests that are not carried out: which line says so, and that nothing is answered.
#include <string>

#include <google/protobuf/stubs/logging.h>

#include "lbm/tests/triage_fixture.h"
#include "lbm/tests/triage_requests.h"

using namespace qx::logging;
using namespace lbm::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class TriageDrop : public TriageTest {
protected:
    explicit TriageDrop(std::int32_t minLevel = QXLOG_DEBUG)
        : TriageTest(minLevel)
        , protobufsLog(google::protobuf::SetLogHandler(nullptr)) // it reports bad texts on standard error
    {
        handler.Initialize();
        log.clear();
    }
    ~TriageDrop() override
    {
        EXPECT_THAT(Answers(transport), IsEmpty());
        google::protobuf::SetLogHandler(protobufsLog);
    }

    void Handle(const std::string& payload)
    {
        handler.handleTriageMessage(transport.make_message(
            {.type = LBM_MSG_REQUEST, .payload = payload, .topic = "T", .source = "S", .withResponse = true}));
    }

    google::protobuf::LogHandler* protobufsLog;
    lbm::LbmTriageHandler handler;
};

class TriageDropAboveWarning : public TriageDrop {
protected:
    TriageDropAboveWarning()
        : TriageDrop(QXLOG_WARNING + 1)
    {
    }
};

auto Warning(const std::string& text)
{
    return ElementsAre(TriageLine(QXLOG_WARNING, text));
}

constexpr const char* notValid = "dropping request. Wire message is not valid topic=T wire=";
constexpr const char* notAnAction =
    "dropping Triage request topic=T Header must be MSG_OPS_TRIAGE_ACTION_WITH_WIRE wire=";
constexpr const char* notARequest = "dropping Triage request. msg_type must be MSG_OPS_TRIAGE_NAK_KILL_REQUEST or "
                                    "MSG_OPS_TRIAGE_TEST_REQUEST TriageActionWithWire=";

} // namespace

TEST_F(TriageDrop, GivenEmptyPayload_WhenHandled_ThenNotAValidWire)
{
    Handle("");
    EXPECT_THAT(log.statements(), Warning(notValid));
}

TEST_F(TriageDrop, GivenNoise_WhenHandled_ThenNotAValidWire)
{
    Handle("this is no wire");
    EXPECT_THAT(log.statements(),
                ElementsAre(::testing::Field(&qx::test::CapturedStatement::text, ::testing::StartsWith(notValid))));
}

TEST_F(TriageDrop, GivenNoHeader_WhenHandled_ThenNotAValidWireAndTheLineShowsIt)
{
    Wire wire;
    wire.add_payload("x");
    Handle(wire.SerializeAsString());
    EXPECT_THAT(log.statements(), Warning(std::string(notValid) + "payload: \"x\""));
}

TEST_F(TriageDrop, GivenHeaderWithoutType_WhenHandled_ThenNotAValidWire)
{
    Wire wire;
    wire.mutable_header();
    wire.add_payload("x");
    Handle(wire.SerializeAsString());
    EXPECT_THAT(log.statements(), Warning(std::string(notValid) + "header { } payload: \"x\""));
}

TEST_F(TriageDrop, GivenNoPayload_WhenHandled_ThenNotAValidWire)
{
    Wire wire;
    wire.mutable_header()->set_msg_type(Header::MSG_OPS_TRIAGE_ACTION_WITH_WIRE);
    Handle(wire.SerializeAsString());
    EXPECT_THAT(log.statements(),
                Warning(std::string(notValid) + "header { msg_type: MSG_OPS_TRIAGE_ACTION_WITH_WIRE }"));
}

TEST_F(TriageDrop, GivenValidRequestCutShort_WhenHandled_ThenNotAValidWire)
{
    auto bytes = TestRequest("1");
    bytes.pop_back();
    Handle(bytes);
    EXPECT_THAT(log.texts(QXLOG_WARNING), ElementsAre(::testing::StartsWith(notValid)));
}

TEST_F(TriageDrop, GivenBareTestRequest_WhenHandled_ThenTheHeaderMustBeAnAction)
{
    Handle(MakeWire(Header::MSG_OPS_TRIAGE_TEST_REQUEST, "").SerializeAsString());
    EXPECT_THAT(log.statements(),
                Warning(std::string(notAnAction) + "header { msg_type: MSG_OPS_TRIAGE_TEST_REQUEST } payload: \"\""));
}

TEST_F(TriageDrop, GivenBareNakKillRequest_WhenHandled_ThenTheHeaderMustBeAnAction)
{
    Handle(MakeWire(Header::MSG_OPS_TRIAGE_NAK_KILL_REQUEST, "").SerializeAsString());
    EXPECT_THAT(log.statements(), Warning(std::string(notAnAction) +
                                          "header { msg_type: MSG_OPS_TRIAGE_NAK_KILL_REQUEST } payload: \"\""));
}

TEST_F(TriageDrop, GivenOuterTypeZero_WhenHandled_ThenItIsPresentAndTheHeaderMustBeAnAction)
{
    Handle(MakeWire(0, "").SerializeAsString());
    EXPECT_THAT(log.texts(QXLOG_WARNING), ElementsAre(::testing::StartsWith(notAnAction)));
}

TEST_F(TriageDrop, GivenOuterTypeWithoutAName_WhenHandled_ThenTheHeaderMustBeAnAction)
{
    Handle(MakeWire(4711, "").SerializeAsString());
    EXPECT_THAT(log.statements(), Warning(std::string(notAnAction) + "header { msg_type: 4711 } payload: \"\""));
}

TEST_F(TriageDrop, GivenActionOfTheOldKind_WhenHandled_ThenTheHeaderMustBeAnAction)
{
    Handle(MakeWire(Header::MSG_OPS_TRIAGE_ACTION, "").SerializeAsString());
    EXPECT_THAT(log.texts(QXLOG_WARNING), ElementsAre(::testing::StartsWith(notAnAction)));
}

TEST_F(TriageDrop, GivenActionWithoutWire_WhenHandled_ThenSilence)
{
    Handle(Enveloped(triage::TriageActionWithWire()));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(TriageDrop, GivenActionThatDoesNotDecode_WhenHandled_ThenSilence)
{
    Handle(MakeWire(Header::MSG_OPS_TRIAGE_ACTION_WITH_WIRE, "\xff\xff").SerializeAsString());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(TriageDrop, GivenInnerWireWithoutHeader_WhenHandled_ThenSilence)
{
    Wire inner;
    inner.add_payload("");
    Handle(Enveloped(MakeAction("1", inner)));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(TriageDrop, GivenInnerWireWithoutHeader_WhenItArrives_ThenReceivedAndFinishedOnly)
{
    Wire inner;
    inner.add_payload("");
    handler.handleLbmMessage(transport.make_message(
        {.type = LBM_MSG_REQUEST, .payload = Enveloped(MakeAction("1", inner)), .withResponse = true}));
    EXPECT_THAT(log.texts(), ElementsAre(::testing::StartsWith("Received LBM request "),
                                         ::testing::StartsWith("Finished with LBM request ")));
}

TEST_F(TriageDrop, GivenInnerHeaderWithoutType_WhenHandled_ThenSilence)
{
    Wire inner;
    inner.mutable_header();
    inner.add_payload("");
    Handle(Enveloped(MakeAction("1", inner)));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(TriageDrop, GivenInnerWireWithoutPayload_WhenHandled_ThenSilence)
{
    Wire inner;
    inner.mutable_header()->set_msg_type(Header::MSG_OPS_TRIAGE_TEST_REQUEST);
    Handle(Enveloped(MakeAction("1", inner)));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(TriageDrop, GivenInnerTypeOfAnotherKind_WhenHandled_ThenTheLineShowsTheAction)
{
    Handle(Enveloped(MakeAction("1", MakeWire(Header::MSG_OPS_TRIAGE_ACTION, "p"))));
    EXPECT_THAT(log.statements(),
                Warning(std::string(notARequest) +
                        "request_id: \"1\" wire { header { msg_type: MSG_OPS_TRIAGE_ACTION } payload: \"p\" }"));
}

TEST_F(TriageDrop, GivenInnerTypeWithoutAName_WhenHandled_ThenTheLineShowsItsNumber)
{
    Handle(Enveloped(MakeAction("1", MakeWire(-5, ""))));
    EXPECT_THAT(log.statements(),
                Warning(std::string(notARequest) + "request_id: \"1\" wire { header { msg_type: -5 } payload: \"\" }"));
}

TEST_F(TriageDrop, GivenInnerTypeZero_WhenHandled_ThenItIsPresentAndOfAnotherKind)
{
    Handle(Enveloped(MakeAction("1", MakeWire(0, ""))));
    EXPECT_THAT(log.texts(QXLOG_WARNING), ElementsAre(::testing::StartsWith(notARequest)));
}

TEST_F(TriageDrop, GivenActionInsideAnAction_WhenHandled_ThenItIsOfAnotherKind)
{
    Handle(Enveloped(MakeAction("1", MakeWire(Header::MSG_OPS_TRIAGE_ACTION_WITH_WIRE, TestRequest("2")))));
    EXPECT_THAT(log.texts(QXLOG_WARNING), ElementsAre(::testing::StartsWith(notARequest)));
}

TEST_F(TriageDrop, GivenIdThatIsNotUtf8_WhenHandled_ThenDecodingEndsThereAndSilence)
{
    const std::string inner = MakeWire(Header::MSG_OPS_TRIAGE_TEST_REQUEST, "").SerializeAsString();
    const std::string action =
        "\x0a\x01\xff" + std::string("\x12") + static_cast<char>(inner.size()) + inner; // id first, then the wire
    Handle(MakeWire(Header::MSG_OPS_TRIAGE_ACTION_WITH_WIRE, action).SerializeAsString());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(TriageDropAboveWarning, GivenEveryKindOfDrop_WhenHandled_ThenNoLine)
{
    Handle("");
    Handle(MakeWire(0, "").SerializeAsString());
    Handle(Enveloped(MakeAction("1", MakeWire(0, ""))));
    EXPECT_THAT(log.texts(), IsEmpty());
}
