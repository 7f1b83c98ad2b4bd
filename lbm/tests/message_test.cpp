#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include <lbm/lbm_cpp.h>

#include "tests/doubles/lbm_double/lbm_double.h"

using qx::test::Calls;
using qx::test::LbmDouble;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(sizeof(lbm::Message) == sizeof(void*) && !std::is_polymorphic_v<lbm::Message>);
static_assert(sizeof(lbm::Response) == sizeof(void*) && !std::is_polymorphic_v<lbm::Response>);
static_assert(std::is_convertible_v<lbm::Message&, lbm_msg_t*>);
static_assert(std::is_convertible_v<const lbm::Message&, const lbm_msg_t*>);
static_assert(!std::is_convertible_v<const lbm::Message&, lbm_msg_t*>);
static_assert(std::is_nothrow_move_constructible_v<lbm::Message> && std::is_nothrow_move_assignable_v<lbm::Message>);

namespace {

class Message : public ::testing::Test {
protected:
    LbmDouble transport;
};

} // namespace

TEST_F(Message, GivenRawMessage_WhenWrappedAndGone_ThenRetainedOnceAndReleasedOnce)
{
    lbm_msg_t* raw = transport.make_message();
    {
        const lbm::Message message(raw);
        EXPECT_EQ(transport.refcount(raw), 2);
    }
    EXPECT_EQ(transport.calls(), (Calls{"lbm_msg_retain(msg#1)", "lbm_msg_delete(msg#1)"}));
    EXPECT_EQ(transport.refcount(raw), 1);
}

TEST_F(Message, GivenNull_WhenWrappedAndGone_ThenNoCall)
{
    {
        const lbm::Message message(nullptr);
    }
    EXPECT_THAT(transport.calls(), IsEmpty());
}

TEST_F(Message, GivenFailingRetainAndDelete_WhenWrappedAndGone_ThenIgnored)
{
    transport.fail_always("lbm_msg_retain");
    transport.fail_always("lbm_msg_delete");
    EXPECT_NO_THROW({ const lbm::Message message(transport.make_message()); });
}

TEST_F(Message, GivenMove_WhenBothGone_ThenReleasedOnceByTheTarget)
{
    lbm_msg_t* raw = transport.make_message();
    std::optional<lbm::Message> source(raw);
    std::optional<lbm::Message> target(std::move(*source));
    EXPECT_EQ(static_cast<lbm_msg_t*>(*source), nullptr);
    transport.clear_calls();
    source.reset();
    EXPECT_THAT(transport.calls(), IsEmpty());
    target.reset();
    EXPECT_THAT(transport.calls(), ElementsAre("lbm_msg_delete(msg#1)"));
}

TEST_F(Message, GivenMove_WhenMoved_ThenNoCall)
{
    lbm::Message source(transport.make_message());
    transport.clear_calls();
    const lbm::Message target(std::move(source));
    EXPECT_THAT(transport.calls(), IsEmpty());
}

TEST_F(Message, GivenMoveAssignment_WhenTheTargetHeldAMessage_ThenThatIsReleased)
{
    lbm::Message source(transport.make_message());
    lbm::Message target(transport.make_message());
    transport.clear_calls();
    target = std::move(source);
    EXPECT_THAT(transport.calls(), ElementsAre("lbm_msg_delete(msg#2)"));
}

TEST_F(Message, GivenMoveAssignmentToItself_WhenAssigned_ThenItKeepsItsMessage)
{
    lbm_msg_t* raw = transport.make_message();
    lbm::Message message(raw);
    auto& same = message;
    message = std::move(same);
    EXPECT_EQ(static_cast<lbm_msg_t*>(message), raw);
    EXPECT_EQ(transport.refcount(raw), 2);
}

TEST_F(Message, GivenCopy_WhenMade_ThenItHoldsAReferenceOfItsOwn)
{
    lbm_msg_t* raw = transport.make_message();
    std::optional<lbm::Message> original(raw);
    const lbm::Message copy(*original);
    EXPECT_EQ(transport.refcount(raw), 3);
    original.reset();
    EXPECT_EQ(transport.refcount(raw), 2);
}

TEST_F(Message, GivenEmptyMessage_WhenCopied_ThenNoCall)
{
    const lbm::Message empty(nullptr);
    const lbm::Message copy(empty);
    EXPECT_THAT(transport.calls(), IsEmpty());
}

TEST_F(Message, GivenCopyAssignment_WhenTheTargetHeldAMessage_ThenRetainedFirstThenReleased)
{
    const lbm::Message source(transport.make_message());
    lbm::Message target(transport.make_message());
    transport.clear_calls();
    target = source;
    EXPECT_THAT(transport.calls(), ElementsAre("lbm_msg_retain(msg#1)", "lbm_msg_delete(msg#2)"));
}

TEST_F(Message, GivenCopyAssignmentToItself_WhenAssigned_ThenTheReferenceCountIsUnchanged)
{
    lbm_msg_t* raw = transport.make_message();
    lbm::Message message(raw);
    const auto& same = message;
    message = same;
    EXPECT_EQ(transport.refcount(raw), 2);
}

