#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/transport/source/error.h"
#include "platform/transport/source/topic_name.h"

namespace qx::transport {
namespace {

std::string refusal(const std::string& topic)
{
    try {
        check_topic_name(topic);
    } catch (const TransportError& e) {
        EXPECT_EQ(e.code(), LBM_EINVAL);
        return e.what();
    }
    return "accepted";
}

TEST(TopicName, GivenOneByte_WhenChecked_ThenAccepted)
{
    EXPECT_EQ(refusal("a"), "accepted");
}

TEST(TopicName, GivenNothing_WhenChecked_ThenRefused)
{
    EXPECT_EQ(refusal(""), "a topic name has 1 to 246 bytes, this one 0");
}

TEST(TopicName, GivenGreatestLength_WhenChecked_ThenAccepted)
{
    EXPECT_EQ(refusal(std::string(topic_bytes_max, 't')), "accepted");
}

TEST(TopicName, GivenOneByteTooMany_WhenChecked_ThenRefused)
{
    EXPECT_EQ(refusal(std::string(topic_bytes_max + 1, 't')), "a topic name has 1 to 246 bytes, this one 247");
}

TEST(TopicName, GivenEachControlCharacter_WhenChecked_ThenRefused)
{
    for (int c = 0; c < 256; ++c) {
        const bool control = c < 32 || c == 127;
        const std::string expected =
            control ? "a topic name has no control characters, this one has one at offset 1" : "accepted";
        EXPECT_EQ(refusal({'a', static_cast<char>(c), 'b'}), expected) << "byte " << c;
    }
}

TEST(FirstToken, GivenDots_WhenAsked_ThenTextBeforeTheFirst)
{
    EXPECT_EQ(first_token("qxnotify.public.pds"), "qxnotify");
}

TEST(FirstToken, GivenNoDot_WhenAsked_ThenTheWholeTopic)
{
    EXPECT_EQ(first_token("TRIAGE"), "TRIAGE");
}

TEST(FirstToken, GivenLeadingDot_WhenAsked_ThenEmpty)
{
    EXPECT_EQ(first_token(".a"), "");
}

} // namespace
} // namespace qx::transport
