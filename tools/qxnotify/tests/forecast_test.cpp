#include "qxnotify/publish_forecast.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sample_records/sample_records.h"

namespace qx::tool {
namespace {

using testing::HasSubstr;

Fate fate_of(const std::string& payload)
{
    return Forecaster{}(payload).fate;
}

std::string nested(std::size_t depth)
{
    return std::string(depth, '[') + std::string(depth, ']');
}

TEST(Forecast, GivenMadeUpRecords_WhenForecast_ThenEveryOneConverts)
{
    Forecaster forecast;
    for (std::uint64_t seed = 0; seed < 100; ++seed) {
        const auto size = static_cast<sample::RecordSize>(seed % 3);
        const std::string product = sample::make_product_json(seed, size);
        const std::string instrument = sample::make_instrument_json(seed, size);
        EXPECT_EQ(forecast(sample::make_envelope("Update", "ProductDownloadRecord", "1", product)).fate, Fate::product);
        EXPECT_EQ(forecast(sample::make_envelope("Update", "InstrumentDownloadRecord", "1", instrument)).fate,
                  Fate::instrument);
    }
}

TEST(Forecast, GivenDeletes_WhenForecast_ThenTheyNeedNoData)
{
    EXPECT_EQ(fate_of(R"({"et":"Delete","dt":"ProductDeleteRecord","id":1})"), Fate::product_delete);
    EXPECT_EQ(fate_of(R"({"et":"Delete","dt":"InstrumentDeleteRecord","id":1})"), Fate::instrument_delete);
}

TEST(Forecast, GivenUnknownDataType_WhenForecast_ThenUnsupportedAndNamed)
{
    const Forecast forecast = Forecaster{}(R"({"et":"Update","dt":"TickTableUploadRecord","id":1})");
    EXPECT_EQ(forecast.fate, Fate::unsupported);
    EXPECT_THAT(forecast.reason, HasSubstr("TickTableUploadRecord"));
}

TEST(Forecast, GivenUnknownEventType_WhenForecast_ThenTheRecordIsDeliveredAllTheSame)
{
    EXPECT_EQ(fate_of(R"({"et":"Remove","dt":"ProductDownloadRecord","id":1,"data":"{\"symbol\":\"A\"}"})"),
              Fate::product);
}

TEST(Forecast, GivenRecordThatIsNotJson_WhenForecast_ThenBadInner)
{
    EXPECT_EQ(fate_of(R"({"et":"Update","dt":"ProductDownloadRecord","id":1,"data":"{oops"})"), Fate::bad_inner);
}

TEST(Forecast, GivenRecordAsNestedObject_WhenForecast_ThenBadInnerBecauseItsTextIsEmpty)
{
    EXPECT_EQ(fate_of(R"({"et":"Update","dt":"ProductDownloadRecord","id":1,"data":{"symbol":"A"}})"), Fate::bad_inner);
}

TEST(Forecast, GivenUuidThatIsNone_WhenForecast_ThenBadInner)
{
    EXPECT_EQ(fate_of(R"({"et":"Update","dt":"ProductDownloadRecord","id":1,"data":"{\"uuid\":\"no\"}"})"),
              Fate::bad_inner);
}

TEST(Forecast, GivenEmptyRecord_WhenForecast_ThenNoReflection)
{
    EXPECT_EQ(fate_of(R"({"et":"Update","dt":"InstrumentDownloadRecord","id":1,"data":"{}"})"), Fate::no_reflection);
    EXPECT_EQ(fate_of(R"({"et":"Update","dt":"InstrumentDownloadRecord","id":1,"data":"42"})"), Fate::no_reflection);
}

TEST(Forecast, GivenMissingMember_WhenForecast_ThenFatalAndTheReasonNamesIt)
{
    EXPECT_EQ(fate_of(R"({"dt":"ProductDeleteRecord","id":1})"), Fate::fatal);
    EXPECT_EQ(fate_of(R"({"et":"Delete","id":1})"), Fate::fatal);
    EXPECT_EQ(fate_of(R"({"et":"Delete","dt":"ProductDeleteRecord"})"), Fate::fatal);
    const Forecast forecast = Forecaster{}(R"({"et":"Update","dt":"ProductDownloadRecord","id":1})");
    EXPECT_EQ(forecast.fate, Fate::fatal);
    EXPECT_THAT(forecast.reason, HasSubstr("data"));
}

TEST(Forecast, GivenPayloadThatIsNotJson_WhenForecast_ThenFatal)
{
    for (const char* payload : {"", "oops", "{", "42", "[]", "\"x\"", "{} x"}) {
        EXPECT_EQ(fate_of(payload), Fate::fatal) << payload;
    }
}

TEST(Forecast, GivenNestingThatExhaustsAStack_WhenForecast_ThenFatalAndNotTried)
{
    const Forecast forecast = Forecaster{}(nested(1'000'000));
    EXPECT_EQ(forecast.fate, Fate::fatal);
    EXPECT_EQ(forecast.reason, "nested deeper than 512 levels");
}

TEST(Forecast, GivenBracketsInsideStrings_WhenForecast_ThenTheyNestNothing)
{
    const std::string brackets(1'000, '[');
    EXPECT_EQ(fate_of(R"({"et":"a\")" + brackets + R"(","dt":"ProductDeleteRecord","id":1})"), Fate::product_delete);
}

TEST(Forecast, GivenNestingOfTheLimit_WhenForecast_ThenItIsRead)
{
    EXPECT_EQ(fate_of(R"({"et":"","dt":"ProductDeleteRecord","id":1,"x":)" + nested(511) + "}"), Fate::product_delete);
    EXPECT_EQ(fate_of(R"({"et":"","dt":"ProductDeleteRecord","id":1,"x":)" + nested(512) + "}"), Fate::fatal);
}

TEST(FateName, GivenEveryFate_WhenNamed_ThenNoNameIsEmpty)
{
    for (std::size_t i = 0; i < fate_count; ++i) {
        EXPECT_NE(fate_name(static_cast<Fate>(i)), "") << i;
    }
}

} // namespace
} // namespace qx::tool
