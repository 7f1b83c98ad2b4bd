/// What a real transport refuses. Doubles take what they are given, so that tests can script it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

#include <lbm/lbm.h>

#include "support/context_fixture.h"

using namespace testing;

namespace {

int ignore_message(lbm_rcv_t*, lbm_msg_t*, void*)
{
    return 0;
}

TEST(ContractArguments, GivenNullHandles_WhenUsed_ThenEachCallFailsWithEinval)
{
    EXPECT_EQ(lbm_event_queue_shutdown(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(lbm_event_dispatch(nullptr, LBM_EVENT_QUEUE_POLL), LBM_FAILURE);
    EXPECT_EQ(lbm_event_dispatch_unblock(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_context_unblock(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_context_process_events(nullptr, 0), LBM_FAILURE);
    EXPECT_EQ(lbm_msg_retain(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_msg_delete(nullptr), LBM_FAILURE);
}

TEST(ContractArguments, GivenAContext_WhenAnUnknownOptionIsAsked_ThenTheCallFailsAndNamesIt)
{
    const auto ctx = test::make_context();
    std::array<char, 16> buffer{};
    std::size_t length = buffer.size();
    EXPECT_EQ(lbm_context_str_getopt(ctx.get(), "no_such_option", buffer.data(), &length), LBM_FAILURE);
    EXPECT_THAT(lbm_errmsg(), HasSubstr("no_such_option"));
}

TEST(ContractArguments, GivenTopicNames_WhenLookedUp_ThenOnlyThoseOfOneTo246BytesWithoutControlCharactersAreAccepted)
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

TEST(ContractArguments, GivenABadPattern_WhenAWildcardReceiverIsMade_ThenTheCallFailsAndLeavesTheHandleAlone)
{
    const auto ctx = test::make_context();
    lbm_wildcard_rcv_t* rcv = nullptr;
    EXPECT_EQ(lbm_wildcard_rcv_create(&rcv, ctx.get(), "a(b", nullptr, nullptr, &ignore_message, nullptr, nullptr),
              LBM_FAILURE);
    EXPECT_EQ(rcv, nullptr);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_THAT(lbm_errmsg(), HasSubstr("a(b"));
}

TEST(ContractArguments, GivenATopicOfAnotherContext_WhenAReceiverIsMade_ThenTheCallFails)
{
    const auto one = test::make_context();
    const auto two = test::make_context();
    lbm_topic_t* topic = nullptr;
    ASSERT_EQ(lbm_rcv_topic_lookup(&topic, one.get(), "T", nullptr), LBM_OK);
    lbm_rcv_t* rcv = nullptr;
    EXPECT_EQ(lbm_rcv_create(&rcv, two.get(), topic, &ignore_message, nullptr, nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
}

TEST(ContractArguments, GivenNoCallback_WhenAReceiverIsMade_ThenTheCallFails)
{
    const auto ctx = test::make_context();
    lbm_topic_t* topic = nullptr;
    ASSERT_EQ(lbm_rcv_topic_lookup(&topic, ctx.get(), "T", nullptr), LBM_OK);
    lbm_rcv_t* rcv = nullptr;
    EXPECT_EQ(lbm_rcv_create(&rcv, ctx.get(), topic, nullptr, nullptr, nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
}

TEST(ContractArguments, GivenASource_WhenSendingWithBadArguments_ThenEachCallFailsWithEinval)
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

TEST(ContractArguments, GivenNoResponseHandle_WhenAResponseIsSent_ThenTheCallFailsAndIsNoWouldBlock)
{
    EXPECT_EQ(lbm_send_response(nullptr, "x", 1, LBM_MSG_FLUSH | LBM_SRC_NONBLOCK), LBM_FAILURE);
    EXPECT_NE(lbm_errnum(), LBM_EWOULDBLOCK);
}

} // namespace
