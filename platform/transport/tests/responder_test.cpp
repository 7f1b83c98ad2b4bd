/// The writers that a context keeps for its requesters. Those here are made up, so that the engine never finds them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "platform/transport/source/domain.h"
#include "platform/transport/source/responder.h"
#include "support/context_fixture.h"

using namespace qx::transport;
using namespace testing;

namespace {

constexpr std::chrono::hours endless{1};
constexpr SendWait at_once{std::nullopt, true, true};

Options test_options()
{
    Options options{Scope::context};
    options.set_text("domain_tag", test::domain_tag());
    return options;
}

ContextId made_up(std::size_t i)
{
    ContextId id{{127, 0, 0, 1}};
    id.bytes[14] = static_cast<std::uint8_t>(i >> 8U);
    id.bytes[15] = static_cast<std::uint8_t>(i);
    return id;
}

class ResponderTest : public Test {
protected:
    ~ResponderTest() override
    {
        for (const auto& responder : made) {
            responder->close({});
        }
    }

    std::shared_ptr<Responder> make(std::size_t window, std::chrono::milliseconds patience = endless)
    {
        return made.emplace_back(std::make_shared<Responder>(participant.get(), ContextId{},
                                                             AnswerPolicy{window, patience}, domain.flusher()));
    }
    /// The error number of an answer, 0 when it was accepted.
    static int send(lbm_response& to, const std::string& payload = "x", const SendWait& wait = at_once)
    {
        try {
            to.responder->send(to, payload, wait);
            return 0;
        } catch (const TransportError& e) {
            return e.code();
        }
    }

    DomainUse domain{DomainSettings{test_options()}};
    DdsEntity participant{dds_create_participant(domain.id(), nullptr, nullptr), "dds_create_participant"};
    std::vector<std::shared_ptr<Responder>> made;
    test::Recorder clock; ///< waits with a deadline
};

TEST_F(ResponderTest, GivenARequesterThatIsNotFoundYet_WhenAnswered_ThenAWindowfulWaits)
{
    const auto responder = make(2);
    const auto handle = responder->handle_for(made_up(0), 1);
    EXPECT_EQ(send(*handle), 0);
    EXPECT_EQ(send(*handle), 0);
    EXPECT_EQ(send(*handle), LBM_EWOULDBLOCK);
    EXPECT_EQ(handle->to.next, 2U);
}

TEST_F(ResponderTest, GivenARequesterThatIsNotFoundYet_WhenAnswersAreLarge_ThenTheirBytesAreBoundedButForOne)
{
    const auto responder = make(100);
    const std::string large(waiting_bytes_max + 1, 'x');
    const auto handle = responder->handle_for(made_up(0), 1);
    EXPECT_EQ(send(*handle, large), 0);
    EXPECT_EQ(send(*handle), LBM_EWOULDBLOCK);
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
    EXPECT_EQ(send(*handle), 0);
    EXPECT_EQ(send(*handle, "x", {}), LBM_EOP);
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

TEST_F(ResponderTest, GivenManyRequestersThatAskOnce_WhenAnotherAsks_ThenTheNumberOfWritersIsBounded)
{
    const auto responder = make(1);
    for (std::size_t i = 0; i < 500; ++i) {
        responder->handle_for(made_up(i), 1);
        ASSERT_LE(responder->open_writers(), idle_answer_writers_max);
    }
}

TEST_F(ResponderTest, GivenManyRequestsOfRequestersThatVanish_WhenNobodyAnswers_ThenNoWriterIsLeft)
{
    const auto responder = make(1, std::chrono::milliseconds{20});
    std::vector<std::unique_ptr<lbm_response>> handles;
    for (std::size_t i = 0; i < 10'000; ++i) {
        handles.push_back(responder->handle_for(made_up(i % 10), i));
    }
    EXPECT_LE(responder->open_writers(), idle_answer_writers_max);
    EXPECT_TRUE(clock.wait([&] { return responder->open_writers() == 0; }));
}

TEST_F(ResponderTest, GivenAWriterThatWasClosedForWantOfUse_WhenItsRequesterIsAnswered_ThenItIsOpenedAgain)
{
    const auto responder = make(1);
    const auto oldest = responder->handle_for(made_up(0), 1);
    for (std::size_t i = 1; i <= idle_answer_writers_max; ++i) {
        responder->handle_for(made_up(i), 1);
    }
    EXPECT_EQ(send(*oldest), 0);
    EXPECT_EQ(responder->open_writers(), idle_answer_writers_max);
    EXPECT_EQ(send(*oldest), LBM_EWOULDBLOCK);
}

TEST_F(ResponderTest, GivenWritersWithUnsentAnswers_WhenMoreRequestersAsk_ThenTheyAreNotClosed)
{
    const auto responder = make(1);
    std::vector<std::unique_ptr<lbm_response>> handles;
    for (std::size_t i = 0; i < idle_answer_writers_max + 5; ++i) {
        handles.push_back(responder->handle_for(made_up(i), 1));
        EXPECT_EQ(send(*handles.back()), 0);
    }
    EXPECT_EQ(responder->open_writers(), idle_answer_writers_max + 5);
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
    auto waiting = std::async(std::launch::async, [&] { return send(*handle, "x", {}); });
    responder->stop();
    EXPECT_EQ(waiting.get(), LBM_EOP);
}

} // namespace
