#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <dds/dds.h>
#include <dlfcn.h>

#include "support/context_fixture.h"
#include "support/watched_source.h"

using namespace testing;

namespace {

using test::WatchedSource;

std::atomic<std::size_t> looks{0};

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

TEST(SourceEvents, GivenManyWatchedSourcesOfAStream_WhenMade_ThenTheEngineIsAskedForTheStreamOnly)
{
    constexpr std::size_t many = 300;
    const auto ctx = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_wildcard(ctx, "WATCH\\..*", recorder);
    const std::size_t before = looks;
    std::vector<std::unique_ptr<WatchedSource>> watched;
    for (std::size_t i = 0; i < many; ++i) {
        watched.push_back(std::make_unique<WatchedSource>(ctx, ("WATCH." + std::to_string(i)).c_str()));
    }
    for (const auto& one : watched) {
        EXPECT_TRUE(one->wait_for({LBM_SRC_EVENT_CONNECT}));
    }
    EXPECT_GE(looks - before, many) << "each was looked at when it was made";
    EXPECT_LT(looks - before, 50 * many) << "as many as sources for each source would be " << many * many;
}

} // namespace

/// Stands before the engine's own and counts.
extern "C" dds_return_t dds_get_publication_matched_status(dds_entity_t writer,
                                                           dds_publication_matched_status_t* status)
{
    static const auto real = reinterpret_cast<decltype(&dds_get_publication_matched_status)>(
        dlsym(RTLD_NEXT, "dds_get_publication_matched_status"));
    ++looks;
    return real(writer, status);
}
