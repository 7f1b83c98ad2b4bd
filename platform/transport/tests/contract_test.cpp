/// What <lbm/lbm.h> promises about its functions, whoever implements them: arguments, results and error texts, and
/// messages and queues as far as they need no other party. Nothing here waits for a message to arrive.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>

#include <lbm/lbm.h>

#include "support/context_fixture.h"

using namespace testing;

namespace {

int ignore_message(lbm_rcv_t*, lbm_msg_t*, void*)
{
    return 0;
}

TEST(Contract, GivenNullHandles_WhenDeleted_ThenEachCallFailsWithEinval)
{
    EXPECT_EQ(lbm_context_delete(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(lbm_rcv_delete(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_wildcard_rcv_delete(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_src_delete(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_event_queue_shutdown(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_event_queue_delete(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_msg_retain(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_msg_delete(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
}

TEST(Contract, GivenAFailure_WhenACallSucceedsAfterIt_ThenTheErrorIsKept)
{
    EXPECT_EQ(lbm_context_delete(nullptr), LBM_FAILURE);
    const std::string text = lbm_errmsg();
    EXPECT_THAT(text, Not(IsEmpty()));
    const auto queue = test::make_queue();
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(lbm_errmsg(), text);
}

TEST(Contract, GivenAFailureOnOneThread_WhenAnotherAsks_ThenItHasNone)
{
    EXPECT_EQ(lbm_context_delete(nullptr), LBM_FAILURE);
    std::thread other{[] {
        EXPECT_EQ(lbm_errnum(), 0);
        EXPECT_STREQ(lbm_errmsg(), "");
    }};
    other.join();
}

TEST(Contract, GivenANamedContext_WhenItsNameIsAsked_ThenTextAndLengthAreGiven)
{
    const auto ctx = test::make_context({{"context_name", "Pricing"}});
    std::array<char, 1024> buffer{};
    std::size_t length = 1023;
    ASSERT_EQ(lbm_context_str_getopt(ctx.get(), "context_name", buffer.data(), &length), LBM_OK);
    EXPECT_STREQ(buffer.data(), "Pricing");
    EXPECT_EQ(length, 7U);
}

TEST(Contract, GivenABufferOneByteTooSmall_WhenTheNameIsAsked_ThenTheCallFailsAndLeavesItAlone)
{
    const auto ctx = test::make_context({{"context_name", "Pricing"}});
    std::array<char, 8> buffer{"unmoved"};
    std::size_t length = 7;
    EXPECT_EQ(lbm_context_str_getopt(ctx.get(), "context_name", buffer.data(), &length), LBM_FAILURE);
    EXPECT_STREQ(buffer.data(), "unmoved");
    length = 8;
    EXPECT_EQ(lbm_context_str_getopt(ctx.get(), "context_name", buffer.data(), &length), LBM_OK);
}

TEST(Contract, GivenAnUnnamedContext_WhenItsNameIsAsked_ThenItIsEmpty)
{
    const auto ctx = test::make_context();
    std::array<char, 4> buffer{"abc"};
    std::size_t length = buffer.size();
    ASSERT_EQ(lbm_context_str_getopt(ctx.get(), "context_name", buffer.data(), &length), LBM_OK);
    EXPECT_STREQ(buffer.data(), "");
    EXPECT_EQ(length, 0U);
}

TEST(Contract, GivenAContext_WhenAnUnknownOptionIsAsked_ThenTheCallFailsAndNamesIt)
{
    const auto ctx = test::make_context();
    std::array<char, 16> buffer{};
    std::size_t length = buffer.size();
    EXPECT_EQ(lbm_context_str_getopt(ctx.get(), "no_such_option", buffer.data(), &length), LBM_FAILURE);
    EXPECT_THAT(lbm_errmsg(), HasSubstr("no_such_option"));
}

TEST(Contract, GivenTopicNames_WhenLookedUp_ThenOnlyThoseOfOneTo246BytesWithoutControlCharactersAreAccepted)
{
    const auto ctx = test::make_context();
    lbm_topic_t* topic = nullptr;
    EXPECT_EQ(lbm_rcv_topic_lookup(&topic, ctx.get(), std::string(246, 'x').c_str(), nullptr), LBM_OK);
    EXPECT_EQ(lbm_rcv_topic_lookup(&topic, ctx.get(), std::string(247, 'x').c_str(), nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_rcv_topic_lookup(&topic, ctx.get(), "", nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_src_topic_alloc(&topic, ctx.get(), "A\tB", nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_src_topic_alloc(&topic, ctx.get(), nullptr, nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
}

TEST(Contract, GivenABadPattern_WhenAWildcardReceiverIsMade_ThenTheCallFailsAndLeavesTheHandleAlone)
{
    const auto ctx = test::make_context();
    lbm_wildcard_rcv_t* rcv = nullptr;
    EXPECT_EQ(lbm_wildcard_rcv_create(&rcv, ctx.get(), "a(b", nullptr, nullptr, &ignore_message, nullptr, nullptr),
              LBM_FAILURE);
    EXPECT_EQ(rcv, nullptr);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_THAT(lbm_errmsg(), HasSubstr("a(b"));
}

TEST(Contract, GivenATopicOfAnotherContext_WhenAReceiverIsMade_ThenTheCallFails)
{
    const auto one = test::make_context();
    const auto two = test::make_context();
    lbm_topic_t* topic = nullptr;
    ASSERT_EQ(lbm_rcv_topic_lookup(&topic, one.get(), "T", nullptr), LBM_OK);
    lbm_rcv_t* rcv = nullptr;
    EXPECT_EQ(lbm_rcv_create(&rcv, two.get(), topic, &ignore_message, nullptr, nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
}

TEST(Contract, GivenNoCallback_WhenAReceiverIsMade_ThenTheCallFails)
{
    const auto ctx = test::make_context();
    lbm_topic_t* topic = nullptr;
    ASSERT_EQ(lbm_rcv_topic_lookup(&topic, ctx.get(), "T", nullptr), LBM_OK);
    lbm_rcv_t* rcv = nullptr;
    EXPECT_EQ(lbm_rcv_create(&rcv, ctx.get(), topic, nullptr, nullptr, nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
}

TEST(Contract, GivenASource_WhenSendingWithBadArguments_ThenEachCallFailsWithEinval)
{
    const auto ctx = test::make_context();
    const auto source = test::make_source(ctx, "T");
    EXPECT_EQ(lbm_src_send(source.get(), nullptr, 1, 0), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(lbm_src_send(source.get(), "x", 1, LBM_SRC_BLOCK | LBM_SRC_NONBLOCK), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(lbm_src_send(nullptr, "x", 1, 0), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(lbm_src_send(source.get(), nullptr, 0, 0), LBM_OK);
}

TEST(Contract, GivenNoResponseHandle_WhenAResponseIsSent_ThenTheCallFailsAndIsNoWouldBlock)
{
    EXPECT_EQ(lbm_send_response(nullptr, "x", 1, LBM_MSG_FLUSH | LBM_SRC_NONBLOCK), LBM_FAILURE);
    EXPECT_NE(lbm_errnum(), LBM_EWOULDBLOCK);
}

TEST(Contract, GivenAContext_WhenUnblocked_ThenProcessEventsReturns)
{
    const auto ctx = test::make_context();
    EXPECT_EQ(lbm_context_process_events(ctx.get(), 0), LBM_OK);
    EXPECT_EQ(lbm_context_unblock(ctx.get()), LBM_OK);
    EXPECT_EQ(lbm_context_process_events(ctx.get(), LBM_EVENT_QUEUE_BLOCK), LBM_OK);
}

TEST(Contract, GivenAQueueThatWasShutDown_WhenShutDownAgainAndDeleted_ThenBothSucceed)
{
    auto queue = test::make_queue({{"queue_cancellation_callbacks_enabled", "1"}});
    EXPECT_EQ(lbm_event_queue_shutdown(queue.get()), LBM_OK);
    EXPECT_EQ(lbm_event_queue_shutdown(queue.get()), LBM_OK);
    EXPECT_EQ(lbm_event_queue_delete(queue.release()), LBM_OK);
}

} // namespace
