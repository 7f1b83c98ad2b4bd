/// What a source said last, before it fell silent.
#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "support/child_process.h"
#include "support/context_fixture.h"
#include "support/watched_source.h"

namespace {

/// Busy machines may hold a process up for a good part of it.
constexpr int lease_ms = 5'000;

class Tail : public testing::Test {
protected:
    void send(int count)
    {
        for (int i = 0; i < count; ++i) {
            test::send(watched.source, "x");
        }
    }

    test::ContextHandle ctx = test::make_context({{"lease_ms", std::to_string(lease_ms)}});
    test::WatchedSource watched{ctx, "TAIL.A"};
};

TEST_F(Tail, GivenAReceiverThatWasCountedAsGone_WhenItReturnsToASilentSource_ThenItLearnsOfItsLoss)
{
    const auto peer = test::start_peer(lease_ms);
    peer->tell("receive TAIL.A");
    ASSERT_TRUE(watched.wait_for({LBM_SRC_EVENT_CONNECT}));
    send(1);
    peer->tell("hears TAIL.A 1");
    peer->stop();
    ASSERT_TRUE(watched.wait_for({LBM_SRC_EVENT_CONNECT, LBM_SRC_EVENT_DISCONNECT}));
    send(10); // nobody is there
    peer->signal(SIGCONT);
    peer->tell("loses TAIL.A 1");
}

} // namespace
