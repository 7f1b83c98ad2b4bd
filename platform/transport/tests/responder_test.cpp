/// How a context answers its requesters.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>

#include "support/responder_fixture.h"

using namespace qx::transport;
using namespace testing;

namespace {

using test::made_up;
using test::ResponderTest;
using test::send;

constexpr SendWait without_limit{};

TEST_F(ResponderTest, GivenARequesterThatIsNotFoundYet_WhenAnswered_ThenAWindowfulWaits)
{
    const auto responder = make(2);
    const auto handle = responder->handle_for(made_up(0), 1);
    EXPECT_EQ(send(*handle), 0);
    EXPECT_EQ(send(*handle), 0);
    EXPECT_EQ(send(*handle), LBM_EWOULDBLOCK);
    EXPECT_EQ(handle->to.next, 2U);
}

TEST_F(ResponderTest, GivenARequesterThatIsNotFoundYet_WhenAnAnswerIsRefused_ThenTheReasonIsNamed)
{
    const auto responder = make(1);
    const auto handle = responder->handle_for(made_up(0), 1);
    EXPECT_EQ(send(*handle), 0);
    EXPECT_THAT([&] { responder->send(*handle, "x", test::at_once); },
                ThrowsMessage<TransportError>("the requester has not been found yet"));
}

TEST_F(ResponderTest, GivenARequesterThatIsNotFoundYet_WhenAnswersAreLarge_ThenTheirBytesAreBoundedButForOne)
{
    const auto responder = make(100);
    const std::string large(waiting_bytes_max + 1, 'x');
    const auto handle = responder->handle_for(made_up(0), 1);
    EXPECT_EQ(send(*handle, large), 0);
    EXPECT_EQ(send(*handle), LBM_EWOULDBLOCK);
}

TEST_F(ResponderTest, GivenARequesterThatIsNotFoundYet_WhenManyAnswersWait_ThenTheirSumIsBounded)
{
    const auto responder = make(100);
    constexpr std::size_t header_bytes = 16;
    const std::string quarter(waiting_bytes_max / 4 - header_bytes, 'x');
    const auto handle = responder->handle_for(made_up(0), 1);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(send(*handle, quarter), 0) << i;
    }
    EXPECT_EQ(send(*handle, ""), LBM_EWOULDBLOCK);
}

TEST_F(ResponderTest, GivenAnswersThatWait_WhenTheirRequesterIsFound_ThenItGetsThemAndThereIsRoomAgain)
{
    const auto responder = make(2);
    const auto handle = responder->handle_for(made_up(0), 1);
    EXPECT_EQ(send(*handle), 0);
    EXPECT_EQ(send(*handle), 0);
    const auto end = hear(0);
    std::size_t got = 0;
    EXPECT_TRUE(clock.wait([&] { return (got += end.take()) == 2; }));
    EXPECT_EQ(send(*handle, "x", without_limit), 0);
}

// A context that is deleted waits for its messages' receivers first, and the requester may have left by then.
TEST_F(ResponderTest, GivenAnAnswerThatWaits_WhenTheResponderIsStopped_ThenARequesterThatIsFoundGetsIt)
{
    const auto responder = make(2);
    const auto handle = responder->handle_for(made_up(0), 1);
    EXPECT_EQ(send(*handle), 0);
    responder->stop();
    const auto end = hear(0);
    EXPECT_TRUE(clock.wait([&] { return end.take() == 1; }));
}

TEST_F(ResponderTest, GivenAFullWindow_WhenAnotherRequesterIsAnswered_ThenThatIsNotHeldUp)
{
    const auto responder = make(1);
    const auto full = responder->handle_for(made_up(0), 1);
    const auto other = responder->handle_for(made_up(1), 1);
    EXPECT_EQ(send(*full), 0);
    EXPECT_EQ(send(*full), LBM_EWOULDBLOCK);
    EXPECT_EQ(send(*other), 0);
}

