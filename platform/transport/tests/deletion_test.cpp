/// Deleting contexts from where it is hardest, and creations that fail half-way.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <future>

#include <dds/dds.h>

#include "support/context_fixture.h"

using namespace testing;

namespace {

std::atomic<bool> engine_refuses{false};
std::atomic<bool> no_more_threads{false};

/// Deletes the context from within the first callback of a receiver on it.
class SelfDeleting {
public:
    explicit SelfDeleting(lbm_event_queue_t* evq = nullptr)
    {
        recorder.then = [&](lbm_msg_t&) { deleted_.set_value(lbm_context_delete(ctx_.release())); };
        receiver = test::make_receiver(ctx_, "SUICIDE.A", recorder, evq);
    }
    std::future<int> deleted() { return deleted_.get_future(); }

    test::Recorder recorder;

private:
    test::ContextHandle ctx_ = test::make_context();
    std::promise<int> deleted_;

public:
    test::ReceiverHandle receiver;
};

int ignore_event(lbm_src_t*, int, void*, void*)
{
    return 0;
}

TEST(Deletion, GivenAContext_WhenACallbackOnItsThreadDeletesIt_ThenItIsGone)
{
    const auto sender = test::make_context();
    const auto source = test::make_source(sender, "SUICIDE.A");
    SelfDeleting self;
    auto deleted = self.deleted();
    ASSERT_EQ(deleted.wait_for(test::patience), std::future_status::ready);
    EXPECT_EQ(deleted.get(), LBM_OK);
    EXPECT_EQ(lbm_rcv_delete(self.receiver.release()), LBM_OK);
    EXPECT_THAT(self.recorder.seen(), SizeIs(1));
}

TEST(Deletion, GivenAContext_WhenACallbackOnAQueueDeletesIt_ThenItIsGone)
{
    const auto sender = test::make_context();
    const auto source = test::make_source(sender, "SUICIDE.A");
    const auto queue = test::make_queue();
    SelfDeleting self{queue.get()};
    auto deleted = self.deleted();
    const auto deadline = std::chrono::steady_clock::now() + test::patience;
    while (self.recorder.seen().empty() && std::chrono::steady_clock::now() < deadline) {
        test::check(lbm_event_dispatch(queue.get(), 10));
    }
    ASSERT_THAT(self.recorder.seen(), SizeIs(1));
    EXPECT_EQ(deleted.get(), LBM_OK);
    EXPECT_EQ(lbm_event_dispatch(queue.get(), LBM_EVENT_QUEUE_POLL), 0);
}

TEST(Deletion, GivenAnEngineThatRefuses_WhenAWatchedSourceIsMade_ThenTheCallFailsAndLeavesNoSourceBehind)
{
    const auto sender = test::make_context();
    lbm_topic_t* topic = nullptr;
    test::check(lbm_src_topic_alloc(&topic, sender.get(), "HALF.A", nullptr));
    lbm_src_t* half = nullptr;
    engine_refuses = true;
    EXPECT_EQ(lbm_src_create(&half, sender.get(), topic, &ignore_event, nullptr, nullptr), LBM_FAILURE);
    engine_refuses = false;
    EXPECT_EQ(lbm_errnum(), LBM_EOS);
    EXPECT_EQ(half, nullptr);
    const auto whole = test::make_source(sender, "HALF.B");
    const auto ctx = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_wildcard(ctx, "HALF\\..*", recorder);
    EXPECT_TRUE(recorder.wait([&] {
        return recorder.count(LBM_MSG_BOS, "HALF.B") == 1 &&
               recorder.count(LBM_MSG_BOS, "HALF.A") == recorder.count(LBM_MSG_EOS, "HALF.A");
    }));
}

TEST(Deletion, GivenNoMoreThreads_WhenTheFirstSourceIsMade_ThenTheCallFailsAndLeavesNoSourceBehind)
{
    const auto sender = test::make_context();
    no_more_threads = true;
    EXPECT_THROW(test::make_source(sender, "HALF.A"), std::runtime_error);
    no_more_threads = false;
    EXPECT_EQ(lbm_errnum(), LBM_EOS);
    const auto whole = test::make_source(sender, "HALF.B");
    test::Recorder recorder;
    const auto receiver = test::make_wildcard(sender, "HALF\\..*", recorder);
    // It sends nothing, so its beginning comes from the catalogue's page, where the other would stand before it.
    ASSERT_TRUE(recorder.wait([&] { return recorder.count(LBM_MSG_BOS, "HALF.B") == 1; }));
    EXPECT_EQ(recorder.count(LBM_MSG_BOS, "HALF.A"), 0U);
}

TEST(Deletion, GivenAnEngineThatRefuses_WhenAReceiverIsMade_ThenTheCallFailsAndALaterOneWorks)
{
    const auto ctx = test::make_context();
    const auto source = test::make_source(ctx, "HALF.A");
    test::Recorder recorder;
    engine_refuses = true;
    EXPECT_THROW(test::make_receiver(ctx, "HALF.A", recorder), std::runtime_error);
    engine_refuses = false;
    const auto receiver = test::make_receiver(ctx, "HALF.A", recorder);
    EXPECT_TRUE(recorder.wait_for(LBM_MSG_BOS));
    EXPECT_EQ(recorder.count(LBM_MSG_BOS), 1U);
}

} // namespace

/// Stands before the engine's own, which every context calls when it begins to listen.
extern "C" dds_entity_t dds_create_guardcondition(dds_entity_t owner)
{
    if (engine_refuses) {
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    static const auto real =
        reinterpret_cast<dds_entity_t (*)(dds_entity_t)>(dlsym(RTLD_NEXT, "dds_create_guardcondition"));
    return real(owner);
}

/// Stands before the system's own, so that the transport's threads can be refused.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument)
{
    if (no_more_threads) {
        return EAGAIN;
    }
    static const auto real = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return real(thread, attributes, run, argument);
}
