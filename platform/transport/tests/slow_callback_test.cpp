/// What a callback that does not return holds up, and what not.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <string>

#include "support/child_process.h"
#include "support/context_fixture.h"
#include "support/watched_source.h"

namespace {

constexpr int lease_ms = 5'000; // busy machines may hold a process up for a good part of it
constexpr int long_lease_ms = 60'000;

/// A receiver whose first callback with data runs what the test wants.
class SlowCallback : public testing::Test {
protected:
    void enter(const test::ContextHandle& sender, std::function<void()> slow)
    {
        recorder.then = [this, slow = std::move(slow)](lbm_msg_t& msg) {
            if (msg.type == LBM_MSG_DATA && !inside.exchange(true)) {
                slow();
            }
        };
        const auto source = test::make_source(sender, "SLOW.A");
        ASSERT_TRUE(recorder.wait([&] {
            test::send(source, "x");
            return inside.load();
        }));
    }

    std::atomic<bool> inside = false;
    test::Recorder recorder;
};

TEST_F(SlowCallback, GivenItLastsLongerThanTheLease_WhenOthersGoOn_ThenLeasesDiscoveryAndOtherContextsDo)
{
    const test::OptionList lease{{"lease_ms", std::to_string(lease_ms)}};
    std::promise<void> release;
    const auto peer = test::start_peer(lease_ms);
    const auto other = test::make_context(lease);
    const auto stuck = test::make_context(lease);
    const auto receiver = test::make_receiver(stuck, "SLOW.A", recorder);
    test::WatchedSource source{stuck, "BESIDE.A"};
    test::Recorder beside;
    const auto hearing = test::make_receiver(other, "BESIDE.A", beside);
    peer->tell("receive BESIDE.A");
    peer->tell("begins BESIDE.A 1");
    test::connect(source.source, beside, "BESIDE.A");

    enter(other, [&] { release.get_future().wait(); });
    const auto start = std::chrono::steady_clock::now();
    std::size_t heard = beside.count(LBM_MSG_DATA);
    while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds{2 * lease_ms}) {
        test::send(source.source, "x");
        ASSERT_TRUE(beside.wait_for(LBM_MSG_DATA, ++heard));
        peer->tell("alive BESIDE.A");
    }
    test::Recorder fresh;
    const auto later = test::make_receiver(other, "FRESH.A", fresh);
    peer->tell("source FRESH.A");
    EXPECT_TRUE(fresh.wait_for(LBM_MSG_BOS));
    EXPECT_EQ(beside.count(LBM_MSG_EOS), 0U);
    release.set_value();
}

TEST_F(SlowCallback, GivenItWaitsForRoomToSend_WhenItsContextIsDeleted_ThenItIsToldSoAndNobodyWaits)
{
    const auto peer = test::start_peer(long_lease_ms);
    const test::OptionList lease{{"lease_ms", std::to_string(long_lease_ms)}};
    const auto other = test::make_context(lease);
    auto ctx = test::make_context(lease);
    auto receiver = test::make_receiver(ctx, "SLOW.A", recorder);
    test::WatchedSource source{ctx, "FULL.A"};
    peer->tell("receive FULL.A");
    ASSERT_TRUE(source.wait_for({LBM_SRC_EVENT_CONNECT}));
    peer->stop();
    const std::string payload(60'000, 'x');
    std::promise<int> refusal;
    enter(other, [&] {
        while (lbm_src_send(source.source.get(), payload.data(), payload.size(), LBM_SRC_BLOCK) == LBM_OK) {
        }
        refusal.set_value(lbm_errnum());
    });
    ASSERT_TRUE(recorder.wait([&] { // the window is full and the callback waits
        return lbm_src_send(source.source.get(), payload.data(), payload.size(), LBM_SRC_NONBLOCK) == LBM_FAILURE;
    }));
    auto deletion = std::async(std::launch::async, [&] { ctx.reset(); });
    EXPECT_EQ(deletion.wait_for(test::patience), std::future_status::ready);
    peer->signal(SIGCONT); // lets the deletion end where it had to wait
    deletion.wait();
    EXPECT_EQ(refusal.get_future().get(), LBM_EOP);
}

} // namespace
