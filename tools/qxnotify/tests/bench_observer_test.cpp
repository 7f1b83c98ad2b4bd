#include "qxnotify/bench_observer.h"

#include <chrono>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qxnotify/bench_message.h"
#include "tests/doubles/captured_log.h"
#include "tests/doubles/lbm_double/lbm_double.h"

namespace qx::tool {
namespace {

using messaging::pds::enums::Update;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

std::int64_t now()
{
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

messaging::pds::InstrumentDownloadRecord reference()
{
    messaging::pds::InstrumentDownloadRecord record;
    JSONProto().JSONToProtobuf(record, libjson::parse(BenchMessage().record_json()), true, true);
    return record;
}

/// Behind the real listener, so that what is stamped goes the way that it goes in a bench.
struct Bench {
    void send(std::uint64_t number) { send_payload(message.stamp(number, now())); }
    void send_payload(std::string_view payload)
    {
        listener.DoHandleNotification(transport.make_message({.payload = std::string{payload}}));
    }

    test::LbmDouble transport;
    test::CapturedLog log;
    BenchMessage message;
    std::vector<std::pair<std::uint64_t, bool>> told;
    BenchObserver observer{reference(),
                           [this](std::uint64_t received, bool faulty) { told.emplace_back(received, faulty); }};
    ps_ns::QXNotifyListener listener{&observer};
};

TEST(BenchObserver, GivenAllMessagesInOrder_WhenTheyHaveCome_ThenTheyAreCountedAndTimed)
{
    Bench bench;
    bench.observer.begin(2);
    const std::int64_t before = now();
    bench.send(0);
    bench.send(1);
    bench.send(2);
    const double elapsed = static_cast<double>(now() - before) / 1e3;
    const BenchFigures figures = bench.observer.finish();
    EXPECT_EQ(figures.fault, "");
    EXPECT_EQ(figures.received, 2U);
    ASSERT_TRUE(figures.latencies.has_value());
    EXPECT_GT(figures.latencies->p50, 0);
    EXPECT_LE(figures.latencies->p50, figures.latencies->max);
    EXPECT_LE(figures.latencies->max, elapsed);
    EXPECT_GT(figures.seconds, 0);
    EXPECT_LE(figures.seconds * 1e6, elapsed);
    EXPECT_THAT(bench.told, ElementsAre(Pair(1U, false), Pair(3U, false)));
}

TEST(BenchObserver, GivenManyMessages_WhenTheyCome_ThenItTellsNowAndThen)
{
    Bench bench;
    bench.observer.begin(BenchObserver::tell_every + 10);
    for (std::uint64_t number = 0; number <= BenchObserver::tell_every + 5; ++number) {
        bench.send(number);
    }
    EXPECT_THAT(bench.told, ElementsAre(Pair(1U, false), Pair(BenchObserver::tell_every, false)));
    EXPECT_EQ(bench.observer.finish().received, BenchObserver::tell_every + 5);
}

TEST(BenchObserver, GivenAGap_WhenItShows_ThenFaultAndNothingMoreIsTaken)
{
    Bench bench;
    bench.observer.begin(3);
    bench.send(0);
    bench.send(1);
    bench.send(3);
    bench.send(2);
    EXPECT_EQ(bench.observer.finish().fault, "message 3 came where 2 was due");
    EXPECT_EQ(bench.observer.finish().received, 1U);
    EXPECT_THAT(bench.told, ElementsAre(Pair(1U, false), Pair(2U, true)));
}

TEST(BenchObserver, GivenARepetition_WhenItComes_ThenFault)
{
    Bench bench;
    bench.observer.begin(1);
    bench.send(0);
    bench.send(1);
    bench.send(1);
    EXPECT_EQ(bench.observer.finish().fault, "message 1 came where none was due");
}

TEST(BenchObserver, GivenAnotherRecord_WhenItComesFirst_ThenTheFaultNamesTheField)
{
    Bench bench;
    bench.observer.begin(1);
    std::string payload{bench.message.stamp(0, now())};
    const std::string market = R"(\"marketId\":42)";
    payload.replace(payload.find(market), market.size(), R"(\"marketId\":43)");
    bench.send_payload(payload);
    EXPECT_THAT(bench.observer.finish().fault, HasSubstr("market_id: 42 -> 43"));
    EXPECT_THAT(bench.told, ElementsAre(Pair(0U, true)));
}

TEST(BenchObserver, GivenAProduct_WhenItComes_ThenFault)
{
    Bench bench;
    bench.observer.begin(1);
    messaging::pds::ProductDownloadRecord product;
    bench.observer.OnProductDownloadRecord(Update, product);
    EXPECT_THAT(bench.observer.finish().fault, HasSubstr("product"));
}

TEST(BenchObserver, GivenAFaultyRun_WhenTheNextBegins_ThenNothingIsLeftOfIt)
{
    Bench bench;
    bench.observer.begin(1);
    bench.send(1);
    bench.observer.begin(1);
    EXPECT_EQ(bench.observer.finish(), BenchFigures{});
    bench.send(0);
    bench.send(1);
    EXPECT_THAT(bench.observer.finish().fault, IsEmpty());
    EXPECT_EQ(bench.observer.finish().received, 1U);
}

} // namespace
} // namespace qx::tool
