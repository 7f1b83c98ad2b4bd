#include <string>

#include <boost/property_tree/json_parser.hpp>
#include <gmock/gmock.h>

#include "price_server/ps_common/connector/source/notification_envelope.h"

using boost::property_tree::ptree_bad_path;
using boost::property_tree::json_parser::json_parser_error;
using ps_ns::NotificationEnvelope;

namespace {

NotificationEnvelope Parsed(const std::string& payload)
{
    NotificationEnvelope envelope;
    envelope.Parse(payload);
    return envelope;
}

} // namespace

TEST(NotificationEnvelope, GivenNumberAsId_WhenRead_ThenAllFourMembersAreTexts)
{
    const auto envelope = Parsed(R"({"et":"Update","dt":"ProductDownloadRecord","id":42,"data":"{}"})");
    EXPECT_EQ(envelope.Text(ps_ns::envelope_key::eventType), "Update");
    EXPECT_EQ(envelope.Text(ps_ns::envelope_key::dataType), "ProductDownloadRecord");
    EXPECT_EQ(envelope.Text(ps_ns::envelope_key::id), "42");
    EXPECT_EQ(envelope.Text(ps_ns::envelope_key::data), "{}");
}

TEST(NotificationEnvelope, GivenNumberAndString_WhenRead_ThenTheSameText)
{
    EXPECT_EQ(Parsed(R"({"id":12345})").Text("id"), Parsed(R"({"id":"12345"})").Text("id"));
}

TEST(NotificationEnvelope, GivenNumberInOddForm_WhenRead_ThenItsTextAsWritten)
{
    EXPECT_EQ(Parsed(R"({"id":1.0E+05})").Text("id"), "1.0E+05");
}

TEST(NotificationEnvelope, GivenLiterals_WhenRead_ThenTheirTexts)
{
    const auto envelope = Parsed(R"({"a":true,"b":false,"c":null})");
    EXPECT_EQ(envelope.Text("a"), "true");
    EXPECT_EQ(envelope.Text("b"), "false");
    EXPECT_EQ(envelope.Text("c"), "null");
}

TEST(NotificationEnvelope, GivenEscapes_WhenRead_ThenResolved)
{
    EXPECT_EQ(Parsed(R"({"data":"{\"k\":\"a\\\\b\"}\n\u00e9"})").Text("data"), "{\"k\":\"a\\\\b\"}\n\xC3\xA9");
}

TEST(NotificationEnvelope, GivenNestedObjectOrArray_WhenRead_ThenEmpty)
{
    const auto envelope = Parsed(R"({"data":{"k":1},"list":[1,2]})");
    EXPECT_EQ(envelope.Text("data"), "");
    EXPECT_EQ(envelope.Text("list"), "");
}

TEST(NotificationEnvelope, GivenDuplicateMembers_WhenRead_ThenTheFirst)
{
    EXPECT_EQ(Parsed(R"({"id":"1","id":"2"})").Text("id"), "1");
}

TEST(NotificationEnvelope, GivenMissingMember_WhenRead_ThenBadPath)
{
    EXPECT_THROW(Parsed(R"({"et":"Update"})").Text("id"), ptree_bad_path);
}

TEST(NotificationEnvelope, GivenKeyInOtherCase_WhenRead_ThenBadPath)
{
    EXPECT_THROW(Parsed(R"({"ET":"Update"})").Text("et"), ptree_bad_path);
}

TEST(NotificationEnvelope, GivenNothingParsed_WhenRead_ThenBadPath)
{
    EXPECT_THROW(NotificationEnvelope().Text("et"), ptree_bad_path);
}

TEST(NotificationEnvelope, GivenEmptyPayload_WhenParsed_ThenThrows)
{
    EXPECT_THROW(Parsed(""), json_parser_error);
}

TEST(NotificationEnvelope, GivenBrokenJson_WhenParsed_ThenThrowsAndKeepsNoMember)
{
    NotificationEnvelope envelope;
    EXPECT_THROW(envelope.Parse(R"({"et":"Update",)"), json_parser_error);
    EXPECT_THROW(envelope.Text("et"), ptree_bad_path);
}

TEST(NotificationEnvelope, GivenParsedEnvelope_WhenAnotherParseFails_ThenItsMembersAreAsBefore)
{
    auto envelope = Parsed(R"({"et":"Update"})");
    EXPECT_THROW(envelope.Parse(R"({"et":"Delete",)"), json_parser_error);
    EXPECT_EQ(envelope.Text("et"), "Update");
}

TEST(NotificationEnvelope, GivenBareScalar_WhenRead_ThenItHasNoMembers)
{
    EXPECT_THROW(Parsed("17").Text("et"), ptree_bad_path);
}
