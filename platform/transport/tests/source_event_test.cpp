#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "support/context_fixture.h"

using namespace testing;

namespace {

/// A source whose events are recorded.
class WatchedSource {
public:
    WatchedSource(const test::ContextHandle& ctx, const char* name, lbm_event_queue_t* evq = nullptr)
    {
        lbm_topic_t* topic = nullptr;
        test::check(lbm_src_topic_alloc(&topic, ctx.get(), name, nullptr));
        lbm_src_t* raw = nullptr;
        test::check(lbm_src_create(&raw, ctx.get(), topic, &WatchedSource::callback, this, evq));
        source.reset(raw);
    }

    bool wait_for(const std::vector<int>& expected)
    {
        std::unique_lock lock{mutex_};
        return changed_.wait_for(lock, test::patience, [&] { return events_ == expected; });
    }
    std::vector<int> events() const
    {
        const std::lock_guard lock{mutex_};
        return events_;
    }

private:
    static int callback(lbm_src_t*, int event, void*, void* clientd)
    {
        auto& self = *static_cast<WatchedSource*>(clientd);
        const std::lock_guard lock{self.mutex_};
        self.events_.push_back(event);
        self.changed_.notify_all();
        return 0;
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<int> events_;

public:
    test::SourceHandle source; ///< last: it is deleted before what its callback uses
};

TEST(SourceEvents, GivenAWatchedSource_WhenAReceiverComesAndGoes_ThenItIsToldOfBoth)
{
    const auto ctx = test::make_context();
    WatchedSource watched{ctx, "WATCH.A"};
    test::Recorder recorder;
    const auto other = test::make_context();
    auto receiver = test::make_receiver(other, "WATCH.A", recorder);
    EXPECT_TRUE(watched.wait_for({LBM_SRC_EVENT_CONNECT}));
    receiver.reset();
    EXPECT_TRUE(watched.wait_for({LBM_SRC_EVENT_CONNECT, LBM_SRC_EVENT_DISCONNECT}));
}

TEST(SourceEvents, GivenAReceiverThatIsThere_WhenASourceOfAKnownStreamIsMade_ThenItIsToldToo)
{
    const auto ctx = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_receiver(ctx, "WATCH.A", recorder);
    WatchedSource first{ctx, "WATCH.A"};
    EXPECT_TRUE(first.wait_for({LBM_SRC_EVENT_CONNECT}));
    WatchedSource second{ctx, "WATCH.B"};
    EXPECT_TRUE(second.wait_for({LBM_SRC_EVENT_CONNECT}));
}

TEST(SourceEvents, GivenAConnectedSource_WhenItSends_ThenNothingIsMissed)
{
    const auto ctx = test::make_context();
    const auto other = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_receiver(other, "WATCH.A", recorder);
    WatchedSource watched{ctx, "WATCH.A"};
    ASSERT_TRUE(watched.wait_for({LBM_SRC_EVENT_CONNECT}));
    test::send(watched.source, "first");
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_DATA));
    EXPECT_THAT(recorder.payloads(), ElementsAre("first"));
}

// The source is there first and sends while the receiver may still be in the making. Every round is a new chance to be
// too early.
TEST(SourceEvents, GivenASourceThatSendsOnceConnected_WhenAReceiverIsMade_ThenItGetsTheFirstMessage)
{
    for (int round = 0; round < 25; ++round) {
        const auto ctx = test::make_context();
        WatchedSource watched{ctx, "WATCH.A"};
        std::thread sender{[&] {
            if (watched.wait_for({LBM_SRC_EVENT_CONNECT})) {
                test::send(watched.source, "first");
            }
        }};
        const auto other = test::make_context();
        test::Recorder recorder;
        const auto receiver = test::make_receiver(other, "WATCH.A", recorder);
        sender.join();
        ASSERT_TRUE(recorder.wait_for(LBM_MSG_DATA)) << round;
        EXPECT_THAT(recorder.payloads(), ElementsAre("first"));
    }
}

TEST(SourceEvents, GivenASourceOnAQueue_WhenDispatched_ThenItsEventComesThere)
{
    const auto queue = test::make_queue();
    const auto ctx = test::make_context();
    WatchedSource watched{ctx, "WATCH.A", queue.get()};
    test::Recorder recorder;
    const auto receiver = test::make_receiver(ctx, "WATCH.A", recorder);
    const auto deadline = std::chrono::steady_clock::now() + test::patience;
    while (watched.events().empty() && std::chrono::steady_clock::now() < deadline) {
        test::check(lbm_event_dispatch(queue.get(), 10));
    }
    EXPECT_THAT(watched.events(), ElementsAre(LBM_SRC_EVENT_CONNECT));
}

TEST(SourceEvents, GivenAWatchedSource_WhenItsContextIsDeletedFirst_ThenItMayStillBeDeleted)
{
    auto ctx = test::make_context();
    WatchedSource watched{ctx, "WATCH.A"};
    ctx.reset();
    EXPECT_EQ(lbm_src_delete(watched.source.release()), LBM_OK);
}

} // namespace
