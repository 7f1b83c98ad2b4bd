/// Sequence numbers at their turn, from the source to the receiver.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "platform/transport/source/handles.h"
#include "support/context_fixture.h"
#include "support/watched_source.h"

using namespace testing;

namespace {

constexpr std::uint32_t last_but_two = 0xFFFF'FFFD;

TEST(SequenceWrap, GivenASourceNearTheTurn_WhenItGoesOnAndEnds_ThenNothingIsLostAndNumbersGoOn)
{
    const auto sending = test::make_context();
    test::WatchedSource before{sending, "WRAP.B"};
    test::send(before.source, "x"); // who hears a stream from its start knows what its sources begin with
    test::WatchedSource watched{sending, "WRAP.A"};
    const auto hearing = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_receiver(hearing, "WRAP.A", recorder);
    ASSERT_TRUE(watched.wait_for({LBM_SRC_EVENT_CONNECT}));
    watched.source->source->next = last_but_two; // nothing was sent: nobody else looks
    for (int i = 0; i < 5; ++i) {
        test::send(watched.source, "x");
    }
    watched.source.reset();
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_EOS));
    std::vector<std::uint32_t> numbers;
    for (const test::Seen& seen : recorder.seen()) {
        if (seen.type != LBM_MSG_BOS) {
            numbers.push_back(seen.sequence);
        }
    }
    EXPECT_THAT(numbers, ElementsAre(0xFFFF'FFFD, 0xFFFF'FFFE, 0xFFFF'FFFF, 0, 1, 2));
}

} // namespace
