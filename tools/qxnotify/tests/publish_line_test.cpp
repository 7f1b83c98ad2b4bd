#include "qxnotify/publish_line.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace qx::tool {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::string payload_of(const ParsedLine& line)
{
    const auto* notification = std::get_if<Notification>(&line);
    return notification != nullptr ? notification->payload : "(no notification)";
}

std::string reason_of(const ParsedLine& line)
{
    const auto* refusal = std::get_if<Refusal>(&line);
    return refusal != nullptr ? refusal->reason : "(not refused)";
}

bool is_skipped(const ParsedLine& line)
{
    return std::holds_alternative<Skipped>(line);
}

TEST(PublishLine, GivenRecordAsObject_WhenParsed_ThenTheEnvelopeCarriesItAsText)
{
    const auto line = parse_line(R"({"market":42,"et":"Update","dt":"D","id":17,"data":{"b":1,"a":[true]}})", {});
    EXPECT_EQ(payload_of(line), R"({"et":"Update","dt":"D","id":17,"data":"{\"b\":1,\"a\":[true]}"})");
    EXPECT_EQ(std::get<Notification>(line).market, 42U);
}

TEST(PublishLine, GivenRecordAsText_WhenParsed_ThenTheTextIsKeptByteForByte)
{
    const auto line = parse_line(R"({"market":42,"et":"U","dt":"D","id":"1","data":"{ \"a\" : 1.50 "})", {});
    EXPECT_EQ(nlohmann::json::parse(payload_of(line)).at("data"), R"({ "a" : 1.50 )");
}

TEST(PublishLine, GivenMissingMembers_WhenParsed_ThenTheyStayMissing)
{
    EXPECT_EQ(payload_of(parse_line(R"({"market":1,"dt":"D"})", {})), R"({"dt":"D"})");
}

TEST(PublishLine, GivenMembersInAnyOrderAndOthersBetween_WhenParsed_ThenTheEnvelopeHasItsOwn)
{
    EXPECT_EQ(payload_of(parse_line(R"({"id":1,"time":"x","dt":"D","market":1,"topic":"t","et":"E"})", {})),
              R"({"et":"E","dt":"D","id":1})");
}

TEST(PublishLine, GivenRawPayload_WhenParsed_ThenItIsThePayload)
{
    EXPECT_EQ(payload_of(parse_line(R"({"market":1,"raw":"not { json\u0000"})", {})), std::string("not { json\0", 11));
}

TEST(PublishLine, GivenRawPayloadThatIsNoString_WhenParsed_ThenRefused)
{
    EXPECT_THAT(reason_of(parse_line(R"({"market":1,"raw":{}})", {})), HasSubstr(R"("raw" must be a string)"));
}

TEST(PublishLine, GivenNoMarket_WhenADefaultIsGiven_ThenItIsTaken)
{
    EXPECT_EQ(std::get<Notification>(parse_line(R"({"raw":""})", 7)).market, 7U);
}

TEST(PublishLine, GivenNoMarket_WhenNoDefaultIsGiven_ThenRefusedWithAdvice)
{
    EXPECT_EQ(reason_of(parse_line(R"({"raw":""})", {})), R"(no "market"; give it in the line or with --market)");
}

TEST(PublishLine, GivenLargestAndSmallestMarket_WhenParsed_ThenTheyAreKept)
{
    EXPECT_EQ(std::get<Notification>(parse_line(R"({"market":18446744073709551615,"raw":""})", {})).market,
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(std::get<Notification>(parse_line(R"({"market":0,"raw":""})", 7)).market, 0U);
}

TEST(PublishLine, GivenMarketThatIsNoWholeNumber_WhenParsed_ThenRefusedAndShown)
{
    for (const char* market : {"-1", "1.5", "18446744073709551616", "\"42\"", "null", "[1]"}) {
        const auto line = parse_line(std::string{R"({"raw":"","market":)"} + market + "}", 7);
        EXPECT_THAT(reason_of(line), StartsWith(R"("market" is )")) << market;
    }
}

TEST(PublishLine, GivenBlankLine_WhenParsed_ThenSkipped)
{
    EXPECT_TRUE(is_skipped(parse_line("", {})));
    EXPECT_TRUE(is_skipped(parse_line(" \t\r", {})));
}

TEST(PublishLine, GivenWhatAListenerSaysBesideRecords_WhenParsed_ThenSkipped)
{
    EXPECT_TRUE(is_skipped(parse_line(R"({"summary":{"received":1}})", {})));
    EXPECT_TRUE(is_skipped(parse_line(R"({"stats":{"messages_received":1}})", {})));
}

TEST(PublishLine, GivenOtherJson_WhenParsed_ThenRefused)
{
    for (const char* text : {"[]", "42", "\"x\"", "null"}) {
        EXPECT_EQ(reason_of(parse_line(text, 7)), "not a JSON object") << text;
    }
}

TEST(PublishLine, GivenTextThatIsNotJson_WhenParsed_ThenThePlaceInTheLineIsTold)
{
    EXPECT_THAT(reason_of(parse_line(R"({"market":42,)", {})),
                StartsWith("not JSON: parse error at line 1, column 14"));
}

TEST(PublishLine, GivenBadBytes_WhenParsed_ThenTheReasonIsSafeForATerminal)
{
    const std::string reason = reason_of(parse_line("{\"a\":\"\x1b[31m\xff\"}", 7));
    EXPECT_THAT(reason, StartsWith("not JSON: "));
    EXPECT_EQ(reason.find('\x1b'), std::string::npos);
}

TEST(PublishLine, GivenVeryDeepNesting_WhenParsed_ThenItNeitherCrashesNorIsLost)
{
    const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
    const auto line = parse_line(R"({"market":1,"raw":"x","extra":)" + deep + "}", {});
    EXPECT_EQ(payload_of(line), "x");
}

} // namespace
} // namespace qx::tool
