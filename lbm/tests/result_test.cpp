// Exactly -1 is a failure; every other result of the transport counts as success. Attribute sets are in
// attributes_test.
#include <string>

#include <gmock/gmock.h>

#include <lbm/lbm_cpp.h>

#include "tests/doubles/captured_log.h"
#include "tests/doubles/lbm_double/lbm_double.h"

using qx::test::CapturedLog;
using qx::test::LbmDouble;
using ::testing::IsEmpty;

namespace {

class OddResult : public ::testing::TestWithParam<int> {
protected:
    void Script(const std::string& function) { transport.script_nth(function, 1, {.result = GetParam()}); }

    LbmDouble transport;
    CapturedLog log{qx::logging::QXLOG_WARNING};
};

} // namespace

TEST_P(OddResult, GivenContextCreation_WhenMade_ThenItHasItsContext)
{
    Script("lbm_context_create");
    lbm::Context context;
    EXPECT_NE(static_cast<lbm_context_t*>(context), nullptr);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_P(OddResult, GivenConfiguredAttributes_WhenMade_ThenTheyHaveTheirHandle)
{
    Script("lbm_context_attr_create_from_xml");
    lbm::ContextAttributes attributes("Prices");
    EXPECT_NE(static_cast<lbm_context_attr_t*>(attributes), nullptr);
}

TEST_P(OddResult, GivenQueueCreation_WhenMade_ThenItHasItsQueue)
{
    Script("lbm_event_queue_create");
    lbm::EventQueue queue;
    EXPECT_NE(static_cast<lbm_event_queue_t*>(queue), nullptr);
}

TEST_P(OddResult, GivenQueueOption_WhenSet_ThenNothingIsThrown)
{
    Script("lbm_event_queue_attr_setopt");
    lbm::EventQueueAttributes attributes;
    EXPECT_NO_THROW(attributes.Set<int>("option", 1));
}

TEST_P(OddResult, GivenTopicLookup_WhenMade_ThenItHasItsTopic)
{
    lbm::Context context;
    Script("lbm_rcv_topic_lookup");
    const lbm::ReceiverTopic topic(context, "A");
    EXPECT_NE(static_cast<lbm_topic_t*>(topic), nullptr);
}

TEST_P(OddResult, GivenDispatch_WhenPolled_ThenTheResultIsGivenOn)
{
    lbm::EventQueue queue;
    Script("lbm_event_dispatch");
    EXPECT_EQ(queue.Poll(0), GetParam());
}

INSTANTIATE_TEST_SUITE_P(NotMinusOne, OddResult, ::testing::Values(-2, 1));

TEST(TransportText, GivenNoFailure_WhenObjectsLiveAndDie_ThenItIsNeverAsked)
{
    LbmDouble transport;
    CapturedLog log;
    {
        lbm::Context context("Prices");
        lbm::EventQueue queue;
        const lbm::Receiver receiver(
            context, lbm::ReceiverTopic(context, "A"), [](const lbm::Message&) {}, &queue);
        const lbm::WildcardReceiver wildcard(
            context, "B", [](const lbm::Message&) {}, nullptr, lbm::ReceiverTopicAttributes(),
            lbm::WildcardReceiverAttributes());
        transport.deliver("B", transport.make_message());
        queue.Poll(0);
    }
    EXPECT_EQ(transport.errmsg_calls(), 0);
}
