#include <gmock/gmock.h>

#include <lbm/lbm_cpp.h>

#include "lbm/tests/statement.h"
#include "tests/doubles/captured_log.h"
#include "tests/doubles/lbm_double/lbm_double.h"

using namespace qx::logging;
using lbm::test::Statement;
using lbm::test::ThrownText;
using qx::test::CapturedLog;
using qx::test::LbmDouble;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class ReceiverTopic : public ::testing::Test {
protected:
    LbmDouble transport;
    CapturedLog log;
    lbm::Context context;
    lbm::ReceiverTopicAttributes attributes;
};

} // namespace

TEST_F(ReceiverTopic, GivenAttributes_WhenMade_ThenLookedUpOnTheContextWithThem)
{
    const lbm::ReceiverTopic topic(context, "A.B", attributes);
    EXPECT_THAT(transport.calls("lbm_rcv_topic_lookup"),
                ElementsAre("lbm_rcv_topic_lookup(context#1, 'A.B', rcv_topic_attr#1) = topic#1"));
    EXPECT_EQ(topic.GetString(), "A.B");
    EXPECT_NE(static_cast<lbm_topic_t*>(topic), nullptr);
}

TEST_F(ReceiverTopic, GivenNoAttributes_WhenMade_ThenTheTransportsDefaultsAreUsed)
{
    const lbm::ReceiverTopic topic(context, "A.B");
    EXPECT_THAT(transport.calls("lbm_rcv_topic_lookup"),
                ElementsAre("lbm_rcv_topic_lookup(context#1, 'A.B', null) = topic#1"));
}

TEST_F(ReceiverTopic, GivenFailingLookup_WhenMade_ThenThrowsLoggedOnce)
{
    log.clear();
    transport.fail_next("lbm_rcv_topic_lookup", LBM_EINVAL, "bad name");
    EXPECT_EQ(ThrownText([&] { lbm::ReceiverTopic topic(context, "A", attributes); }),
              "Failed to lookup LBM topic: bad name");
    EXPECT_THAT(log.statements(), ElementsAre(Statement(QXLOG_ERROR, 65, "Failed to lookup LBM topic: bad name")));
}

TEST_F(ReceiverTopic, GivenTopic_WhenDestroyed_ThenNoCall)
{
    {
        const lbm::ReceiverTopic topic(context, "A.B", attributes);
        transport.clear_calls();
    }
    EXPECT_THAT(transport.calls(), IsEmpty());
}