TEST_F(ResponderTest, GivenAFullWindow_WhenASendWithADeadlineWaits_ThenItTimesOut)
{
    const auto responder = make(1);
    const auto handle = responder->handle_for(made_up(0), 1);
    EXPECT_EQ(send(*handle), 0);
    EXPECT_EQ(send(*handle, "x", {std::chrono::steady_clock::now() + std::chrono::milliseconds{5}}), LBM_ETIMEDOUT);
}

TEST_F(ResponderTest, GivenARequesterThatIsNeverFound_WhenPatienceEnds_ThenItIsGoneAndItsWriterToo)
{
    const auto responder = make(1, std::chrono::milliseconds{20});
    const auto handle = responder->handle_for(made_up(0), 1);
    while (send(*handle, "x", without_limit) == 0) { // one waits in the queue at most, the next for the end
    }
    EXPECT_EQ(send(*handle, "x", without_limit), LBM_EOP);
    EXPECT_TRUE(clock.wait([&] { return responder->open_writers() == 0; }));
    EXPECT_EQ(send(*handle), LBM_EOP);
}

TEST_F(ResponderTest, GivenARequesterThatWasGone_WhenItAsksAgain_ThenThatHasAWriterOfItsOwn)
{
    const auto responder = make(1, std::chrono::milliseconds{20});
    const auto before = responder->handle_for(made_up(0), 1);
    ASSERT_TRUE(clock.wait([&] { return send(*before) == LBM_EOP; }));
    const auto again = responder->handle_for(made_up(0), 2);
    EXPECT_NE(before->writer, again->writer);
    EXPECT_EQ(send(*before), LBM_EOP);
}

TEST_F(ResponderTest, GivenARequesterThatVanished_WhenItsWriterIsClosedAsIdle_ThenItIsGoneAllTheSame)
{
    const auto responder = make(1);
    const auto handle = responder->handle_for(made_up(0), 1);
    {
        const auto end = hear(0);
        EXPECT_EQ(send(*handle), 0);
        ASSERT_TRUE(clock.wait([&] { return end.take() == 1; }));
    }
    EXPECT_TRUE(handle->writer->close_if_idle());
    EXPECT_EQ(send(*handle), LBM_EOP);
}

TEST_F(ResponderTest, GivenARequesterThatStandsStill_WhenClosing_ThenAnotherStillGetsItsAnswer)
{
    const auto responder = make(1);
    const auto stopped = responder->handle_for(made_up(0), 1);
    const auto other = responder->handle_for(made_up(1), 1);
    EXPECT_EQ(send(*stopped), 0);
    EXPECT_EQ(send(*other), 0);
    auto closing =
        std::async(std::launch::async, [&] { responder->close(std::chrono::steady_clock::now() + test::endless); });
    const auto end = hear(1);
    EXPECT_TRUE(clock.wait([&] { return end.take() == 1; }));
    const auto release = hear(0);
    EXPECT_EQ(closing.wait_for(test::patience), std::future_status::ready);
    EXPECT_EQ(release.take(), 1U);
}

TEST_F(ResponderTest, GivenAClosedResponder_WhenItsHandlesAreUsed_ThenSendingFailsAsImpossible)
{
    auto responder = make(1);
    const auto handle = responder->handle_for(made_up(0), 1);
    responder->close({});
    responder->close({});
    EXPECT_EQ(send(*handle), LBM_EOP);
    const auto late = responder->handle_for(made_up(1), 1);
    EXPECT_EQ(send(*late), LBM_EOP);
    EXPECT_EQ(responder->open_writers(), 0U);
}

TEST_F(ResponderTest, GivenASendThatWaits_WhenTheResponderIsStopped_ThenItGivesUp)
{
    const auto responder = make(1);
    const auto handle = responder->handle_for(made_up(0), 1);
    EXPECT_EQ(send(*handle), 0);
    auto waiting = std::async(std::launch::async, [&] { return send(*handle, "x", without_limit); });
    responder->stop();
    EXPECT_EQ(waiting.get(), LBM_EOP);
}

} // namespace
