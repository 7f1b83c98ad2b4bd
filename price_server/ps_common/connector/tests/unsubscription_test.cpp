#include "price_server/ps_common/connector/tests/listener_fixture.h"

using namespace qx::logging;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace ps_ns::test {
namespace {

class Unsubscription : public ListenerTest {
protected:
    void Subscribe(std::uint64_t market)
    {
        listener.SubscribeForMarket(market);
        transport.clear_calls();
        log.clear();
    }

    void DeliverProduct(const std::string& market)
    {
        transport.deliver(
            PatternOf(market),
            transport.make_message({.payload = Envelope("Update", "ProductDownloadRecord", "1", R"({"symbol":"X"})")}));
    }
};

} // namespace

TEST_F(Unsubscription, GivenUnknownMarket_WhenUnsubscribed_ThenOneLineAndNothingElse)
{
    listener.UnsubscribeForMarket(9);
    EXPECT_THAT(log.statements(),
                ElementsAre(Line(QXLOG_INFO, "QXNOTIFY | QXNotify receiver does not exist for market: 9")));
    EXPECT_THAT(transport.calls(), IsEmpty());
}

TEST_F(Unsubscription, GivenSubscribedMarket_WhenUnsubscribed_ThenOneLineAndTheReceiverLives)
{
    Subscribe(7);
    listener.UnsubscribeForMarket(7);
    EXPECT_THAT(log.statements(), ElementsAre(Line(QXLOG_INFO, "QXNOTIFY | Removed Receiver for market: 7")));
    EXPECT_THAT(transport.calls(), IsEmpty());
    EXPECT_EQ(transport.receivers(PatternOf("7")), 1);
}

TEST_F(Unsubscription, GivenUnsubscribedMarket_WhenUnsubscribedAgain_ThenTheSameLine)
{
    Subscribe(7);
    listener.UnsubscribeForMarket(7);
    listener.UnsubscribeForMarket(7);
    EXPECT_THAT(log.texts(),
                ElementsAre("QXNOTIFY | Removed Receiver for market: 7", "QXNOTIFY | Removed Receiver for market: 7"));
}

TEST_F(Unsubscription, GivenUnsubscribedMarket_WhenSubscribed_ThenOnlyItsFirstLine)
{
    Subscribe(7);
    listener.UnsubscribeForMarket(7);
    log.clear();
    listener.SubscribeForMarket(7);
    EXPECT_THAT(log.texts(), ElementsAre("QXNOTIFY | Subscribing for market_id=7"));
    EXPECT_THAT(transport.calls(), IsEmpty());
}

TEST_F(Unsubscription, GivenUnsubscribedMarket_WhenANotificationArrives_ThenItStillReachesTheObserver)
{
    Subscribe(7);
    listener.UnsubscribeForMarket(7);
    EXPECT_CALL(observer, OnProductDownloadRecord);
    DeliverProduct("7");
}

TEST_F(Unsubscription, GivenNoReceivers_WhenAllAreUnsubscribed_ThenNothingIsWritten)
{
    listener.UnsubscribeAll();
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(Unsubscription, GivenTwoMarkets_WhenAllAreUnsubscribed_ThenOneLineAndBothReceiversLive)
{
    Subscribe(7);
    Subscribe(8);
    listener.UnsubscribeAll();
    EXPECT_THAT(log.statements(), ElementsAre(Line(QXLOG_INFO, "QXNOTIFY | Removed Receivers for all markets")));
    EXPECT_THAT(transport.calls(), IsEmpty());
    EXPECT_EQ(transport.receivers(PatternOf("7")) + transport.receivers(PatternOf("8")), 2);
}

TEST_F(Unsubscription, GivenOnlyAnUnsubscribedMarket_WhenAllAreUnsubscribed_ThenTheLineIsWritten)
{
    Subscribe(7);
    listener.UnsubscribeForMarket(7);
    log.clear();
    listener.UnsubscribeAll();
    EXPECT_THAT(log.texts(), ElementsAre("QXNOTIFY | Removed Receivers for all markets"));
}

TEST_F(Unsubscription, GivenAllUnsubscribed_WhenDoneAgain_ThenNothingIsWritten)
{
    Subscribe(7);
    listener.UnsubscribeAll();
    log.clear();
    listener.UnsubscribeAll();
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(Unsubscription, GivenAllUnsubscribed_WhenAMarketIsUnsubscribed_ThenItsEntryIsGone)
{
    Subscribe(7);
    listener.UnsubscribeAll();
    log.clear();
    listener.UnsubscribeForMarket(7);
    EXPECT_THAT(log.texts(), ElementsAre("QXNOTIFY | QXNotify receiver does not exist for market: 7"));
}

TEST_F(Unsubscription, GivenAllUnsubscribed_WhenSubscribedAndDelivered_ThenTheOldReceiverStillServes)
{
    Subscribe(7);
    listener.UnsubscribeAll();
    listener.SubscribeForMarket(7);
    EXPECT_THAT(transport.calls(), IsEmpty());
    EXPECT_CALL(observer, OnProductDownloadRecord);
    DeliverProduct("7");
}

TEST(UnsubscribedListener, GivenGivenUpAndOwnedReceivers_WhenDestroyed_ThenOnlyTheOwnedIsDeleted)
{
    qx::test::LbmDouble transport;
    MockObserver observer;
    {
        QXNotifyListener listener(&observer);
        listener.SubscribeForMarket(1);
        listener.SubscribeForMarket(2);
        listener.UnsubscribeForMarket(1);
        transport.clear_calls();
    }
    EXPECT_EQ(transport.calls(),
              (qx::test::Calls{"lbm_wildcard_rcv_delete(wildcard_rcv#2)", "lbm_context_delete(context#1)"}));
}

} // namespace ps_ns::test
