/// What <lbm/lbm.h> promises and every implementation keeps, test doubles included: results, error texts, options and
/// queues. It uses nothing but that header, and nothing here waits for a message.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>

#include <lbm/lbm.h>

#include "support/context_fixture.h"

using namespace testing;

namespace {

TEST(Contract, GivenNullHandles_WhenDeleted_ThenEachCallFailsWithEinval)
{
    EXPECT_EQ(lbm_context_delete(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(lbm_rcv_delete(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_wildcard_rcv_delete(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_src_delete(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_event_queue_delete(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_context_attr_delete(nullptr), LBM_FAILURE);
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

TEST(Contract, GivenAQueueThatWasUnblocked_WhenDispatchedWithoutLimit_ThenItReturnsNone)
{
    const auto queue = test::make_queue();
    EXPECT_EQ(lbm_event_dispatch_unblock(queue.get()), LBM_OK);
    EXPECT_EQ(lbm_event_dispatch(queue.get(), LBM_EVENT_QUEUE_BLOCK), 0);
    EXPECT_EQ(lbm_event_dispatch(queue.get(), LBM_EVENT_QUEUE_POLL), 0);
}

TEST(Contract, GivenNothingCounted_WhenStatisticsAreAsked_ThenTheyAreFilledIn)
{
    const auto ctx = test::make_context();
    const auto queue = test::make_queue();
    lbm_context_stats_t of_context{};
    of_context.messages_sent = 1;
    lbm_event_queue_stats_t of_queue{};
    of_queue.messages = 1;
    EXPECT_EQ(lbm_context_retrieve_stats(ctx.get(), &of_context), LBM_OK);
    EXPECT_EQ(of_context.messages_sent, 0U);
    EXPECT_EQ(lbm_event_queue_retrieve_stats(queue.get(), &of_queue), LBM_OK);
    EXPECT_EQ(of_queue.messages, 0U);
    EXPECT_EQ(lbm_context_retrieve_stats(nullptr, &of_context), LBM_OK);
}

TEST(Contract, GivenNowhereToPutStatistics_WhenAsked_ThenEachCallFailsWithEinval)
{
    const auto ctx = test::make_context();
    const auto queue = test::make_queue();
    lbm_event_queue_stats_t stats{};
    EXPECT_EQ(lbm_context_retrieve_stats(ctx.get(), nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(lbm_event_queue_retrieve_stats(queue.get(), nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_event_queue_retrieve_stats(nullptr, &stats), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
}

TEST(Contract, GivenACopyOfAttributes_WhenTheOriginalChanges_ThenTheCopyKeepsItsValue)
{
    lbm_context_attr_t* original = nullptr;
    lbm_context_attr_t* copy = nullptr;
    ASSERT_EQ(lbm_context_attr_create(&original), LBM_OK);
    ASSERT_EQ(lbm_context_attr_str_setopt(original, "context_name", "before"), LBM_OK);
    ASSERT_EQ(lbm_context_attr_dup(&copy, original), LBM_OK);
    ASSERT_EQ(lbm_context_attr_str_setopt(original, "context_name", "after"), LBM_OK);
    std::array<char, 16> buffer{};
    std::size_t length = buffer.size();
    EXPECT_EQ(lbm_context_attr_str_getopt(copy, "context_name", buffer.data(), &length), LBM_OK);
    EXPECT_STREQ(buffer.data(), "before");
    EXPECT_EQ(lbm_context_attr_delete(original), LBM_OK);
    EXPECT_EQ(lbm_context_attr_delete(copy), LBM_OK);
}

} // namespace
