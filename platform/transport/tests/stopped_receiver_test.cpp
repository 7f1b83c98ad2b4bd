/// Sources that go on, wait or end while a receiver does not keep up.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "support/child_process.h"
#include "support/context_fixture.h"
#include "support/watched_source.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr int lease_ms = 60'000;                 // nobody is to be given up
constexpr std::size_t count = 500;               // a multiple of what a window takes
constexpr std::size_t more_than_is_kept = 4'000; // by a socket of 4 MB, whose upkeep is the larger part, and a writer

/// Sends to a process that hears and then stands still.
class StoppedListener : public testing::Test {
protected:
    explicit StoppedListener(test::OptionList options = {})
    {
        options.emplace_back("lease_ms", std::to_string(lease_ms));
        ctx = test::make_context(options);
    }

    void connect(test::WatchedSource& source, const std::string& topic) const
    {
        peer->tell("receive " + topic);
        ASSERT_TRUE(source.wait_for({LBM_SRC_EVENT_CONNECT})) << testing::PrintToString(source.events());
        test::send(source.source, payload);
        peer->tell("hears " + topic + " 1");
        peer->stop();
    }
    /// How many of `count` messages are accepted before one is not.
    std::size_t send_all(const test::WatchedSource& source) const
    {
        std::size_t sent = 0;
        while (sent < count &&
               lbm_src_send(source.source.get(), payload.data(), payload.size(), LBM_SRC_NONBLOCK) == LBM_OK) {
            ++sent;
        }
        return sent;
    }

    /// Each in a frame of its own.
    void send_more_than_is_kept(const test::WatchedSource& source) const
    {
        for (std::size_t i = 0; i < more_than_is_kept; ++i) {
            test::check(lbm_src_send(source.source.get(), payload.data(), 4'000, LBM_MSG_FLUSH | LBM_SRC_NONBLOCK));
        }
    }

    /// What the process says while the context is deleted.
    std::string deletion()
    {
        testing::internal::CaptureStderr();
        ctx.reset();
        return testing::internal::GetCapturedStderr();
    }

    const std::string payload = std::string(60'000, 'x');
    std::unique_ptr<test::ChildProcess> peer = test::start_peer(lease_ms);
    test::ContextHandle ctx;
};

template <int close_wait_ms>
class StoppedListenerAtTheEnd : public StoppedListener {
protected:
    StoppedListenerAtTheEnd()
        : StoppedListener(test::OptionList{{"close_wait_ms", std::to_string(close_wait_ms)}})
    {
    }
};
using BesideContextOfLittlePatience = StoppedListenerAtTheEnd<100>;
using BesideContextOfMuchPatience = StoppedListenerAtTheEnd<60'000>;
using BesideContextWithoutPatience = StoppedListenerAtTheEnd<0>;

TEST_F(StoppedListener, GivenASourceThatLoses_WhenTheWindowIsFull_ThenItGoesOnAndTheAccountHolds)
{
    auto source =
        std::make_unique<test::WatchedSource>(ctx, "FULL.A", nullptr, test::OptionList{{"when_full", "lose"}});
    connect(*source, "FULL.A");
    EXPECT_EQ(send_all(*source), count);
    peer->signal(SIGCONT);
    source.reset();
    peer->tell("accounts FULL.A " + std::to_string(count + 1));
    peer->tell("loses FULL.A 1");
}

TEST_F(StoppedListener, GivenASourceThatLosesSmallMessages_WhenTheListenerGoesOn_ThenTheAccountHolds)
{
    auto source =
        std::make_unique<test::WatchedSource>(ctx, "FULL.S", nullptr, test::OptionList{{"when_full", "lose"}});
    connect(*source, "FULL.S");
    send_more_than_is_kept(*source);
    peer->signal(SIGCONT);
    source.reset();
    peer->tell("accounts FULL.S " + std::to_string(more_than_is_kept + 1));
    peer->tell("loses FULL.S 1");
}

TEST_F(StoppedListener, GivenASourceThatLosesComesMeanwhile_WhenTheListenerGoesOn_ThenItsAccountIsFromTheFirstMessage)
{
    peer->tell("receive FULL.X");
    test::WatchedSource heard{ctx, "FULL.A", nullptr, test::OptionList{{"when_full", "lose"}}};
    connect(heard, "FULL.A");
    send_more_than_is_kept(heard); // what the listener's socket takes is of these
    auto source =
        std::make_unique<test::WatchedSource>(ctx, "FULL.X", nullptr, test::OptionList{{"when_full", "lose"}});
    send_more_than_is_kept(*source);
    peer->signal(SIGCONT);
    source.reset();
    peer->tell("accounts FULL.X " + std::to_string(more_than_is_kept));
    peer->tell("loses FULL.X 1");
}

TEST_F(StoppedListener, GivenASourceThatWaits_WhenTheWindowIsFull_ThenItIsRefusedAndNothingIsLost)
{
    auto source = std::make_unique<test::WatchedSource>(ctx, "FULL.B");
    connect(*source, "FULL.B");
    const std::size_t sent = send_all(*source);
    EXPECT_LT(sent, count);
    EXPECT_EQ(lbm_errnum(), LBM_EWOULDBLOCK);
    peer->signal(SIGCONT);
    source.reset();
    peer->tell("accounts FULL.B " + std::to_string(sent + 1));
    peer->tell("hears FULL.B " + std::to_string(sent + 1));
}

TEST_F(BesideContextOfLittlePatience,
       GivenAMessageOnItsWay_WhenTheContextIsDeleted_ThenItWarnsThatTheMessageMayBeMissed)
{
    test::WatchedSource source{ctx, "FULL.W"};
    connect(source, "FULL.W");
    test::send(source.source, payload);
    EXPECT_THAT(deletion(), HasSubstr("had not acknowledged within 100 ms"));
}

TEST_F(BesideContextOfMuchPatience,
       GivenAMessageOnItsWay_WhenTheListenerGoesOnInTime_ThenDeletingTheContextWarnsOfNothing)
{
    test::WatchedSource source{ctx, "FULL.I"};
    connect(source, "FULL.I");
    test::send(source.source, payload);
    peer->signal(SIGCONT);
    EXPECT_THAT(deletion(), IsEmpty());
    peer->tell("hears FULL.I 2");
}

TEST_F(BesideContextWithoutPatience, GivenAContextThatIsNotToWait_WhenDeleted_ThenItWarnsOfNothing)
{
    test::WatchedSource source{ctx, "FULL.N"};
    connect(source, "FULL.N");
    test::send(source.source, payload);
    EXPECT_THAT(deletion(), IsEmpty());
}

} // namespace
