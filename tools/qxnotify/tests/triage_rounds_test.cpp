#include "qxnotify/triage_rounds.h"

#include <atomic>
#include <csignal>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "qxnotify/triage_request.h"
#include "triage_network.h"

namespace qx::tool {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

/// Rounds on the double that wait for a very long time unless everybody has answered.
struct Trial {
    Trial()
    {
        question.topic = TriageNetwork::topic;
        collecting.wait_seconds = 1'000;
        collecting.settle_seconds = 0;
    }
    void go(std::uint64_t rounds = 1)
    {
        TriageRequester requester("PriceEnvironmentContext", TriageNetwork::topic, stop);
        TriageRounds asked(requester, question, collecting, stop);
        asked.run(rounds, 0, &encode_test_request);
        tally = asked.tally();
        ended_by = asked.ended_by();
    }

    TriageNetwork network;
    StopSignals stop;
    TriageQuestion question;
    TriageCollecting collecting;
    TriageTally tally;
    std::string ended_by;
};

TEST(TriageRounds, GivenExpectedResponders_WhenAllAnswer_ThenTheRoundEndsEarly)
{
    Trial trial;
    trial.question.expected = 2;
    trial.network.on_request = [&](int n) {
        trial.network.answer(n, "a");
        trial.network.answer(n, "b");
    };
    trial.go();
    EXPECT_THAT(trial.tally.responders(), SizeIs(2));
    EXPECT_EQ(trial.ended_by, "completion");
}

TEST(TriageRounds, GivenInventory_WhenEveryEntryIsSatisfied_ThenTheRoundEndsEarly)
{
    Trial trial;
    trial.question.inventory = {{"one", "a"}, {"two", "b"}};
    trial.network.on_request = [&](int n) {
        trial.network.answer(n, "b");
        trial.network.answer(n, "c");
        trial.network.answer(n, "a");
    };
    trial.go();
    EXPECT_THAT(trial.tally.responders(), SizeIs(3));
}

TEST(TriageRounds, GivenSeveralRounds_WhenAnswered_ThenEachHasItsOwnIdentifierAndEveryAnswerFits)
{
    Trial trial;
    trial.question.expected = 1;
    trial.network.on_request = [&](int n) { trial.network.answer(n, "a"); };
    trial.go(5);
    EXPECT_EQ(trial.tally.rounds(), 5U);
    EXPECT_THAT(trial.tally.responders().at("a").latencies_ms, SizeIs(5));
    EXPECT_THAT(trial.tally.faults(), IsEmpty());
}

TEST(TriageRounds, GivenFaultyAnswer_WhenCollected_ThenItIsNoneAndTheWaitGoesOn)
{
    Trial trial;
    trial.question.expected = 1;
    trial.network.on_request = [&](int n) {
        trial.network.lbm.answer(n, "nonsense", "bad");
        trial.network.answer(n, "good");
    };
    trial.go();
    EXPECT_EQ(trial.tally.faults().at("bad"), "not a TriageResponse");
    EXPECT_TRUE(trial.tally.responders().contains("good"));
}

TEST(TriageRounds, GivenSilence_WhenTheWaitIsOver_ThenTheRoundIsCompleteWithoutAnswers)
{
    Trial trial;
    trial.collecting.wait_seconds = 0.001;
    trial.go(2);
    EXPECT_EQ(trial.tally.rounds(), 2U);
    EXPECT_THAT(trial.tally.responders(), IsEmpty());
    EXPECT_EQ(trial.ended_by, "completion");
}

TEST(TriageRounds, GivenNobodyConnected_WhenTheWaitIsOver_ThenNothingIsSent)
{
    Trial trial;
    trial.network.lbm.on_call("lbm_src_create", {});
    trial.collecting.wait_seconds = 0.001;
    trial.go();
    EXPECT_EQ(trial.tally.rounds(), 0U);
    EXPECT_THAT(trial.network.lbm.calls("lbm_send_request"), IsEmpty());
}

TEST(TriageRounds, GivenSignalDuringARound_WhenItComes_ThenWhatWasSeenIsKeptAndNoFurtherRoundBegins)
{
    Trial trial;
    trial.network.on_request = [&](int n) {
        trial.network.answer(n, "a");
        ::kill(::getpid(), SIGTERM);
    };
    trial.go(3);
    EXPECT_EQ(trial.tally.rounds(), 1U);
    EXPECT_THAT(trial.tally.responders(), SizeIs(1));
    EXPECT_EQ(trial.ended_by, "SIGTERM");
}

TEST(TriageRounds, GivenSignalBeforeTheBeginning_WhenRun_ThenNothingIsSent)
{
    Trial trial;
    ::kill(::getpid(), SIGINT);
    trial.go();
    EXPECT_EQ(trial.tally.rounds(), 0U);
    EXPECT_EQ(trial.ended_by, "SIGINT");
}

TEST(TriageRounds, GivenAnswersThatNeverCease_WhenTheWaitIsOver_ThenTheRoundIsOver)
{
    Trial trial;
    trial.collecting.wait_seconds = 0.001;
    std::atomic<bool> over = false;
    std::jthread flood;
    trial.network.on_request = [&](int n) {
        flood = std::jthread([&trial, &over, n] {
            while (!over && trial.network.lbm.answer(n, "", "flood")) {
            }
        });
    };
    TriageRequester requester("PriceEnvironmentContext", TriageNetwork::topic, trial.stop);
    TriageRounds asked(requester, trial.question, trial.collecting, trial.stop);
    asked.run(1, 0, &encode_test_request);
    over = true;
    flood.join(); // before the requester goes: the double does not wait for callbacks
    EXPECT_EQ(asked.tally().rounds(), 1U);
    EXPECT_EQ(asked.ended_by(), completion);
}

TEST(TriageRounds, GivenRound_WhenItIsOver_ThenItsRequestIsDeletedBeforeThePause)
{
    Trial trial;
    trial.collecting.wait_seconds = 0.001;
    TriageRequester requester("PriceEnvironmentContext", TriageNetwork::topic, trial.stop);
    TriageRounds asked(requester, trial.question, trial.collecting, trial.stop);
    asked.run(1, 0, &encode_test_request);
    EXPECT_FALSE(trial.network.lbm.answer(1, "late"));
}

TEST(TriageRounds, GivenMoreAnswersThanAreKept_WhenARoundIsOver_ThenTheTallyKnowsHowManyWereDropped)
{
    Trial trial;
    trial.question.expected = 1;
    trial.network.on_request = [&](int n) {
        trial.network.lbm.answer(n, std::string(answer_bytes_max, 'x'), "wordy");
        trial.network.answer(n, "a");
    };
    trial.go(2);
    EXPECT_EQ(trial.tally.dropped(), 2U);
    EXPECT_TRUE(trial.tally.responders().contains("a"));
}

TEST(TriageRounds, GivenSettling_WhenASignalComes_ThenNothingIsSent)
{
    Trial trial;
    trial.collecting.settle_seconds = 1'000;
    trial.network.lbm.on_call("lbm_src_create", [&] {
        trial.network.lbm.tell_source(TriageNetwork::topic, LBM_SRC_EVENT_CONNECT);
        ::kill(::getpid(), SIGINT);
    });
    trial.go();
    EXPECT_EQ(trial.tally.rounds(), 0U);
}

} // namespace
} // namespace qx::tool
