#include "qxnotify/publish_transport.h"

#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/doubles/lbm_double/lbm_double.h"

namespace qx::tool {
namespace {

using test::Calls;
using test::LbmDouble;
using test::Script;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

TEST(TransportSender, GivenTwoKindsAndMarkets_WhenSent_ThenOneSourceForEachTopic)
{
    LbmDouble lbm;
    StopSignals stop;
    TransportSender sender(0, stop);
    EXPECT_EQ(sender.send(42, Fate::product, "a"), SendResult::sent);
    EXPECT_EQ(sender.send(42, Fate::product_delete, "b"), SendResult::sent);
    EXPECT_EQ(sender.send(42, Fate::instrument, "c"), SendResult::sent);
    EXPECT_EQ(sender.send(7, Fate::product, "d"), SendResult::sent);
    EXPECT_THAT(lbm.calls("lbm_src_create"), SizeIs(3));
    EXPECT_THAT(lbm.calls("lbm_src_send"), SizeIs(4));
}

TEST(TransportSender, GivenSender_WhenDestroyed_ThenNothingIsLeftAndTheContextGoesLast)
{
    LbmDouble lbm;
    StopSignals stop;
    {
        TransportSender sender(0, stop);
        sender.send(42, Fate::product, "a");
    }
    EXPECT_THAT(lbm.leaks(), IsEmpty());
    EXPECT_THAT(lbm.calls().back(), HasSubstr("lbm_context_delete"));
}

TEST(TransportSender, GivenFailingContext_WhenMade_ThenTheErrorNamesCallSubjectAndReason)
{
    LbmDouble lbm;
    StopSignals stop;
    lbm.fail_next("lbm_context_create", 5, "no such interface");
    try {
        TransportSender sender(0, stop);
        FAIL() << "nothing was thrown";
    } catch (const TransportError& e) {
        EXPECT_STREQ(e.what(), "lbm_context_create(PriceEnvironmentContext): no such interface [5]");
    }
    EXPECT_THAT(lbm.leaks(), IsEmpty());
}

TEST(TransportSender, GivenFailingSource_WhenSent_ThenTheErrorNamesTheTopic)
{
    LbmDouble lbm;
    StopSignals stop;
    TransportSender sender(0, stop);
    lbm.fail_next("lbm_src_create", 4, "no");
    try {
        sender.send(42, Fate::product, "a");
        FAIL() << "nothing was thrown";
    } catch (const TransportError& e) {
        EXPECT_STREQ(e.what(), "lbm_src_create(qxnotify.public.pds.native.42.product): no [4]");
    }
}

TEST(TransportSender, GivenFullTransport_WhenSent_ThenItTriesAgainUntilThereIsRoom)
{
    LbmDouble lbm;
    StopSignals stop;
    TransportSender sender(0, stop);
    lbm.script_nth("lbm_src_send", 1, Script{LBM_FAILURE, LBM_EWOULDBLOCK});
    lbm.script_nth("lbm_src_send", 2, Script{LBM_FAILURE, LBM_EWOULDBLOCK});
    EXPECT_EQ(sender.send(42, Fate::product, "a"), SendResult::sent);
    EXPECT_THAT(lbm.calls("lbm_src_send"), SizeIs(3));
}

TEST(TransportSender, GivenTransportThatStaysFull_WhenASignalComes_ThenStopped)
{
    LbmDouble lbm;
    StopSignals stop;
    TransportSender sender(0, stop);
    lbm.fail_always("lbm_src_send", LBM_EWOULDBLOCK);
    ::kill(::getpid(), SIGTERM);
    EXPECT_EQ(sender.send(42, Fate::product, "a"), SendResult::stopped);
}

TEST(TransportSender, GivenOtherFailure_WhenSent_ThenItThrows)
{
    LbmDouble lbm;
    StopSignals stop;
    TransportSender sender(0, stop);
    lbm.fail_next("lbm_src_send", LBM_EINVAL, "too large");
    EXPECT_THROW(sender.send(42, Fate::product, "a"), TransportError);
}

TEST(TransportSender, GivenNobodyListens_WhenTheWaitIsOver_ThenNothingIsSent)
{
    LbmDouble lbm;
    StopSignals stop;
    TransportSender sender(0.001, stop);
    EXPECT_EQ(sender.send(42, Fate::product, "a"), SendResult::no_listener);
    EXPECT_THAT(lbm.calls("lbm_src_send"), IsEmpty());
}

TEST(TransportSender, GivenNobodyListens_WhenASignalComes_ThenTheWaitEnds)
{
    LbmDouble lbm;
    StopSignals stop;
    TransportSender sender(1'000, stop);
    ::kill(::getpid(), SIGTERM);
    EXPECT_EQ(sender.send(42, Fate::product, "a"), SendResult::stopped);
}

TEST(TransportSender, GivenTopicsOfTheLimit_WhenOneMoreComes_ThenItIsRefusedAndTheOthersStillGo)
{
    LbmDouble lbm;
    StopSignals stop;
    TransportSender sender(0, stop);
    for (std::uint64_t market = 0; market < topics_max; ++market) {
        ASSERT_EQ(sender.send(market, Fate::product, "a"), SendResult::sent);
    }
    EXPECT_EQ(sender.send(topics_max, Fate::product, "a"), SendResult::too_many_topics);
    EXPECT_EQ(sender.send(0, Fate::product, "a"), SendResult::sent);
}

} // namespace
} // namespace qx::tool
