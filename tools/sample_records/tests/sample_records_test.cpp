#include "sample_records/sample_records.h"

#include <limits>
#include <map>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "gson_name.pb.h"
#include "instrument_download_record.pb.h"
#include "product_download_record.pb.h"
#include "uuid.pb.h"

namespace qx::sample {
namespace {

using google::protobuf::Descriptor;
using nlohmann::json;

/// The paths of all values in a record, without list positions: ".legs.side".
void add_paths(const json& value, const std::string& path, std::set<std::string>& paths)
{
    if (value.is_object()) {
        for (const auto& [key, member] : value.items()) {
            std::string member_path = path;
            add_paths(member, member_path.append(".").append(key), paths);
        }
    } else if (value.is_array()) {
        for (const json& element : value) {
            add_paths(element, path, paths);
        }
    } else {
        paths.insert(path);
    }
}

void add_schema_paths(const Descriptor& type, const std::string& prefix, std::set<std::string>& paths)
{
    for (int i = 0; i < type.field_count(); ++i) {
        const auto& field = *type.field(i);
        const auto& options = field.options();
        const std::string key =
            prefix + "." +
            (options.HasExtension(messaging::gson_name) ? options.GetExtension(messaging::gson_name) : field.name());
        if (field.message_type() != nullptr && field.message_type() != messaging::Uuid::descriptor()) {
            add_schema_paths(*field.message_type(), key, paths);
        } else {
            paths.insert(key);
        }
    }
}

std::size_t mean_bytes(std::string (*make)(std::uint64_t, RecordSize, Identity), RecordSize size)
{
    std::size_t bytes = 0;
    for (std::uint64_t seed = 0; seed < 200; ++seed) {
        bytes += make(seed, size, {}).size();
    }
    return bytes / 200;
}

TEST(SampleRecords, GivenSameSeed_WhenMadeTwice_ThenTextIsTheSame)
{
    EXPECT_EQ(make_instrument_json(5), make_instrument_json(5));
    EXPECT_EQ(make_product_json(5), make_product_json(5));
}

TEST(SampleRecords, GivenOtherSeed_WhenMade_ThenTextDiffers)
{
    EXPECT_NE(make_instrument_json(5), make_instrument_json(6));
    EXPECT_NE(make_product_json(5), make_product_json(6));
}

TEST(SampleRecords, GivenIdentity_WhenMade_ThenRecordCarriesIt)
{
    const json instrument = json::parse(make_instrument_json(1, RecordSize::small, {7, 99}));
    EXPECT_EQ(instrument.at("instrumentId"), 99);
    EXPECT_EQ(instrument.at("marketId"), 7);
    EXPECT_EQ(json::parse(make_product_json(1, RecordSize::small, {7, 98})).at("productId"), 98);
}

TEST(SampleRecords, GivenNoIdentifier_WhenMade_ThenOneIsMadeFromTheSeed)
{
    EXPECT_GT(json::parse(make_instrument_json(1)).at("instrumentId").get<std::uint64_t>(), 0U);
}

TEST(SampleRecords, GivenManySeeds_WhenMade_ThenEveryFieldOfTheInstrumentSchemaAppearsAndNoOther)
{
    std::set<std::string> expected;
    add_schema_paths(*messaging::pds::InstrumentDownloadRecord::descriptor(), "", expected);
    std::set<std::string> seen;
    for (std::uint64_t seed = 0; seed < 300; ++seed) {
        add_paths(json::parse(make_instrument_json(seed)), "", seen);
    }
    EXPECT_EQ(seen, expected);
}

TEST(SampleRecords, GivenManySeeds_WhenMade_ThenEveryFieldOfTheProductSchemaAppearsAndNoOther)
{
    std::set<std::string> expected;
    add_schema_paths(*messaging::pds::ProductDownloadRecord::descriptor(), "", expected);
    std::set<std::string> seen;
    for (std::uint64_t seed = 0; seed < 300; ++seed) {
        add_paths(json::parse(make_product_json(seed)), "", seen);
    }
    EXPECT_EQ(seen, expected);
}

TEST(SampleRecords, GivenSizeClass_WhenManyAreMade_ThenTheirMeanIsWhatTheClassPromises)
{
    EXPECT_THAT(mean_bytes(make_instrument_json, RecordSize::small),
                testing::AllOf(testing::Ge(150U), testing::Le(450U)));
    EXPECT_THAT(mean_bytes(make_instrument_json, RecordSize::typical),
                testing::AllOf(testing::Ge(1'300U), testing::Le(1'900U)));
    EXPECT_THAT(mean_bytes(make_instrument_json, RecordSize::large), testing::Ge(3'000U));
}

TEST(SampleRecords, GivenManySeeds_WhenMade_ThenNumbersOf32BitFieldsFitThem)
{
    for (std::uint64_t seed = 0; seed < 100; ++seed) {
        const json record = json::parse(make_instrument_json(seed, RecordSize::large));
        for (const char* key : {"minOrderQuantity", "maxOrderQuantity", "marketDepth", "priceDecimals", "lotSize"}) {
            EXPECT_LE(record.at(key).get<std::int64_t>(), std::numeric_limits<std::int32_t>::max()) << key;
        }
        EXPECT_LE(record.at("exchange").at("channelId").get<std::int64_t>(), std::numeric_limits<std::int32_t>::max());
    }
}

TEST(SampleRecords, GivenFuture_WhenMade_ThenItHasNeitherStrikeNorLegs)
{
    for (std::uint64_t seed = 0; seed < 200; ++seed) {
        const json record = json::parse(make_instrument_json(seed, RecordSize::large));
        if (record.at("productType") == "PRODUCT_TYPE_FUTURE") {
            EXPECT_FALSE(record.contains("strikePrice")) << seed;
            EXPECT_FALSE(record.contains("legs")) << seed;
        }
    }
}

TEST(Envelope, GivenRecordText_WhenWrapped_ThenDataIsThatTextInsideAString)
{
    const json envelope = json::parse(make_envelope("Update", "ProductDownloadRecord", "42", R"({"name":"a\"b"})"));
    EXPECT_EQ(envelope.at("data").get<std::string>(), R"({"name":"a\"b"})");
}

TEST(Envelope, GivenNoData_WhenWrapped_ThenTheMemberIsLeftOut)
{
    EXPECT_EQ(make_envelope("Delete", "ProductDeleteRecord", "42", ""),
              R"({"et":"Delete","dt":"ProductDeleteRecord","id":"42"})");
}

TEST(Envelope, GivenBytesThatAreNotUtf8_WhenWrapped_ThenTheResultIsStillJson)
{
    EXPECT_TRUE(json::accept(make_envelope("Update", "ProductDownloadRecord", "1", "{\"name\":\"\xff\"}")));
}

TEST(Notifications, GivenThousand_WhenMade_ThenKindsComeInTheStatedMix)
{
    const std::uint64_t markets[] = {42};
    std::map<std::string, int> kinds;
    for (std::uint64_t i = 0; i < 1'000; ++i) {
        ++kinds[make_notification(3, i, markets, RecordSize::small).data_type];
    }
    EXPECT_NEAR(kinds["InstrumentDownloadRecord"], 600, 60);
    EXPECT_NEAR(kinds["ProductDownloadRecord"], 250, 50);
    EXPECT_NEAR(kinds["InstrumentDeleteRecord"], 70, 30);
    EXPECT_NEAR(kinds["ProductDeleteRecord"], 40, 25);
    EXPECT_EQ(kinds.size(), 7U);
}

TEST(Notifications, GivenTwoMarkets_WhenManyAreMade_ThenBothAreUsedAndRecordsNameThem)
{
    const std::uint64_t markets[] = {42, 7};
    std::set<std::uint64_t> seen;
    for (std::uint64_t i = 0; i < 50; ++i) {
        const Notification made = make_notification(3, i, markets, RecordSize::small);
        seen.insert(made.market);
        if (!made.data.empty()) {
            EXPECT_EQ(json::parse(made.data).at("marketId"), made.market);
        }
    }
    EXPECT_EQ(seen, (std::set<std::uint64_t>{7, 42}));
}

TEST(Notifications, GivenDeleteKinds_WhenMade_ThenTheyCarryNoData)
{
    const std::uint64_t markets[] = {42};
    for (std::uint64_t i = 0; i < 200; ++i) {
        const Notification made = make_notification(3, i, markets, RecordSize::small);
        EXPECT_EQ(made.data.empty(), !made.data_type.ends_with("DownloadRecord")) << made.data_type;
    }
}

} // namespace
} // namespace qx::sample
