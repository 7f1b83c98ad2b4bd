/// Several readers of one stream, each with its copy of every frame.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/source_tracker_fixture.h"

using namespace qx::transport;
using namespace testing;

namespace {

using StreamReaders = qx::transport::test::SourceTrackerTest;

TEST_F(StreamReaders, GivenTwoReadersOfAStream_WhenBothBringAFrame_ThenItCountsOnce)
{
    frame(0, {data(0)}, 1);
    frame(0, {data(0)}, 2);
    frame(1, {data(1)}, 2);
    frame(1, {data(1)}, 1);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "data T 1 x"));
    EXPECT_EQ(tracker.duplicates(), 2U);
}

TEST_F(StreamReaders, GivenTwoReadersOfAStream_WhenTheOwnerGoes_ThenTheOtherGoesOn)
{
    frame(0, {data(0)}, 1);
    tracker.reader_gone(1, false);
    frame(0, {data(0)}, 2);
    frame(1, {data(1)}, 2);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "data T 1 x"));
}

TEST_F(StreamReaders, GivenTwoReadersOfAStream_WhenTheOwnerGoesWithFramesTheOtherDropped_ThenThatIsLoss)
{
    frame(0, {data(0)}, 1);
    frame(1, {data(1)}, 2);
    EXPECT_TRUE(tracker.is_behind(1));
    tracker.reader_gone(1, false);
    frame(2, {data(2)}, 2);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "lost T 1-1", "data T 2 x"));
}

TEST_F(StreamReaders, GivenTwoReadersThatGoWithFramesOnlyOneBrought_WhenANewOneComes_ThenThatIsNoLossToIt)
{
    for (const auto& [first, second] : {std::pair{1U, 2U}, std::pair{2U, 1U}}) {
        const std::uint32_t from = 10 * first;
        frame(from, {data(from)}, 1);
        frame(from + 1, {data(from + 1)}, 2);
        tracker.reader_gone(first, false);
        tracker.reader_gone(second, false);
        frame(from + 9, {data(from + 9)}, 3);
        EXPECT_THAT(log.lines, Not(Contains(StartsWith("lost")))) << first << " went first";
        tracker.reader_gone(3, true);
    }
}

TEST_F(StreamReaders, GivenAStreamNobodyHearsForAWhile_WhenANewReaderComes_ThenWhatItMissedIsNoLoss)
{
    frame(0, {data(0)}, 1);
    tracker.reader_gone(1, false);
    frame(9, {data(9)}, 2);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "data T 9 x"));
}

TEST_F(StreamReaders, GivenALostSender_WhenAnotherReaderStillBringsItsCopies_ThenNothingBeginsAgain)
{
    frame(0, {data(0)}, 1);
    tracker.stream_gone(stream, 1, now);
    frame(0, {data(0)}, 2);
    tracker.stream_gone(stream, 2, now);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "ended T 1"));
}

TEST_F(StreamReaders, GivenTwoReadersOfAStream_WhenOnlyTheOtherSaysTheSenderIsGone_ThenTheOwnersWordIsAwaited)
{
    frame(0, {data(0)}, 1);
    tracker.stream_gone(stream, 2, now);
    EXPECT_THAT(log.lines, SizeIs(2));
    tracker.stream_gone(stream, 1, now);
    EXPECT_THAT(log.lines, SizeIs(3));
}

TEST_F(StreamReaders, GivenALostSenderAndNoReaderLeft_WhenItIsHeardAgain_ThenWhatNobodyHeardIsNoLoss)
{
    page({open_entry});
    frame(0, {data(0)});
    tracker.stream_gone(stream, 1, now);
    tracker.reader_gone(1, true);
    page({open_entry});
    frame(9, {data(9)}, 2);
    EXPECT_THAT(log.lines, Not(Contains(StartsWith("lost"))));
}

} // namespace
