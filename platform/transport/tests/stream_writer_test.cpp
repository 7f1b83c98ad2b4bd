/// What the sending end of a stream knows of a source that closes.
#include <gtest/gtest.h>

#include "platform/transport/source/stream_writer.h"
#include "platform/transport/source/wire_qos.h"
#include "support/context_fixture.h"
#include "support/handmade_writer.h"

using namespace qx::transport;

namespace {

/// How many frames are said to hold a source's last word, when it closes after two messages.
std::uint64_t frames_of_closed(std::chrono::microseconds gap)
{
    const auto domain = test::make_context(); // sets the domain up
    const test::HandmadePeer peer;
    const DdsEntity topic = make_packet_topic(peer.participant(), frames_topic);
    Flusher flusher;
    flusher.start();
    const StreamId id{peer.context(), 0};
    const auto stream =
        std::make_shared<StreamWriter>(peer.participant(), topic.get(), id, "A", WhenFull::block,
                                       FlushPolicy{60'000, gap, 1U << 20U}, flusher, std::make_shared<Counters>());
    const auto source = std::make_shared<LocalSource>(LocalSource{0, "A.B", stream});
    stream->open(source);
    stream->send(*source, "x", {});
    stream->send(*source, "y", {});
    stream->end(*source, {});
    stream->close();
    return source->frames;
}

TEST(StreamWriterClose, GivenEachMessageGoesAlone_WhenASourceCloses_ThenItsCloseIsInTheLastFrame)
{
    EXPECT_EQ(frames_of_closed(std::chrono::microseconds{0}), 3U);
}

TEST(StreamWriterClose, GivenAFrameIsBeingCollected_WhenASourceCloses_ThenThatFrameCounts)
{
    EXPECT_EQ(frames_of_closed(std::chrono::minutes{10}), 2U); // the first went at once
}

} // namespace
