#include <string>

#include <boost/property_tree/json_parser.hpp>
#include <gmock/gmock.h>

#include "price_server/ps_common/connector/source/notification_envelope.h"

using boost::property_tree::ptree_bad_path;
using boost::property_tree::json_parser::json_parser_error;
using ps_ns::NotificationEnvelope;

TEST(NotificationEnvelope, GivenNumberAsId_WhenRead_ThenAllFourMembersAreTexts)
{
    const NotificationEnvelope envelope(R"({"et":"Update","dt":"ProductDownloadRecord","id":42,"data":"{}"})");
    EXPECT_EQ(envelope.Text(ps_ns::envelope_key::eventType), "Update");
    EXPECT_EQ(envelope.Text(ps_ns::envelope_key::dataType), "ProductDownloadRecord");
    EXPECT_EQ(envelope.Text(ps_ns::envelope_key::id), "42");
    EXPECT_EQ(envelope.Text(ps_ns::envelope_key::data), "{}");
}

TEST(NotificationEnvelope, GivenNumberAndString_WhenRead_ThenTheSameText)
{
    EXPECT_EQ(NotificationEnvelope(R"({"id":12345})").Text("id"), NotificationEnvelope(R"({"id":"12345"})").Text("id"));
}

TEST(NotificationEnvelope, GivenNumberInOddForm_WhenRead_ThenItsTextAsWritten)
{
    EXPECT_EQ(NotificationEnvelope(R"({"id":1.0E+05})").Text("id"), "1.0E+05");
}

TEST(NotificationEnvelope, GivenLiterals_WhenRead_ThenTheirTexts)
{
    const NotificationEnvelope envelope(R"({"a":true,"b":false,"c":null})");
    EXPECT_EQ(envelope.Text("a"), "true");
    EXPECT_EQ(envelope.Text("b"), "false");
    EXPECT_EQ(envelope.Text("c"), "null");
}

TEST(NotificationEnvelope, GivenEscapes_WhenRead_ThenResolved)
{
    EXPECT_EQ(NotificationEnvelope(R"({"data":"{\"k\":\"a\\\\b\"}\n\u00e9"})").Text("data"),
              "{\"k\":\"a\\\\b\"}\n\xC3\xA9");
}

TEST(NotificationEnvelope, GivenNestedObjectOrArray_WhenRead_ThenEmpty)
{
    const NotificationEnvelope envelope(R"({"data":{"k":1},"list":[1,2]})");
    EXPECT_EQ(envelope.Text("data"), "");
    EXPECT_EQ(envelope.Text("list"), "");
}

TEST(NotificationEnvelope, GivenDuplicateMembers_WhenRead_ThenTheFirst)
{
    EXPECT_EQ(NotificationEnvelope(R"({"id":"1","id":"2"})").Text("id"), "1");
}

TEST(NotificationEnvelope, GivenMissingMember_WhenRead_ThenBadPath)
{
    EXPECT_THROW(NotificationEnvelope(R"({"et":"Update"})").Text("id"), ptree_bad_path);
}

TEST(NotificationEnvelope, GivenKeyInOtherCase_WhenRead_ThenBadPath)
{
    EXPECT_THROW(NotificationEnvelope(R"({"ET":"Update"})").Text("et"), ptree_bad_path);
}

TEST(NotificationEnvelope, GivenNothingParsed_WhenRead_ThenBadPath)
{
    EXPECT_THROW(NotificationEnvelope().Text("et"), ptree_bad_path);
}

TEST(NotificationEnvelope, GivenEmptyPayload_WhenParsed_ThenThrows)
{
    EXPECT_THROW(NotificationEnvelope(""), json_parser_error);
}

TEST(NotificationEnvelope, GivenBrokenJson_WhenParsed_ThenThrows)
{
    EXPECT_THROW(NotificationEnvelope(R"({"et":"Update",)"), json_parser_error);
}

TEST(NotificationEnvelope, GivenEnvelopeWithoutRecord_WhenReadPlainOrNot_ThenBadPath)
{
    EXPECT_THROW(NotificationEnvelope(R"({"et":"Update","dt":"x","id":1})").Text("data"), ptree_bad_path);
    EXPECT_THROW(NotificationEnvelope(R"({"et":"Update","dt":"x","id":[]})").Text("data"), ptree_bad_path);
}

TEST(NotificationEnvelope, GivenBareScalar_WhenRead_ThenItHasNoMembers)
{
    EXPECT_THROW(NotificationEnvelope("17").Text("et"), ptree_bad_path);
}
