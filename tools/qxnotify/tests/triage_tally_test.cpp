#include "qxnotify/triage_tally.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx::tool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(TriageTally, GivenTwoAnswersOfOneResponderToOneRequest_WhenAdded_ThenTheFirstCounts)
{
    TriageTally tally;
    tally.begin_round();
    tally.add({"a", 1, ""});
    tally.add({"a", 2, ""});
    EXPECT_THAT(tally.responders().at("a").latencies_ms, ElementsAre(1));
}

TEST(TriageTally, GivenFault_WhenAdded_ThenItIsNoAnswer)
{
    TriageTally tally;
    tally.begin_round();
    tally.add({"a", 1, "status 1"});
    EXPECT_THAT(tally.responders(), IsEmpty());
    EXPECT_THAT(tally.sources_of_this_round(), IsEmpty());
    EXPECT_EQ(tally.faults().at("a"), "status 1");
}

TEST(TriageTally, GivenSecondRound_WhenBegun_ThenOnlyItsAnswersAreOfThisRound)
{
    TriageTally tally;
    tally.begin_round();
    tally.add({"a", 1, ""});
    tally.complete_round();
    tally.begin_round();
    EXPECT_THAT(tally.sources_of_this_round(), IsEmpty());
    tally.add({"b", 1, ""});
    EXPECT_THAT(tally.sources_of_this_round(), ElementsAre("b"));
    EXPECT_EQ(tally.rounds(), 2U);
}

TEST(TriageTally, GivenRounds_WhenGatheringsAreAsked_ThenEachOnceTheLargestFirstAndThisRoundWithThem)
{
    TriageTally tally;
    EXPECT_THAT(tally.gatherings(), ElementsAre(IsEmpty()));
    for (const std::vector<std::string>& sources : {std::vector<std::string>{"a"}, {"a"}, {"c", "b"}}) {
        tally.begin_round();
        for (const std::string& source : sources) {
            tally.add({source, 1, ""});
        }
    }
    EXPECT_THAT(tally.gatherings(), ElementsAre(ElementsAre("b", "c"), ElementsAre("a"), IsEmpty()));
}

TEST(TriageTally, GivenResponderThatMissedARound_WhenCompleted_ThenItOwesAnAnswer)
{
    TriageTally tally;
    tally.begin_round();
    tally.add({"a", 1, ""});
    tally.complete_round();
    tally.begin_round();
    tally.complete_round();
    EXPECT_EQ(tally.sent_to(tally.responders().at("a")), 2U);
}

TEST(TriageTally, GivenRoundCutShort_WhenCounted_ThenItCountsForThoseWhoAnsweredOnly)
{
    TriageTally tally;
    tally.begin_round();
    tally.add({"a", 1, ""});
    tally.add({"b", 1, ""});
    tally.complete_round();
    tally.begin_round();
    tally.add({"b", 1, ""});
    EXPECT_EQ(tally.sent_to(tally.responders().at("a")), 1U);
    EXPECT_EQ(tally.sent_to(tally.responders().at("b")), 2U);
}

} // namespace
} // namespace qx::tool
