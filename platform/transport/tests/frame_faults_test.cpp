#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "platform/transport/source/frame_faults.h"

using namespace qx::transport;
using namespace testing;

namespace {

FaultPolicy policy(unsigned dropped, unsigned doubled, unsigned swapped)
{
    FaultPolicy made;
    made.dropped = dropped;
    made.doubled = doubled;
    made.swapped = swapped;
    return made;
}

class FrameFaultsTest : public Test {
protected:
    static constexpr StreamId stream{};
    static constexpr FrameFaults::ReaderId reader = 1;

    /// A frame is its number here.
    void pass(FrameFaults& faults, std::uint8_t frame, const StreamId& of = stream)
    {
        const Bytes body{frame};
        faults.pass(of, reader, body, now);
    }
    FrameFaults make(const FaultPolicy& policy)
    {
        return {policy, [this](const StreamId&, FrameFaults::ReaderId, ByteView body) { taken.push_back(body[0]); }};
    }

    std::vector<int> taken;
    FrameFaults::TimePoint now{std::chrono::hours{1}};
};

TEST_F(FrameFaultsTest, GivenFramesThatAreDropped_WhenTheyPass_ThenNoneIsTaken)
{
    FrameFaults faults = make(policy(1'000, 1'000, 1'000));
    pass(faults, 1);
    EXPECT_THAT(taken, IsEmpty());
    EXPECT_EQ(faults.next_due(), std::nullopt);
}

TEST_F(FrameFaultsTest, GivenFramesThatAreDoubled_WhenTheyPass_ThenEachIsTakenTwice)
{
    FrameFaults faults = make(policy(0, 1'000, 0));
    pass(faults, 1);
    pass(faults, 2);
    EXPECT_THAT(taken, ElementsAre(1, 1, 2, 2));
}

TEST_F(FrameFaultsTest, GivenFramesThatAreSwapped_WhenTheyPass_ThenEachSecondOneGoesFirst)
{
    FrameFaults faults = make(policy(0, 0, 1'000));
    for (std::uint8_t frame = 1; frame <= 4; ++frame) {
        pass(faults, frame);
    }
    EXPECT_THAT(taken, ElementsAre(2, 1, 4, 3));
}

TEST_F(FrameFaultsTest, GivenAFrameThatIsHeldBack_WhenAnotherStreamSpeaks_ThenItWaitsForItsOwn)
{
    FrameFaults faults = make(policy(0, 0, 1'000));
    const StreamId other{{}, 1};
    pass(faults, 1);
    pass(faults, 2, other);
    EXPECT_THAT(taken, IsEmpty());
    pass(faults, 3);
    EXPECT_THAT(taken, ElementsAre(3, 1));
}

TEST_F(FrameFaultsTest, GivenAFrameThatIsHeldBack_WhenItsStreamEnds_ThenItIsLetGo)
{
    FrameFaults faults = make(policy(0, 0, 1'000));
    pass(faults, 1);
    faults.let_go(stream, reader);
    faults.let_go(stream, reader);
    EXPECT_THAT(taken, ElementsAre(1));
}

TEST_F(FrameFaultsTest, GivenAFrameThatIsHeldBack_WhenNothingFollowsInTime_ThenItIsLetGo)
{
    FrameFaults faults = make(policy(0, 0, 1'000));
    pass(faults, 1);
    ASSERT_EQ(faults.next_due(), now + held_frame_kept);
    faults.let_go_due(now + held_frame_kept - std::chrono::nanoseconds{1});
    EXPECT_THAT(taken, IsEmpty());
    faults.let_go_due(now + held_frame_kept);
    EXPECT_THAT(taken, ElementsAre(1));
    EXPECT_EQ(faults.next_due(), std::nullopt);
}

TEST_F(FrameFaultsTest, GivenAShare_WhenManyPass_ThenAboutSoManyAreDroppedAndTheSeedSaysWhich)
{
    const auto survivors = [&](std::uint32_t seed) {
        taken.clear();
        FaultPolicy some = policy(200, 0, 0);
        some.seed = seed;
        FrameFaults faults = make(some);
        for (int i = 0; i < 10'000; ++i) {
            pass(faults, static_cast<std::uint8_t>(i));
        }
        return taken;
    };
    const std::vector<int> first = survivors(1);
    EXPECT_NEAR(static_cast<double>(first.size()), 8'000, 250);
    EXPECT_EQ(survivors(1), first);
    EXPECT_NE(survivors(2), first);
}

} // namespace
