/// The life of sources as told by frames, pages and lost senders.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/source_tracker_fixture.h"

using namespace qx::transport;
using namespace testing;

namespace {

using qx::transport::test::SourceTrackerTest;

TEST_F(SourceTrackerTest, GivenAnUnknownSource_WhenItsFirstDataComes_ThenItBeginsThere)
{
    frame(0, {data(41)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 41", "data T 41 x"));
}

TEST_F(SourceTrackerTest, GivenAListedSource_WhenItsDataComes_ThenItHasBegunOnce)
{
    page({open_entry});
    page({open_entry});
    frame(0, {data(0)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x"));
}

TEST_F(SourceTrackerTest, GivenARequestBetweenData_WhenItComes_ThenItIsNumberedWithThem)
{
    frame(0, {data(0), {Kind::request, 7, 1, "T", "12345678", "?"}, data(2)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "request T 1 ?", "data T 2 x"));
}

TEST_F(SourceTrackerTest, GivenANumberedMessageOfAnUnknownKind_WhenDataFollows_ThenNothingIsLost)
{
    frame(0, {data(0), {Kind::numbered, 7, 1, "T", "", "new"}, data(2)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "data T 2 x"));
}

TEST_F(SourceTrackerTest, GivenAGapOfOne_WhenTheNextDataComes_ThenTheLossStandsBeforeIt)
{
    frame(0, {data(0), data(2)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "lost T 1-1", "data T 2 x"));
}

TEST_F(SourceTrackerTest, GivenAGapAcrossTheWrap_WhenTheNextDataComes_ThenTheLossNamesBothEnds)
{
    frame(0, {data(0xFFFFFFFE), data(1)});
    EXPECT_THAT(log.lines,
                ElementsAre("begun T 4294967294", "data T 4294967294 x", "lost T 4294967295-0", "data T 1 x"));
}

TEST_F(SourceTrackerTest, GivenDataThatCameBefore_WhenItComesAgain_ThenItIsDroppedAndCounted)
{
    frame(0, {data(5), data(6)});
    frame(1, {data(5)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 5", "data T 5 x", "data T 6 x"));
    EXPECT_EQ(tracker.duplicates(), 1U);
}

TEST_F(SourceTrackerTest, GivenLostTailData_WhenASyncComes_ThenTheLossIsTold)
{
    frame(0, {data(0)});
    frame(2, {sync(4), sync(4)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "lost T 1-3"));
}

TEST_F(SourceTrackerTest, GivenLostTailData_WhenTheCloseComes_ThenLossThenEnd)
{
    frame(0, {data(0)});
    frame(2, {close(3)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "lost T 1-2", "ended T 3"));
}

TEST_F(SourceTrackerTest, GivenAnUnknownSource_WhenOnlyItsCloseComes_ThenNothingIsTold)
{
    frame(0, {close(3)});
    page({open_entry});
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(SourceTrackerTest, GivenAClosedSource_WhenLateNewsComes_ThenItDoesNotReturn)
{
    frame(0, {data(0), close(1)});
    frame(1, {data(1)});
    page({open_entry});
    pass(std::chrono::seconds{2});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "ended T 1"));
}

TEST_F(SourceTrackerTest, GivenAClosedSource_WhenItsContextLivesOn_ThenItDoesNotReturnHoweverLateTheNews)
{
    page({});
    frame(0, {data(0), close(1)});
    pass(10 * ended_source_kept);
    page({open_entry});
    frame(1, {data(0)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "ended T 1"));
}

TEST_F(SourceTrackerTest, GivenMoreClosedSourcesThanMayBeOpen_WhenAnotherComes_ThenItBegins)
{
    next_source = 2 * sources_per_context_max;
    for (std::uint32_t i = 0; i <= sources_per_context_max; ++i) {
        tracker.frame(stream, 1, {unheard + i, next_source, {{Kind::close, i, 0, "T", {}, {}}}, 0}, now);
    }
    const auto next = static_cast<std::uint32_t>(sources_per_context_max) + 1;
    tracker.frame(stream, 1, {unheard + next, next_source, {{Kind::data, next, 0, "T", {}, "x"}}, 0}, now);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x"));
    EXPECT_EQ(tracker.refused(), 0U);
}

TEST_F(SourceTrackerTest, GivenAListedSource_WhenListedAsClosedWithAllItsData_ThenItEndsAfterTheGrace)
{
    page({open_entry});
    frame(0, {data(0)});
    now += end_grace;
    page({closed_entry(1, 1)});
    pass(end_grace - std::chrono::milliseconds{1});
    EXPECT_THAT(log.lines, SizeIs(2));
    pass(std::chrono::milliseconds{1});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "ended T 1"));
}

TEST_F(SourceTrackerTest, GivenAClosedEntryAndDataThatIsMissing_WhenTheEngineMendsIt_ThenNothingIsLost)
{
    page({open_entry});
    frame(0, {data(0)});
    page({closed_entry(2, 2)});
    pass(2 * end_grace);
    frame(1, {data(1), close(2)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "data T 1 x", "ended T 2"));
}

TEST_F(SourceTrackerTest, GivenAClosedEntryBeforeAnyData_WhenTheEngineMendsIt_ThenNothingIsLost)
{
    page({open_entry});
    page({closed_entry(1, 1)});
    pass(2 * end_grace);
    frame(0, {data(0), close(1)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "ended T 1"));
}

TEST_F(SourceTrackerTest, GivenAListedSource_WhenListedAsClosedAndDataIsMissingForLong_ThenThatIsItsLoss)
{
    page({open_entry});
    frame(0, {data(0)});
    now += repair_grace;
    page({closed_entry(3, 4)});
    pass(repair_grace - std::chrono::milliseconds{1});
    EXPECT_THAT(log.lines, SizeIs(2));
    pass(std::chrono::milliseconds{1});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "lost T 1-2", "ended T 3"));
}

TEST_F(SourceTrackerTest, GivenAClosedEntry_WhenTheStreamIsStillActive_ThenItsDataIsWaitedFor)
{
    page({open_entry});
    page({closed_entry(2, 2)});
    pass(end_grace - std::chrono::milliseconds{1});
    frame(0, {data(0)});
    pass(std::chrono::milliseconds{1});
    frame(1, {data(1), close(2)});
    pass(2 * end_grace);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "data T 1 x", "ended T 2"));
}

