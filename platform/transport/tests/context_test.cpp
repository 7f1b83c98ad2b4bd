#include <gtest/gtest.h>

#include "platform/transport/source/context.h"
#include "support/context_fixture.h"

using namespace qx::transport;

namespace {

TEST(ContextEvents, GivenAClosedContext_WhenEventsAreProcessedWithoutLimit_ThenTheCallReturns)
{
    ContextSettings settings;
    settings.options.set_text("domain_tag", test::domain_tag());
    Context context{settings};
    context.close();
    context.process_events(LBM_EVENT_QUEUE_BLOCK);
    context.process_events(LBM_EVENT_QUEUE_BLOCK);
}

/// A queue on whose receiver far more than 64 KiB has arrived, which nobody has dispatched; how much it threw away.
std::uint64_t overflow_of(const test::QueueHandle& queue)
{
    constexpr std::size_t messages = 100;
    ContextSettings settings;
    settings.options.set_text("domain_tag", test::domain_tag());
    Options small{Scope::event_queue};
    small.set_text("queue_bytes_max", "65536");
    settings.defaults.emplace(Scope::event_queue, small);
    const test::ContextHandle ctx{new lbm_context{std::make_shared<Context>(settings)}};
    test::Recorder recorder;
    test::Recorder on_queue;
    const auto queued = test::make_wildcard(ctx, "Q\\..*", on_queue, queue.get());
    const auto receiver = test::make_receiver(ctx, "Q.A", recorder);
    const auto source = test::make_source(ctx, "Q.A");
    test::connect(source, recorder, "Q.A");
    for (std::size_t i = 0; i < messages; ++i) {
        test::send(source, std::string(1'024, 'x'));
    }
    lbm_event_queue_stats_t stats{};
    EXPECT_TRUE(recorder.wait([&] { return recorder.count(LBM_MSG_DATA) > messages; }));
    test::check(lbm_event_queue_retrieve_stats(queue.get(), &stats));
    return stats.messages_overflowed;
}

TEST(ContextDefaults, GivenAnEventQueueWithoutOptions_WhenFirstUsed_ThenItHasTheBoundOfThatContext)
{
    EXPECT_GT(overflow_of(test::make_queue()), 0U);
}

TEST(ContextDefaults, GivenAnEventQueueWithABoundOfItsOwn_WhenUsed_ThenThatHolds)
{
    EXPECT_EQ(overflow_of(test::make_queue({{"queue_bytes_max", "1048576"}})), 0U);
}

} // namespace
