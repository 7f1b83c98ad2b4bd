/// The format of answers, and the requests that they find; without a network.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "platform/transport/source/answer.h"
#include "platform/transport/source/frame.h"
#include "platform/transport/source/requester.h"

using namespace qx::transport;
using namespace testing;

namespace {

const ContextId answerer{{127, 0, 0, 1, 0, 0, 0, 7, 1, 2, 3, 4, 5, 6, 7, 8}};

int ignore(lbm_request_t*, lbm_msg_t*, void*)
{
    return 0;
}

std::shared_ptr<Request> make_request(lbm_request_cb_proc proc = &ignore, void* clientd = nullptr)
{
    return std::make_shared<Request>("ASK.A", Request::Callback{proc, clientd, nullptr}, nullptr);
}

TEST(AnswerCodec, GivenAnswers_WhenEncodedAndDecoded_ThenTheyAreTheSame)
{
    for (const std::string payload : {"", "payload"}) {
        const Bytes bytes = encode_answer({0xFEDCBA9876543210, 0xFFFFFFFF, payload});
        Answer answer;
        ASSERT_TRUE(decode_answer(bytes, answer));
        EXPECT_EQ(answer.request, 0xFEDCBA9876543210);
        EXPECT_EQ(answer.number, 0xFFFFFFFF);
        EXPECT_EQ(answer.payload, payload);
    }
}

TEST(AnswerCodec, GivenAnEncodedAnswer_WhenRenumbered_ThenOnlyItsNumberChanges)
{
    Bytes bytes = encode_answer({5, 0, "payload"});
    renumber_answer(bytes, 9);
    EXPECT_EQ(bytes, encode_answer({5, 9, "payload"}));
}

TEST(AnswerCodec, GivenAnotherVersionOrACutHeader_WhenDecoded_ThenItIsRefused)
{
    Bytes bytes = encode_answer({5, 0, ""});
    Answer answer;
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_FALSE(decode_answer(ByteView{bytes}.first(length), answer)) << length;
    }
    bytes[0] = answer_version + 1;
    EXPECT_FALSE(decode_answer(bytes, answer));
}

TEST(AnswerCodec, GivenMoreThanAPayloadMayHave_WhenDecoded_ThenItIsRefused)
{
    Bytes bytes = encode_answer({5, 0, ""});
    bytes.resize(bytes.size() + payload_bytes_max);
    Answer answer;
    EXPECT_TRUE(decode_answer(bytes, answer));
    bytes.push_back(0);
    EXPECT_FALSE(decode_answer(bytes, answer));
}

TEST(Requester, GivenAnOpenRequest_WhenItsAnswerComes_ThenItIsDeliveredToIt)
{
    Requester requester;
    const auto request = make_request();
    const std::uint64_t number = requester.open(request);
    const auto delivery = requester.receive(answerer, encode_answer({number, 3, "yes"}));
    ASSERT_TRUE(delivery);
    EXPECT_EQ(delivery->request, request);
    EXPECT_EQ(delivery->message->type, LBM_MSG_RESPONSE);
    EXPECT_EQ(delivery->message->sequence_number, 3U);
    EXPECT_STREQ(delivery->message->topic_name, "ASK.A");
    EXPECT_STREQ(delivery->message->source, "LBMDDS:127.0.0.1:7:0102030405060708");
    EXPECT_EQ(std::string(delivery->message->data, delivery->message->len), "yes");
    EXPECT_EQ(requester.dropped(), 0U);
}

TEST(Requester, GivenTwoRequests_WhenOpened_ThenTheirNumbersDiffer)
{
    Requester requester;
    EXPECT_NE(requester.open(make_request()), requester.open(make_request()));
}

TEST(Requester, GivenAForgottenRequest_WhenItsAnswerComes_ThenItIsDroppedAndCounted)
{
    Requester requester;
    const std::uint64_t number = requester.open(make_request());
    requester.forget(number);
    requester.forget(number);
    EXPECT_FALSE(requester.receive(answerer, encode_answer({number, 0, "late"})));
    EXPECT_EQ(requester.dropped(), 1U);
}

TEST(Requester, GivenAnAnswerThatMakesNoSense_WhenItComes_ThenItIsDroppedAndCounted)
{
    Requester requester;
    requester.open(make_request());
    EXPECT_FALSE(requester.receive(answerer, Bytes{}));
    EXPECT_FALSE(requester.receive(answerer, Bytes(16, 0)));
    EXPECT_EQ(requester.dropped(), 2U);
}

TEST(Requester, GivenOpenRequests_WhenClosed_ThenTheyAreCalledNoMore)
{
    Requester requester;
    const auto request = make_request([](lbm_request_t*, lbm_msg_t*, void*) -> int { throw 0; });
    const std::uint64_t number = requester.open(request);
    const auto delivery = requester.receive(answerer, encode_answer({number, 0, ""}));
    requester.close();
    ASSERT_TRUE(delivery);
    EXPECT_FALSE(request->run(*delivery->message));
    EXPECT_FALSE(requester.receive(answerer, encode_answer({number, 0, ""})));
}

} // namespace