TEST_F(Message, GivenManyCopies_WhenAllGone_ThenOnlyTheTransportsReferenceIsLeft)
{
    lbm_msg_t* raw = transport.make_message();
    {
        const std::vector<lbm::Message> copies(5, lbm::Message(raw));
        EXPECT_EQ(transport.refcount(raw), 6);
    }
    EXPECT_EQ(transport.refcount(raw), 1);
}

TEST_F(Message, GivenFields_WhenRead_ThenAsTheTransportHasThem)
{
    const lbm::Message message(transport.make_message({.type = LBM_MSG_UNRECOVERABLE_LOSS_BURST,
                                                       .topic = "A.B",
                                                       .source = "here",
                                                       .sequenceNumber = 4294967295U,
                                                       .flags = -3}));
    EXPECT_EQ(message.Type(), 5);
    EXPECT_STREQ(message.TopicName(), "A.B");
    EXPECT_STREQ(message.Source(), "here");
    EXPECT_EQ(message.SequenceNumber(), 4294967295U);
    EXPECT_EQ(message.Flags(), -3);
}

TEST_F(Message, GivenPayloadWithNul_WhenRead_ThenLengthTellsItsEnd)
{
    const std::string payload("a\0b", 3);
    const lbm::Message message(transport.make_message({.payload = payload}));
    EXPECT_EQ(std::string(message.Data(), message.Length()), payload);
}

TEST_F(Message, GivenNoPayload_WhenRead_ThenLengthIsZero)
{
    const lbm::Message message(transport.make_message());
    EXPECT_EQ(message.Length(), 0U);
}

TEST_F(Message, GivenRequest_WhenAskedForItsResponse_ThenItsHandleWithoutACall)
{
    lbm_msg_t* raw = transport.make_message({.type = LBM_MSG_REQUEST, .withResponse = true});
    const lbm::Message message(raw);
    transport.clear_calls();
    {
        const lbm::Response response = message.GetResponse();
        EXPECT_EQ(static_cast<lbm_response_t*>(response), raw->response);
    }
    EXPECT_THAT(transport.calls(), IsEmpty());
}

TEST_F(Message, GivenDataMessage_WhenAskedForItsResponse_ThenNull)
{
    const lbm::Message message(transport.make_message());
    EXPECT_EQ(static_cast<lbm_response_t*>(message.GetResponse()), nullptr);
}

TEST_F(Message, GivenMessage_WhenConverted_ThenTheRawPointer)
{
    lbm_msg_t* raw = transport.make_message();
    const lbm::Message message(raw);
    EXPECT_EQ(static_cast<const lbm_msg_t*>(message), raw);
}

TEST_F(Message, GivenMessage_WhenWrittenAsText_ThenOneLineWithItsFields)
{
    const lbm::Message message(
        transport.make_message({.payload = "hello", .topic = "A.B", .source = "here", .sequenceNumber = 7}));
    EXPECT_EQ(message.ToString(), "type=0 topic=A.B source=here sequence_number=7 flags=0 length=5");
}

TEST_F(Message, GivenMissingTexts_WhenWrittenAsText_ThenSaysSo)
{
    lbm_msg_t* raw = transport.make_message();
    raw->topic_name = nullptr;
    raw->source = nullptr;
    EXPECT_EQ(lbm::Message(raw).ToString(), "type=0 topic=(none) source=(none) sequence_number=0 flags=0 length=0");
}

TEST_F(Message, GivenEmptyMessage_WhenWrittenAsText_ThenSaysSo)
{
    EXPECT_EQ(lbm::Message(nullptr).ToString(), "empty message");
}

TEST_F(Message, GivenMovedFromMessage_WhenWrittenAsText_ThenEmpty)
{
    lbm::Message source(transport.make_message());
    const lbm::Message target(std::move(source));
    const auto text = source.ToString(); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move): the point
    EXPECT_EQ(text, "empty message");
}

TEST_F(Message, GivenMessage_WhenAcknowledged_ThenTheTransportsErrorIsLeftAlone)
{
    lbm::Message message(transport.make_message());
    transport.set_error(LBM_EOS, "earlier");
    EXPECT_EQ(message.SendExplicitAck(), LBM_FAILURE);
    EXPECT_STREQ(lbm_errmsg(), "earlier");
    EXPECT_EQ(lbm_errnum(), LBM_EOS);
}

TEST_F(Message, GivenMessage_WhenAskedForWhatTheTransportDoesNotTell_ThenConstants)
{
    lbm::Message message(transport.make_message());
    transport.clear_calls();
    EXPECT_FALSE(message.IsFragment());
    EXPECT_FALSE(message.CanSendExplicitAck());
    EXPECT_EQ(message.SendExplicitAck(), LBM_FAILURE);
    EXPECT_FALSE(message.WasSentOnChannel());
    EXPECT_EQ(message.ChannelNumber(), 0U);
    EXPECT_EQ(message.SourceClientd(), nullptr);
    EXPECT_EQ(message.GetTimestamp(), std::pair(0L, 0L));
    EXPECT_THAT(transport.calls(), IsEmpty());
}
