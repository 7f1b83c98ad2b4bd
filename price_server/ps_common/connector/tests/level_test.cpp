// The edge of each line's level: at exactly that minimum it is written, one above it is not. Events:
// event_and_delete_test.
#include <exception>
#include <functional>

#include "price_server/ps_common/connector/tests/listener_fixture.h"

using namespace qx::logging;
using ::testing::Contains;
using ::testing::Not;
using ::testing::StartsWith;

namespace ps_ns::test {
namespace {

struct LevelCase {
    std::string name; ///< of the case
    LogLevel level;
    std::string beginning; ///< of the line
    std::function<void(QXNotifyListener&, qx::test::LbmDouble&)> act;
};

std::string NameOf(const ::testing::TestParamInfo<LevelCase>& param)
{
    return param.param.name;
}

/// Handles the payload; what a fatal one throws is not the subject here.
auto Handling(const std::string& payload)
{
    return [payload](QXNotifyListener& listener, qx::test::LbmDouble& transport) {
        try {
            listener.DoHandleNotification(transport.make_message({.payload = payload}));
        } catch (const std::exception&) {
            return;
        }
    };
}

auto Download(const std::string& kind, const std::string& data)
{
    return Handling(Envelope("Update", kind + "DownloadRecord", "17", data));
}

class LineLevel : public ::testing::TestWithParam<LevelCase> {
protected:
    /// The lines at that minimum level.
    std::vector<std::string> LinesAt(int level)
    {
        const qx::test::CapturedLog log(level);
        GetParam().act(m_listener, m_transport);
        return log.texts();
    }

private:
    qx::test::LbmDouble m_transport;
    QXNotifyObserver m_observer;
    QXNotifyListener m_listener{&m_observer};
};

} // namespace

TEST_P(LineLevel, GivenMinimumLevelEqual_WhenWritten_ThenTheLineIsThere)
{
    EXPECT_THAT(LinesAt(GetParam().level), Contains(StartsWith("QXNOTIFY | " + GetParam().beginning)));
}

TEST_P(LineLevel, GivenMinimumLevelAbove_WhenWritten_ThenTheLineIsNot)
{
    EXPECT_THAT(LinesAt(GetParam().level + 1), Not(Contains(StartsWith("QXNOTIFY | " + GetParam().beginning))));
}

INSTANTIATE_TEST_SUITE_P(
    Notifications, LineLevel,
    ::testing::Values(LevelCase{"OuterData", QXLOG_DEBUG, "Outer JSON Data=", Handling("{}")},
                      LevelCase{"OuterBad", QXLOG_WARNING, "Bad JSON format outer data. reason=", Handling("x")},
                      LevelCase{"Unsupported", QXLOG_WARNING, "Unsupported data_type=", Handling(Envelope("", "", ""))},
                      LevelCase{"ProductDelete", QXLOG_DEBUG, "Product Delete will be ignored",
                                Handling(Envelope("Delete", "ProductDeleteRecord", "17"))},
                      LevelCase{"InstrumentDelete", QXLOG_DEBUG, "Instrument Delete will be ignored",
                                Handling(Envelope("Delete", "InstrumentDeleteRecord", "17"))}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    Downloads, LineLevel,
    ::testing::Values(
        LevelCase{"ProductInner", QXLOG_DEBUG, "Product Download: Inner JSON Data=", Download("Product", "{}")},
        LevelCase{"ProductProto", QXLOG_DEBUG, "Product Download Proto: ", Download("Product", R"({"symbol":"X"})")},
        LevelCase{"ProductBad", QXLOG_WARNING, "Product Download: Bad JSON format", Download("Product", "x")},
        LevelCase{"ProductNone", QXLOG_WARNING, "Product Download: No corresponding", Download("Product", "{}")},
        LevelCase{"InstrumentInner", QXLOG_DEBUG,
                  "Instrument Download: Inner JSON Data=", Download("Instrument", "{}")},
        LevelCase{"InstrumentProto", QXLOG_DEBUG,
                  "Instrument Download Proto: ", Download("Instrument", R"({"symbol":"X"})")},
        LevelCase{"InstrumentBad", QXLOG_WARNING, "Instrument Download: Bad JSON format", Download("Instrument", "x")},
        LevelCase{"InstrumentNone", QXLOG_WARNING, "Instrument Download: No corresponding",
                  Download("Instrument", "{}")}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(Subscriptions, LineLevel,
                         ::testing::Values(LevelCase{"Subscribing", QXLOG_INFO, "Subscribing for market_id=",
                                                     [](auto& listener, auto&) { listener.SubscribeForMarket(7); }},
                                           LevelCase{"Listening", QXLOG_INFO, "Listening on topic=",
                                                     [](auto& listener, auto&) { listener.SubscribeForMarket(7); }},
                                           LevelCase{"Unknown", QXLOG_INFO,
                                                     "QXNotify receiver does not exist for market: ",
                                                     [](auto& listener, auto&) { listener.UnsubscribeForMarket(7); }},
                                           LevelCase{"Removed", QXLOG_INFO, "Removed Receiver for market: ",
                                                     [](auto& listener, auto&) {
                                                         listener.SubscribeForMarket(7);
                                                         listener.UnsubscribeForMarket(7);
                                                     }},
                                           LevelCase{"AllRemoved", QXLOG_INFO, "Removed Receivers for all markets",
                                                     [](auto& listener, auto&) {
                                                         listener.SubscribeForMarket(7);
                                                         listener.UnsubscribeAll();
                                                     }}),
                         NameOf);

} // namespace ps_ns::test
