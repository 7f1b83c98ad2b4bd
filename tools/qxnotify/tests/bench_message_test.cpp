#include "qxnotify/bench_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace qx::tool {
namespace {

using nlohmann::json;

json record_of(std::string_view payload)
{
    return json::parse(json::parse(payload).at("data").get<std::string>());
}

TEST(BenchMessage, GivenAStamp_WhenThePayloadIsRead_ThenNumberAndTimeAreInItAndNothingElseHasChanged)
{
    BenchMessage message;
    json before = record_of(message.stamp(0, 0));
    json after = record_of(message.stamp(8'999'999'999, 6'000'000'000'123'456'789));
    messaging::pds::InstrumentDownloadRecord record;
    record.set_instrument_id(after.at("instrumentId").get<std::uint64_t>());
    record.set_updated_time_ns(after.at("updatedTimeNs").get<std::int64_t>());
    EXPECT_EQ(BenchMessage::number_of(record), 8'999'999'999);
    EXPECT_EQ(BenchMessage::nanoseconds_of(record), 6'000'000'000'123'456'789);
    for (const char* key : {"instrumentId", "updatedTimeNs"}) {
        before.erase(key);
        after.erase(key);
    }
    EXPECT_EQ(before, after);
}

TEST(BenchMessage, GivenStamps_WhenTheyGrow_ThenThePayloadDoesNot)
{
    BenchMessage message;
    const std::size_t bytes = message.payload_bytes();
    EXPECT_EQ(message.stamp(1, 1).size(), bytes);
    EXPECT_EQ(message.stamp(1'000'000, 1'000'000'000'000).size(), bytes);
    EXPECT_EQ(message.stamp(2, 2), BenchMessage().stamp(2, 2));
}

TEST(BenchMessage, GivenItsRecord_WhenLookedAt_ThenItIsOfTheUsualSize)
{
    const BenchMessage message;
    EXPECT_THAT(message.record_json().size(), testing::AllOf(testing::Ge(1'400U), testing::Le(1'700U)));
    EXPECT_EQ(json::parse(message.record_json()).at("marketId"), BenchMessage::market);
}

} // namespace
} // namespace qx::tool
