#include "qxnotify/listen_format.h"

#include <cstring>

#include <gmock/gmock.h>
#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "product_download_record.pb.h"

namespace qx::tool {
namespace {

using messaging::pds::ProductDownloadRecord;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr std::chrono::system_clock::time_point some_time{std::chrono::microseconds{1'772'357'400'000'123}};

Delivery some_delivery()
{
    return {some_time, "qxnotify.public.pds.native.42.product", "source-1", 7, "17"};
}

ProductDownloadRecord some_record()
{
    ProductDownloadRecord record;
    record.set_symbol("GBL");
    record.set_name("a\n\x1b[31mb");
    record.set_lot_size(10);
    return record;
}

std::string formatted(RecordFormat format, bool colour = false)
{
    const Delivery delivery = some_delivery();
    return format_record({delivery, messaging::pds::enums::Update, some_record()}, format, colour);
}

lbm_msg_t message_with(const char* payload)
{
    lbm_msg_t message{};
    message.data = payload;
    message.len = std::strlen(payload);
    message.topic_name = "t";
    message.source = "s";
    message.sequence_number = 4'294'967'295U;
    return message;
}

TEST(UtcText, GivenTime_WhenWritten_ThenMicrosecondsAndZone)
{
    EXPECT_EQ(utc_text(some_time), "2026-03-01T09:30:00.000123Z");
    EXPECT_EQ(utc_text({}), "1970-01-01T00:00:00.000000Z");
}

TEST(DescribeDelivery, GivenNoMessage_WhenDescribed_ThenOnlyTheTimeIsKnown)
{
    const Delivery delivery = describe_delivery(nullptr, some_time);
    EXPECT_EQ(delivery.time, some_time);
    EXPECT_EQ(delivery.topic + delivery.source + delivery.id, "");
}

TEST(DescribeDelivery, GivenMessage_WhenDescribed_ThenTopicSourceNumberAndIdentifier)
{
    const lbm_msg_t message = message_with(R"({"id":"17"})");
    const Delivery delivery = describe_delivery(&message, some_time);
    EXPECT_EQ(delivery.topic, "t");
    EXPECT_EQ(delivery.source, "s");
    EXPECT_EQ(delivery.sequence_number, 4'294'967'295U);
    EXPECT_EQ(delivery.id, "17");
}

TEST(DescribeDelivery, GivenIdentifierAsNumber_WhenDescribed_ThenItsText)
{
    const lbm_msg_t message = message_with(R"({"id":18446744073709551615})");
    EXPECT_EQ(describe_delivery(&message, some_time).id, "18446744073709551615");
}

TEST(DescribeDelivery, GivenPayloadWithoutIdentifier_WhenDescribed_ThenItIsEmpty)
{
    for (const char* payload : {"", "[]", "{}", "not json"}) {
        const lbm_msg_t message = message_with(payload);
        EXPECT_EQ(describe_delivery(&message, some_time).id, "") << payload;
    }
}

TEST(FormatLine, GivenRecord_WhenFormatted_ThenOneLineWithHeadlineAndTopic)
{
    EXPECT_EQ(formatted(RecordFormat::line),
              "2026-03-01T09:30:00.000123Z Update ProductDownloadRecord    id=17 symbol=GBL name=a\\n\\x1b[31mb "
              "(+1 fields) qxnotify.public.pds.native.42.product #7\n");
}

TEST(FormatLine, GivenColour_WhenFormatted_ThenItEndsBeforeTheLineDoes)
{
    const std::string line = formatted(RecordFormat::line, true);
    EXPECT_THAT(line, HasSubstr("\x1b[33mUpdate\x1b[0m"));
    EXPECT_THAT(line, EndsWith("\x1b[0m\n"));
}

TEST(FormatLine, GivenNoColour_WhenFormatted_ThenNoControlCharacterIsInIt)
{
    EXPECT_THAT(formatted(RecordFormat::line), Not(HasSubstr("\x1b")));
}

TEST(FormatJson, GivenRecord_WhenFormatted_ThenOneObjectWithEverythingKnown)
{
    const std::string line = formatted(RecordFormat::json);
    const auto object = nlohmann::json::parse(line);
    EXPECT_EQ(line.find('\n'), line.size() - 1);
    EXPECT_EQ(object.at("time"), "2026-03-01T09:30:00.000123Z");
    EXPECT_EQ(object.at("topic"), "qxnotify.public.pds.native.42.product");
    EXPECT_EQ(object.at("source"), "source-1");
    EXPECT_EQ(object.at("sequence_number"), 7);
    EXPECT_EQ(object.at("market"), 42);
    EXPECT_EQ(object.at("et"), "Update");
    EXPECT_EQ(object.at("dt"), "ProductDownloadRecord");
    EXPECT_EQ(object.at("id"), "17");
    EXPECT_EQ(object.at("data").at("lotSize"), 10);
}

TEST(FormatJson, GivenTextThatIsNotUtf8_WhenFormatted_ThenItIsStillJson)
{
    ProductDownloadRecord record;
    record.set_symbol("\xff");
    const Delivery delivery = some_delivery();
    EXPECT_TRUE(nlohmann::json::accept(format_record({delivery, 1, record}, RecordFormat::json, false)));
}

TEST(FormatText, GivenRecord_WhenFormatted_ThenItsTextReadsBackAsTheSameRecord)
{
    const std::string text = formatted(RecordFormat::text);
    ProductDownloadRecord read;
    ASSERT_TRUE(google::protobuf::TextFormat::ParseFromString(text, &read));
    EXPECT_EQ(read.SerializeAsString(), some_record().SerializeAsString());
    EXPECT_THAT(text, StartsWith("# 2026-03-01T09:30:00.000123Z Update ProductDownloadRecord id=17 topic="));
    EXPECT_THAT(text, EndsWith("\n\n"));
}

} // namespace
} // namespace qx::tool
