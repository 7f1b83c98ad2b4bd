#include "lbm/tests/statement.h"
#include "price_server/ps_common/connector/tests/listener_fixture.h"

using namespace qx::logging;
using lbm::test::ThrownText;
using qx::test::Calls;
using qx::test::CapturedLog;
using qx::test::LbmDouble;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace ps_ns::test {
namespace {

class Subscription : public ListenerTest {
protected:
    /// The lines of the listener itself, the wrapper's left out.
    std::vector<std::string> ListenerLines() const
    {
        std::vector<std::string> lines;
        for (const auto& text : log.texts()) {
            if (text.starts_with("QXNOTIFY | ")) {
                lines.push_back(text);
            }
        }
        return lines;
    }
};

struct FailingCall {
    std::string function;
    std::string text;
};

class FailedSubscription : public Subscription, public ::testing::WithParamInterface<FailingCall> {
protected:
    void Fail()
    {
        transport.fail_next(GetParam().function);
        EXPECT_EQ(ThrownText([&] { listener.SubscribeForMarket(7); }), GetParam().text + ": scripted");
        EXPECT_THAT(ListenerLines(), ElementsAre("QXNOTIFY | Subscribing for market_id=7",
                                                 "QXNOTIFY | Listening on topic=" + PatternOf("7")));
        EXPECT_EQ(transport.receivers(PatternOf("7")), 0);
    }
};

} // namespace

TEST(Listener, GivenConfiguration_WhenMade_ThenItsOwnContextIsOpenedAndTheAttributesReleased)
{
    LbmDouble transport;
    MockObserver observer;
    const QXNotifyListener listener(&observer);
    EXPECT_EQ(transport.calls(), (Calls{"lbm_context_attr_create_from_xml('PriceEnvironmentContext') = context_attr#1",
                                        "lbm_context_create(context_attr#1, null, null) = context#1",
                                        "lbm_context_str_getopt(context#1, 'context_name', 1023)",
                                        "lbm_context_attr_delete(context_attr#1)"}));
}

TEST(Listener, GivenFailingConfiguration_WhenMade_ThenThrows)
{
    LbmDouble transport;
    MockObserver observer;
    transport.fail_next("lbm_context_attr_create_from_xml");
    EXPECT_EQ(ThrownText([&] { QXNotifyListener listener(&observer); }),
              "Failed to create LBM context attributes: scripted");
}

TEST(Listener, GivenFailingContext_WhenMade_ThenThrowsAndTheAttributesAreReleased)
{
    LbmDouble transport;
    MockObserver observer;
    transport.fail_next("lbm_context_create");
    EXPECT_EQ(ThrownText([&] { QXNotifyListener listener(&observer); }), "Failed to create LBM context: scripted");
    EXPECT_THAT(transport.leaks(), IsEmpty());
}

TEST(Listener, GivenFailingAttributeDeletion_WhenMade_ThenOnlyLogged)
{
    LbmDouble transport;
    CapturedLog log;
    MockObserver observer;
    transport.fail_next("lbm_context_attr_delete");
    EXPECT_NO_THROW({ const QXNotifyListener listener(&observer); });
    EXPECT_THAT(log.texts(QXLOG_ERROR), ElementsAre("Failed to delete LBM context attributes: scripted"));
}

TEST(Listener, GivenNoObserver_WhenOnlyEventsAndDroppedNotificationsArrive_ThenItIsNotMissed)
{
    LbmDouble transport;
    const CapturedLog log;
    QXNotifyListener listener(nullptr);
    listener.DoHandleNotification(transport.make_message({.type = LBM_MSG_BOS}));
    for (const char* dataType : {"ProductDeleteRecord", "InstrumentDeleteRecord", "ProductUploadRecord"}) {
        listener.DoHandleNotification(transport.make_message({.payload = Envelope("Delete", dataType, "1")}));
    }
    EXPECT_EQ(log.texts().back(), "QXNOTIFY | Unsupported data_type=ProductUploadRecord security_id=1");
}

TEST(Listener, GivenSubscriptions_WhenDestroyed_ThenReceiversGoBeforeTheContext)
{
    LbmDouble transport;
    MockObserver observer;
    {
        QXNotifyListener listener(&observer);
        listener.SubscribeForMarket(1);
        listener.SubscribeForMarket(2);
        transport.clear_calls();
    }
    EXPECT_EQ(transport.calls("lbm_wildcard_rcv_delete").size(), 2U);
    EXPECT_EQ(transport.calls().back(), "lbm_context_delete(context#1)");
}

TEST_F(Subscription, GivenNewMarket_WhenSubscribed_ThenOneReceiverWithDefaultAttributesAndNoQueue)
{
    listener.SubscribeForMarket(42);
    EXPECT_EQ(
        transport.calls(),
        (Calls{"lbm_rcv_topic_attr_create() = rcv_topic_attr#1", "lbm_wildcard_rcv_attr_create() = wildcard_rcv_attr#1",
               "lbm_wildcard_rcv_create(context#1, '" + PatternOf("42") +
                   "', rcv_topic_attr#1, wildcard_rcv_attr#1, callback, clientd, null) = wildcard_rcv#1",
               "lbm_wildcard_rcv_attr_delete(wildcard_rcv_attr#1)", "lbm_rcv_topic_attr_delete(rcv_topic_attr#1)"}));
}

TEST_F(Subscription, GivenNewMarket_WhenSubscribed_ThenTwoLinesAndTheReceiversOwn)
{
    listener.SubscribeForMarket(42);
    ASSERT_EQ(log.statements().size(), 3U);
    EXPECT_THAT(log.statements()[0], Line(QXLOG_INFO, "QXNOTIFY | Subscribing for market_id=42"));
    EXPECT_THAT(log.statements()[1], Line(QXLOG_INFO, "QXNOTIFY | Listening on topic=" + PatternOf("42")));
    EXPECT_EQ(log.texts()[2], "Creating wildcard receiver on topic=" + PatternOf("42"));
}

TEST_F(Subscription, GivenSubscribedMarket_WhenSubscribedAgain_ThenOnlyItsFirstLine)
{
    listener.SubscribeForMarket(7);
    listener.SubscribeForMarket(7);
    EXPECT_THAT(ListenerLines(),
                ElementsAre("QXNOTIFY | Subscribing for market_id=7", "QXNOTIFY | Listening on topic=" + PatternOf("7"),
                            "QXNOTIFY | Subscribing for market_id=7"));
    EXPECT_EQ(transport.receivers(PatternOf("7")), 1);
}

TEST_F(Subscription, GivenSmallestAndLargestMarket_WhenSubscribed_ThenAllDigitsAreInThePattern)
{
    listener.SubscribeForMarket(0);
    listener.SubscribeForMarket(18446744073709551615U);
    EXPECT_EQ(transport.receivers(PatternOf("0")), 1);
    EXPECT_EQ(transport.receivers(PatternOf("18446744073709551615")), 1);
}

TEST_F(Subscription, GivenTwoMarkets_WhenSubscribed_ThenEachHasItsReceiver)
{
    listener.SubscribeForMarket(1);
    listener.SubscribeForMarket(2);
    EXPECT_EQ(transport.receivers(PatternOf("1")) + transport.receivers(PatternOf("2")), 2);
}

TEST_P(FailedSubscription, GivenFailingCall_WhenSubscribed_ThenThrowsAfterBothLinesAndReleasesWhatWasMade)
{
    Fail();
    EXPECT_THAT(transport.leaks(), ElementsAre("context#1"));
}

TEST_P(FailedSubscription, GivenFailedMarket_WhenSubscribedAgain_ThenSilentlyIgnored)
{
    Fail();
    log.clear();
    transport.clear_calls();
    listener.SubscribeForMarket(7);
    EXPECT_THAT(log.texts(), ElementsAre("QXNOTIFY | Subscribing for market_id=7"));
    EXPECT_THAT(transport.calls(), IsEmpty());
}

TEST_P(FailedSubscription, GivenFailedMarket_WhenUnsubscribed_ThenThereIsNoReceiver)
{
    Fail();
    log.clear();
    listener.UnsubscribeForMarket(7);
    EXPECT_THAT(log.texts(), ElementsAre("QXNOTIFY | QXNotify receiver does not exist for market: 7"));
}

TEST_P(FailedSubscription, GivenOnlyAFailedMarket_WhenAllAreUnsubscribed_ThenNothingIsWritten)
{
    Fail();
    log.clear();
    listener.UnsubscribeAll();
    EXPECT_THAT(log.texts(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Calls, FailedSubscription,
    ::testing::Values(FailingCall{"lbm_rcv_topic_attr_create", "Failed to create LBM receiver topic attributes"},
                      FailingCall{"lbm_wildcard_rcv_attr_create", "Failed to create LBM wildcard receiver attributes"},
                      FailingCall{"lbm_wildcard_rcv_create", "Failed to create LBM receiver"}));

TEST_F(Subscription, GivenFailingAttributeDeletions_WhenSubscribed_ThenOnlyLogged)
{
    transport.fail_next("lbm_rcv_topic_attr_delete");
    transport.fail_next("lbm_wildcard_rcv_attr_delete");
    EXPECT_NO_THROW(listener.SubscribeForMarket(7));
    EXPECT_THAT(log.texts(QXLOG_ERROR), ElementsAre("Failed to delete LBM wildcard receiver attributes: scripted",
                                                    "Failed to delete LBM receiver topic attributes: scripted"));
}

TEST_F(Subscription, GivenNotificationWhileTheReceiverIsMade_WhenSubscribed_ThenItReachesTheObserver)
{
    EXPECT_CALL(observer, OnProductDownloadRecord);
    lbm_msg_t* msg =
        transport.make_message({.payload = Envelope("Create", "ProductDownloadRecord", "1", R"({"symbol":"X"})")});
    transport.on_call("lbm_wildcard_rcv_create", [&] { transport.deliver(PatternOf("7"), msg); });
    listener.SubscribeForMarket(7);
}

TEST_F(Subscription, GivenSubscribedMarket_WhenANotificationArrives_ThenItIsHandledAndItsReferenceReturned)
{
    EXPECT_CALL(observer, OnProductDownloadRecord);
    listener.SubscribeForMarket(7);
    lbm_msg_t* msg =
        transport.make_message({.payload = Envelope("Create", "ProductDownloadRecord", "1", R"({"symbol":"X"})")});
    EXPECT_EQ(transport.deliver(PatternOf("7"), msg), 0);
    EXPECT_EQ(transport.refcount(msg), 0);
}

} // namespace ps_ns::test
