/// How many writers a context keeps for its requesters.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "support/responder_fixture.h"

using namespace qx::transport;
using namespace testing;

namespace {

using test::made_up;
using test::send;

constexpr SendWait without_limit{};
constexpr WriterLimits limits{};

class ResponderLimitsTest : public test::ResponderTest {
protected:
    using Handles = std::vector<std::unique_ptr<lbm_response>>;

    static Handles ask(Responder& responder, std::size_t requesters)
    {
        Handles handles;
        for (std::size_t i = 0; i < requesters; ++i) {
            handles.push_back(responder.handle_for(made_up(i), 1));
        }
        return handles;
    }
};

/// Two requesters with an unsent answer each, as many as the responder may have, and another.
class ResponderAtItsLimitTest : public ResponderLimitsTest {
protected:
    ResponderAtItsLimitTest()
    {
        for (const auto& handle : busy) {
            EXPECT_EQ(send(*handle), 0);
        }
    }

    std::shared_ptr<Responder> responder = make(1, test::endless, {1, 2});
    Handles busy = ask(*responder, 2);
    std::unique_ptr<lbm_response> another = responder->handle_for(made_up(2), 1);
};

TEST_F(ResponderLimitsTest, GivenManyRequestersThatAskOnce_WhenAnotherAsks_ThenTheNumberOfWritersIsBounded)
{
    const auto responder = make(1);
    for (std::size_t i = 0; i < 500; ++i) {
        responder->handle_for(made_up(i), 1);
        ASSERT_LE(responder->open_writers(), limits.idle);
    }
}

TEST_F(ResponderLimitsTest, GivenManyRequestsOfRequestersThatVanish_WhenNobodyAnswers_ThenNoWriterIsLeft)
{
    const auto responder = make(1, std::chrono::milliseconds{20});
    Handles handles;
    for (std::size_t i = 0; i < 10'000; ++i) {
        handles.push_back(responder->handle_for(made_up(i % 10), i));
    }
    EXPECT_LE(responder->open_writers(), limits.idle);
    EXPECT_TRUE(clock.wait([&] { return responder->open_writers() == 0; }));
}

TEST_F(ResponderLimitsTest, GivenAWriterThatWasClosedForWantOfUse_WhenItsRequesterIsAnswered_ThenItIsOpenedAgain)
{
    const auto responder = make(1);
    const Handles handles = ask(*responder, limits.idle + 1);
    EXPECT_EQ(send(*handles.front()), 0);
    EXPECT_EQ(responder->open_writers(), limits.idle);
    EXPECT_EQ(send(*handles.front()), LBM_EWOULDBLOCK);
}

TEST_F(ResponderLimitsTest, GivenWritersWithUnsentAnswers_WhenMoreRequestersAsk_ThenTheyAreNotClosed)
{
    const auto responder = make(1);
    Handles handles;
    for (std::size_t i = 0; i < limits.idle + 5; ++i) {
        handles.push_back(responder->handle_for(made_up(i), 1));
        EXPECT_EQ(send(*handles.back()), 0);
    }
    EXPECT_EQ(responder->open_writers(), limits.idle + 5);
}

TEST_F(ResponderLimitsTest, GivenARequesterThatWasAnsweredLast_WhenRoomIsMade_ThenAnotherLosesItsWriter)
{
    const auto responder = make(1, test::endless, {2, 4});
    const auto end = hear(0);
    const Handles handles = ask(*responder, 2);
    EXPECT_EQ(send(*handles[0]), 0);
    ASSERT_TRUE(clock.wait([&] { return handles[0]->writer->drained(); }));
    responder->handle_for(made_up(2), 1);
    EXPECT_EQ(responder->open_writers(), 2U);
    EXPECT_FALSE(handles[1]->writer->send(handles[1]->to, "x", test::at_once)); // it is not open
    EXPECT_TRUE(handles[0]->writer->send(handles[0]->to, "x", test::at_once));
}

TEST_F(ResponderLimitsTest, GivenAnswersAllTheWhile_WhenMoreAskThanMayHaveWriters_ThenEachGetsAllItsAnswers)
{
    constexpr std::size_t requesters = 100;
    constexpr std::size_t rounds = 20;
    const auto responder = make(1'000);
    std::vector<test::HearingEnd> ends;
    for (std::size_t i = 0; i < requesters; ++i) {
        ends.push_back(hear(i));
    }
    const Handles handles = ask(*responder, requesters);
    std::atomic<bool> answered{false};
    std::thread answering{[&] {
        for (std::size_t i = 0; i < rounds * requesters; ++i) {
            EXPECT_EQ(send(*handles[i * 37 % requesters], "x", without_limit), 0);
        }
        answered = true;
    }};
    for (std::size_t i = 0; !answered; ++i) {
        responder->handle_for(made_up(i % requesters), i);
    }
    answering.join();
    for (const auto& end : ends) {
        std::size_t got = 0;
        EXPECT_TRUE(clock.wait([&] { return (got += end.take()) == rounds; })) << got;
    }
}

TEST_F(ResponderAtItsLimitTest, GivenAnAnswerToAnother_WhenItMayNotWait_ThenItFailsAndSaysWhy)
{
    EXPECT_THAT([&] { responder->send(*another, "x", test::at_once); },
                ThrowsMessage<TransportError>("too many requesters have not acknowledged their answers yet"));
    EXPECT_EQ(send(*another), LBM_EWOULDBLOCK);
    EXPECT_EQ(responder->open_writers(), 2U);
}

TEST_F(ResponderAtItsLimitTest, GivenAnAnswerToAnother_WhenItMayWaitForATime_ThenItTimesOut)
{
    EXPECT_EQ(send(*another, "x", {std::chrono::steady_clock::now() + std::chrono::milliseconds{5}}), LBM_ETIMEDOUT);
}

TEST_F(ResponderAtItsLimitTest, GivenAnAnswerToAnotherThatWaits_WhenAWriterHasNothingToDo_ThenItTakesItsPlace)
{
    auto waiting = std::async(std::launch::async, [&] { return send(*another, "x", without_limit); });
    const auto end = hear(0);
    EXPECT_EQ(waiting.get(), 0);
    EXPECT_EQ(end.take(), 1U);
    EXPECT_EQ(responder->open_writers(), 2U);
}

TEST_F(ResponderAtItsLimitTest, GivenAnAnswerToAnotherThatWaits_WhenTheResponderIsStopped_ThenItGivesUp)
{
    auto waiting = std::async(std::launch::async, [&] { return send(*another, "x", without_limit); });
    responder->stop();
    EXPECT_EQ(waiting.get(), LBM_EOP);
}

} // namespace