TEST_F(SourceTrackerTest, GivenAListedSource_WhenItsPageListsItNoMore_ThenItEndsAfterTheGrace)
{
    page({open_entry});
    page({});
    EXPECT_EQ(tracker.next_due(), now + end_grace);
    pass(end_grace);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "ended T 0"));
}

TEST_F(SourceTrackerTest, GivenAListedSource_WhenItsPageGoesAndReturnsInTime_ThenItGoesOn)
{
    page({open_entry});
    tracker.page_gone(context, 0, now);
    page({open_entry});
    pass(2 * end_grace);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0"));
}

TEST_F(SourceTrackerTest, GivenALostSender_WhenPageAndStreamAreGone_ThenEachSourceEndsOnce)
{
    page({open_entry});
    frame(0, {data(0)});
    tracker.page_gone(context, 0, now);
    tracker.stream_gone(stream, 1, now);
    pass(2 * end_grace);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "ended T 1"));
}

TEST_F(SourceTrackerTest, GivenALostSender_WhenItReturns_ThenItBeginsAgainAndTheGapIsLoss)
{
    frame(0, {data(0)});
    tracker.stream_gone(stream, 1, now);
    frame(5, {data(9)});
    EXPECT_THAT(log.lines,
                ElementsAre("begun T 0", "data T 0 x", "ended T 1", "begun T 1", "lost T 1-8", "data T 9 x"));
}

TEST_F(SourceTrackerTest, GivenALostSender_WhenItReturnsWithTheSourceClosed_ThenItBeginsAgainForItsLoss)
{
    page({open_entry});
    frame(0, {data(0)});
    tracker.stream_gone(stream, 1, now);
    page({closed_entry(3, 4)});
    pass(repair_grace);
    pass(repair_grace);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "ended T 1", "begun T 1", "lost T 1-2", "ended T 3"));
}

