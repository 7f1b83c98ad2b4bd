// Everything that never reaches the observer: transport events, deletes, types that are not supported.
#include "price_server/ps_common/connector/tests/listener_fixture.h"

using namespace qx::logging;
using qx::test::MessageSpec;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace ps_ns::test {
namespace {

struct EventCase {
    int type;
    LogLevel level;
    std::string text;
};

class TransportEvent : public ListenerTest, public ::testing::WithParamInterface<EventCase> {
protected:
    MessageSpec Event() const
    {
        return {.type = GetParam().type,
                .payload = "never read",
                .topic = "qxnotify.public.pds.native.42.X",
                .source = "SRC",
                .sequenceNumber = 4294967295U};
    }
};

class UnsupportedMessageType : public ListenerTest, public ::testing::WithParamInterface<int> {};

} // namespace

TEST_P(TransportEvent, GivenEvent_WhenHandled_ThenExactlyItsLine)
{
    Handle(Event());
    EXPECT_THAT(log.statements(), ElementsAre(Line(GetParam().level, GetParam().text)));
}

TEST_P(TransportEvent, GivenMinimumLevelAbove_WhenHandled_ThenNothingIsWritten)
{
    const qx::test::CapturedLog quiet(GetParam().level + 1);
    Handle(Event());
    EXPECT_THAT(quiet.texts(), IsEmpty());
}

TEST_P(TransportEvent, GivenMinimumLevelEqual_WhenHandled_ThenItsLine)
{
    const qx::test::CapturedLog exact(GetParam().level);
    Handle(Event());
    EXPECT_THAT(exact.texts(), ElementsAre(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, TransportEvent,
    ::testing::Values(
        EventCase{4, QXLOG_WARNING,
                  "QXNOTIFY | LOST topic=qxnotify.public.pds.native.42.X source=SRC sequence_no=4294967295"},
        EventCase{5, QXLOG_WARNING,
                  "QXNOTIFY | LOSS_BURST topic=qxnotify.public.pds.native.42.X source=SRC sequence_no=4294967295"},
        EventCase{20, QXLOG_DEBUG, "QXNOTIFY | BOS topic=qxnotify.public.pds.native.42.X source=SRC"},
        EventCase{1, QXLOG_DEBUG, "QXNOTIFY | EOS topic=qxnotify.public.pds.native.42.X source=SRC"},
        EventCase{6, QXLOG_DEBUG, "QXNOTIFY | NO_SOURCE topic=qxnotify.public.pds.native.42.X"}));

TEST_P(UnsupportedMessageType, GivenOtherType_WhenHandled_ThenOneInfoLineAndNothingElse)
{
    Handle({.type = GetParam(), .payload = "never read"});
    EXPECT_THAT(log.statements(),
                ElementsAre(Line(QXLOG_INFO, "QXNOTIFY | Unsupported type=" + std::to_string(GetParam()))));
}

INSTANTIATE_TEST_SUITE_P(Types, UnsupportedMessageType,
                         ::testing::Values(2, 3, 7, 19, 21, -1, -2147483648, 2147483647));

TEST_F(ListenerTest, GivenEventWithoutTexts_WhenHandled_ThenTheThreadsLogStillWorks)
{
    lbm_msg_t* msg = transport.make_message({.type = LBM_MSG_EOS});
    msg->topic_name = nullptr;
    msg->source = nullptr;
    listener.DoHandleNotification(msg);
    Handle({.type = 3});
    EXPECT_THAT(log.texts(), ElementsAre("QXNOTIFY | EOS topic= source=", "QXNOTIFY | Unsupported type=3"));
}

TEST_F(ListenerTest, GivenProductDeleteWithoutData_WhenHandled_ThenLoggedAndDropped)
{
    const auto payload = Envelope("Delete", "ProductDeleteRecord", "17");
    HandleData(payload);
    EXPECT_THAT(log.statements(),
                ElementsAre(Line(QXLOG_DEBUG, "QXNOTIFY | Outer JSON Data=" + payload),
                            Line(QXLOG_DEBUG, "QXNOTIFY | Product Delete will be ignored for product_id=17")));
}

TEST_F(ListenerTest, GivenInstrumentDeleteWithoutData_WhenHandled_ThenLoggedAndDropped)
{
    const auto payload = Envelope("Delete", "InstrumentDeleteRecord", "17");
    HandleData(payload);
    EXPECT_THAT(log.statements(),
                ElementsAre(Line(QXLOG_DEBUG, "QXNOTIFY | Outer JSON Data=" + payload),
                            Line(QXLOG_DEBUG, "QXNOTIFY | Instrument Delete will be ignored for instrument_id=17")));
}

TEST_F(ListenerTest, GivenDeleteWithData_WhenHandled_ThenTheDataIsNotRead)
{
    HandleData(Envelope("Delete", "ProductDeleteRecord", "17", "not JSON"));
    EXPECT_EQ(log.texts().size(), 2U);
}

TEST_F(ListenerTest, GivenUnsupportedDataTypeWithoutData_WhenHandled_ThenWarned)
{
    HandleData(Envelope("Update", "ProductUploadRecord", "17"));
    ASSERT_EQ(log.statements().size(), 2U);
    EXPECT_THAT(log.statements()[1],
                Line(QXLOG_WARNING, "QXNOTIFY | Unsupported data_type=ProductUploadRecord security_id=17"));
}

TEST_F(ListenerTest, GivenEmptyDataTypeAndId_WhenHandled_ThenWarnedWithEmptyTexts)
{
    HandleData(Envelope("", "", ""));
    EXPECT_THAT(log.texts(QXLOG_WARNING), ElementsAre("QXNOTIFY | Unsupported data_type= security_id="));
}

TEST_F(ListenerTest, GivenIdBeyondEveryInteger_WhenHandled_ThenItsTextAsReceived)
{
    HandleData(R"({"et":"Delete","dt":"ProductDeleteRecord","id":184467440737095516160000})");
    EXPECT_EQ(log.texts().back(), "QXNOTIFY | Product Delete will be ignored for product_id=184467440737095516160000");
}

TEST_F(ListenerTest, GivenMembersNobodyAskedFor_WhenHandled_ThenIgnored)
{
    HandleData(R"({"v":{"a":[1]},"et":"Delete","dt":"ProductDeleteRecord","id":1,"z":null})");
    EXPECT_EQ(log.texts().back(), "QXNOTIFY | Product Delete will be ignored for product_id=1");
}

TEST_F(ListenerTest, GivenPayloadNotTerminated_WhenHandled_ThenReadToItsLengthOnly)
{
    lbm_msg_t* msg = transport.make_message({.payload = Envelope("Delete", "ProductDeleteRecord", "1") + "garbage"});
    msg->len -= std::string("garbage").size();
    EXPECT_NO_THROW(listener.DoHandleNotification(msg));
    EXPECT_THAT(log.texts(QXLOG_WARNING), IsEmpty());
}

TEST_F(ListenerTest, GivenMessage_WhenHandled_ThenItsReferenceIsReleased)
{
    lbm_msg_t* msg = transport.make_message({.type = LBM_MSG_BOS});
    listener.DoHandleNotification(msg);
    EXPECT_EQ(transport.refcount(msg), 1);
}

} // namespace ps_ns::test
