// Sources that are newer than the first frame heard of their stream: all they say is heard or lost.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/source_tracker_fixture.h"

using namespace qx::transport;
using namespace testing;

namespace {

/// Nobody here has heard of it.
const WireMessage old_sources_close{Kind::close, 1, 0, "T", {}, {}};

class NewSource : public test::SourceTrackerTest {
protected:
    NewSource()
    {
        next_source = 7;
        frame(0, {old_sources_close});
        next_source = 9;
    }
};

TEST_F(NewSource, GivenItsFirstMessagesAreMissing_WhenDataComes_ThenTheyAreItsLoss)
{
    frame(2, {data(3)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "lost T 0-2", "data T 3 x"));
}

TEST_F(NewSource, GivenAllIsMissing_WhenASyncComes_ThenItIsItsLoss)
{
    frame(2, {sync(3)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "lost T 0-2"));
}

TEST_F(NewSource, GivenAllIsMissing_WhenTheCloseComes_ThenItBeginsForItsLossAndEnds)
{
    frame(2, {close(3)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "lost T 0-2", "ended T 3"));
}

TEST_F(NewSource, GivenItSaidNothing_WhenItCloses_ThenItBeginsAndEnds)
{
    frame(1, {close(0)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "ended T 0"));
}

TEST_F(NewSource, GivenTheCloseIsMissing_WhenListedAsClosed_ThenItBeginsForItsLossAndEnds)
{
    page({closed_entry(3, 2)});
    pass(repair_grace);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "lost T 0-2", "ended T 3"));
}

TEST_F(NewSource, GivenItHasEnded_WhenItsEndIsToldAgain_ThenNothingFollows)
{
    frame(1, {data(0), close(1)});
    frame(2, {close(1)});
    page({closed_entry(1, 2)});
    pass(repair_grace);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "ended T 1"));
}

TEST_F(NewSource, GivenNoReaderForAWhile_WhenItIsHeardAgain_ThenNothingOfThatTimeIsOwed)
{
    tracker.reader_gone(1, true);
    page({closed_entry(3, 2)});
    frame(5, {{Kind::data, 8, 4, "T.O", {}, "x"}}, 2);
    page({closed_entry(3, 2)});
    pass(repair_grace);
    EXPECT_THAT(log.lines, ElementsAre("begun T.O 4", "data T.O 4 x"));
}

TEST_F(NewSource, GivenNoReaderForAMomentWithoutFrames_WhenItIsHeard_ThenAllIsOwed)
{
    tracker.reader_gone(1, true);
    frame(1, {sync(0)}, 2);
    frame(3, {data(2)}, 2);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "lost T 0-1", "data T 2 x"));
}

TEST_F(NewSource, GivenItsSenderIsLost_WhenItsReaderGoesAndAnotherComesLater_ThenNothingOfThatTimeIsOwed)
{
    frame(1, {data(0)});
    tracker.stream_gone(stream, 1, now);
    tracker.reader_gone(1, false);
    frame(9, {data(5), {Kind::data, 8, 4, "T.O", {}, "x"}}, 2);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "ended T 1", "begun T 5", "data T 5 x", "begun T.O 4",
                                       "data T.O 4 x"));
}

TEST_F(NewSource, GivenAPageListsATopicThatItsStreamCannotCarry_WhenItsEndIsDue_ThenNothingIsOwed)
{
    page({{false, 7, 0, 5, unheard + 1, "GUARDED.T"}});
    pass(repair_grace);
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(NewSource, GivenAStreamOfAllTopics_WhenAnyIsListedAsClosed_ThenItBeginsForItsLossAndEnds)
{
    carries = Carries::any_topic;
    frame(1, {old_sources_close});
    page({{false, 7, 0, 5, unheard + 1, "OTHER.T"}});
    pass(repair_grace);
    EXPECT_THAT(log.lines, ElementsAre("begun OTHER.T 0", "lost OTHER.T 0-4", "ended OTHER.T 5"));
}

TEST_F(NewSource, GivenMoreThanHalfOfAllNumbersAreMissing_WhenDataComes_ThenTheyAreItsLoss)
{
    frame(2, {data(0x9000'0000)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "lost T 0-2415919103", "data T 2415919104 x"));
}

TEST_F(NewSource, GivenItsSenderWasLostAndForgotten_WhenItReturns_ThenItBeginsWhereItIs)
{
    page({{true, 50, 1, 0, 0, "P"}}); // of another stream, so that the context is remembered
    frame(1, {data(0)});
    tracker.stream_gone(stream, 1, now);
    pass(2 * ended_source_kept);
    frame(9, {data(5)});
    EXPECT_THAT(log.lines, ElementsAre("begun P 0", "begun T 0", "data T 0 x", "ended T 1", "begun T 5", "data T 5 x"));
}

TEST_F(NewSource, GivenItIsOlderThanTheFirstFrameHeard_WhenItsFirstMessagesAreMissing_ThenTheyAreNotOwed)
{
    frame(2, {{Kind::data, 6, 3, "T.OLD", {}, "x"}, {Kind::close, 5, 3, "T.OLDER", {}, {}}});
    EXPECT_THAT(log.lines, ElementsAre("begun T.OLD 3", "data T.OLD 3 x"));
}

class StreamHeardFromTheStart : public test::SourceTrackerTest {
protected:
    StreamHeardFromTheStart() { unheard = 0; }
};

TEST_F(StreamHeardFromTheStart, GivenASourceThatWasOpenBefore_WhenItsFirstMessagesAreMissing_ThenTheyAreItsLoss)
{
    frame(0, {{Kind::sync, 8, 0, "T.O", {}, {}}});
    frame(2, {data(3)});
    EXPECT_THAT(log.lines, ElementsAre("begun T.O 0", "begun T 0", "lost T 0-2", "data T 3 x"));
}

using ListedSource = test::SourceTrackerTest;

TEST_F(ListedSource, GivenItsStreamIsNotHeardYet_WhenItIsNewerThanTheFirstFrame_ThenItsFirstMessagesAreOwed)
{
    page({open_entry});
    next_source = 7;
    frame(0, {old_sources_close});
    frame(2, {data(3)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "lost T 0-2", "data T 3 x"));
}

} // namespace
