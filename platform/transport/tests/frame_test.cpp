#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "platform/transport/source/frame.h"

using namespace qx::transport;
using namespace testing;

namespace {

const WireMessage example{Kind::data, 3, 4, "A.B", "", "payload"};

Bytes encode(std::initializer_list<WireMessage> messages, std::uint64_t sequence = 1)
{
    FrameBuilder builder{1'000};
    for (const WireMessage& m : messages) {
        builder.add(m);
    }
    return builder.finish(sequence, 0xFEDCBA98);
}

constexpr std::size_t message_at = 16; ///< where the first message's kind stands

bool decodes(const Bytes& bytes)
{
    Frame frame;
    return decode_frame(bytes, frame);
}

TEST(FrameCodec, GivenMessages_WhenEncodedAndDecoded_ThenTheyAreTheSame)
{
    const Bytes bytes = encode({example, {Kind::close, 0xFFFFFFFF, 0xFFFFFFFE, "C", "extra", ""}}, 0xFFFFFFFFFFFFFFFF);
    Frame frame;
    ASSERT_TRUE(decode_frame(bytes, frame));
    EXPECT_EQ(frame.stream_sequence, 0xFFFFFFFFFFFFFFFF);
    EXPECT_EQ(frame.next_source, 0xFEDCBA98);
    ASSERT_EQ(frame.messages.size(), 2U);
    EXPECT_EQ(frame.messages[0].topic, "A.B");
    EXPECT_EQ(frame.messages[0].payload, "payload");
    EXPECT_EQ(frame.messages[1].kind, Kind::close);
    EXPECT_EQ(frame.messages[1].source, 0xFFFFFFFF);
    EXPECT_EQ(frame.messages[1].sequence, 0xFFFFFFFE);
    EXPECT_EQ(frame.messages[1].extra, "extra");
}

TEST(FrameCodec, GivenAFrame_WhenCutAnywhere_ThenItIsRefused)
{
    const Bytes whole = encode({example, example});
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(decodes({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)})) << length;
    }
}

TEST(FrameCodec, GivenAFrame_WhenBytesFollow_ThenItIsRefused)
{
    Bytes bytes = encode({example});
    bytes.push_back(0);
    EXPECT_FALSE(decodes(bytes));
}

TEST(FrameCodec, GivenAFrame_WhenAnyBitIsFlipped_ThenDecodingStaysInBounds)
{
    const Bytes whole = encode({example, example});
    Frame frame;
    for (std::size_t bit = 0; bit < whole.size() * 8; ++bit) {
        Bytes bytes = whole;
        bytes[bit / 8] = static_cast<std::uint8_t>(bytes[bit / 8] ^ (1U << (bit % 8)));
        if (decode_frame(bytes, frame)) {
            EXPECT_LE(frame.messages.size(), 2U);
        }
    }
}

TEST(FrameCodec, GivenAnotherVersion_WhenDecoded_ThenItIsRefused)
{
    Bytes bytes = encode({example});
    bytes[0] = frame_version + 1;
    EXPECT_FALSE(decodes(bytes));
}

TEST(FrameCodec, GivenACountThatPromisesMore_WhenDecoded_ThenItIsRefused)
{
    Bytes bytes = encode({example});
    bytes[2] = 2;
    EXPECT_FALSE(decodes(bytes));
}

TEST(FrameCodec, GivenAnUnknownKind_WhenDecoded_ThenItIsSteppedOverAndCounted)
{
    Bytes bytes = encode({example, {Kind::data, 9, 9, "Z", "", "z"}});
    bytes[message_at] = 200;
    Frame frame;
    ASSERT_TRUE(decode_frame(bytes, frame));
    EXPECT_EQ(frame.unknown_kinds, 1U);
    ASSERT_EQ(frame.messages.size(), 1U);
    EXPECT_EQ(frame.messages[0].source, 9U);
}