TEST_F(SourceTrackerTest, GivenALostSender_WhenItReturnsWithTheSourceClosedAndNothingMissing_ThenItStaysEnded)
{
    page({open_entry});
    frame(0, {data(0)});
    tracker.stream_gone(stream, 1, now);
    page({closed_entry(1, 1)});
    pass(repair_grace);
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "ended T 1"));
}

TEST_F(SourceTrackerTest, GivenALostSender_WhenItReturnsWithASourceClosedMeanwhile_ThenTheListStillTellsItsLoss)
{
    CatalogueBook book;
    Bytes bytes;
    const auto list = [&] {
        std::vector<CatalogueEntry> entries;
        book.first_dirty(bytes);
        ASSERT_TRUE(decode_page(bytes, entries));
        tracker.page(context, 0, entries, now);
    };
    book.add(7, 0, "T");
    list();
    frame(0, {data(0)});
    tracker.stream_gone(stream, 1, now);
    book.close(7, 3, 2, now);
    now += ended_source_kept - std::chrono::seconds{1};
    book.reuse_closed(now);
    list();
    frame(9, {other_sources_sync()});
    pass(end_grace);
    EXPECT_THAT(log.lines, IsSupersetOf({"ended T 1", "begun T 1", "lost T 1-2", "ended T 3"}));
}

TEST_F(SourceTrackerTest, GivenASource_WhenItsNumberSpeaksUnderAnotherTopic_ThenThatIsRefusedAndTheSourceGoesOn)
{
    page({open_entry});
    frame(1, {{Kind::data, 7, 0, "U", {}, "forged"}, {Kind::close, 7, 1, "U", {}, {}}});
    frame(2, {data(0)});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x"));
    EXPECT_EQ(tracker.refused(), 2U);
}

TEST_F(SourceTrackerTest, GivenAClosedEntryWhoseDataIsMissing_WhenLaterFramesCome_ThenItIsLostWithoutWaiting)
{
    page({open_entry});
    frame(0, {data(0)});
    page({closed_entry(3, 2)});
    frame(2, {other_sources_sync()});
    pass(end_grace);
    EXPECT_THAT(log.lines, IsSupersetOf({"lost T 1-2", "ended T 3"}));
}

TEST_F(SourceTrackerTest, GivenAClosedEntry_WhenItsFramesAreLongInComing_ThenTheyAreWaitedFor)
{
    page({open_entry});
    page({closed_entry(1, 1'000)});
    keep_busy(3 * repair_grace);
    frame(999, {data(0), close(1)});
    EXPECT_THAT(log.lines, IsSupersetOf({"data T 0 x", "ended T 1"}));
    EXPECT_THAT(log.lines, Not(Contains(StartsWith("lost"))));
}

TEST_F(SourceTrackerTest, GivenAPageThatIsGone_WhenItsStreamStillBringsWhatWasSent_ThenItsSourcesGoOn)
{
    page({open_entry});
    tracker.page_gone(context, 0, now);
    keep_busy(3 * repair_grace);
    EXPECT_THAT(log.lines, Not(Contains(StartsWith("ended T"))));
    pass(end_grace);
    EXPECT_THAT(log.lines, Contains("ended T 0"));
}

TEST_F(SourceTrackerTest, GivenASourceThatIsListedNoMore_WhenItsStreamIsNeverQuiet_ThenItEndsAllTheSame)
{
    page({open_entry});
    page({});
    keep_busy(repair_grace);
    EXPECT_THAT(log.lines, Contains("ended T 0"));
}

TEST_F(SourceTrackerTest, GivenAPageThatTakesAnEndBack_WhenItTellsOfItAgain_ThenTheGraceBeginsThen)
{
    page({open_entry});
    frame(0, {data(0)});
    now += end_grace;
    page({});
    pass(std::chrono::milliseconds{100});
    page({open_entry});
    pass(std::chrono::milliseconds{300});
    page({});
    pass(end_grace - std::chrono::milliseconds{1});
    EXPECT_THAT(log.lines, SizeIs(2)) << "the first telling must not count";
    pass(std::chrono::milliseconds{1});
    EXPECT_THAT(log.lines, ElementsAre("begun T 0", "data T 0 x", "ended T 1"));
}

} // namespace
