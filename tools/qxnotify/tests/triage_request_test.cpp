#include "qxnotify/triage_request.h"

#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "wire.pb.h"

namespace qx::tool {
namespace {

using messaging::Header;
using messaging::Wire;
using messaging::triage::TriageActionWithWire;
using messaging::triage::TriageNakKillRequest;
using messaging::triage::TriageResponse;
using testing::HasSubstr;

TriageActionWithWire unwrap(const std::string& request)
{
    Wire outer;
    EXPECT_TRUE(outer.ParseFromString(request));
    EXPECT_EQ(outer.header().msg_type(), Header::MSG_OPS_TRIAGE_ACTION_WITH_WIRE);
    EXPECT_EQ(outer.payload_size(), 1);
    TriageActionWithWire action;
    EXPECT_TRUE(outer.payload_size() == 1 && action.ParseFromString(outer.payload(0)));
    return action;
}

std::string response(const std::string& id, messaging::triage::TriageActionResponseStatus status)
{
    TriageResponse made;
    made.set_request_id(id);
    made.set_status(status);
    return made.SerializeAsString();
}

TEST(RequestIds, GivenTwoMakers_WhenAsked_ThenNoIdentifierComesTwice)
{
    RequestIds one;
    RequestIds two;
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        seen.insert(one.next());
        seen.insert(two.next());
    }
    EXPECT_EQ(seen.size(), 200U);
}

TEST(TriageRequest, GivenTestRequest_WhenUnwrapped_ThenIdentifierAndTypeAreThere)
{
    const auto action = unwrap(encode_test_request("id-1"));
    EXPECT_EQ(action.request_id(), "id-1");
    EXPECT_EQ(action.wire().header().msg_type(), Header::MSG_OPS_TRIAGE_TEST_REQUEST);
    EXPECT_EQ(action.wire().payload_size(), 1); // empty, but there: responders drop a request without a payload
}

TEST(TriageRequest, GivenNakRequest_WhenUnwrapped_ThenContextsAndSwitchAreThere)
{
    const auto action = unwrap(encode_nak_request("id-2", messaging::triage::QXNOTIFY, true));
    EXPECT_EQ(action.wire().header().msg_type(), Header::MSG_OPS_TRIAGE_NAK_KILL_REQUEST);
    TriageNakKillRequest naks;
    ASSERT_TRUE(action.wire().payload_size() == 1 && naks.ParseFromString(action.wire().payload(0)));
    EXPECT_EQ(naks.context(), messaging::triage::QXNOTIFY);
    EXPECT_TRUE(naks.enable());
}

TEST(TriageRequest, GivenNakRequest_WhenDescribed_ThenEverythingIsNamedDefaultsIncluded)
{
    EXPECT_EQ(describe_request(encode_nak_request("id-3", messaging::triage::ORDER, false)),
              "MSG_OPS_TRIAGE_ACTION_WITH_WIRE request_id: id-3 MSG_OPS_TRIAGE_NAK_KILL_REQUEST context: ORDER "
              "enable: false");
}

TEST(TriageRequest, GivenBytesThatAreNone_WhenDescribed_ThenHexadecimalDigits)
{
    EXPECT_EQ(describe_request("\xff\x01"), "ff01");
}

TEST(TriageAnswer, GivenSuccess_WhenJudged_ThenNoFault)
{
    EXPECT_EQ(fault_of_answer(response("a", messaging::triage::TRIAGE_RESPONSE_STATUS_SUCCESS), "a"), "");
}

TEST(TriageAnswer, GivenOtherIdentifier_WhenJudged_ThenTheFaultNamesIt)
{
    EXPECT_EQ(fault_of_answer(response("b\n", messaging::triage::TRIAGE_RESPONSE_STATUS_SUCCESS), "a"),
              R"(answers another request, "b\n")");
}

TEST(TriageAnswer, GivenFailure_WhenJudged_ThenTheFaultNamesTheStatus)
{
    EXPECT_EQ(fault_of_answer(response("a", messaging::triage::TRIAGE_RESPONSE_STATUS_FAILURE), "a"), "status 1");
}

TEST(TriageAnswer, GivenBytesThatAreNone_WhenJudged_ThenTheFaultSaysSo)
{
    for (const char* bytes : {"", "\xff", "nonsense"}) {
        EXPECT_EQ(fault_of_answer(bytes, "a"), "not a TriageResponse") << bytes;
    }
}

TEST(TriageAnswer, GivenAnswer_WhenShown_ThenText)
{
    EXPECT_THAT(show_answer(response("a", messaging::triage::TRIAGE_RESPONSE_STATUS_SUCCESS)),
                HasSubstr("TRIAGE_RESPONSE_STATUS_SUCCESS"));
}

TEST(TriageAnswer, GivenBytesThatAreNone_WhenShown_ThenHexadecimalDigits)
{
    EXPECT_EQ(show_answer("\x01\xab"), "01ab");
}

} // namespace
} // namespace qx::tool
