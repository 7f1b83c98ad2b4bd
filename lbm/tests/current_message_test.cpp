#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>

#include <lbm/lbm_cpp.h>

#include "tests/doubles/lbm_double/lbm_double.h"

using qx::test::LbmDouble;

namespace {

class CurrentMessage : public ::testing::Test {
protected:
    LbmDouble transport;
    lbm::Context context;

    /// So that this thread's other tests begin with none.
    void ForgetCaughtMessage()
    {
        const lbm::Receiver receiver(context, lbm::ReceiverTopic(context, "none"), [](const lbm::Message&) {});
        transport.deliver("none", transport.make_message());
    }
};

lbm::Receiver MakeReceiver(lbm::Context& context, const char* topic, lbm::Receiver::Callback callback)
{
    return {context, lbm::ReceiverTopic(context, topic), std::move(callback)};
}

void Fatal(const lbm::Message& /*message*/)
{
    throw std::runtime_error("fatal");
}

/// As a transport lets it end: nothing catches.
void DeliverWithoutMercy(LbmDouble& transport, lbm_msg_t* msg) noexcept
{
    transport.deliver("A", msg);
}

} // namespace

TEST_F(CurrentMessage, GivenNoCallback_WhenAsked_ThenNull)
{
    EXPECT_EQ(lbm::CurrentMessage(), nullptr);
}

TEST_F(CurrentMessage, GivenRunningCallback_WhenAsked_ThenItsMessageAndNullAfterwards)
{
    const lbm_msg_t* seen = nullptr;
    const auto receiver = MakeReceiver(context, "A", [&](const lbm::Message&) { seen = lbm::CurrentMessage(); });
    lbm_msg_t* msg = transport.make_message();
    transport.deliver("A", msg);
    EXPECT_EQ(seen, msg);
    EXPECT_EQ(lbm::CurrentMessage(), nullptr);
}

TEST_F(CurrentMessage, GivenRunningWildcardCallback_WhenAsked_ThenItsMessage)
{
    const lbm_msg_t* seen = nullptr;
    const lbm::WildcardReceiver receiver(
        context, "A", [&](const lbm::Message&) { seen = lbm::CurrentMessage(); }, nullptr,
        lbm::ReceiverTopicAttributes(), lbm::WildcardReceiverAttributes());
    lbm_msg_t* msg = transport.make_message();
    transport.deliver("A", msg);
    EXPECT_EQ(seen, msg);
}

TEST_F(CurrentMessage, GivenCallbackWithinCallback_WhenTheInnerReturned_ThenTheOuterMessageAgain)
{
    lbm_msg_t* outer = transport.make_message();
    lbm_msg_t* inner = transport.make_message();
    const lbm_msg_t* seenInside = nullptr;
    const lbm_msg_t* seenAfter = nullptr;
    const auto innerReceiver =
        MakeReceiver(context, "B", [&](const lbm::Message&) { seenInside = lbm::CurrentMessage(); });
    const auto outerReceiver = MakeReceiver(context, "A", [&](const lbm::Message&) {
        transport.deliver("B", inner);
        seenAfter = lbm::CurrentMessage();
    });
    transport.deliver("A", outer);
    EXPECT_EQ(seenInside, inner);
    EXPECT_EQ(seenAfter, outer);
}

TEST_F(CurrentMessage, GivenRunningCallback_WhenAnotherThreadAsks_ThenNull)
{
    lbm_msg_t* msg = transport.make_message();
    const lbm_msg_t* seen = msg;
    const auto receiver = MakeReceiver(
        context, "A", [&](const lbm::Message&) { std::thread([&] { seen = lbm::CurrentMessage(); }).join(); });
    transport.deliver("A", msg);
    EXPECT_EQ(seen, nullptr);
}

TEST_F(CurrentMessage, GivenExceptionOutOfCallback_WhenItWasCaught_ThenTheMessageStaysAndIsNotRetained)
{
    const auto receiver = MakeReceiver(context, "A", Fatal);
    lbm_msg_t* msg = transport.make_message();
    EXPECT_THROW(transport.deliver("A", msg), std::runtime_error);
    EXPECT_EQ(lbm::CurrentMessage(), msg);
    EXPECT_EQ(transport.refcount(msg), 0);
    ForgetCaughtMessage();
}

TEST_F(CurrentMessage, GivenCaughtException_WhenTheNextCallbackHasReturned_ThenNull)
{
    const lbm_msg_t* seen = nullptr;
    const auto fatal = MakeReceiver(context, "A", Fatal);
    const auto next = MakeReceiver(context, "B", [&](const lbm::Message&) { seen = lbm::CurrentMessage(); });
    EXPECT_THROW(transport.deliver("A", transport.make_message()), std::runtime_error);
    lbm_msg_t* msg = transport.make_message();
    transport.deliver("B", msg);
    EXPECT_EQ(seen, msg);
    EXPECT_EQ(lbm::CurrentMessage(), nullptr);
}

TEST_F(CurrentMessage, GivenInnerExceptionCaughtByTheOuterCallback_WhenTheNextInnerReturned_ThenTheOuterMessageAgain)
{
    lbm_msg_t* outer = transport.make_message();
    const lbm_msg_t* seenAfter = nullptr;
    const auto fatal = MakeReceiver(context, "B", Fatal);
    const auto harmless = MakeReceiver(context, "C", [](const lbm::Message&) {});
    const auto receiver = MakeReceiver(context, "A", [&](const lbm::Message&) {
        EXPECT_THROW(transport.deliver("B", transport.make_message()), std::runtime_error);
        transport.deliver("C", transport.make_message());
        seenAfter = lbm::CurrentMessage();
    });
    transport.deliver("A", outer);
    EXPECT_EQ(seenAfter, outer);
    EXPECT_EQ(lbm::CurrentMessage(), nullptr);
}

TEST_F(CurrentMessage, GivenExceptionNobodyCatches_WhenTheTerminateHandlerAsks_ThenTheMessageOfThatCallback)
{
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto receiver = MakeReceiver(context, "A", Fatal);
    lbm_msg_t* msg = transport.make_message({.topic = "A.concrete"});
    EXPECT_DEATH(
        {
            std::set_terminate([] {
                const lbm_msg_t* current = lbm::CurrentMessage();
                std::fprintf(stderr, "died on %s\n", current != nullptr ? current->topic_name : "nothing");
                std::abort();
            });
            DeliverWithoutMercy(transport, msg);
        },
        "died on A.concrete");
}