TEST(FrameCodec, GivenAnUnknownKindThatIsNumbered_WhenDecoded_ThenItsSourceAndNumberAreKept)
{
    Bytes bytes = encode({example});
    bytes[message_at] = numbered_kind_max;
    Frame frame;
    ASSERT_TRUE(decode_frame(bytes, frame));
    EXPECT_EQ(frame.unknown_kinds, 1U);
    ASSERT_EQ(frame.messages.size(), 1U);
    EXPECT_EQ(frame.messages[0].kind, Kind::numbered);
    EXPECT_EQ(frame.messages[0].sequence, example.sequence);
    bytes[message_at] = numbered_kind_max + 1;
    ASSERT_TRUE(decode_frame(bytes, frame));
    EXPECT_THAT(frame.messages, IsEmpty());
}

TEST(FrameCodec, GivenARequest_WhenEncodedAndDecoded_ThenItsNumberIsTheSame)
{
    const auto extra = encode_request_number(0xFEDCBA9876543210);
    const Bytes bytes = encode({{Kind::request, 3, 4, "A.B", {extra.data(), extra.size()}, "?"}});
    Frame frame;
    ASSERT_TRUE(decode_frame(bytes, frame));
    ASSERT_EQ(frame.messages.size(), 1U);
    EXPECT_EQ(frame.messages[0].kind, Kind::request);
    EXPECT_EQ(request_number(frame.messages[0]), 0xFEDCBA9876543210);
}

TEST(FrameCodec, GivenARequestWhoseNumberHasAnotherSize_WhenDecoded_ThenTheFrameIsRefused)
{
    EXPECT_FALSE(decodes(encode({{Kind::request, 3, 4, "A.B", "", "?"}})));
    EXPECT_FALSE(decodes(encode({{Kind::request, 3, 4, "A.B", "1234567", "?"}})));
    EXPECT_FALSE(decodes(encode({{Kind::request, 3, 4, "A.B", "123456789", "?"}})));
}

TEST(FrameCodec, GivenTopicsThatAreNone_WhenDecoded_ThenTheFrameIsRefused)
{
    EXPECT_FALSE(decodes(encode({{Kind::data, 0, 0, "", "", ""}})));
    EXPECT_FALSE(decodes(encode({{Kind::data, 0, 0, "A\nB", "", ""}})));
    EXPECT_FALSE(decodes(encode({{Kind::data, 0, 0, std::string_view{"A\0B", 3}, "", ""}})));
    const std::string longest(246, 'x');
    EXPECT_TRUE(decodes(encode({{Kind::data, 0, 0, longest, "", ""}})));
    EXPECT_FALSE(decodes(encode({{Kind::data, 0, 0, longest + "x", "", ""}})));
}

TEST(FrameCodec, GivenAnEmptyFrame_WhenDecoded_ThenItHasNoMessages)
{
    Frame frame;
    EXPECT_TRUE(decode_frame(encode({}), frame));
    EXPECT_THAT(frame.messages, IsEmpty());
}

TEST(FrameBuilder, GivenAnEmptyBuilder_WhenAMessageIsLargerThanTheLimit_ThenItFitsAlone)
{
    const std::string large(2'000, 'x');
    FrameBuilder builder{1'000};
    EXPECT_TRUE(builder.fits({Kind::data, 0, 0, "T", "", large}));
    builder.add({Kind::data, 0, 0, "T", "", large});
    EXPECT_FALSE(builder.fits({Kind::data, 0, 0, "T", "", ""}));
    builder.clear();
    EXPECT_TRUE(builder.fits(example));
}

TEST(FrameBuilder, GivenALimit_WhenAMessageWouldExceedItByOneByte_ThenItDoesNotFit)
{
    FrameBuilder builder{1'000};
    builder.add(example);
    const std::size_t left = 1'000 - builder.bytes() - 20 - 1;
    EXPECT_TRUE(builder.fits({Kind::data, 0, 0, "T", "", std::string(left, 'x')}));
    EXPECT_FALSE(builder.fits({Kind::data, 0, 0, "T", "", std::string(left + 1, 'x')}));
}

} // namespace
